#pragma once
// "Keystrokes": the parts of the keystroke notation to insert into a macro.
// The braced key names ("{TAB}", "{F1}", ...), optionally with a repeat count
// ("{TAB 3}"); the braced forms that type a notation character itself
// ("{+}", "{}}"); and the modifiers and specials ("+" Shift, "^" Ctrl, "%"
// Alt over the next key or group, "~" Enter, "( )" a group). OK or a double
// click closes it; SelectedText is then the text to insert.

#include <QDialog>

class QSpinBox;
class QTreeWidget;

namespace ui {

class KeystrokePickerDialog : public QDialog {
    Q_OBJECT
public:
    explicit KeystrokePickerDialog(QWidget* parent = nullptr);

    // The notation of the chosen row with the repeat count applied ("{TAB 3}");
    // empty when no row is chosen.
    QString SelectedText() const;
    // Chooses the row whose notation is text ("{TAB}", "^"); false when none.
    bool SelectText(const QString& text);

    QTreeWidget* Keys() const { return keys_; }
    QSpinBox* Repeat() const { return repeat_; }

private:
    void EnableRepeat();

    QTreeWidget* keys_;
    QSpinBox* repeat_;
};

} // namespace ui
