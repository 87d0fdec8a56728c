#pragma once
// How records are framed, as the setup window edits it: "Start and End Of
// Record Events" first, then the dialog that follows the chosen end event:
// "Fixed Length Record" for a fixed number of bytes; otherwise "Input Record
// Structure" (after "Timed Input" for a pause between records), and
// "Delimited Record" for delimited fields. Each stores only on OK, marks the
// configuration changed when a value differed, and refuses a value out of
// range with its message, the focus on the box and nothing stored.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "config/Validation.h"

#include <QDialog>

#include <functional>
#include <optional>

class QButtonGroup;
class QLineEdit;

namespace ui {

class RecordEventsDialog : public QDialog {
    Q_OBJECT
public:
    RecordEventsDialog(config::Config& cfg, config::MessageSink& messages,
                       QWidget* parent = nullptr);
    void accept() override;

    QButtonGroup* StartEvents() const { return start_; }
    QButtonGroup* EndEvents() const { return end_; }
    QLineEdit* StartChars() const { return startChars_; }
    QLineEdit* EndChars() const { return endChars_; }
    // Picks a character code for the chart buttons (the ASCII chart unless a
    // test answers).
    std::function<bool(int& code)> pickCharacter;

private:
    config::Config& cfg_;
    config::MessageSink& messages_;
    QButtonGroup* start_;
    QButtonGroup* end_;
    QLineEdit* startChars_;
    QLineEdit* endChars_;
};

// One whole number with its rule: the record length, the ticks between
// records, (with a delimiter) the number of delimited fields.
class NumberDialog : public QDialog {
    Q_OBJECT
public:
    struct Spec {
        QString title, label;
        std::function<config::Check(long)> check;
    };
    NumberDialog(const Spec& spec, long value, config::MessageSink& messages,
                 QWidget* parent = nullptr);
    void accept() override;
    QLineEdit* Value() const { return value_; }
    // With a second box for the delimiter character ("Delimited Record").
    void AddDelimiter(const std::string& delimiter);
    QLineEdit* Delimiter() const { return delimiter_; }
    std::function<bool(int& code)> pickCharacter;
    long Number() const;

private:
    Spec spec_;
    config::MessageSink& messages_;
    QLineEdit* value_;
    QLineEdit* delimiter_ = nullptr;
};

class RecordStructureDialog : public QDialog {
    Q_OBJECT
public:
    RecordStructureDialog(const config::Config& cfg, QWidget* parent = nullptr);
    QButtonGroup* Choices() const { return choices_; }

private:
    QButtonGroup* choices_;
};

// The whole sequence from the events dialog on; asks through run (which
// shows a dialog and answers whether it was accepted), so that tests can
// answer the dialogs. True when the events dialog was accepted.
bool EditRecordFraming(config::Config& cfg, config::MessageSink& messages, QWidget* parent,
                       const std::function<bool(QDialog&)>& run);

} // namespace ui
