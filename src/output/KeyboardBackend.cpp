#include "output/KeyboardBackend.h"

#include <cstdlib>

namespace output {

namespace {

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool IsX11Session(const SessionEnvironment& s) {
    return s.sessionType == "x11" || (!s.display.empty() && s.waylandDisplay.empty());
}

bool IsWaylandSession(const SessionEnvironment& s) {
    return !s.waylandDisplay.empty() && s.sessionType != "x11";
}

std::string Desktop(const SessionEnvironment& s) {
    return s.desktop.empty() ? "" : " (" + s.desktop + ")";
}

} // namespace

std::optional<KeyboardBackend> ParseKeyboardBackend(std::string_view name) {
    if (name == "auto")
        return KeyboardBackend::Auto;
    if (name == "x11")
        return KeyboardBackend::X11;
    if (name == "wlroots")
        return KeyboardBackend::Wlroots;
    return std::nullopt;
}

const char* KeyboardBackendName(KeyboardBackend backend) {
    switch (backend) {
    case KeyboardBackend::X11:
        return "x11";
    case KeyboardBackend::Wlroots:
        return "wlroots";
    case KeyboardBackend::Auto:
        break;
    }
    return "auto";
}

KeyboardBackend StoredKeyboardBackend(config::SettingsStore& store) {
    const std::optional<std::string> name = store.Get("Corvane", "Preferences", "KeystrokeBackend");
    return name ? ParseKeyboardBackend(*name).value_or(KeyboardBackend::Auto)
                : KeyboardBackend::Auto;
}

void StoreKeyboardBackend(config::SettingsStore& store, KeyboardBackend backend) {
    if (backend == KeyboardBackend::Auto)
        store.Remove("Corvane", "Preferences", "KeystrokeBackend");
    else
        store.Set("Corvane", "Preferences", "KeystrokeBackend", KeyboardBackendName(backend));
}

SessionEnvironment ReadSessionEnvironment() {
    return {Env("DISPLAY"), Env("WAYLAND_DISPLAY"), Env("XDG_SESSION_TYPE"),
            Env("XDG_CURRENT_DESKTOP")};
}

std::string SessionKind(const SessionEnvironment& s) {
    if (IsWaylandSession(s))
        return std::string(s.display.empty()
                               ? "Wayland, without XWayland"
                               : "Wayland, with XWayland (DISPLAY=" + s.display + ")") +
               Desktop(s);
    if (IsX11Session(s))
        return "X11 (DISPLAY=" + s.display + ")" + Desktop(s);
    return "no graphical session (neither DISPLAY nor WAYLAND_DISPLAY is set)";
}

BackendOrder OrderOfBackends(const SessionEnvironment& session, KeyboardBackend forced) {
    BackendOrder order;
    switch (forced) {
    case KeyboardBackend::X11:
        order.tryX11 = true;
        break;
    case KeyboardBackend::Wlroots:
        order.tryWlroots = order.wlrootsFirst = true;
        break;
    case KeyboardBackend::Auto:
        if (IsWaylandSession(session)) {
            order.tryWlroots = order.wlrootsFirst = true;
            order.tryX11 = !session.display.empty();
        } else if (IsX11Session(session)) {
            order.tryX11 = true;
        }
        break;
    }
    return order;
}

BackendChoice ChooseKeyboardBackend(const SessionEnvironment& session, KeyboardBackend forced,
                                    const BackendProbe& probe) {
    const BackendOrder order = OrderOfBackends(session, forced);
    const bool forcedOne = forced != KeyboardBackend::Auto;
    if (order.tryWlroots && probe.wlrootsTypes)
        return {KeyboardBackend::Wlroots,
                forcedOne ? "wlroots, as chosen: virtual keyboard and window list of the compositor"
                          : "wlroots: this Wayland compositor" + Desktop(session) +
                                " offers a virtual keyboard and its window list"};
    if (order.tryX11 && probe.x11Opens) {
        if (forcedOne)
            return {KeyboardBackend::X11,
                    "x11, as chosen: XTest on DISPLAY=" + session.display +
                        (IsWaylandSession(session) ? " (reaches only X11 programs under XWayland)"
                                                   : "")};
        if (order.tryWlroots)
            return {KeyboardBackend::X11,
                    "x11 through XWayland: " + probe.wlrootsWhy +
                        "; keys reach only X11 programs, not native Wayland windows"};
        return {KeyboardBackend::X11, "x11: XTest on DISPLAY=" + session.display};
    }
    // Nothing types: say why, the first try's reason first.
    std::string why;
    if (order.tryWlroots)
        why = probe.wlrootsWhy;
    if (order.tryX11)
        why += (why.empty() ? "" : "; and ") + probe.x11Why;
    if (why.empty())
        why = "no graphical session: neither DISPLAY nor WAYLAND_DISPLAY is set";
    return {KeyboardBackend::Auto, why};
}

std::string NoKeystrokesMessage(const BackendChoice& choice) {
    return "Keystrokes cannot be typed in this session: " + choice.why +
           ". Records are counted but not typed. Corvane types on X11 desktops and on Wayland "
           "desktops built on wlroots (sway, Hyprland, labwc, river, Wayfire); the keystroke "
           "backend is chosen under Settings, Preferences or with --keyboard, and `corvane "
           "doctor` tells what this session offers.";
}

} // namespace output
