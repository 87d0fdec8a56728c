#include "ui/OutputStringEdit.h"

#include "control/CommandInterpreter.h"

#include "ui/AsciiChartDialog.h"
#include "ui/QtMessageSink.h"
#include <QLabel>
#include <QValidator>

namespace ui {

namespace {

// Takes only characters that fit in a byte: a configuration string is 8-bit.
class ByteCharValidator : public QValidator {
public:
    using QValidator::QValidator;
    State validate(QString& input, int&) const override {
        for (QChar c : input)
            if (c.unicode() > 255)
                return Invalid;
        return Acceptable;
    }
};

bool IsDigit(QChar c) {
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// What may not be what the writer meant, though it is valid: a code above
// 255 (it is taken AND 255; the first one is named) and a quote left open
// (the rest is literal).
QStringList NotationNotes(const QString& notation) {
    QStringList notes;
    bool quoted = false;
    QString digits;
    auto endNumber = [&] {
        if (notes.isEmpty() && (digits.size() > 3 || digits.toInt() > 255)) {
            const std::string code = control::DecodeOutputString(digits.toStdString());
            notes << QString("Note: %1 is above 255 and is sent as %2.")
                         .arg(digits)
                         .arg(static_cast<unsigned char>(code[0]));
        }
        digits.clear();
    };
    for (QChar c : notation) {
        if (c == QLatin1Char('\'')) {
            endNumber();
            quoted = !quoted;
        } else if (!quoted && IsDigit(c)) {
            digits += c;
        } else if (!quoted) {
            endNumber();
        }
    }
    endNumber();
    if (quoted)
        notes << "Note: the last quote is not closed.";
    return notes;
}

} // namespace

OutputStringEdit::OutputStringEdit(const std::string& bytes, QWidget* parent) : QLineEdit(parent) {
    setValidator(new ByteCharValidator(this));
    setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 36);
    SetBytes(bytes);
}

std::string OutputStringEdit::Bytes() const {
    return control::DecodeOutputString(Latin1Bytes(text()));
}

void OutputStringEdit::SetBytes(const std::string& bytes) {
    setText(QString::fromLatin1(control::EncodeOutputString(bytes)));
}

void OutputStringEdit::InsertCode(int code) {
    QString rest = text();
    int at = cursorPosition();
    if (hasSelectedText()) {
        at = selectionStart();
        rest.remove(at, selectedText().size());
    }
    const bool insideQuotes = rest.left(at).count(QLatin1Char('\'')) % 2 == 1;
    QString piece = QString::number(code);
    if (insideQuotes) {
        piece = "'" + piece + "'";
    } else {
        if (at > 0 && IsDigit(rest[at - 1]))
            piece.prepend(QLatin1Char(','));
        if (at < rest.size() && IsDigit(rest[at]))
            piece.append(QLatin1Char(','));
    }
    insert(piece); // replaces the selection and keeps the undo history
}

QLabel* OutputStringEdit::MakeSummaryLabel(QWidget* parent) {
    auto* label = new QLabel(NotationSummary(text()), parent);
    label->setObjectName(objectName() + "Summary");
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    // Room for what it sends and both notes, so that the dialog does not
    // jump (or clip) as they come and go.
    label->setMinimumHeight(3 * label->fontMetrics().lineSpacing());
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    connect(this, &QLineEdit::textChanged, label,
            [label](const QString& notation) { label->setText(NotationSummary(notation)); });
    return label;
}

void OutputStringEdit::focusInEvent(QFocusEvent* event) {
    QLineEdit::focusInEvent(event);
    emit Focused();
}

QString ReadableBytes(const std::string& bytes) {
    QString shown;
    for (char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 32 || code == 127)
            shown += "<" + AsciiChartDialog::ControlName(code) + ">";
        else if (code < 127 || (code > 160 && code != 173))
            shown += QChar(code);
        else // the C1 controls, the no-break space and the soft hyphen show nothing
            shown += QString("<%1>").arg(code);
    }
    return shown;
}

QString NotationSummary(const QString& notation) {
    const std::string bytes = control::DecodeOutputString(Latin1Bytes(notation));
    // A long string is shown by its beginning; the count says how long it is.
    constexpr std::size_t shownBytes = 40;
    const QString shown = bytes.size() <= shownBytes
                              ? ReadableBytes(bytes)
                              : ReadableBytes(bytes.substr(0, shownBytes)) + "...";
    QString summary = bytes.empty() ? QString("Sends nothing.")
                                    : QString("Sends: %1 (%2 %3)")
                                          .arg(shown)
                                          .arg(bytes.size())
                                          .arg(bytes.size() == 1 ? "byte" : "bytes");
    for (const QString& note : NotationNotes(notation))
        summary += "\n" + note;
    return summary;
}

} // namespace ui
