#include "ui/SetupWindow.h"

#include "config/ConfigFile.h"
#include "config/RecentFiles.h"
#include "control/HotKeys.h"
#include "engine/ProcessLocale.h"
#include "output/RecordDispatch.h"
#include "serial/PortSettings.h"
#include "ui/DdeParametersDialog.h"
#include "ui/FieldDefinitionDialog.h"
#include "ui/HotKeysDialog.h"
#include "ui/OutputStringsDialog.h"
#include "ui/PortSetupDialog.h"
#include "ui/RecordDialogs.h"
#include "ui/SettingsDialogs.h"
#include "ui/TranslationTableDialog.h"

#include "ui/QtMessageSink.h"
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace ui {

namespace {

std::string Path(const QString& s) {
    const QByteArray bytes = s.toLocal8Bit();
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

const char* const TransferModeNames[] = {"Send Keystrokes", "DDE Server", "Log To Disk"};
const char* const StartEventNames[] = {"any character", "a letter or digit", "a number",
                                       "a special character"};
const char* const EndEventNames[] = {"a carriage return (or CR LF)", "a pause",
                                     "a fixed number of bytes", "a special character"};
const char* const FilterNames[] = {
    "", "ignored", "numbers only", "hex to decimal", "octal to decimal", "binary to hex"};
const char* const StructureNames[] = {"one field", "delimited fields", "fixed-length fields"};

} // namespace

std::string DescribeConfiguration(const config::Config& cfg) {
    const serial::LineSettings line = serial::MapSettings(cfg);
    static const char* const parities[] = {"None", "Odd", "Even", "Mark", "Space"};
    static const char* const stops[] = {"1", "1.5", "2"};
    std::string text = "Port: " + config::PortName(cfg) + ", " + std::to_string(line.baudRate) +
                       " baud, parity " + parities[static_cast<int>(line.parity)] + ", " +
                       std::to_string(line.dataBits) + " data bits, " +
                       stops[static_cast<int>(line.stopBits)] + " stop bit" +
                       (line.stopBits == serial::StopBits::One ? "" : "s") + "\n";
    const auto pick = [](const char* const* names, long index, long count) {
        return index >= 0 && index < count ? std::string(names[index]) : std::string("?");
    };
    text += "Records start at " + pick(StartEventNames, cfg.StartOfRecordEvent, 4) + ", end at " +
            pick(EndEventNames, cfg.EndOfRecordEvent, 4) + "; " +
            pick(StructureNames, cfg.RecordStructure, 3);
    if (cfg.RecordStructure != 0)
        text += " (" + std::to_string(cfg.NumFields) + ")";
    // Each field that does more than pass its text on, the first few.
    const int fields =
        cfg.RecordStructure == 0 ? 1 : std::clamp<int>(cfg.NumFields, 1, config::MaxFields);
    int described = 0;
    for (int i = 1; i <= fields; ++i) {
        std::string parts;
        const auto add = [&parts](const std::string& part) {
            parts += (parts.empty() ? "" : ", ") + part;
        };
        const std::size_t filter = std::string_view("CINHOB").find(
            cfg.FieldFilter[i].empty() ? 'C' : cfg.FieldFilter[i][0]);
        if (filter != 0 && filter != std::string_view::npos)
            add(FilterNames[filter]);
        if (!cfg.FieldExpression[i].empty())
            add("math " + cfg.FieldExpression[i]);
        if (!cfg.FieldFormat[i].empty())
            add("format " + cfg.FieldFormat[i]);
        if (parts.empty())
            continue;
        if (++described > 4) {
            text += "\n  ...";
            break;
        }
        text += "\n  Field " + std::to_string(i) + ": " + parts;
    }
    text += "\nDelivery: " + pick(TransferModeNames, cfg.TransferMode, 3);
    if (cfg.TransferMode == config::SendKeystrokes && !cfg.TargetAppTitle.empty())
        text += " into the window titled \"" + cfg.TargetAppTitle + "\"";
    else if (cfg.TransferMode == config::LogToDisk)
        text += " to " + cfg.LogFileName;
    else if (cfg.TransferMode == config::DdeServer)
        text += " as Corvane " + config::DdeTopic(cfg);
    const std::size_t hotKeys = control::HotKeyTable(cfg).size();
    if (hotKeys > 0)
        text += "\nHot keys: " + std::to_string(hotKeys);
    return text;
}

SetupWindow::SetupWindow(config::Config& cfg, config::SettingsStore& store,
                         config::MessageSink& messages, QWidget* parent)
    : QMainWindow(parent), cfg_(cfg), store_(store), messages_(messages) {
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    overview_ = new QLabel(central);
    overview_->setObjectName("Overview");
    overview_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    overview_->setWordWrap(true);
    layout->addWidget(overview_);
    layout->addStretch();
    setCentralWidget(central);
    resize(520, 200);
    BuildMenus();
    Refresh();
}

QString SetupWindow::Title(const config::Config& cfg) {
    if (cfg.ConfigFileName.empty())
        return "Corvane Setup (Untitled)";
    return "Corvane Setup - " +
           QFileInfo(QString::fromLocal8Bit(cfg.ConfigFileName.c_str())).fileName();
}

void SetupWindow::Refresh() {
    setWindowTitle(Title(cfg_) + (cfg_.ConfigChanged ? " *" : ""));
    overview_->setText(Latin1Text(DescribeConfiguration(cfg_)));
    for (int m = 0; m < 3; ++m)
        modeActions_[m]->setChecked(cfg_.TransferMode == m);
    RefreshRecentFiles();
}

void SetupWindow::BuildMenus() {
    file_ = menuBar()->addMenu("&File");
    file_->addAction("&New", QKeySequence::New, this, [this] { New(); });
    file_->addAction("&Open...", QKeySequence::Open, this, [this] {
        if (!MayLeave())
            return;
        const QString path = QFileDialog::getOpenFileName(
            this, "Open Configuration", QString(),
            "Corvane Config (*.QX3);;Corvane 1.x Config (*.QX1);;All Files (*)");
        if (!path.isEmpty()) {
            cfg_.ConfigChanged = config::False; // already asked
            Open(Path(path));
        }
    });
    file_->addAction("&Save", QKeySequence::Save, this, [this] { Save(); });
    file_->addAction("Save &As...", QKeySequence::SaveAs, this, [this] { AskAndSaveAs(); });
    recentSeparator_ = file_->addSeparator();
    file_->addSeparator();
    file_->addAction("E&xit", this, [this] { close(); });

    QMenu* settings = menuBar()->addMenu("&Settings");
    settings->addAction("Serial &Port...", this, [this] {
        PortSetupDialog dialog(
            cfg_, messages_,
            [this](const std::string& comName) {
                config::Config probe = cfg_;
                probe.PortNumber = static_cast<config::Integer>(std::stoi(comName.substr(3)) - 1);
                return serial::DevicePathFor(probe, store_, std::nullopt);
            },
            this);
        dialog.exec();
        Refresh();
    });
    settings->addAction("&Records...", this, [this] {
        EditRecordFraming(cfg_, messages_, this,
                          [](QDialog& d) { return d.exec() == QDialog::Accepted; });
        Refresh();
    });
    settings->addAction("&Field Definitions...", this, [this] {
        const engine::Locale locale = engine::ReadProcessLocale();
        FieldDefinitionDialog dialog(cfg_, messages_, locale, this);
        dialog.exec();
        Refresh();
    });
    settings->addAction("&Translation Tables...", this, [this] {
        TranslationTableDialog dialog(cfg_, TranslationTableDialog::TableForMode(cfg_.TransferMode),
                                      this);
        dialog.exec();
        Refresh();
    });
    settings->addAction("Serial &Output Strings...", this, [this] {
        OutputStringsDialog dialog(cfg_, messages_, this);
        dialog.exec();
        Refresh();
    });
    settings->addAction("&Hot Keys...", this, [this] {
        HotKeysDialog dialog(cfg_, messages_, this);
        dialog.exec();
        Refresh();
    });
    settings->addSeparator();
    settings->addAction("Send &Keystrokes To...", this, [this] {
        AppSelectDialog dialog(cfg_, messages_, this);
        dialog.exec();
        Refresh();
    });
    QMenu* dde = settings->addMenu("&DDE");
    const struct {
        const char* caption;
        DdeParametersDialog::Purpose purpose;
    } ddeEntries[] = {
        {"Target Application DDE &Command...", DdeParametersDialog::TargetCommand},
        {"DDE Command &Link...", DdeParametersDialog::CommandLink},
        {"DDE &Output Buffer Link...", DdeParametersDialog::OutputLink},
    };
    for (const auto& entry : ddeEntries)
        dde->addAction(entry.caption, this, [this, purpose = entry.purpose] { EditDde(purpose); });
    settings->addAction("Pr&eferences...", this, [this] {
        const engine::Locale locale = engine::ReadProcessLocale();
        PreferencesDialog dialog(cfg_, messages_, locale, this, &store_);
        dialog.exec();
        Refresh();
    });

    // The transfer mode: one of three, checked; each choice goes on to the
    // settings that mode needs.
    QMenu* mode = menuBar()->addMenu("&Mode");
    auto* modes = new QActionGroup(this);
    const char* const captions[] = {"Send &Keystrokes", "&DDE Server", "&Log To Disk"};
    for (int m = 0; m < 3; ++m) {
        modeActions_[m] = mode->addAction(captions[m]);
        modeActions_[m]->setCheckable(true);
        modes->addAction(modeActions_[m]);
        connect(modeActions_[m], &QAction::triggered, this, [this, m] {
            ChooseTransferMode(static_cast<config::Integer>(m));
            if (m == config::SendKeystrokes) {
                AppSelectDialog dialog(cfg_, messages_, this);
                dialog.exec();
            } else if (m == config::DdeServer) {
                EditDde(DdeParametersDialog::TargetCommand);
            } else if (m == config::LogToDisk) {
                // Starts at the file the runtime would write ("C:\Corvane.Log"
                // is Corvane.Log in the home folder).
                const std::string current =
                    output::MapLogPath(cfg_.LogFileName, Path(QDir::homePath()));
                const QString path = QFileDialog::getSaveFileName(
                    this, "Log File", QString::fromLocal8Bit(current.c_str()),
                    "Log Files (*.log *.txt);;All Files (*)", nullptr,
                    QFileDialog::DontConfirmOverwrite);
                if (!path.isEmpty() && Path(path) != cfg_.LogFileName) {
                    cfg_.LogFileName = Path(path);
                    cfg_.ConfigChanged = config::True;
                }
            }
            Refresh();
        });
    }

    QMenu* run = menuBar()->addMenu("&Run");
    run->addAction("&Normal Mode", this, [this] {
        if (onRun)
            onRun(RunMode::Normal);
    });
    run->addAction("&Virtual Mode", this, [this] {
        if (onRun)
            onRun(RunMode::Virtual);
    });
    run->addAction("&Port Test", this, [this] {
        if (onRun)
            onRun(RunMode::PortTest);
    });

    QMenu* help = menuBar()->addMenu("&Help");
    help->addAction("&User Guide", this, [] {
        // The installed README, else the one beside the program's sources.
        const QString installed = "/usr/share/doc/corvane/README.md";
        QDesktopServices::openUrl(QUrl::fromLocalFile(
            QFileInfo::exists(installed) ? installed : QString(CORVANE_README)));
    });
    help->addAction("&About Corvane", this, [this] {
        QMessageBox::about(this, "About Corvane",
                           "<b>Corvane " CORVANE_VERSION "</b><p>Serial-port data acquisition "
                           "into keystrokes, D-Bus and log files.</p>"
                           "<p>Copyright 2026 The Corvane developers.</p>"
                           "<p>Corvane is free software: you can redistribute it and/or "
                           "modify it under the terms of the GNU General Public License as "
                           "published by the Free Software Foundation, either version 3 of "
                           "the License, or (at your option) any later version. There is NO "
                           "WARRANTY, to the extent permitted by law. See the <a "
                           "href=\"https://www.gnu.org/licenses/gpl-3.0.html\">GNU General "
                           "Public License</a> (also in /usr/share/doc/corvane/copyright).</p>"
                           "<p>Built with Qt " QT_VERSION_STR
                           ", used under the GNU LGPL version 3 (Help &gt; About Qt).</p>");
    });
    help->addAction("About &Qt", this, [this] { QMessageBox::aboutQt(this); });
}

void SetupWindow::EditDde(int purpose) {
    DdeParametersDialog dialog(cfg_, static_cast<DdeParametersDialog::Purpose>(purpose), this);
    dialog.exec();
    Refresh();
}

void SetupWindow::ChooseTransferMode(config::Integer mode) {
    if (cfg_.TransferMode != mode) {
        cfg_.TransferMode = mode;
        cfg_.ConfigChanged = config::True;
    }
    Refresh();
}

void SetupWindow::RefreshRecentFiles() {
    for (QAction* a : recent_) {
        file_->removeAction(a);
        a->deleteLater();
    }
    recent_.clear();
    const std::vector<std::string> files = config::ReadRecentFiles(store_);
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string path = files[i];
        auto* action = new QAction(
            QString("&%1 %2").arg(i + 1).arg(QString::fromLocal8Bit(path.c_str())), file_);
        connect(action, &QAction::triggered, this, [this, path] { Open(path); });
        file_->insertAction(recentSeparator_, action);
        recent_.push_back(action);
    }
    recentSeparator_->setVisible(!files.empty());
}

void SetupWindow::RememberFile(const std::string& path) {
    const std::string absolute = std::filesystem::absolute(path).lexically_normal().string();
    config::WriteRecentFiles(store_,
                             config::AddRecentFile(config::ReadRecentFiles(store_), absolute));
}

bool SetupWindow::MayLeave() {
    if (!cfg_.ConfigChanged)
        return true;
    SaveAnswer answer = SaveAnswer::Cancel;
    if (askSave) {
        answer = askSave();
    } else {
        const auto button = QMessageBox::question(
            this, "Corvane Setup",
            "The configuration has changed. Save the changes to " +
                (cfg_.ConfigFileName.empty()
                     ? QString("a file")
                     : QString::fromLocal8Bit(cfg_.ConfigFileName.c_str())) +
                "?",
            QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
        answer = button == QMessageBox::Save      ? SaveAnswer::Save
                 : button == QMessageBox::Discard ? SaveAnswer::Discard
                                                  : SaveAnswer::Cancel;
    }
    if (answer == SaveAnswer::Cancel)
        return false;
    if (answer == SaveAnswer::Save)
        return Save();
    return true;
}

bool SetupWindow::New() {
    if (!MayLeave())
        return false;
    config::ResetToDefaults(cfg_);
    cfg_.ConfigFileName.clear();
    Refresh();
    return true;
}

bool SetupWindow::Open(const std::string& path) {
    if (!MayLeave())
        return false;
    config::NewOrLoadAtStart(cfg_, path, messages_, false);
    if (cfg_.ConfigLoaded)
        RememberFile(path);
    Refresh();
    return cfg_.ConfigLoaded;
}

bool SetupWindow::Save() {
    if (cfg_.ConfigFileName.empty())
        return AskAndSaveAs();
    if (!config::SaveConfigFile(cfg_)) {
        const std::string unkept = config::SettingTheFileCannotKeep(cfg_);
        messages_.Show({unkept.empty() ? "Cannot write " + cfg_.ConfigFileName : unkept,
                        "Corvane File Error", config::MessageIcon::Exclamation,
                        config::MessageButtons::Ok});
        return false;
    }
    cfg_.ConfigChanged = config::False;
    RememberFile(cfg_.ConfigFileName);
    Refresh();
    return true;
}

bool SetupWindow::AskAndSaveAs() {
    QString path =
        askFileName
            ? askFileName()
            : QFileDialog::getSaveFileName(this, "Save Configuration As",
                                           QString::fromLocal8Bit(cfg_.ConfigFileName.c_str()),
                                           "Corvane Config (*.QX3);;All Files (*)");
    if (path.isEmpty())
        return false;
    if (QFileInfo(path).suffix().isEmpty())
        path += ".QX3";
    return SaveAs(Path(path));
}

bool SetupWindow::SaveAs(const std::string& path) {
    if (path.empty())
        return false;
    const std::string previous = cfg_.ConfigFileName;
    cfg_.ConfigFileName = path;
    if (!Save()) {
        cfg_.ConfigFileName = previous;
        Refresh();
        return false;
    }
    return true;
}

void SetupWindow::closeEvent(QCloseEvent* event) {
    if (!MayLeave()) {
        event->ignore();
        return;
    }
    event->accept();
    if (onClosed)
        onClosed();
}

} // namespace ui
