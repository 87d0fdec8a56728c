// A small X client for the keystroke tests: a window with the given title
// that appends every character it receives to a file ("\n" for Return,
// "\t" for Tab, "<BS>" and "<DEL>" for those keys). It writes "<ready>" once
// its window is mapped.
//
// With --strict it behaves like clients that cannot tell two events of one
// key apart when the server gave them the same millisecond: such a press is
// not taken, and "<same-ms>" is written in its place.

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <poll.h>

int main(int argc, char** argv) {
    const bool strict = argc == 4 && std::strcmp(argv[3], "--strict") == 0;
    if (argc != 3 && !strict)
        return 2;
    Display* dpy = XOpenDisplay(nullptr);
    if (!dpy)
        return 1;
    Window w = XCreateSimpleWindow(dpy, DefaultRootWindow(dpy), 10, 10, 300, 100, 1, 0, 0xffffff);
    XStoreName(dpy, w, argv[1]);
    XSelectInput(dpy, w, KeyPressMask | KeyReleaseMask | StructureNotifyMask);
    XMapRaised(dpy, w);
    std::FILE* out = std::fopen(argv[2], "ab");
    if (!out)
        return 1;
    std::map<unsigned, Time> lastEvent; // keycode -> server time of its last event
    bool ready = false;
    while (true) {
        // A window manager that is still starting may drop the request to
        // map the window: it is asked again until the window is up.
        if (!ready && XPending(dpy) == 0) {
            pollfd connection{ConnectionNumber(dpy), POLLIN, 0};
            if (poll(&connection, 1, 500) == 0) {
                XMapRaised(dpy, w);
                XFlush(dpy);
            }
            continue;
        }
        XEvent e;
        XNextEvent(dpy, &e);
        if (e.type == KeyRelease) {
            lastEvent[e.xkey.keycode] = e.xkey.time;
            continue;
        }
        if (e.type == KeyPress) {
            auto last = lastEvent.find(e.xkey.keycode);
            const bool sameMs = last != lastEvent.end() && last->second == e.xkey.time;
            lastEvent[e.xkey.keycode] = e.xkey.time;
            if (strict && sameMs) {
                std::fputs("<same-ms>", out);
                std::fflush(out);
                continue;
            }
        }
        if (e.type == MapNotify && !ready) {
            ready = true;
            XSetInputFocus(dpy, w, RevertToParent, CurrentTime);
            std::fputs("<ready>", out);
            std::fflush(out);
        } else if (e.type == KeyPress) {
            char text[16] = {};
            KeySym sym = 0;
            int n = XLookupString(&e.xkey, text, sizeof text - 1, &sym, nullptr);
            if (sym == XK_Return || sym == XK_KP_Enter)
                std::fputc('\n', out);
            else if (sym == XK_Tab)
                std::fputc('\t', out);
            else if (sym == XK_BackSpace)
                std::fputs("<BS>", out);
            else if (sym == XK_Delete)
                std::fputs("<DEL>", out);
            else if (n > 0 && static_cast<unsigned char>(text[0]) >= 32)
                std::fwrite(text, 1, static_cast<std::size_t>(n), out);
            std::fflush(out);
        }
    }
}
