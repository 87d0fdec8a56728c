#include "app/KeystrokeBackend.h"

namespace app {

output::Keyboard* KeystrokeBackend::keyboard() const {
    if (wlrootsKeyboard)
        return wlrootsKeyboard.get();
    return x11.get();
}

output::WindowSystem* KeystrokeBackend::windows() const {
    if (wlrootsKeyboard)
        return wlrootsWindows.get();
    return x11Windows.get();
}

namespace {

void TryWlroots(KeystrokeBackend& backend) {
    std::string why;
    backend.wayland = output::WlrootsConnection::Open(why);
    if (backend.wayland)
        backend.wlrootsKeyboard = output::WlrootsKeyboard::Open(*backend.wayland, why);
    if (!backend.wlrootsKeyboard) {
        backend.probe.wlrootsWhy = why;
        backend.wayland.reset();
        return;
    }
    backend.probe.wlrootsTypes = true;
    backend.wlrootsWindows = std::make_unique<output::WlrootsWindowSystem>(*backend.wayland);
}

void TryX11(KeystrokeBackend& backend) {
    if (backend.session.display.empty()) {
        backend.probe.x11Why = "DISPLAY is not set: there is no X display";
        return;
    }
    backend.x11 = output::X11Keyboard::Open();
    if (!backend.x11) {
        backend.probe.x11Why = "the X display " + backend.session.display +
                               " cannot be opened or lacks the XTest extension";
        return;
    }
    backend.probe.x11Opens = true;
    backend.x11Windows = std::make_unique<output::X11WindowSystem>(backend.x11->display());
}

} // namespace

std::unique_ptr<KeystrokeBackend> OpenKeystrokeBackend(output::KeyboardBackend forced) {
    auto backend = std::make_unique<KeystrokeBackend>();
    backend->session = output::ReadSessionEnvironment();
    const output::BackendOrder order = output::OrderOfBackends(backend->session, forced);
    // The first that types is kept; the others are not tried.
    if (order.tryWlroots)
        TryWlroots(*backend);
    if (order.tryX11 && !backend->probe.wlrootsTypes)
        TryX11(*backend);
    backend->choice = output::ChooseKeyboardBackend(backend->session, forced, backend->probe);
    return backend;
}

} // namespace app
