#pragma once
// The DDE parameters dialog: an application, a topic and a third text, opened
// for one of three purposes:
//
// - TargetCommand, "Target Application DDE Command": the command sent to
//   another application after each record in DDE Server mode (DdeCmdApp,
//   DdeCmdTopic, DdeCmdText).
// - CommandLink, "DDE Command Link": the item whose every new value runs as a
//   command (CmdLinkApp, CmdLinkTopic, CmdLinkItem; CmdLinkAuto).
// - OutputLink, "DDE Output Buffer Link": the item whose every new value is
//   sent out of the serial port (OutLinkApp, OutLinkTopic, OutLinkItem;
//   OutLinkAuto and StripOutputCrLf).
//
// On Linux DDE runs on the session bus: the application and the topic name
// the other program's bus name, which the dialog shows as it is typed. OK
// stores the three texts when one of them differs, and then marks the
// configuration changed; the check boxes are stored every time. Cancel
// stores nothing.

#include "config/Config.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;

namespace ui {

class DdeParametersDialog : public QDialog {
    Q_OBJECT
public:
    enum Purpose { TargetCommand, CommandLink, OutputLink };

    DdeParametersDialog(config::Config& cfg, Purpose purpose, QWidget* parent = nullptr);
    void accept() override;

    static QString Caption(Purpose purpose);

    QLineEdit* App() const { return app_; }
    QLineEdit* Topic() const { return topic_; }
    QLineEdit* Item() const { return item_; }
    QLabel* BusName() const { return busName_; }
    // Establish the link on activation; none for the target command.
    QCheckBox* AutoLink() const { return autoLink_; }
    // Strip a trailing CR LF; only for the output buffer link.
    QCheckBox* StripCrLf() const { return stripCrLf_; }

private:
    void ShowBusName();

    config::Config& cfg_;
    Purpose purpose_;
    QLineEdit* app_;
    QLineEdit* topic_;
    QLineEdit* item_;
    QLabel* busName_;
    QCheckBox* autoLink_ = nullptr;
    QCheckBox* stripCrLf_ = nullptr;
};

} // namespace ui
