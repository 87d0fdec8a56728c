#pragma once
// The virtual serial device: the user plays the instrument. What they type
// in the upper box is the instrument's input, key by key (Enter sends a
// carriage return, so a typed line is a record); the lower box shows what
// the program sends to the instrument, control characters in the ASCII
// chart's notation ("<CR>").

#include <QWidget>

#include <functional>
#include <string>

class QPlainTextEdit;

namespace ui {

class VirtualDeviceWindow : public QWidget {
    Q_OBJECT
public:
    explicit VirtualDeviceWindow(QWidget* parent = nullptr);

    // Each byte the user types, as the instrument would send it.
    std::function<void(const std::string& bytes)> onInput;
    // What the program sent to the instrument.
    void ShowOutput(const std::string& bytes);

    QPlainTextEdit* InputBox() const { return input_; }
    QPlainTextEdit* OutputBox() const { return output_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QPlainTextEdit* input_;
    QPlainTextEdit* output_;
};

// How a byte is shown: printable characters as themselves, CR and LF as
// "<CR>" and "<LF>" (LF also ends the line), other control characters as
// their names in angle brackets ("<ESC>", "<STX>").
std::string ShownByte(unsigned char byte);

} // namespace ui
