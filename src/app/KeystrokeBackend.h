#pragma once
// The keystroke backend of this session, opened: the keyboard that types and
// the window system that finds and activates the target, on X11 (XTest) or
// on a wlroots compositor (virtual keyboard and foreign toplevel list), as
// ChooseKeyboardBackend decides. Used by the runtimes, `corvane keys` and
// `corvane doctor`.

#include "output/Keyboard.h"
#include "output/KeyboardBackend.h"
#include "output/WindowSystem.h"
#include "output/WlrootsConnection.h"
#include "output/WlrootsKeyboard.h"
#include "output/WlrootsWindowSystem.h"
#include "output/X11Keyboard.h"

#include <memory>

namespace app {

struct KeystrokeBackend {
    output::SessionEnvironment session;
    output::BackendProbe probe;
    output::BackendChoice choice;
    // The parts of the backend in use; the connections go last.
    std::unique_ptr<output::X11Keyboard> x11;
    std::unique_ptr<output::WlrootsConnection> wayland;
    std::unique_ptr<output::WlrootsKeyboard> wlrootsKeyboard;
    std::unique_ptr<output::WlrootsWindowSystem> wlrootsWindows;
    std::unique_ptr<output::X11WindowSystem> x11Windows;

    // Null when nothing can type (choice.why says why).
    output::Keyboard* keyboard() const;
    output::WindowSystem* windows() const;
};

// Tries the backends in the order the session calls for (forced: only that
// one) and keeps the first that types.
std::unique_ptr<KeystrokeBackend> OpenKeystrokeBackend(output::KeyboardBackend forced);

} // namespace app
