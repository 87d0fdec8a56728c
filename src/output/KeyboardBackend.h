#pragma once
// Which keystroke backend a session gets. X11 sessions type through XTest;
// Wayland sessions through the compositor's own interfaces, of which this
// program knows the wlroots ones (a virtual keyboard and the foreign
// toplevel list). The choice is made once, at start, from the session's
// environment and what its compositor offers; `--keyboard` and the
// Preferences dialog can force one.

#include "config/SettingsStore.h"

#include <optional>
#include <string>
#include <string_view>

namespace output {

enum class KeyboardBackend { Auto, X11, Wlroots };

// "auto", "x11", "wlroots"; nullopt for any other name.
std::optional<KeyboardBackend> ParseKeyboardBackend(std::string_view name);
const char* KeyboardBackendName(KeyboardBackend backend);

// The user's choice, kept in the per-user settings store (section
// "Preferences", key "KeystrokeBackend" of "Corvane"), not in configuration
// files: it belongs to the desktop, not to the instrument. Auto when unset
// or unknown.
KeyboardBackend StoredKeyboardBackend(config::SettingsStore& store);
void StoreKeyboardBackend(config::SettingsStore& store, KeyboardBackend backend);

// The environment variables that tell what kind of session this is.
struct SessionEnvironment {
    std::string display;        // DISPLAY
    std::string waylandDisplay; // WAYLAND_DISPLAY
    std::string sessionType;    // XDG_SESSION_TYPE
    std::string desktop;        // XDG_CURRENT_DESKTOP
};

// Reads them from the process environment.
SessionEnvironment ReadSessionEnvironment();

// "x11", "wayland", "wayland with XWayland", "tty"... as `corvane doctor`
// shows it.
std::string SessionKind(const SessionEnvironment& session);

// What the backends found when they were tried.
struct BackendProbe {
    bool x11Opens = false;     // the X display opens and has XTest
    std::string x11Why;        // why not
    bool wlrootsTypes = false; // the compositor made us a virtual keyboard
    std::string wlrootsWhy;    // why not
};

struct BackendChoice {
    KeyboardBackend backend = KeyboardBackend::Auto; // Auto: nothing can type
    std::string why;                                 // one line, for the user
};

// The order of a choice: which backends to try, first to last.
// forced Auto: an X11 session gets X11; a Wayland session gets wlroots, and
// X11 after it when it has XWayland (which reaches only X11 programs).
// Anything else gets only the forced one.
struct BackendOrder {
    bool tryWlroots = false, tryX11 = false;
    bool wlrootsFirst = false;
};
BackendOrder OrderOfBackends(const SessionEnvironment& session, KeyboardBackend forced);

// The backend to use, given what the tries found, and why in words a user
// can act on; Auto with the reason when nothing can type.
BackendChoice ChooseKeyboardBackend(const SessionEnvironment& session, KeyboardBackend forced,
                                    const BackendProbe& probe);

// The message shown once when a runtime in Send Keystrokes mode cannot type.
std::string NoKeystrokesMessage(const BackendChoice& choice);

} // namespace output
