#include "output/X11ErrorTrap.h"

#include <X11/Xlib.h>

namespace output {

namespace {

ScopedX11ErrorTrap::State* activeTrap = nullptr;
XErrorHandler previousHandler = nullptr;

extern "C" int TrapX11Error(Display* dpy, XErrorEvent* event) {
    ScopedX11ErrorTrap::State* trap = activeTrap;
    if (trap && dpy == trap->dpy) {
        if (trap->error == 0)
            trap->error = event->error_code;
        return 0;
    }
    return previousHandler ? previousHandler(dpy, event) : 0;
}

} // namespace

ScopedX11ErrorTrap::ScopedX11ErrorTrap(Display* dpy) : state_{dpy} {
    XSync(dpy, False); // errors of earlier requests go where they always went
    previousHandler = XSetErrorHandler(TrapX11Error);
    activeTrap = &state_;
}

ScopedX11ErrorTrap::~ScopedX11ErrorTrap() {
    XSync(state_.dpy, False);
    activeTrap = nullptr;
    XSetErrorHandler(previousHandler);
    previousHandler = nullptr;
}

int ScopedX11ErrorTrap::Sync() {
    XSync(state_.dpy, False);
    return state_.error;
}

} // namespace output
