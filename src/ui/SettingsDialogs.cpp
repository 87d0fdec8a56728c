#include "ui/SettingsDialogs.h"

#include "config/Validation.h"
#include "engine/Format.h"
#include "output/KeyboardBackend.h"

#include "ui/DialogButtons.h"
#include "ui/NetworkPage.h"
#include "ui/QtMessageSink.h"
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QTabWidget>
#include <QVBoxLayout>

#include <cmath>

namespace ui {

namespace {

config::Flag FlagOf(const QCheckBox* box) {
    return box->isChecked() ? config::True : config::False;
}

} // namespace

AppSelectDialog::AppSelectDialog(config::Config& cfg, config::MessageSink& messages,
                                 QWidget* parent)
    : QDialog(parent), cfg_(cfg), messages_(messages) {
    setWindowTitle("Send Keystrokes To:");
    auto* form = new QFormLayout;
    title_ = new QLineEdit(Latin1Text(cfg.TargetAppTitle), this);
    title_->setObjectName("AppName");
    title_->setMinimumWidth(320);
    // Trimmed when it loses the focus.
    connect(title_, &QLineEdit::editingFinished, this,
            [this] { title_->setText(title_->text().trimmed()); });
    form->addRow("Application &Title Bar Text:", title_);
    command_ = new QLineEdit(Latin1Text(cfg.TargetAppCommand), this);
    command_->setObjectName("AppCmd");
    auto* browse = new QPushButton("&Browse...", this);
    connect(browse, &QPushButton::clicked, this, [this] {
        const QString file = QFileDialog::getOpenFileName(this, "Command Line", QString(),
                                                          "Programs (*);;All Files (*)");
        if (!file.isEmpty())
            command_->setText(file);
    });
    auto* commandRow = new QHBoxLayout;
    commandRow->addWidget(command_, 1);
    commandRow->addWidget(browse);
    form->addRow("&Command Line:", commandRow);
    static_cast<QLabel*>(form->labelForField(commandRow))->setBuddy(command_);
    delay_ = new QLineEdit(QString::number(cfg.InterCharDelay), this);
    delay_->setObjectName("InterCharDelay");
    // Digits only, as typed: any other key beeps and is discarded.
    delay_->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9]{0,9}"), delay_));
    connect(delay_, &QLineEdit::inputRejected, this, [this] { messages_.Beep(); });
    form->addRow("Time &Delay Between Keystrokes (ms):", delay_);
    auto* note = new QLabel(
        "The Time Delay Between Keystrokes is the amount of time Corvane will wait between each "
        "keystroke sent to the target application program.\nSet to 0 for the fastest possible "
        "data transfer.\nSet to higher values for applications that have trouble receiving "
        "keystrokes from Corvane.",
        this);
    note->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(note);
    layout->addWidget(OkCancelButtons(this));
}

void AppSelectDialog::accept() {
    const std::string title = Latin1Bytes(title_->text().trimmed());
    const std::string command = Latin1Bytes(command_->text().trimmed());
    const auto delay = static_cast<config::Long>(delay_->text().toLong());
    if (title != cfg_.TargetAppTitle || command != cfg_.TargetAppCommand ||
        delay != cfg_.InterCharDelay) {
        cfg_.TargetAppTitle = title;
        cfg_.TargetAppCommand = command;
        cfg_.InterCharDelay = delay;
        cfg_.ActivateTarget = !title.empty() || !command.empty() ? config::True : config::False;
        cfg_.ConfigChanged = config::True;
    }
    QDialog::accept();
}

PreferencesDialog::PreferencesDialog(config::Config& cfg, config::MessageSink& messages,
                                     const engine::Locale& locale, QWidget* parent,
                                     config::SettingsStore* store)
    : QDialog(parent), cfg_(cfg), messages_(messages), locale_(locale), store_(store) {
    setWindowTitle("Corvane Preferences");
    auto* general = new QWidget(this);
    auto* layout = new QVBoxLayout(general);
    auto* form = new QFormLayout;
    logFile_ = new QLineEdit(Latin1Text(cfg.LogFileName), this);
    logFile_->setObjectName("LogFileName");
    logFile_->setMinimumWidth(320);
    form->addRow("&Log File:", logFile_);
    layout->addLayout(form);

    const struct {
        const char* name;
        const char* caption;
        bool checked;
    } boxes[] = {
        {"BeepOnInput", "&Beep on Input", cfg.BeepOnInput != 0},
        {"MinimizeOnActivation", "&Minimize on Activation", cfg.MinimizeOnActivation != 0},
        {"ActivateSuspended", "Activate Initially &Suspended", cfg.ActivateSuspended != 0},
        {"AlwaysOnTop", "Display Vardle Window &Always on Top", cfg.AlwaysOnTop != 0},
        {"ShowDtr", "Display D&TR Toggle Button in Vardle Window", (cfg.ButtonDisplay & 1) != 0},
        {"ShowBreak", "Display B&REAK Button in Vardle Window", (cfg.ButtonDisplay & 2) != 0},
        {"ShowDateTime", "Display &Date/Time in Vardle Window", cfg.ShowDateTime != 0},
    };
    for (const auto& b : boxes) {
        auto* box = new QCheckBox(b.caption, this);
        box->setObjectName(b.name);
        box->setChecked(b.checked);
        layout->addWidget(box);
    }
    auto* formatForm = new QFormLayout;
    format_ = new QLineEdit(Latin1Text(cfg.DateTimeFormat), this);
    format_->setObjectName("DateTimeFormat");
    sample_ = new QLabel(this);
    sample_->setObjectName("DateTimeSample");
    formatForm->addRow("Date/Time &Format:", format_);
    formatForm->addRow("Looks like:", sample_);
    layout->addLayout(formatForm);
    connect(format_, &QLineEdit::textChanged, this, [this] { ShowSample(); });
    ShowSample();

    auto* topicBox = new QGroupBox("DDE Topic", this);
    auto* topicLayout = new QVBoxLayout(topicBox);
    usePort_ = new QRadioButton("&Use Com Port Name As DDE Topic", topicBox);
    specify_ = new QRadioButton("S&pecify Topic:", topicBox);
    topic_ = new QLineEdit(Latin1Text(cfg.DdeTopicName), topicBox);
    topic_->setObjectName("DdeTopicName");
    (cfg.DdeTopicName.empty() ? usePort_ : specify_)->setChecked(true);
    topic_->setEnabled(specify_->isChecked());
    connect(specify_, &QRadioButton::toggled, topic_, &QLineEdit::setEnabled);
    topicLayout->addWidget(usePort_);
    auto* specifyRow = new QHBoxLayout;
    specifyRow->addWidget(specify_);
    specifyRow->addWidget(topic_, 1);
    topicLayout->addLayout(specifyRow);
    layout->addWidget(topicBox);
    if (store_) {
        // The item data is the backend's name, as --keyboard takes it.
        keyboard_ = new QComboBox(general);
        keyboard_->setObjectName("KeystrokeBackend");
        keyboard_->addItem("Automatic (the session's own)", "auto");
        keyboard_->addItem("X11 (XTest; on Wayland only X11 programs)", "x11");
        keyboard_->addItem("wlroots (sway, Hyprland, labwc, river, Wayfire)", "wlroots");
        keyboard_->setCurrentIndex(keyboard_->findData(
            QString(output::KeyboardBackendName(output::StoredKeyboardBackend(*store_)))));
        auto* keyboardForm = new QFormLayout;
        keyboardForm->addRow("&Keystrokes Through:", keyboard_);
        layout->addLayout(keyboardForm);
    }
    layout->addStretch(1);
    pages_ = new QTabWidget(this);
    pages_->addTab(general, "&General");
    network_ = new NetworkPage(cfg, this);
    pages_->addTab(network_, "&Network");
    auto* dialogLayout = new QVBoxLayout(this);
    dialogLayout->addWidget(pages_);
    dialogLayout->addWidget(OkCancelButtons(this));
}

QCheckBox* PreferencesDialog::Box(const char* objectName) const {
    return findChild<QCheckBox*>(objectName);
}

void PreferencesDialog::ShowSample() {
    // 15 November 2026, 14:05:09, as the runtime window would show it.
    const engine::DateTime sample{2026, 11, 15, 14, 5, 9};
    sample_->setText(
        Latin1Text(engine::FormatDateTime(sample, Latin1Bytes(format_->text()), locale_)));
}

void PreferencesDialog::accept() {
    const std::string topic = Latin1Bytes(topic_->text().trimmed());
    if (const config::Check bad = config::CheckDdeTopic(specify_->isChecked(), topic)) {
        if (bad->beep)
            messages_.Beep();
        messages_.Show(
            {bad->text, bad->title, config::MessageIcon::Exclamation, config::MessageButtons::Ok});
        pages_->setCurrentIndex(0);
        topic_->setFocus();
        return; // nothing stored
    }
    QWidget* offending = nullptr;
    std::string why = network_->Check(&offending);
    if (why.empty() && !network_->Store())
        why = "Cannot write " + network_->Path();
    if (!why.empty()) {
        messages_.Show({why, "Corvane Preferences", config::MessageIcon::Exclamation,
                        config::MessageButtons::Ok});
        pages_->setCurrentWidget(network_);
        (offending ? offending : network_)->setFocus();
        return; // nothing stored
    }
    config::Config next = cfg_;
    next.LogFileName = Latin1Bytes(logFile_->text().trimmed());
    next.BeepOnInput = FlagOf(Box("BeepOnInput"));
    next.MinimizeOnActivation = FlagOf(Box("MinimizeOnActivation"));
    next.ActivateSuspended = FlagOf(Box("ActivateSuspended"));
    next.AlwaysOnTop = FlagOf(Box("AlwaysOnTop"));
    next.ButtonDisplay = static_cast<config::Integer>((Box("ShowDtr")->isChecked() ? 1 : 0) +
                                                      2 * (Box("ShowBreak")->isChecked() ? 1 : 0));
    next.ShowDateTime = FlagOf(Box("ShowDateTime"));
    next.DateTimeFormat = Latin1Bytes(format_->text());
    next.DdeTopicName = specify_->isChecked() ? topic : std::string();
    const bool changed =
        next.LogFileName != cfg_.LogFileName || next.BeepOnInput != cfg_.BeepOnInput ||
        next.MinimizeOnActivation != cfg_.MinimizeOnActivation ||
        next.ActivateSuspended != cfg_.ActivateSuspended || next.AlwaysOnTop != cfg_.AlwaysOnTop ||
        next.ButtonDisplay != cfg_.ButtonDisplay || next.ShowDateTime != cfg_.ShowDateTime ||
        next.DateTimeFormat != cfg_.DateTimeFormat || next.DdeTopicName != cfg_.DdeTopicName;
    if (changed) {
        next.ConfigChanged = config::True;
        cfg_ = next;
    }
    // Kept for the user, not in the configuration: it does not mark it changed.
    if (keyboard_)
        output::StoreKeyboardBackend(
            *store_, output::ParseKeyboardBackend(keyboard_->currentData().toString().toStdString())
                         .value_or(output::KeyboardBackend::Auto));
    QDialog::accept();
}

} // namespace ui
