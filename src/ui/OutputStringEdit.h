#pragma once
// A text box for device bytes, written in the output string notation:
// 'ABC'13,10 is ABC, carriage return, line feed. Text in single quotes is
// sent as it stands, numbers outside quotes are character codes, anything
// else outside quotes separates codes. Every text means some bytes, so a box
// is never refused; the summary line beneath it says what it sends and
// points out what may not be what was meant (a quote left open, a code
// above 255). Characters that do not fit in a byte cannot be typed.

#include <QLineEdit>

#include <string>

class QLabel;

namespace ui {

class OutputStringEdit : public QLineEdit {
    Q_OBJECT
public:
    explicit OutputStringEdit(const std::string& bytes = {}, QWidget* parent = nullptr);

    // The bytes the text stands for.
    std::string Bytes() const;
    void SetBytes(const std::string& bytes);

    // Puts the character code at the cursor (over a selection), so that the
    // byte is sent exactly there: inside a quoted text the quote is closed
    // and opened again around it, and a separator keeps it apart from
    // digits beside it.
    void InsertCode(int code);

    // A label that shows this box's summary and follows its text.
    QLabel* MakeSummaryLabel(QWidget* parent);

signals:
    // The box took the focus: the dialog's ASCII chart then inserts here.
    void Focused();

protected:
    void focusInEvent(QFocusEvent* event) override;
};

// Bytes as a person reads them: printable characters as they are, control
// characters by their names in angle brackets (<CR>, <LF>, <DEL>), the other
// bytes that have no glyph by their codes (<128>).
QString ReadableBytes(const std::string& bytes);

// The summary of a notation: "Sends: ABC<CR><LF> (5 bytes)" (the first 40
// bytes of a longer string), or "Sends nothing.", then a line for a code
// above 255 and one for a quote left open.
QString NotationSummary(const QString& notation);

} // namespace ui
