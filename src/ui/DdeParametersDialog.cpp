#include "ui/DdeParametersDialog.h"

#include "control/DdeNames.h"

#include "ui/DialogButtons.h"
#include "ui/QtMessageSink.h"
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include <string>

namespace ui {

namespace {

using Purpose = DdeParametersDialog::Purpose;

// The settings one purpose edits; the flags it has not are null.
struct DdeSettings {
    std::string* app;
    std::string* topic;
    std::string* item;
    config::Flag* autoLink;
    config::Flag* stripCrLf;
};

DdeSettings SettingsOf(config::Config& cfg, Purpose purpose) {
    switch (purpose) {
    case Purpose::TargetCommand:
        return {&cfg.DdeCmdApp, &cfg.DdeCmdTopic, &cfg.DdeCmdText, nullptr, nullptr};
    case Purpose::CommandLink:
        return {&cfg.CmdLinkApp, &cfg.CmdLinkTopic, &cfg.CmdLinkItem, &cfg.CmdLinkAuto, nullptr};
    default:
        return {&cfg.OutLinkApp, &cfg.OutLinkTopic, &cfg.OutLinkItem, &cfg.OutLinkAuto,
                &cfg.StripOutputCrLf};
    }
}

const char* const Notes[] = {
    "After each record in DDE Server mode, Corvane sends the command to the program that owns "
    "this bus name (an Execute on the session bus). Leave the command empty to send none.",
    "Each new value of the item is run as a Corvane command, such as {BEEP}. Another Corvane "
    "serves the application Corvane, with its DDE topic (or its port name, such as COM1) as "
    "the topic, and the items CommandBuffer, RecordNumber, DateTime and Field(1) onward.",
    "Each new value of the item is sent out of the serial port. Another Corvane serves the "
    "application Corvane, with its DDE topic (or its port name, such as COM1) as the topic, "
    "and the items RecordNumber, DateTime and Field(1) onward.",
};

config::Flag FlagOf(const QCheckBox* box) {
    return box->isChecked() ? config::True : config::False;
}

} // namespace

QString DdeParametersDialog::Caption(Purpose purpose) {
    static const char* const captions[] = {"Target Application DDE Command", "DDE Command Link",
                                           "DDE Output Buffer Link"};
    return captions[purpose];
}

DdeParametersDialog::DdeParametersDialog(config::Config& cfg, Purpose purpose, QWidget* parent)
    : QDialog(parent), cfg_(cfg), purpose_(purpose) {
    setWindowTitle(Caption(purpose));
    const DdeSettings settings = SettingsOf(cfg, purpose);
    auto* form = new QFormLayout;
    app_ = new QLineEdit(Latin1Text(*settings.app), this);
    app_->setObjectName("DDEApp");
    app_->setMinimumWidth(360);
    form->addRow("DDE &Application Name:", app_);
    topic_ = new QLineEdit(Latin1Text(*settings.topic), this);
    topic_->setObjectName("DDETop");
    form->addRow("DDE &Topic:", topic_);
    item_ = new QLineEdit(Latin1Text(*settings.item), this);
    item_->setObjectName("DDEItm");
    form->addRow(purpose == TargetCommand ? "DDE &Command:" : "DDE &Item:", item_);
    busName_ = new QLabel(this);
    busName_->setObjectName("BusName");
    busName_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow("Bus name:", busName_);
    for (QLineEdit* box : {app_, topic_})
        connect(box, &QLineEdit::textChanged, this, [this] { ShowBusName(); });
    ShowBusName();

    auto* note = new QLabel(Notes[purpose], this);
    note->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addSpacing(6);
    layout->addWidget(note);
    layout->addSpacing(6);
    if (settings.autoLink) {
        autoLink_ = new QCheckBox("&Establish Link On Activation", this);
        autoLink_->setObjectName("AutoLink");
        autoLink_->setChecked(*settings.autoLink != 0);
        layout->addWidget(autoLink_);
    }
    if (settings.stripCrLf) {
        stripCrLf_ = new QCheckBox("&Strip Trailing CR LF Before Sending", this);
        stripCrLf_->setObjectName("StripCrLf");
        stripCrLf_->setChecked(*settings.stripCrLf != 0);
        layout->addWidget(stripCrLf_);
    }
    layout->addWidget(OkCancelButtons(this));
}

void DdeParametersDialog::ShowBusName() {
    const std::string app = Latin1Bytes(app_->text());
    const std::string topic = Latin1Bytes(topic_->text());
    // A link is only made with both names, and a command needs a program to
    // send it to.
    busName_->setText(app.empty() || topic.empty()
                          ? QString("none: the application and the topic are both needed")
                          : Latin1Text(control::DdeBusName(app, topic)));
}

void DdeParametersDialog::accept() {
    const DdeSettings settings = SettingsOf(cfg_, purpose_);
    const std::string app = Latin1Bytes(app_->text());
    const std::string topic = Latin1Bytes(topic_->text());
    const std::string item = Latin1Bytes(item_->text());
    if (app != *settings.app || topic != *settings.topic || item != *settings.item) {
        *settings.app = app;
        *settings.topic = topic;
        *settings.item = item;
        cfg_.ConfigChanged = config::True;
    }
    // The check boxes are stored as they stand, without marking a change.
    if (autoLink_)
        *settings.autoLink = FlagOf(autoLink_);
    if (stripCrLf_)
        *settings.stripCrLf = FlagOf(stripCrLf_);
    QDialog::accept();
}

} // namespace ui
