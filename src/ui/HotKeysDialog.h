#pragma once
// "Hot Keys": the 50 hot-key slots, listed with each slot's key ("ALT+CTRL+F5"),
// action and, for "Transmit String", what it sends. The boxes under the list
// edit the selected slot: the key, chosen from the key list ("None" = no hot
// key) with the "ALT+", "CTRL+" and "SHIFT+" check boxes; the action; and the
// string that "Transmit String" sends, in the output string notation
// ('ABC'13,10), with a line that says what it sends. "ASCII Chart..." puts a
// character code at that box's cursor.
//
// Choosing "None" for the key clears the slot: no key, action "None", no
// string. Keys outside the list that a configuration may hold (letters,
// digits) stay in the key box until another key is chosen.
//
// A combination that switches a Linux desktop to a text console (Ctrl+Alt
// with F1 to F12) is kept, and the note under the key says that it will not
// reach Corvane.
//
// The same combination in two slots is refused on OK: the desktop gives a
// combination to one program action only, so the second slot could never
// run, and a user who set it up would be left wondering why. While editing,
// a note under the key names the slot that already has it; OK then shows
// "Duplicate Hot Key", selects the later slot and puts the focus on its key.
//
// Under the key, the command that presses the slot from a key binding of the
// desktop's own (where Corvane cannot take the combination itself, as on
// Wayland): corvane hotkey TOPIC SLOT, SLOT counted from 0.
//
// OK stores the three arrays when any slot differs and then marks the
// configuration changed; Cancel stores nothing.

#include "config/Config.h"
#include "config/MessageSink.h"

#include <QDialog>
#include <QString>

#include <array>
#include <functional>
#include <string>

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QTableWidget;

namespace ui {

class OutputStringEdit;

class HotKeysDialog : public QDialog {
    Q_OBJECT
public:
    HotKeysDialog(config::Config& cfg, config::MessageSink& messages, QWidget* parent = nullptr);
    void accept() override;

    // Makes slot (0..49, listed as 1..50) the one the boxes edit.
    void SelectSlot(int slot);
    int SelectedSlot() const { return selected_; }

    QTableWidget* Slots() const { return table_; }
    QComboBox* Key() const { return key_; }
    QCheckBox* Alt() const { return alt_; }
    QCheckBox* Ctrl() const { return ctrl_; }
    QCheckBox* Shift() const { return shift_; }
    QLabel* KeyNote() const { return keyNote_; }
    QLabel* Command() const { return command_; }
    QComboBox* ActionList() const { return action_; }
    OutputStringEdit* Text() const { return text_; }
    QPushButton* ChartButton() const { return chart_; }

    // Picks a character code for the ASCII chart button; the ASCII chart
    // unless a test puts something else here. False when the user cancels.
    std::function<bool(int& code)> pickCharacter;

    // The text of the duplicate refusal for a hot key's name and the slot
    // (0..49) that has it first.
    static std::string DuplicateMessage(const std::string& name, int firstSlot);
    // The command that presses slot (0..49) of the runtime serving topic,
    // as a shell reads it: corvane hotkey COM1 4.
    static std::string HotKeyCommand(const std::string& topic, int slot);

private:
    void ShowSlot();        // the boxes from the selected slot
    void TakeKey();         // the key boxes into the selected slot
    void TakeAction();      // the action box into the selected slot
    void ShowRow(int slot); // one line of the list
    void ShowKeyNote();
    void EnableBoxes();
    void SetKeyBoxes(int code);

    config::Config& cfg_;
    config::MessageSink& messages_;
    // The slots as edited so far; the string as its notation.
    config::HotKeyArray<config::Integer> codes_;
    config::HotKeyArray<config::Integer> actions_;
    std::array<QString, config::NumHotKeys> notations_;
    int selected_ = -1;
    bool showing_ = false; // the boxes are being filled, not edited
    QTableWidget* table_;
    QComboBox* key_;
    QCheckBox* alt_;
    QCheckBox* ctrl_;
    QCheckBox* shift_;
    QLabel* keyNote_;
    QLabel* command_;
    QComboBox* action_;
    OutputStringEdit* text_;
    QPushButton* chart_;
};

} // namespace ui
