#include "ui/QtMessageSink.h"

#include <QApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace ui {

QString Latin1Text(const std::string& bytes) {
    return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

std::string Latin1Bytes(const QString& text) {
    const QByteArray bytes = text.toLatin1();
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

namespace {

// A box for message, not shown yet.
QMessageBox* NewBox(const config::Message& message, QWidget* parent) {
    // Message texts break their lines with carriage returns.
    QString text = Latin1Text(message.text);
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));

    auto* box = new QMessageBox(parent);
    box->setWindowTitle(Latin1Text(message.title));
    box->setText(text);
    switch (message.icon) {
    case config::MessageIcon::None:
        box->setIcon(QMessageBox::NoIcon);
        break;
    case config::MessageIcon::Question:
        box->setIcon(QMessageBox::Question);
        break;
    case config::MessageIcon::Exclamation:
        box->setIcon(QMessageBox::Warning);
        break;
    case config::MessageIcon::Information:
        box->setIcon(QMessageBox::Information);
        break;
    }
    switch (message.buttons) {
    case config::MessageButtons::Ok:
        box->setStandardButtons(QMessageBox::Ok);
        break;
    case config::MessageButtons::RetryCancel:
        box->setStandardButtons(QMessageBox::Retry | QMessageBox::Cancel);
        box->setDefaultButton(QMessageBox::Retry);
        break;
    case config::MessageButtons::YesNo:
        box->setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        box->setDefaultButton(QMessageBox::Yes);
        break;
    }
    return box;
}

config::MessageAnswer AnswerOf(int result, config::MessageButtons buttons) {
    switch (result) {
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
        return buttons == config::MessageButtons::RetryCancel ? config::MessageAnswer::Cancel
               : buttons == config::MessageButtons::YesNo     ? config::MessageAnswer::No
                                                              : config::MessageAnswer::Ok;
    }
}

} // namespace

QtMessageSink::~QtMessageSink() {
    CloseAll();
}

void QtMessageSink::SetParent(QWidget* parent) {
    parent_ = parent;
    if (parent)
        ShowHeld();
}

void QtMessageSink::ShowHeld() {
    holding_ = false;
    for (HeldBox& held : std::exchange(held_, {}))
        ShowWithoutWaiting(held.message, std::move(held.answered));
}

config::MessageAnswer QtMessageSink::Show(const config::Message& message) {
    if (!waiting_)
        return ShowWithoutWaiting(message, nullptr);
    QMessageBox* box = NewBox(message, parent_ ? parent_ : QApplication::activeWindow());
    const int result = box->exec();
    delete box;
    return AnswerOf(result, message.buttons);
}

config::MessageAnswer QtMessageSink::Ask(const config::Message& message,
                                         std::function<void(config::MessageAnswer)> answered) {
    if (!waiting_)
        return ShowWithoutWaiting(message, std::move(answered));
    return Show(message);
}

config::MessageAnswer
QtMessageSink::ShowWithoutWaiting(const config::Message& message,
                                  std::function<void(config::MessageAnswer)> answered) {
    const bool question = message.buttons != config::MessageButtons::Ok;
    if (holding_) {
        held_.push_back({message, std::move(answered)});
        return question ? config::MessageAnswer::Deferred : config::MessageAnswer::Ok;
    }
    // A notice that an open box already gives is not given twice.
    OpenBoxes();
    if (!question)
        for (const OpenBox& open : open_)
            if (open.message == message) {
                open.box->raise();
                return config::MessageAnswer::Ok;
            }
    QMessageBox* box = NewBox(message, parent_);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::NonModal);
    const config::MessageButtons buttons = message.buttons;
    QObject::connect(box, &QDialog::finished, box, [answered, buttons](int result) {
        if (answered)
            answered(AnswerOf(result, buttons));
    });
    open_.push_back({box, message});
    box->show();
    return question ? config::MessageAnswer::Deferred : config::MessageAnswer::Ok;
}

std::size_t QtMessageSink::OpenBoxes() {
    open_.erase(
        std::remove_if(open_.begin(), open_.end(),
                       [](const OpenBox& open) { return !open.box || !open.box->isVisible(); }),
        open_.end());
    return open_.size();
}

void QtMessageSink::Retract(const config::Message& message) {
    std::erase_if(held_, [&](const HeldBox& held) { return held.message == message; });
    for (OpenBox& open : open_)
        if (open.box && open.message == message) {
            // Taken down, not answered.
            QObject::disconnect(open.box, &QDialog::finished, nullptr, nullptr);
            open.box->close();
        }
    OpenBoxes();
}

void QtMessageSink::CloseAll() {
    held_.clear();
    for (OpenBox& open : open_)
        if (open.box) {
            QObject::disconnect(open.box, &QDialog::finished, nullptr, nullptr);
            open.box->close();
        }
    open_.clear();
}

void QtMessageSink::ReleaseAll() {
    for (OpenBox& open : open_)
        if (open.box)
            QObject::disconnect(open.box, &QDialog::finished, nullptr, nullptr);
    open_.clear();
}

void QtMessageSink::WaitUntilAllClosed() {
    if (OpenBoxes() == 0)
        return;
    QEventLoop loop;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, [this, &loop] {
        if (OpenBoxes() == 0)
            loop.quit();
    });
    look.start(100);
    loop.exec();
}

void QtMessageSink::Beep(long) {
    QApplication::beep();
}

} // namespace ui
