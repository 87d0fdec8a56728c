#pragma once
// Xlib reports a failed request (a grab refused with BadAccess, a window that
// closed a moment ago with BadWindow) only to its error handler, and that
// handler is one function pointer for the whole process; the default one ends
// the program. So around requests that may fail, and only then, the handler
// is a trap: while it is installed it notes the first error of its
// connection, hands errors of any other connection to the handler it
// replaced, and the replaced handler is put back when the trap goes out of
// scope. Traps do not nest.

typedef struct _XDisplay Display;

namespace output {

class ScopedX11ErrorTrap {
public:
    explicit ScopedX11ErrorTrap(Display* dpy);
    ~ScopedX11ErrorTrap();
    ScopedX11ErrorTrap(const ScopedX11ErrorTrap&) = delete;
    ScopedX11ErrorTrap& operator=(const ScopedX11ErrorTrap&) = delete;

    // Waits for the server's answers to everything sent so far; the first
    // error code since the trap was set, 0 when none.
    int Sync();

    struct State {
        Display* dpy;
        int error = 0;
    };

private:
    State state_;
};

} // namespace output
