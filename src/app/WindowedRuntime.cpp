#include "app/WindowedRuntime.h"

#include "engine/ProcessLocale.h"
#include "serial/PortSettings.h"

#include <QApplication>
#include <QScreen>

#include <algorithm>

namespace app {

WindowedRuntime::WindowedRuntime(config::Config& cfg)
    : desktop_(
          messages_, store_, clock_, [this] { return runtime_.StopRequested(); },
          [this] { return runtime_.Caption(); }),
      runtime_({*this, cfg, messages_, clock_, store_, clipboard_, engine::ReadProcessLocale(),
                HomeFolder()}) {
    messages_.SetWaiting(false);
    messages_.HoldUntilParent();
}

WindowedRuntime::~WindowedRuntime() = default;

bool WindowedRuntime::Activate(const std::string& file, const RuntimeOptions& options) {
    return Activate(options, [&] {
        return options.virtualDevice ? runtime_.RunVirtual(file) : runtime_.RunNormal(file);
    });
}

bool WindowedRuntime::Activate(const RuntimeOptions& options) {
    return Activate(options, [&] {
        return options.virtualDevice ? runtime_.RunVirtual() : runtime_.RunNormal();
    });
}

bool WindowedRuntime::Activate(const RuntimeOptions& options, const std::function<bool()>& run) {
    desktop_.SetPortPath(options.portPath);
    desktop_.SetKeyboardBackend(options.keyboard);
    window_ = std::make_unique<ui::RuntimeWindow>(runtime_, store_);
    if (options.virtualDevice) {
        virtual_ = std::make_unique<ui::VirtualDeviceWindow>();
        virtual_->onInput = [this](const std::string& bytes) { runtime_.VirtualInput(bytes); };
    }
    window_->onCloseRequested = [this] { runtime_.RequestStop(); };
    window_->onTrendRequested = [this] { ShowTrend(); };
    if (!run()) {
        window_.reset();
        virtual_.reset();
        messages_.ShowHeld();
        return false;
    }
    broker_.Start(options.broker,
                  options.virtualDevice
                      ? "virtual"
                      : serial::DevicePathFor(runtime_.cfg(), store_, options.portPath));
    // Built from the runtime's state as the start left it; from here on the
    // window follows every change.
    window_->Build();
    runtime_.itemChanged = [this](const std::string& item, const std::string& text) {
        window_->ItemChanged(item, text);
    };
    runtime_.suspendChanged = [this] { window_->SuspendChanged(); };
    window_->ShowAsConfigured();
    if (virtual_) {
        virtual_->ShowOutput(pendingOutput_);
        // Beside the runtime window, or below it when the screen is too narrow.
        const QRect runtimeFrame = window_->frameGeometry();
        QPoint at = runtimeFrame.topRight() + QPoint(12, 0);
        if (const QScreen* screen = window_->screen();
            screen && at.x() + virtual_->width() > screen->availableGeometry().right())
            at = runtimeFrame.bottomLeft() + QPoint(0, 12);
        virtual_->move(at);
        virtual_->show();
    }
    if (options.trend)
        ShowTrend();
    // What the start had to say stays above the runtime window from now on.
    messages_.SetParent(window_.get());
    QObject::connect(&timer_, &QTimer::timeout, [this] {
        runtime_.Tick();
        arrivals_.Follow();
        broker_.Tick();
    });
    timer_.start(50);
    arrivals_.Follow();
    return true;
}

void WindowedRuntime::ShowTrend() {
    if (!trend_ && window_) {
        trend_ = std::make_unique<ui::TrendWindow>(runtime_.cfg(), engine::ReadProcessLocale(),
                                                   wallClock_, store_);
        trend_->SetCaption(window_->windowTitle());
        QObject::connect(window_.get(), &QWidget::windowTitleChanged, trend_.get(),
                         &ui::TrendWindow::SetCaption);
        runtime_.OnRecordDelivered(
            [this](const output::DeliveredRecord& record) { trend_->RecordDelivered(record); });
        QRect occupied = window_->frameGeometry();
        if (virtual_ && virtual_->isVisible())
            occupied |= virtual_->frameGeometry();
        trend_->PlaceBeside(occupied);
    }
    if (!trend_)
        return;
    trend_->show();
    trend_->raise();
    trend_->activateWindow();
}

void WindowedRuntime::VirtualDeviceOutput(const std::string& bytes) {
    if (virtual_ && virtual_->isVisible())
        virtual_->ShowOutput(bytes);
    else
        pendingOutput_ += bytes;
}

output::KeystrokeDelivery* WindowedRuntime::Keystrokes(config::Config& cfg) {
    output::KeystrokeDelivery* delivery = desktop_.Keystrokes(cfg);
    // Nothing is typed while a window of the program is in front: the
    // runtime window, the virtual device (whose input the keys would become),
    // the trend window or a message box. They come and go, so they are looked
    // up for each record: by their X window, or on a wlroots desktop by their
    // title among its toplevels.
    if (auto* keystrokes = desktop_.keystrokes())
        keystrokes->ownWindow = [this](output::WindowId w) {
            const QWidgetList windows = QApplication::topLevelWidgets();
            return w != 0 &&
                   std::any_of(windows.begin(), windows.end(), [this, w](const QWidget* window) {
                       return window->isVisible() &&
                              desktop_.OwnWindow(
                                  window->windowTitle().toStdString(),
                                  static_cast<output::WindowId>(window->internalWinId())) == w;
                   });
        };
    return delivery;
}

void WindowedRuntime::ShowNormal() {
    if (window_)
        window_->showNormal();
}

void WindowedRuntime::Minimize() {
    if (window_)
        window_->showMinimized();
}

void WindowedRuntime::Reloaded() {
    if (window_)
        window_->Build();
    broker_.Reloaded();
}

void WindowedRuntime::Closing() {
    // The notices of the run are over; what comes now is read at leisure.
    messages_.CloseAll();
    messages_.SetWaiting(true);
}

void WindowedRuntime::Closed(int exitStatus) {
    timer_.stop();
    arrivals_.Follow(); // the port is closed: nothing to watch
    broker_.Stop();
    messages_.SetParent(nullptr);
    if (virtual_)
        virtual_->close();
    if (trend_)
        trend_->close();
    if (window_)
        window_->RuntimeClosed();
    if (onFinished)
        onFinished(exitStatus);
}

} // namespace app
