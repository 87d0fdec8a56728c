// Where Corvane's own windows (the setup window, the runtime window, the
// Port Test and Virtual Serial Device windows, the dialogs and message
// boxes) are shown in a Wayland session.
//
// Decision: through XWayland when the session has it, natively (Qt's wayland
// platform) when it has not. A Wayland program may neither place its own
// windows nor keep them above others, and the runtime window does both when
// its configuration says so: it comes back where the user left it
// (MainLeft, MainTop per port) and stays on top with "Display Vardle Window
// Always on Top", the small status window beside the spreadsheet that
// receives the records. Under XWayland, desktops that stack windows (GNOME,
// KDE Plasma, labwc, Wayfire) honour both, as they do in an X11 session, and
// the windows behave as the ones tested on X11. What the user gives up there
// is cosmetic: at a fractional scale the windows are scaled up rather than
// drawn sharp, with Qt's own decorations. A tiling compositor (sway, river)
// arranges either kind alike. A user who prefers native windows sets
// QT_QPA_PLATFORM=wayland; any QT_QPA_PLATFORM the user set is kept. Typing
// into other programs is unaffected: it goes through the keystroke backend,
// which finds the runtime window by its title on either platform.

#include "app/Commands.h"

#include <QCoreApplication>

#include <cstdlib>

namespace app {

namespace {

// Once Qt has taken its platform from the environment, the variable goes:
// the programs Corvane starts (the target application) are the user's, and
// choose their own.
void ForgetWindowPlatform() {
    ::unsetenv("QT_QPA_PLATFORM");
}

} // namespace

void ChooseWindowPlatform() {
    if (std::getenv("QT_QPA_PLATFORM"))
        return;
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    const char* display = std::getenv("DISPLAY");
    if (!wayland || !*wayland || !display || !*display)
        return;
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    qAddPreRoutine(ForgetWindowPlatform);
}

} // namespace app
