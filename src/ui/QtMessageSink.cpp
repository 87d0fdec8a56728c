#include "ui/QtMessageSink.h"

#include <QApplication>
#include <QMessageBox>

namespace ui {

QString Latin1Text(const std::string& bytes) {
    return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

std::string Latin1Bytes(const QString& text) {
    const QByteArray bytes = text.toLatin1();
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

config::MessageAnswer QtMessageSink::Show(const config::Message& message) {
    // Message texts break their lines with carriage returns.
    QString text = Latin1Text(message.text);
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));

    QMessageBox box(parent_ ? parent_ : QApplication::activeWindow());
    box.setWindowTitle(Latin1Text(message.title));
    box.setText(text);
    switch (message.icon) {
    case config::MessageIcon::None:
        box.setIcon(QMessageBox::NoIcon);
        break;
    case config::MessageIcon::Question:
        box.setIcon(QMessageBox::Question);
        break;
    case config::MessageIcon::Exclamation:
        box.setIcon(QMessageBox::Warning);
        break;
    case config::MessageIcon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    }
    switch (message.buttons) {
    case config::MessageButtons::Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case config::MessageButtons::RetryCancel:
        box.setStandardButtons(QMessageBox::Retry | QMessageBox::Cancel);
        box.setDefaultButton(QMessageBox::Retry);
        break;
    case config::MessageButtons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        box.setDefaultButton(QMessageBox::Yes);
        break;
    }
    switch (box.exec()) {
    case QMessageBox::Retry:
        return config::MessageAnswer::Retry;
    case QMessageBox::Cancel:
        return config::MessageAnswer::Cancel;
    case QMessageBox::Yes:
        return config::MessageAnswer::Yes;
    case QMessageBox::No:
        return config::MessageAnswer::No;
    default:
        // A box closed by the window manager answers as its escape button.
        return message.buttons == config::MessageButtons::RetryCancel ? config::MessageAnswer::Cancel
               : message.buttons == config::MessageButtons::YesNo     ? config::MessageAnswer::No
                                                                      : config::MessageAnswer::Ok;
    }
}

void QtMessageSink::Beep(long) {
    QApplication::beep();
}

} // namespace ui
