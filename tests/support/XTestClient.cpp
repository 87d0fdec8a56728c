#include "support/XTestClient.h"

#include "support/ProcessRunner.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <cstring>

namespace testsupport {

namespace {

// The error code of the grab being tried: Xlib reports a refused grab only to
// the process's error handler.
int grabError = 0;

int NoteGrabError(Display*, XErrorEvent* event) {
    grabError = event->error_code;
    return 0;
}

} // namespace

XTestClient::XTestClient() : dpy_(XOpenDisplay(nullptr)) {}

XTestClient::~XTestClient() {
    if (dpy_)
        XCloseDisplay(dpy_);
}

unsigned XTestClient::Keycode(const std::string& key) {
    if (key.size() < 3 || key.front() != '<' || key.back() != '>')
        return XKeysymToKeycode(dpy_, XStringToKeysym(key.c_str()));
    // A physical key by the name the keyboard description gives it.
    const std::string name = key.substr(1, key.size() - 2);
    XkbDescPtr desc = XkbGetMap(dpy_, 0, XkbUseCoreKbd);
    unsigned keycode = 0;
    if (desc && XkbGetNames(dpy_, XkbKeyNamesMask, desc) == Success && desc->names)
        for (int kc = desc->min_key_code; kc <= desc->max_key_code && !keycode; ++kc)
            if (std::strncmp(desc->names->keys[kc].name, name.c_str(), XkbKeyNameLength) == 0)
                keycode = static_cast<unsigned>(kc);
    if (desc)
        XkbFreeKeyboard(desc, 0, True);
    return keycode;
}

void XTestClient::Press(const std::vector<std::string>& keys) {
    for (const std::string& key : keys)
        XTestFakeKeyEvent(dpy_, Keycode(key), True, CurrentTime);
    for (auto it = keys.rbegin(); it != keys.rend(); ++it)
        XTestFakeKeyEvent(dpy_, Keycode(*it), False, CurrentTime);
    XSync(dpy_, False);
}

unsigned XTestClient::ModifierMask(const std::string& key) {
    return XkbKeysymToModifiers(dpy_, XStringToKeysym(key.c_str()));
}

bool XTestClient::SetLock(const std::string& key, bool on) {
    const unsigned mask = ModifierMask(key);
    XkbLockModifiers(dpy_, XkbUseCoreKbd, mask, on ? mask : 0);
    XSync(dpy_, False);
    return WaitFor(std::chrono::seconds(5), [&] {
        XkbStateRec state;
        XkbGetState(dpy_, XkbUseCoreKbd, &state);
        return ((state.locked_mods & mask) != 0) == on;
    });
}

bool XTestClient::Grab(const std::string& key, unsigned mods) {
    XSync(dpy_, False);
    grabError = 0;
    XErrorHandler previous = XSetErrorHandler(NoteGrabError);
    XGrabKey(dpy_, static_cast<int>(Keycode(key)), mods, DefaultRootWindow(dpy_), False,
             GrabModeAsync, GrabModeAsync);
    XSync(dpy_, False);
    XSetErrorHandler(previous);
    return grabError == 0;
}

bool XTestClient::WaitGrabbedPress(std::chrono::milliseconds limit) {
    return WaitFor(limit, [&] {
        while (XPending(dpy_) > 0) {
            XEvent event;
            XNextEvent(dpy_, &event);
            if (event.type == KeyPress)
                return true;
        }
        return false;
    });
}

} // namespace testsupport
