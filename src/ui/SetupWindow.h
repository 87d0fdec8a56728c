#pragma once
// The setup window: one configuration, its file commands (New, Open, Save,
// Save As, the recently used files, Exit, with the question whether to save
// changes first), an overview of its settings, the Settings and Mode menus
// that open the dialogs, and the Run menu that
// activates it (Normal Mode, Virtual Mode, Port Test). The program around it
// carries out the activation; the window hides meanwhile and comes back
// with the same configuration.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "config/SettingsStore.h"

#include <QMainWindow>

#include <functional>
#include <string>
#include <vector>

class QAction;
class QLabel;
class QMenu;

namespace ui {

enum class RunMode { Normal, Virtual, PortTest };
enum class SaveAnswer { Save, Discard, Cancel };

class SetupWindow : public QMainWindow {
    Q_OBJECT
public:
    SetupWindow(config::Config& cfg, config::SettingsStore& store, config::MessageSink& messages,
                QWidget* parent = nullptr);

    // "Corvane Setup" followed by the file's name, or "Corvane Setup
    // (Untitled)".
    static QString Title(const config::Config& cfg);

    // The file commands, as the menu runs them (without the file dialogs).
    // Each asks about unsaved changes first; false when the user cancelled
    // or the file could not be used.
    bool New();
    bool Open(const std::string& path);
    bool SaveAs(const std::string& path);
    // Saves under the configuration's file name; an untitled configuration
    // asks for one first, as Save As does.
    bool Save();
    // Save As: asks for the file name (".QX3" added when it has no
    // extension), then saves under it. False when the user cancelled.
    bool AskAndSaveAs();

    // The Mode menu's choice without the dialog that follows it: the
    // transfer mode, marked changed when it differs.
    void ChooseTransferMode(config::Integer mode);
    QAction* ModeAction(int mode) const { return modeActions_[mode]; }

    // After the configuration changed outside the window (an analysis
    // accepted in the Port Test window): title, overview and menus again.
    void Refresh();

    // Activation, by the Run menu.
    std::function<void(RunMode)> onRun;
    // The window closed (after the question about changes): the program ends.
    std::function<void()> onClosed;
    // Asked before a changed configuration is left: Save, Discard or Cancel
    // (a message box unless a test answers).
    std::function<SaveAnswer()> askSave;
    // Asked for Save As's file name (the file dialog unless a test answers);
    // empty when the user cancelled.
    std::function<QString()> askFileName;

    QMenu* FileMenu() const { return file_; }
    QLabel* Overview() const { return overview_; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // Whether the current configuration may be left: saved, discarded, or
    // (false) the user cancelled.
    bool MayLeave();
    void RememberFile(const std::string& path);
    void BuildMenus();
    void RefreshRecentFiles();
    // One of the DDE parameters dialog's purposes, stored on OK.
    void EditDde(int purpose);

    config::Config& cfg_;
    config::SettingsStore& store_;
    config::MessageSink& messages_;
    QMenu* file_ = nullptr;
    QAction* recentSeparator_ = nullptr;
    std::vector<QAction*> recent_;
    QLabel* overview_ = nullptr;
    QAction* modeActions_[3] = {};
};

// A plain description of a configuration's main settings for the overview.
std::string DescribeConfiguration(const config::Config& cfg);

} // namespace ui
