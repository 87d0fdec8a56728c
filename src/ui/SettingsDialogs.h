#pragma once
// Two of the setup window's dialogs. Each stores only on OK, marks the
// configuration changed when a value differed, and on a refusal shows the
// message, puts the focus on the offending box and stores nothing.
//
// AppSelectDialog, "Send Keystrokes To:": the target application's title bar
// text, its command line (with a browse button) and the delay between
// keystrokes (digits only: any other key beeps and is discarded). OK stores all three when one of
// them differs, and then ActivateTarget = either text not empty.
//
// PreferencesDialog, "Corvane Preferences": the log file, the five check
// boxes, the two runtime window buttons (ButtonDisplay = DTR + 2 x BREAK),
// the date/time display with its format (a sample shown as it is typed),
// and the program's DDE topic (the port's name, or a topic that must not be
// blank) on its General page; the link to an MQTT broker on its Network page
// (NetworkPage, kept in a file beside the configuration). Given the per-user
// settings store, it also offers the keystroke backend ("Keystrokes
// Through"), which is kept there, not in the configuration: it belongs to the
// desktop, not to the instrument.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "config/SettingsStore.h"
#include "engine/Locale.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QTabWidget;

namespace ui {

class AppSelectDialog : public QDialog {
    Q_OBJECT
public:
    AppSelectDialog(config::Config& cfg, config::MessageSink& messages, QWidget* parent = nullptr);
    void accept() override;

    QLineEdit* Title() const { return title_; }
    QLineEdit* Command() const { return command_; }
    QLineEdit* Delay() const { return delay_; }

private:
    config::Config& cfg_;
    config::MessageSink& messages_;
    QLineEdit* title_;
    QLineEdit* command_;
    QLineEdit* delay_;
};

class PreferencesDialog : public QDialog {
    Q_OBJECT
public:
    PreferencesDialog(config::Config& cfg, config::MessageSink& messages,
                      const engine::Locale& locale, QWidget* parent = nullptr,
                      config::SettingsStore* store = nullptr);
    void accept() override;

    QLineEdit* LogFile() const { return logFile_; }
    QCheckBox* Box(const char* objectName) const;
    QLineEdit* DateTimeFormat() const { return format_; }
    QLabel* DateTimeSample() const { return sample_; }
    QRadioButton* UsePortName() const { return usePort_; }
    QRadioButton* SpecifyTopic() const { return specify_; }
    QLineEdit* Topic() const { return topic_; }
    QTabWidget* Pages() const { return pages_; }
    class NetworkPage* Network() const {
        return network_;
    }
    // Null without a settings store.
    QComboBox* KeystrokeBackend() const { return keyboard_; }

private:
    void ShowSample();

    config::Config& cfg_;
    config::MessageSink& messages_;
    const engine::Locale& locale_;
    QLineEdit* logFile_;
    QLineEdit* format_;
    QLabel* sample_;
    QRadioButton* usePort_;
    QRadioButton* specify_;
    QLineEdit* topic_;
    QTabWidget* pages_;
    NetworkPage* network_;
    config::SettingsStore* store_;
    QComboBox* keyboard_ = nullptr;
};

} // namespace ui
