#include "ui/RuntimeWindow.h"

#include "control/DdeLinks.h"

#include "ui/QtMessageSink.h"
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QSystemTrayIcon>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>
#include <cstdlib>

namespace ui {

namespace {

// A button caption shows an ampersand as itself.
QString ButtonCaption(const std::string& name) {
    return Latin1Text(name).replace('&', "&&");
}

// "Field(12)" -> 12; 0 for any other item.
int FieldOfItem(const std::string& item) {
    if (item.rfind("Field(", 0) != 0 || item.back() != ')')
        return 0;
    return std::atoi(item.c_str() + 6);
}

} // namespace

RuntimeWindow::RuntimeWindow(runtime::Runtime& runtime, config::SettingsStore& store,
                             QWidget* parent)
    : QMainWindow(parent), runtime_(runtime), store_(store) {}

RuntimeWindow::~RuntimeWindow() = default;

void RuntimeWindow::Build() {
    const config::Config& cfg = runtime_.cfg();
    const engine::RuntimeState& state = runtime_.state();
    const bool again = built_;
    built_ = true;
    setWindowTitle(Latin1Text(runtime_.Caption()));

    // Built again after a reload: the new boxes, buttons and menus replace
    // the old ones (setCentralWidget and setMenuBar delete those).
    dtr_ = break_ = nullptr;
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    const int n = std::clamp(static_cast<int>(cfg.NumFields), 1, config::MaxFields);
    fields_.assign(static_cast<std::size_t>(n) + 1, nullptr);
    for (int i = 1; i <= n; ++i) {
        auto* box =
            new QLineEdit(Latin1Text(state.FieldText[static_cast<std::size_t>(i)]), central);
        box->setReadOnly(true);
        box->setObjectName(QString("Field%1").arg(i));
        box->setMinimumWidth(260);
        form->addRow(QString("Field %1:").arg(i), box);
        fields_[static_cast<std::size_t>(i)] = box;
    }
    recordNumber_ = new QLineEdit(Latin1Text(state.RecordNumber), central);
    recordNumber_->setObjectName("RecordNumber");
    recordNumber_->setToolTip("Records delivered so far; type a number to set the counter");
    // What the user types here is the counter, as a poke over DDE would set it.
    connect(recordNumber_, &QLineEdit::editingFinished, this, [this] {
        if (auto* dde = runtime_.dde())
            dde->Poke("RecordNumber", Latin1Bytes(recordNumber_->text()));
    });
    form->addRow("Record number:", recordNumber_);
    dateTime_ = new QLineEdit(Latin1Text(state.DateTimeText), central);
    dateTime_->setObjectName("DateTime");
    dateTime_->setReadOnly(true);
    form->addRow("Date/time:", dateTime_);
    form->labelForField(dateTime_)->setVisible(cfg.ShowDateTime != 0);
    dateTime_->setVisible(cfg.ShowDateTime != 0);
    layout->addLayout(form);

    // The output strings and the line buttons, in one row that wraps into
    // a second when there are many.
    stringButtons_.assign(config::NumOutputStrings + 1, nullptr);
    auto* buttons = new QHBoxLayout;
    int shown = 0;
    for (int i = 1; i <= config::NumOutputStrings; ++i) {
        const auto index = static_cast<std::size_t>(i);
        if (cfg.OutputString[index].empty())
            continue;
        auto* button = new QPushButton(ButtonCaption(cfg.OutputStringName[index]), central);
        button->setObjectName(QString("StringButton%1").arg(i));
        // Released inside the button: the string goes out at the next tick.
        connect(button, &QPushButton::clicked, this, [this, index] {
            runtime_.control().QueueOutput(runtime_.cfg().OutputString[index]);
        });
        stringButtons_[index] = button;
        if (shown > 0 && shown % 6 == 0) {
            buttons->addStretch();
            layout->addLayout(buttons);
            buttons = new QHBoxLayout;
        }
        buttons->addWidget(button);
        ++shown;
    }
    if (cfg.ButtonDisplay & 1) {
        dtr_ = new QPushButton("DTR~", central);
        dtr_->setToolTip("Drop DTR for 155 ms");
        connect(dtr_, &QPushButton::clicked, this, [this] { runtime_.control().PulseDTR(); });
        buttons->addWidget(dtr_);
    }
    if (cfg.ButtonDisplay & 2) {
        break_ = new QPushButton("BREAK", central);
        break_->setToolTip("Send a BREAK to the instrument");
        connect(break_, &QPushButton::clicked, this, [this] { runtime_.control().StartBreak(); });
        buttons->addWidget(break_);
    }
    buttons->addStretch();
    layout->addLayout(buttons);
    layout->addStretch();
    setCentralWidget(central);

    BuildMenus();
    SuspendChanged();

    if (!tray_ && QSystemTrayIcon::isSystemTrayAvailable()) {
        tray_ = new QSystemTrayIcon(style()->standardIcon(QStyle::SP_ComputerIcon), this);
        connect(tray_, &QSystemTrayIcon::activated, this, [this] {
            showNormal();
            raise();
            activateWindow();
        });
        tray_->show();
    }
    setWindowIcon(style()->standardIcon(QStyle::SP_ComputerIcon));
    const bool onTop = cfg.AlwaysOnTop != 0;
    if (onTop != windowFlags().testFlag(Qt::WindowStaysOnTopHint)) {
        // A shown window hides when its flags change: it is shown again.
        const bool shown = isVisible();
        setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
        if (shown)
            show();
    }
    if (again)
        return;

    // Where this port's window was last time; the first time the window
    // manager places it.
    const std::string stem = "Corvane - " + config::PortName(cfg);
    auto left = store_.Get(stem, "Settings", "MainLeft");
    auto top = store_.Get(stem, "Settings", "MainTop");
    if (left && top) {
        // Only onto a screen that is there now.
        const QPoint at(std::atoi(left->c_str()), std::atoi(top->c_str()));
        for (QScreen* screen : QGuiApplication::screens())
            if (screen->availableGeometry().contains(at)) {
                move(at);
                break;
            }
    }
}

void RuntimeWindow::ShowAsConfigured() {
    if (!runtime_.cfg().MinimizeOnActivation) {
        show();
        return;
    }
    // A window asked to start minimised comes up normal under some window
    // managers (openbox, for one), and loses "always on top" on the way: it
    // is shown, without taking the focus, and minimised as soon as it is on
    // the screen.
    setAttribute(Qt::WA_ShowWithoutActivating);
    minimizeWhenExposed_ = true;
    show();
    windowHandle()->installEventFilter(this);
}

bool RuntimeWindow::eventFilter(QObject* watched, QEvent* event) {
    if (minimizeWhenExposed_ && watched == windowHandle() && event->type() == QEvent::Expose &&
        windowHandle()->isExposed()) {
        minimizeWhenExposed_ = false;
        QMetaObject::invokeMethod(
            this, [this] { showMinimized(); }, Qt::QueuedConnection);
    }
    return QMainWindow::eventFilter(watched, event);
}

void RuntimeWindow::BuildMenus() {
    setMenuBar(new QMenuBar(this));
    QMenu* corvane = menuBar()->addMenu("&Corvane");
    suspend_ = corvane->addAction("&Suspend Corvane", this, [this] { runtime_.ToggleSuspend(); });
    resumeOne_ = corvane->addAction("Resume For &One Record", this,
                                    [this] { runtime_.control().ResumeForOneRecord(); });
    timedOutput_ = corvane->addAction("Enable &Timed Output", this, [this] {
        runtime_.control().SetTimedOutput(!runtime_.control().TimedOutputOn());
        RefreshTimedOutput();
    });
    reset_ = corvane->addAction("&Reset Input", this, [this] { runtime_.control().Reset(); });
    corvane->addSeparator();
    exit_ = corvane->addAction("E&xit", this, [this] { close(); });
    // Commands from other programs change these too: look again when opened.
    connect(corvane, &QMenu::aboutToShow, this, [this] {
        SuspendChanged();
        RefreshTimedOutput();
    });

    edit_ = menuBar()->addMenu("&Edit");
    QMenu* copyField = edit_->addMenu("Copy &Field as Link");
    for (std::size_t i = 1; i < fields_.size(); ++i)
        copyField->addAction(QString("Field %1").arg(i), this,
                             [this, i] { Run("{COPYFIELD(" + std::to_string(i) + ")}"); });
    edit_->addAction("Copy &Record Number as Link", this, [this] { Run("{COPYRECNUM}"); });
    edit_->addAction("Copy &Date/Time as Link", this, [this] { Run("{COPYDATE}"); });
    edit_->addSeparator();
    edit_->addAction("&Paste Command Link", this, [this] { Run("{PASTE-COMMAND}"); })
        ->setObjectName("DDEPaste");
    edit_->addAction("Refres&h Command Link", this, [this] { Run("{REFRESH-COMMAND}"); })
        ->setObjectName("DDERefresh");
    edit_->addAction("&Terminate Command Link", this, [this] { Run("{TERMINATE-COMMAND}"); })
        ->setObjectName("DDEKill");
    edit_->addSeparator();
    edit_->addAction("P&aste Buffer Link", this, [this] { Run("{PASTE-BUFFER}"); })
        ->setObjectName("DDEPasteBuffer");
    edit_->addAction("Refresh &Buffer Link", this, [this] { Run("{REFRESH-BUFFER}"); })
        ->setObjectName("DDERefreshBuffer");
    edit_->addAction("Ter&minate Buffer Link", this, [this] { Run("{TERMINATE-BUFFER}"); })
        ->setObjectName("DDEKillBuffer");
    connect(edit_, &QMenu::aboutToShow, this, [this] { RefreshEditMenu(); });
    RefreshEditMenu();

    QMenu* view = menuBar()->addMenu("&View");
    trend_ = view->addAction("&Trend", QKeySequence("Ctrl+T"), this, [this] {
        if (onTrendRequested)
            onTrendRequested();
    });
    trend_->setObjectName("Trend");
    RefreshTimedOutput();
}

void RuntimeWindow::Run(const std::string& command) {
    if (auto* dde = runtime_.dde())
        dde->Execute(command);
}

void RuntimeWindow::RefreshTimedOutput() {
    const bool on = runtime_.control().TimedOutputOn();
    timedOutput_->setText(on ? "Disable &Timed Output" : "Enable &Timed Output");
    timedOutput_->setEnabled(runtime_.state().TimedOutputAvailable);
}

void RuntimeWindow::RefreshEditMenu() {
    auto* dde = runtime_.dde();
    for (auto kind : {control::LinkKind::Command, control::LinkKind::Buffer}) {
        const control::LinkMenu menu = dde ? dde->links().Menu(kind) : control::LinkMenu{};
        const QString suffix = kind == control::LinkKind::Command ? "" : "Buffer";
        for (QAction* action : edit_->actions()) {
            if (action->objectName() == "DDEPaste" + suffix)
                action->setEnabled(menu.paste);
            else if (action->objectName() == "DDERefresh" + suffix)
                action->setEnabled(menu.refresh);
            else if (action->objectName() == "DDEKill" + suffix)
                action->setEnabled(menu.terminate);
        }
    }
}

void RuntimeWindow::ItemChanged(const std::string& item, const std::string& text) {
    if (!built_)
        return;
    if (int field = FieldOfItem(item);
        field > 0 && static_cast<std::size_t>(field) < fields_.size())
        fields_[static_cast<std::size_t>(field)]->setText(Latin1Text(text));
    else if (item == "RecordNumber" && !recordNumber_->hasFocus())
        recordNumber_->setText(Latin1Text(text));
    else if (item == "DateTime")
        dateTime_->setText(Latin1Text(text));
}

void RuntimeWindow::SuspendChanged() {
    if (!built_)
        return; // Build shows the suspension as it is
    const bool suspended = runtime_.state().Suspended;
    const QString caption = Latin1Text(runtime_.Caption());
    setWindowTitle(caption);
    if (tray_)
        tray_->setToolTip(caption.left(63));
    suspend_->setText(suspended ? "Re&sume Corvane" : "&Suspend Corvane");
    resumeOne_->setVisible(suspended);
}

QLineEdit* RuntimeWindow::FieldBox(int field) const {
    if (field < 1 || static_cast<std::size_t>(field) >= fields_.size())
        return nullptr;
    return fields_[static_cast<std::size_t>(field)];
}

QPushButton* RuntimeWindow::StringButton(int index) const {
    if (index < 1 || static_cast<std::size_t>(index) >= stringButtons_.size())
        return nullptr;
    return stringButtons_[static_cast<std::size_t>(index)];
}

void RuntimeWindow::SavePosition() {
    const std::string stem = "Corvane - " + config::PortName(runtime_.cfg());
    // The inside of the window: a window not yet shown is placed so, before
    // the window manager has put a frame around it.
    const QPoint at = geometry().topLeft();
    store_.Set(stem, "Settings", "MainLeft", std::to_string(at.x()));
    store_.Set(stem, "Settings", "MainTop", std::to_string(at.y()));
}

void RuntimeWindow::closeEvent(QCloseEvent* event) {
    if (closed_) {
        event->accept();
        return;
    }
    // The runtime closes first, in its order; it then closes the window.
    event->ignore();
    if (onCloseRequested)
        onCloseRequested();
}

void RuntimeWindow::RuntimeClosed() {
    if (closed_)
        return;
    // A window never shown (a message box came first) has no position.
    if (isVisible())
        SavePosition();
    closed_ = true;
    if (tray_)
        tray_->hide();
    // This may run inside the close event that asked for it, where Qt
    // ignores a second close: hidden now, closed once the event is over.
    hide();
    QMetaObject::invokeMethod(
        this, [this] { close(); }, Qt::QueuedConnection);
}

} // namespace ui
