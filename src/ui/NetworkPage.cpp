#include "ui/NetworkPage.h"

#include "control/DdeNames.h"
#include "ui/QtMessageSink.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <filesystem>

namespace ui {

namespace {

// How long "Test Connection" waits for the broker.
constexpr int TestLimitMs = 10000;

QString Text(const std::string& bytes) {
    return QString::fromStdString(bytes);
}

std::string Bytes(const QLineEdit* box) {
    return box->text().trimmed().toStdString();
}

} // namespace

NetworkPage::NetworkPage(const config::Config& cfg, QWidget* parent) : QWidget(parent) {
    const std::string bus = control::DdeBusName(control::DdeServerApp, config::DdeTopic(cfg));
    busTopic_ = bus.substr(bus.rfind('.') + 1);
    if (!cfg.ConfigFileName.empty())
        path_ = output::BrokerSettingsPath(cfg.ConfigFileName);

    auto* layout = new QVBoxLayout(this);
    enabled_ = new QCheckBox("&Publish records to an MQTT broker", this);
    enabled_->setObjectName("MqttEnabled");
    layout->addWidget(enabled_);

    auto* brokerBox = new QGroupBox("Broker", this);
    auto* broker = new QFormLayout(brokerBox);
    url_ = new QLineEdit(brokerBox);
    url_->setObjectName("MqttUrl");
    url_->setPlaceholderText("mqtt://broker.lab/corvane or mqtts://broker.lab:8883/site");
    url_->setMinimumWidth(360);
    broker->addRow("&Address:", url_);
    user_ = new QLineEdit(brokerBox);
    user_->setObjectName("MqttUser");
    broker->addRow("&User name:", user_);
    password_ = new QLineEdit(brokerBox);
    password_->setObjectName("MqttPassword");
    password_->setEchoMode(QLineEdit::Password);
    password_->setPlaceholderText("or from the file below, or $" +
                                  QString(output::PasswordVariable));
    broker->addRow("Pass&word:", password_);
    passwordFile_ = FileRow(broker, "Password &file:", "MqttPasswordFile", "none", false);
    qos_ = new QComboBox(brokerBox);
    qos_->setObjectName("MqttQos");
    qos_->addItems({"0 - at most once", "1 - at least once", "2 - exactly once"});
    broker->addRow("&Quality of service:", qos_);
    layout->addWidget(brokerBox);

    auto* tlsBox = new QGroupBox("TLS (addresses that start with mqtts://)", this);
    auto* tls = new QFormLayout(tlsBox);
    caFile_ = FileRow(tls, "C&A certificate:", "MqttCaFile", "the system's trust store", false);
    certFile_ = FileRow(tls, "Client &certificate:", "MqttCertFile", "none", false);
    keyFile_ = FileRow(tls, "Client &key:", "MqttKeyFile", "none", false);
    layout->addWidget(tlsBox);

    auto* commandBox = new QGroupBox("Commands from the network", this);
    auto* commands = new QFormLayout(commandBox);
    commands_ = new QCheckBox(commandBox);
    commands_->setObjectName("MqttCommands");
    commands->addRow(commands_);
    commandFolder_ = FileRow(commands, "Folder for files &named:", "MqttCommandFolder",
                             "none: commands may name no file", true);
    layout->addWidget(commandBox);

    topics_ = new QLabel(this);
    topics_->setObjectName("MqttTopics");
    topics_->setWordWrap(true);
    topics_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(topics_);

    auto* testRow = new QHBoxLayout;
    test_ = new QPushButton("&Test Connection", this);
    test_->setObjectName("MqttTest");
    result_ = new QLabel(this);
    result_->setObjectName("MqttTestResult");
    result_->setWordWrap(true);
    testRow->addWidget(test_, 0, Qt::AlignTop);
    testRow->addWidget(result_, 1);
    layout->addLayout(testRow);

    auto* note = new QLabel(this);
    note->setWordWrap(true);
    layout->addWidget(note);
    layout->addStretch(1);

    std::string why;
    if (path_.empty()) {
        note->setText("Save the configuration first: its network settings are kept in a file "
                      "beside it, named after it.");
    } else {
        note->setText("Kept in " + Text(std::filesystem::path(path_).filename().string()) +
                      " beside the configuration, and written when you press OK.");
        fileExists_ = std::filesystem::exists(path_);
        if (auto read = output::ReadBrokerSettings(path_, why))
            loaded_ = *read;
        else
            result_->setText(Text(why));
    }
    Show(loaded_);

    // Everything but the switch follows it; nothing without a file to keep it.
    auto follow = [this, brokerBox, tlsBox, commandBox] {
        const bool on = enabled_->isChecked();
        for (QWidget* w : std::initializer_list<QWidget*>{brokerBox, tlsBox, commandBox, test_})
            w->setEnabled(on);
        ShowTopics();
    };
    enabled_->setEnabled(!path_.empty());
    connect(enabled_, &QCheckBox::toggled, this, follow);
    connect(url_, &QLineEdit::textChanged, this, [this] { ShowTopics(); });
    connect(test_, &QPushButton::clicked, this, [this] { TestConnection(); });
    follow();
}

NetworkPage::~NetworkPage() = default;

QLineEdit* NetworkPage::FileRow(QFormLayout* form, const char* caption, const char* name,
                                const QString& placeholder, bool folder) {
    auto* box = new QLineEdit(form->parentWidget());
    box->setObjectName(name);
    box->setPlaceholderText(placeholder);
    auto* browse = new QPushButton("Browse...", form->parentWidget());
    connect(browse, &QPushButton::clicked, this, [this, box, folder] {
        const QString chosen = folder
                                   ? QFileDialog::getExistingDirectory(this, "Folder", box->text())
                                   : QFileDialog::getOpenFileName(this, "File", box->text());
        if (!chosen.isEmpty())
            box->setText(chosen);
    });
    auto* row = new QHBoxLayout;
    row->addWidget(box, 1);
    row->addWidget(browse);
    form->addRow(caption, row);
    static_cast<QLabel*>(form->labelForField(row))->setBuddy(box);
    return box;
}

void NetworkPage::Show(const output::BrokerSettings& s) {
    enabled_->setChecked(s.enabled);
    url_->setText(Text(s.url));
    user_->setText(Text(s.user));
    password_->setText(Text(s.password));
    passwordFile_->setText(Text(s.passwordFile));
    qos_->setCurrentIndex(s.qos);
    caFile_->setText(Text(s.caFile));
    certFile_->setText(Text(s.certFile));
    keyFile_->setText(Text(s.keyFile));
    commands_->setChecked(s.commands);
    commandFolder_->setText(Text(s.commandFolder));
}

output::BrokerSettings NetworkPage::Settings() const {
    output::BrokerSettings s = loaded_; // keeps what the page does not show
    s.enabled = enabled_->isChecked();
    s.url = Bytes(url_);
    s.user = Bytes(user_);
    s.password = password_->text().toStdString();
    s.passwordFile = Bytes(passwordFile_);
    s.qos = qos_->currentIndex();
    s.caFile = Bytes(caFile_);
    s.certFile = Bytes(certFile_);
    s.keyFile = Bytes(keyFile_);
    s.commands = commands_->isChecked();
    s.commandFolder = Bytes(commandFolder_);
    return s;
}

void NetworkPage::ShowTopics() {
    std::string why;
    const auto address = output::ParseBrokerUrl(Bytes(url_), why);
    const std::string prefix = address ? address->prefix : output::DefaultTopicPrefix;
    const output::BrokerTopics t = output::TopicsFor(prefix, busTopic_);
    commands_->setText("&Run the commands published to " + Text(t.execute));
    topics_->setText("Records go to " + Text(t.record) + ", the runtime's status to " +
                     Text(t.status) + ".");
    test_->setEnabled(enabled_->isChecked() && !url_->text().trimmed().isEmpty());
}

std::string NetworkPage::Check(QWidget** offending) const {
    const output::BrokerSettings s = Settings();
    if (!s.enabled)
        return "";
    std::string why;
    if (output::ResolveBrokerSettings(s, output::ProcessEnvironment, why))
        return "";
    // The box the refusal is about: the address unless it names another.
    const std::pair<const char*, QWidget*> boxes[] = {
        {"Commands from", commands_},      {"password file", passwordFile_},
        {"no user name", user_},           {"CA file", caFile_},
        {"client certificate", certFile_}, {"quality of service", qos_}};
    QWidget* box = url_;
    for (const auto& [words, widget] : boxes)
        if (why.find(words) != std::string::npos) {
            box = widget;
            break;
        }
    if (offending)
        *offending = box;
    return why;
}

bool NetworkPage::Store() {
    const output::BrokerSettings s = Settings();
    // Nothing to keep for a configuration that never had a broker.
    if (path_.empty() || (!fileExists_ && !s.enabled) || (fileExists_ && s == loaded_))
        return true;
    if (!output::WriteBrokerSettings(path_, s))
        return false;
    loaded_ = s;
    fileExists_ = true;
    return true;
}

void NetworkPage::TestConnection() {
    output::BrokerSettings s = Settings();
    s.commands = false; // a test takes no commands
    std::string why;
    const auto connection = output::ResolveBrokerSettings(s, output::ProcessEnvironment, why);
    if (!connection) {
        result_->setText(Text(why));
        return;
    }
    const QString url = Text(output::BrokerUrl(connection->address));
    result_->setText("Connecting to " + url + " ...");
    test_->setEnabled(false);
    probe_ = std::make_unique<output::MqttProbe>();
    probe_->Start(*connection, TestLimitMs, [this, url](bool ok, const std::string& reason) {
        result_->setText(ok ? "Connected: the broker " + url + " takes the connection."
                            : "Cannot connect to " + url + ": " + Text(reason) + ".");
        test_->setEnabled(true);
    });
}

} // namespace ui
