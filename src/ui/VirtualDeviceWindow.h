#pragma once
// The virtual serial device: the user plays the instrument. A line typed or
// pasted into the box is what the instrument sends, all at once when the
// user sends it: Send sends the line as it is, Enter sends it followed by a
// carriage return (the ending most instruments put after a reading) unless
// "Enter also sends a carriage return" is switched off. The ASCII chart
// enters control characters. Above the box, what was sent; below, what the
// program sends to the instrument, control characters by their names
// ("<CR>").

#include <QWidget>

#include <functional>
#include <string>

class QCheckBox;
class QPlainTextEdit;

namespace ui {

class SendLine;

class VirtualDeviceWindow : public QWidget {
    Q_OBJECT
public:
    explicit VirtualDeviceWindow(QWidget* parent = nullptr);

    // The bytes of each line the user sends, as the instrument sends them.
    std::function<void(const std::string& bytes)> onInput;
    // What the program sent to the instrument.
    void ShowOutput(const std::string& bytes);

    SendLine* Line() const { return line_; }
    QCheckBox* EnterSendsCr() const { return enterSendsCr_; }
    QPlainTextEdit* SentBox() const { return sent_; }
    QPlainTextEdit* OutputBox() const { return output_; }

private:
    void Sent(const std::string& bytes);

    SendLine* line_;
    QCheckBox* enterSendsCr_;
    QPlainTextEdit* sent_;
    QPlainTextEdit* output_;
};

// Bytes as the window shows them: printable characters as they are, control
// characters by their names in angle brackets ("<CR>", "<ESC>"); a line
// feed also ends the line on the screen.
QString ShownBytes(const std::string& bytes);

} // namespace ui
