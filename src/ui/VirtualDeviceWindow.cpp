#include "ui/VirtualDeviceWindow.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace ui {

std::string ShownByte(unsigned char byte) {
    static const char* const names[32] = {
        "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS",  "HT",  "LF",
        "VT",  "FF",  "CR",  "SO",  "SI",  "DLE", "DC1", "DC2", "DC3", "DC4", "NAK",
        "SYN", "ETB", "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};
    if (byte == '\n')
        return "<LF>\n";
    if (byte < 32)
        return std::string("<") + names[byte] + ">";
    if (byte == 127)
        return "<DEL>";
    return std::string(1, static_cast<char>(byte));
}

VirtualDeviceWindow::VirtualDeviceWindow(QWidget* parent) : QWidget(parent, Qt::Window) {
    setWindowTitle("Virtual Serial Device");
    auto* layout = new QVBoxLayout(this);
    auto* prompt = new QLabel("Type what the instrument sends. Enter sends a carriage return, "
                              "which ends a line as most instruments do.");
    prompt->setWordWrap(true);
    layout->addWidget(prompt);
    input_ = new QPlainTextEdit(this);
    input_->setObjectName("VirtualInput");
    input_->installEventFilter(this);
    layout->addWidget(input_);
    layout->addWidget(new QLabel("Sent to the instrument:"));
    output_ = new QPlainTextEdit(this);
    output_->setObjectName("VirtualOutput");
    output_->setReadOnly(true);
    layout->addWidget(output_);
    resize(420, 300);
}

bool VirtualDeviceWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched != input_ || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    std::string bytes;
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)
        bytes = "\r";
    else if (key->key() == Qt::Key_Tab)
        bytes = "\t";
    else if (key->key() == Qt::Key_Backspace)
        bytes = "\b";
    else if (key->key() == Qt::Key_Escape)
        bytes = "\x1b";
    else {
        const QByteArray latin1 = key->text().toLatin1();
        bytes.assign(latin1.constData(), static_cast<std::size_t>(latin1.size()));
    }
    if (bytes.empty())
        return QWidget::eventFilter(watched, event); // arrows and the like move as usual
    // The box shows what was sent; the input itself goes to the runtime.
    input_->moveCursor(QTextCursor::End);
    std::string shown = bytes == "\r" || bytes == "\t" ? (bytes == "\r" ? "\n" : "\t") : "";
    if (shown.empty())
        for (unsigned char c : bytes)
            shown += ShownByte(c);
    input_->insertPlainText(QString::fromLatin1(shown.data(), static_cast<qsizetype>(shown.size())));
    if (onInput)
        onInput(bytes);
    return true;
}

void VirtualDeviceWindow::ShowOutput(const std::string& bytes) {
    std::string shown;
    for (unsigned char c : bytes)
        shown += ShownByte(c);
    output_->moveCursor(QTextCursor::End);
    output_->insertPlainText(QString::fromLatin1(shown.data(), static_cast<qsizetype>(shown.size())));
    output_->ensureCursorVisible();
}

} // namespace ui
