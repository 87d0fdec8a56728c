#include "ui/VirtualDeviceWindow.h"

#include "ui/OutputStringEdit.h"
#include "ui/SendLine.h"

#include <QCheckBox>
#include <QFontDatabase>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace ui {

namespace {

QPlainTextEdit* Display(const char* name, int lines, QWidget* parent) {
    auto* box = new QPlainTextEdit(parent);
    box->setObjectName(name);
    box->setReadOnly(true);
    box->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    box->setMinimumHeight(box->fontMetrics().lineSpacing() * lines + 12);
    return box;
}

void Append(QPlainTextEdit* box, const QString& text) {
    box->moveCursor(QTextCursor::End);
    box->insertPlainText(text);
    box->ensureCursorVisible();
}

} // namespace

QString ShownBytes(const std::string& bytes) {
    QString shown = ReadableBytes(bytes);
    shown.replace(QStringLiteral("<LF>"), QStringLiteral("<LF>\n"));
    return shown;
}

VirtualDeviceWindow::VirtualDeviceWindow(QWidget* parent) : QWidget(parent, Qt::Window) {
    setWindowTitle(tr("Virtual Serial Device"));
    auto* layout = new QVBoxLayout(this);
    auto* prompt = new QLabel(tr("You are the instrument. Type or paste what it sends and press "
                                 "Enter; control characters come from the ASCII chart."),
                              this);
    prompt->setWordWrap(true);
    layout->addWidget(prompt);

    auto* toCorvane = new QGroupBox(tr("Output - (to Corvane)"), this);
    sent_ = Display("VirtualInput", 4, toCorvane);
    line_ = new SendLine(toCorvane);
    line_->SetClearAfterSend(true);
    line_->SetEnterEnding("\r");
    enterSendsCr_ = new QCheckBox(tr("&Enter also sends a carriage return (CR)"), toCorvane);
    enterSendsCr_->setObjectName("EnterSendsCr");
    enterSendsCr_->setChecked(true);
    auto* toLayout = new QVBoxLayout(toCorvane);
    toLayout->addWidget(sent_, 1);
    toLayout->addWidget(line_);
    toLayout->addWidget(enterSendsCr_);
    layout->addWidget(toCorvane, 1);

    auto* fromCorvane = new QGroupBox(tr("Input - (from Corvane)"), this);
    output_ = Display("VirtualOutput", 3, fromCorvane);
    auto* fromLayout = new QVBoxLayout(fromCorvane);
    fromLayout->addWidget(output_);
    layout->addWidget(fromCorvane, 1);

    connect(enterSendsCr_, &QCheckBox::toggled, this,
            [this](bool on) { line_->SetEnterEnding(on ? "\r" : ""); });
    line_->onSend = [this](const std::string& bytes) { Sent(bytes); };
    // The line takes the keys as soon as the window is in front.
    setFocusProxy(line_);
    line_->setFocus();
    resize(460, 380);
}

void VirtualDeviceWindow::Sent(const std::string& bytes) {
    // One line on the screen per send, so that what went out together shows
    // together.
    QString shown = ShownBytes(bytes);
    if (!shown.endsWith('\n'))
        shown += '\n';
    Append(sent_, shown);
    if (onInput)
        onInput(bytes);
}

void VirtualDeviceWindow::ShowOutput(const std::string& bytes) {
    Append(output_, ShownBytes(bytes));
}

} // namespace ui
