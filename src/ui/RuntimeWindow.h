#pragma once
// The runtime window: what a running configuration shows and offers. One
// labelled box per field, the record number (what the user types there is the
// counter) and the date/time; a button per output string, and DTR~ and BREAK
// as the configuration asks; the Corvane menu (suspend and resume, resume
// for one record, timed output, reset, exit) and the Edit menu (copy an item
// as a link, paste, refresh and terminate both DDE links), and the View menu
// (the trend window); a tray icon whose
// click brings the window back. Its caption follows the suspension. Closing
// it, by the menu, the window manager, "{APPEXIT}" or a signal, closes the
// runtime.

#include "config/SettingsStore.h"
#include "runtime/Runtime.h"

#include <QMainWindow>

#include <functional>
#include <string>
#include <vector>

class QAction;
class QLineEdit;
class QMenu;
class QPushButton;
class QSystemTrayIcon;

namespace ui {

class RuntimeWindow : public QMainWindow {
    Q_OBJECT
public:
    RuntimeWindow(runtime::Runtime& runtime, config::SettingsStore& store,
                  QWidget* parent = nullptr);
    ~RuntimeWindow() override;

    // After activation: lays out the configuration's boxes, buttons and
    // menus, puts the window where it was last time for this port, and
    // applies AlwaysOnTop. After a reload: the boxes, buttons, menus and
    // caption again, for the configuration now in force.
    void Build();
    // Shows the window as the configuration asks (minimised or normal;
    // AlwaysOnTop in both).
    void ShowAsConfigured();

    // The runtime's display hooks; nothing before Build.
    void ItemChanged(const std::string& item, const std::string& text);
    void SuspendChanged();

    // Saves the window's position under the caption stem, "MainLeft" and
    // "MainTop" of "Settings".
    void SavePosition();

    // The user (or the window manager) closed the window; the runtime is to
    // close.
    std::function<void()> onCloseRequested;
    // View > Trend: the program opens (or raises) the trend window.
    std::function<void()> onTrendRequested;
    // Set once the runtime has closed: the window then really closes.
    void RuntimeClosed();

    // For tests and the screenshots.
    QLineEdit* FieldBox(int field) const;
    QLineEdit* RecordNumberBox() const { return recordNumber_; }
    QLineEdit* DateTimeBox() const { return dateTime_; }
    QPushButton* StringButton(int index) const; // 1..20, null when not shown
    QPushButton* DtrButton() const { return dtr_; }
    QPushButton* BreakButton() const { return break_; }
    QAction* SuspendAction() const { return suspend_; }
    QAction* ResumeOneAction() const { return resumeOne_; }
    QAction* TimedOutputAction() const { return timedOutput_; }
    QAction* ResetAction() const { return reset_; }
    QAction* ExitAction() const { return exit_; }
    QMenu* EditMenu() const { return edit_; }
    QAction* TrendAction() const { return trend_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void BuildMenus();
    void RefreshTimedOutput();
    void RefreshEditMenu();
    void Run(const std::string& command);

    runtime::Runtime& runtime_;
    config::SettingsStore& store_;
    std::vector<QLineEdit*> fields_; // index 0 unused
    QLineEdit* recordNumber_ = nullptr;
    QLineEdit* dateTime_ = nullptr;
    std::vector<QPushButton*> stringButtons_; // index 0 unused
    QPushButton* dtr_ = nullptr;
    QPushButton* break_ = nullptr;
    QAction* suspend_ = nullptr;
    QAction* resumeOne_ = nullptr;
    QAction* timedOutput_ = nullptr;
    QAction* reset_ = nullptr;
    QAction* exit_ = nullptr;
    QMenu* edit_ = nullptr;
    QAction* trend_ = nullptr;
    QSystemTrayIcon* tray_ = nullptr;
    bool built_ = false;
    bool minimizeWhenExposed_ = false;
    bool closed_ = false;
};

} // namespace ui
