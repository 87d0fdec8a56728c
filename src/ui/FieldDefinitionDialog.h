#pragma once
// "Input Record Definition Editor": the record preamble macro and, for each
// field chosen with the field selector, its input filter, length (fixed
// length fields), format expression, math expression and postamble macro.
//
// The dialog edits a copy of all 40 field definitions; switching fields keeps
// what was typed. OK checks the lengths and stores every definition, marking
// the configuration changed only when something differed; Cancel stores
// nothing.
//
// Field lengths (editable with fixed length fields, or when a fixed number of
// bytes ends a record): an empty box is length 0, a field that is not used;
// the number of fields is then the count of leading fields with a length.
// Any length typed into the box must lie within 1..32766: a keystroke that
// makes it 0 or too large is refused with the message and undone, and OK
// refuses a length out of range the same way, on the offending field. When a
// fixed number of bytes ends a record, the lengths must add up to the record
// length.
//
// As the user types, the dialog shows what the math expression and the format
// make of a sample field value, and whether each macro is a valid keystroke
// string (Send Keystrokes mode) or how it is used in the other modes.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "engine/Locale.h"

#include <QDialog>

#include <array>
#include <functional>
#include <string>

class QComboBox;
class QLabel;
class QLayout;
class QLineEdit;
class QSpinBox;

namespace ui {

class FieldDefinitionDialog : public QDialog {
    Q_OBJECT
public:
    FieldDefinitionDialog(config::Config& cfg, config::MessageSink& messages,
                          const engine::Locale& locale, QWidget* parent = nullptr);
    void accept() override;

    // The input filter list: index + 1 is the letter's position in "CINHOB".
    // A letter that is not one of them filters like "C" and shows as index 0.
    static int FilterIndex(const std::string& letter);
    static std::string FilterLetter(int index);

    // How the key and character pickers are run: shows the dialog and answers
    // whether it was accepted (exec by default; the tests answer it).
    void SetPickerRunner(std::function<bool(QDialog&)> run) { runPicker_ = std::move(run); }

    QLineEdit* Preamble() const { return preamble_; }
    QLabel* PreambleCheck() const { return preambleCheck_; }
    QSpinBox* FieldNumber() const { return field_; }
    QComboBox* Filter() const { return filter_; }
    QLineEdit* Length() const { return length_; }
    QComboBox* Format() const { return format_; }
    QLineEdit* Expression() const { return expression_; }
    QLineEdit* Postamble() const { return postamble_; }
    QLabel* PostambleCheck() const { return postambleCheck_; }
    QLineEdit* SampleValue() const { return sample_; }
    QLabel* ExpressionSample() const { return expressionSample_; }
    QLabel* FormatSample() const { return formatSample_; }

    // The words shown for a keystroke parser code 1..5.
    static QString KeyParseMessage(int code);

private:
    // The definitions being edited; lengths as typed, "" for length 0.
    struct Definition {
        std::string filter, format, expression, postamble;
        QString length;
    };

    // The macro box with its two picker buttons beside it, named name + "Keys"
    // and name + "Chars".
    QLayout* MacroRow(QLineEdit* box, const QString& name, const QString& keysCaption,
                      const QString& charsCaption);
    void InsertKeystroke(QLineEdit* box);
    void InsertCharacter(QLineEdit* box);
    void ShowField(int field);
    void LengthEdited();
    void ShowSamples();
    void ShowMacroCheck(const QLineEdit* box, QLabel* check);
    bool LengthsEditable() const;
    Definition& Current() { return definitions_[static_cast<std::size_t>(current_)]; }

    config::Config& cfg_;
    config::MessageSink& messages_;
    const engine::Locale& locale_;
    std::function<bool(QDialog&)> runPicker_;
    std::array<Definition, config::MaxFields + 1> definitions_;
    int current_ = 1;
    bool showing_ = false;   // filling the boxes from a definition, not editing
    QString acceptedLength_; // the length box's last text within the rule

    QLineEdit* preamble_;
    QLabel* preambleCheck_;
    QSpinBox* field_;
    QComboBox* filter_;
    QLineEdit* length_;
    QComboBox* format_;
    QLineEdit* expression_;
    QLineEdit* postamble_;
    QLabel* postambleCheck_;
    QLineEdit* sample_;
    QLabel* expressionSample_;
    QLabel* formatSample_;
};

} // namespace ui
