// A small X client for the keystroke tests: a window with the given title
// that appends every character it receives to a file ("\n" for Return,
// "\t" for Tab, "<BS>" and "<DEL>" for those keys). It writes "<ready>" once its window is mapped.

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    Display* dpy = XOpenDisplay(nullptr);
    if (!dpy)
        return 1;
    Window w = XCreateSimpleWindow(dpy, DefaultRootWindow(dpy), 10, 10, 300, 100, 1, 0, 0xffffff);
    XStoreName(dpy, w, argv[1]);
    XSelectInput(dpy, w, KeyPressMask | StructureNotifyMask);
    XMapRaised(dpy, w);
    std::FILE* out = std::fopen(argv[2], "ab");
    if (!out)
        return 1;
    while (true) {
        XEvent e;
        XNextEvent(dpy, &e);
        if (e.type == MapNotify) {
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
