#pragma once
// The Network page of "Corvane Preferences": the configuration's link to an
// MQTT broker, kept in the small INI file beside the configuration
// (balance.QX3 -> balance.mqtt.ini), so that the configuration file keeps its
// layout and the network settings travel with it. It reads the file when it
// opens, checks the settings with the rules a run uses on OK, and writes the
// file only then. "Test Connection" tries the broker with what the page
// shows, without saving it.

#include "config/Config.h"
#include "output/BrokerSettings.h"
#include "output/MqttProbe.h"

#include <QWidget>

#include <memory>
#include <string>

class QFormLayout;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace ui {

class NetworkPage : public QWidget {
    Q_OBJECT
public:
    // Edits the network settings of cfg's file; an untitled configuration
    // has none until it is saved.
    explicit NetworkPage(const config::Config& cfg, QWidget* parent = nullptr);
    ~NetworkPage() override;

    // The settings as the page shows them.
    output::BrokerSettings Settings() const;
    // Empty when they can be used (or publishing is off); else why not, and
    // the box to put the focus on.
    std::string Check(QWidget** offending) const;
    // Writes the file when the settings differ from it; false when it
    // cannot be written.
    bool Store();
    // Where the settings are kept; empty for an untitled configuration.
    const std::string& Path() const { return path_; }

    QCheckBox* Enabled() const { return enabled_; }
    QLineEdit* Url() const { return url_; }
    QLineEdit* User() const { return user_; }
    QLineEdit* Password() const { return password_; }
    QLineEdit* PasswordFile() const { return passwordFile_; }
    QComboBox* Qos() const { return qos_; }
    QLineEdit* CaFile() const { return caFile_; }
    QLineEdit* CertFile() const { return certFile_; }
    QLineEdit* KeyFile() const { return keyFile_; }
    QCheckBox* Commands() const { return commands_; }
    QLineEdit* CommandFolder() const { return commandFolder_; }
    QLabel* Topics() const { return topics_; }
    QPushButton* TestButton() const { return test_; }
    QLabel* TestResult() const { return result_; }

private:
    QLineEdit* FileRow(QFormLayout* form, const char* caption, const char* name,
                       const QString& placeholder, bool folder);
    void Show(const output::BrokerSettings& s);
    void ShowTopics();
    void TestConnection();

    std::string path_;
    std::string busTopic_;
    output::BrokerSettings loaded_;
    bool fileExists_ = false;
    std::unique_ptr<output::MqttProbe> probe_;
    QCheckBox* enabled_;
    QLineEdit* url_;
    QLineEdit* user_;
    QLineEdit* password_;
    QLineEdit* passwordFile_;
    QComboBox* qos_;
    QLineEdit* caFile_;
    QLineEdit* certFile_;
    QLineEdit* keyFile_;
    QCheckBox* commands_;
    QLineEdit* commandFolder_;
    QLabel* topics_;
    QPushButton* test_;
    QLabel* result_;
};

} // namespace ui
