#pragma once
// "Serial Output Strings": the 20 strings of the runtime window's string
// buttons (caption and text), the acknowledgement string sent after each
// record, and the timed output: its string, its interval in milliseconds
// (0 = none, below 100000000), whether it runs from activation and what it
// does (TimerEnabled = 1 for "Enable Timer On Activation" plus 2, 4 or 8 for
// the chosen action).
//
// Strings are device bytes, control characters included; each box shows and
// takes them in the output string notation ('ABC'13,10), with a line beneath
// it that says what it sends. The list shows all 20 strings; the boxes under
// it edit the selected one. "ASCII Chart..." puts a character code at the
// cursor of the string box last used.
//
// OK stores only when a value differs and then marks the configuration
// changed; an interval of 100000000 or more is refused with its message, the
// focus on the interval and nothing stored.

#include "config/Config.h"
#include "config/MessageSink.h"

#include <QDialog>
#include <QString>

#include <array>
#include <functional>

class QButtonGroup;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableWidget;

namespace ui {

class OutputStringEdit;

class OutputStringsDialog : public QDialog {
    Q_OBJECT
public:
    OutputStringsDialog(config::Config& cfg, config::MessageSink& messages,
                        QWidget* parent = nullptr);
    void accept() override;

    // Makes output string n (1..20) the one the boxes edit.
    void SelectString(int n);
    int SelectedString() const { return selected_; }

    QTableWidget* Strings() const { return table_; }
    QLineEdit* Caption() const { return caption_; }
    OutputStringEdit* Text() const { return text_; }
    QLabel* TextSummary() const { return textSummary_; }
    OutputStringEdit* Ack() const { return ack_; }
    OutputStringEdit* TimerText() const { return timerText_; }
    QLineEdit* Interval() const { return interval_; }
    QCheckBox* TimerOn() const { return timerOn_; }
    QButtonGroup* Action() const { return action_; }
    QPushButton* ChartButton() const { return chart_; }

    // Picks a character code for the ASCII chart button; the ASCII chart
    // unless a test puts something else here. False when the user cancels.
    std::function<bool(int& code)> pickCharacter;

private:
    void ShowRow(int n);
    void PickCharacter();

    config::Config& cfg_;
    config::MessageSink& messages_;
    // The strings as edited so far, 1..20: captions and notations.
    std::array<QString, config::NumOutputStrings + 1> names_;
    std::array<QString, config::NumOutputStrings + 1> notations_;
    int selected_ = 0;
    QTableWidget* table_;
    QLineEdit* caption_;
    OutputStringEdit* text_;
    QLabel* textSummary_;
    OutputStringEdit* ack_;
    OutputStringEdit* timerText_;
    QLineEdit* interval_;
    QCheckBox* timerOn_;
    QButtonGroup* action_;
    QPushButton* chart_;
    OutputStringEdit* lastEdit_; // where the ASCII chart inserts
};

} // namespace ui
