#include "output/X11Keyboard.h"

#include "output/X11ErrorTrap.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <cctype>
#include <chrono>
#include <cstring>
#include <thread>

namespace output {

namespace {

// Virtual keys handed out for keys that have no standard code; chosen where
// the named keys and the US punctuation codes are not.
const int FreeVks[] = {0x88, 0x89, 0x8A, 0x8B, 0x8C, 0x8D, 0x8E, 0x8F, 0x97, 0x98, 0x99, 0x9A,
                       0x9B, 0x9C, 0x9D, 0x9E, 0x9F, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xAB, 0xAC,
                       0xAD, 0xAE, 0xAF, 0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8,
                       0xB9, 0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xCB,
                       0xCC, 0xCD, 0xCE, 0xCF, 0xD0, 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7,
                       0xD8, 0xD9, 0xDA, 0xE0, 0xE1, 0xE3, 0xE4, 0xE6, 0xE9, 0xEA, 0xEB, 0xEC,
                       0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5};

KeySym NamedKeysym(int vk) {
    switch (vk) {
    case 8:
        return XK_BackSpace;
    case 9:
        return XK_Tab;
    case 12:
        return XK_Clear;
    case 13:
        return XK_Return;
    case 16:
        return XK_Shift_L;
    case 17:
        return XK_Control_L;
    case 18:
        return XK_Alt_L;
    case 19:
        return XK_Pause;
    case 20:
        return XK_Caps_Lock;
    case 27:
        return XK_Escape;
    case 32:
        return XK_space;
    case 33:
        return XK_Prior;
    case 34:
        return XK_Next;
    case 35:
        return XK_End;
    case 36:
        return XK_Home;
    case 37:
        return XK_Left;
    case 38:
        return XK_Up;
    case 39:
        return XK_Right;
    case 40:
        return XK_Down;
    case 44:
        return XK_Print;
    case 45:
        return XK_Insert;
    case 46:
        return XK_Delete;
    case 47:
        return XK_Help;
    case 106:
        return XK_KP_Multiply;
    case 107:
        return XK_KP_Add;
    case 109:
        return XK_KP_Subtract;
    case 110:
        return XK_KP_Decimal;
    case 111:
        return XK_KP_Divide;
    case 144:
        return XK_Num_Lock;
    case 145:
        return XK_Scroll_Lock;
    case 186:
        return XK_semicolon;
    case 187:
        return XK_equal;
    case 188:
        return XK_comma;
    case 189:
        return XK_minus;
    case 190:
        return XK_period;
    case 191:
        return XK_slash;
    case 192:
        return XK_grave;
    case 219:
        return XK_bracketleft;
    case 220:
        return XK_backslash;
    case 221:
        return XK_bracketright;
    case 222:
        return XK_apostrophe;
    default:
        break;
    }
    if (vk >= 96 && vk <= 105)
        return XK_KP_0 + static_cast<KeySym>(vk - 96);
    if (vk >= 112 && vk <= 127)
        return XK_F1 + static_cast<KeySym>(vk - 112);
    if (vk >= 'A' && vk <= 'Z')
        return XK_a + static_cast<KeySym>(vk - 'A');
    if (vk >= '0' && vk <= '9')
        return XK_0 + static_cast<KeySym>(vk - '0');
    return NoSymbol;
}

} // namespace

std::unique_ptr<X11Keyboard> X11Keyboard::Open() {
    Display* dpy = XOpenDisplay(nullptr);
    if (!dpy)
        return nullptr;
    int event, error, major, minor;
    if (!XTestQueryExtension(dpy, &event, &error, &major, &minor)) {
        XCloseDisplay(dpy);
        return nullptr;
    }
    return std::unique_ptr<X11Keyboard>(new X11Keyboard(dpy));
}

X11Keyboard::~X11Keyboard() {
    if (dpy_)
        XCloseDisplay(dpy_);
}

bool X11Keyboard::FindKey(unsigned long keysym, unsigned& keycode, int& level) {
    XkbStateRec state;
    XkbGetState(dpy_, XkbUseCoreKbd, &state);
    int minCode = 0, maxCode = 0;
    XDisplayKeycodes(dpy_, &minCode, &maxCode);
    // The lowest level wins: a character on a plain key is not typed with AltGr.
    for (int lvl = 0; lvl < 4; ++lvl)
        for (int kc = minCode; kc <= maxCode; ++kc)
            if (XkbKeycodeToKeysym(dpy_, static_cast<KeyCode>(kc), state.group, lvl) == keysym) {
                keycode = static_cast<unsigned>(kc);
                level = lvl;
                return true;
            }
    return false;
}

int X11Keyboard::VkKeyScan(unsigned char c) {
    if (int common = CommonVkKeyScan(c); common != -1)
        return common;
    if (c < 0x20 || (c >= 0x7F && c < 0xA0))
        return -1;
    KeySym sym = c; // Latin-1 keysyms are the character codes
    unsigned keycode = 0;
    int level = 0;
    if (!FindKey(sym, keycode, level))
        return -1;
    const int shift = (level & 1) ? 0x100 : 0;
    const bool altGr = level >= 2;
    if (!altGr && std::isalpha(c) && c < 0x80)
        return shift | std::toupper(c);
    if (!altGr && c >= '0' && c <= '9')
        return shift | c;
    // Any other key gets a code of its own, kept for this keyboard.
    auto key = std::make_pair(keycode, altGr);
    auto it = vkByKey_.find(key);
    if (it == vkByKey_.end()) {
        if (nextVk_ >= static_cast<int>(sizeof FreeVks / sizeof FreeVks[0]))
            return -1;
        int vk = FreeVks[nextVk_++];
        it = vkByKey_.emplace(key, vk).first;
        byVk_[vk] = key;
    }
    return shift | it->second;
}

unsigned X11Keyboard::KeycodeForVk(int vk, bool& level3) {
    level3 = false;
    if (auto it = byVk_.find(vk); it != byVk_.end()) {
        level3 = it->second.second;
        return it->second.first;
    }
    KeySym sym = NamedKeysym(vk);
    if (sym == NoSymbol)
        return 0;
    unsigned keycode = 0;
    int level = 0;
    if ((vk >= 'A' && vk <= 'Z') || (vk >= '0' && vk <= '9') || vk >= 186)
        return FindKey(sym, keycode, level) ? keycode : 0;
    if (KeyCode code = XKeysymToKeycode(dpy_, sym))
        return code;
    // Keys whose usual keysym the layout does not carry: Clear is keypad 5
    // without Num Lock (KP_Begin on X), and F13 to F16, which foot switches
    // like to send, usually carry launcher keysyms; those are found by the
    // name the keyboard description gives the physical key.
    if (vk == 12)
        return XKeysymToKeycode(dpy_, XK_KP_Begin);
    if (vk >= 124 && vk <= 127)
        return KeycodeOfKeyName(("FK" + std::to_string(vk - 111)).c_str());
    return 0;
}

unsigned X11Keyboard::KeycodeOfKeyName(const char* name) {
    XkbDescPtr desc = XkbGetMap(dpy_, 0, XkbUseCoreKbd);
    if (!desc)
        return 0;
    unsigned keycode = 0;
    if (XkbGetNames(dpy_, XkbKeyNamesMask, desc) == Success && desc->names && desc->names->keys)
        for (int kc = desc->min_key_code; kc <= desc->max_key_code && keycode == 0; ++kc)
            if (std::strncmp(desc->names->keys[kc].name, name, XkbKeyNameLength) == 0)
                keycode = static_cast<unsigned>(kc);
    XkbFreeKeyboard(desc, 0, True);
    return keycode;
}

int X11Keyboard::VirtualKeyFor(unsigned keycode) {
    for (const auto& [vk, key] : byVk_)
        if (key.first == keycode && !key.second)
            return vk;
    XkbStateRec state;
    XkbGetState(dpy_, XkbUseCoreKbd, &state);
    KeySym sym = XkbKeycodeToKeysym(dpy_, static_cast<KeyCode>(keycode), state.group, 0);
    if (sym == NoSymbol)
        return 0;
    if (sym >= XK_a && sym <= XK_z)
        return static_cast<int>('A' + (sym - XK_a));
    for (int vk = 1; vk < 256; ++vk)
        if (NamedKeysym(vk) == sym)
            return vk;
    // A character key without a code of its own gets one, as VkKeyScan would.
    if (sym >= 0x20 && sym <= 0xFF)
        return VkKeyScan(static_cast<unsigned char>(sym)) & 0xFF;
    return 0;
}

void X11Keyboard::KeyEvent(int vk, bool release) {
    bool level3 = false;
    unsigned keycode = KeycodeForVk(vk, level3);
    if (keycode == 0)
        return;
    KeyCode altGr = level3 ? XKeysymToKeycode(dpy_, XK_ISO_Level3_Shift) : 0;
    if (altGr && !release)
        FakeKey(altGr, true);
    FakeKey(keycode, !release);
    if (altGr && release)
        FakeKey(altGr, false);
    XFlush(dpy_);
}

void X11Keyboard::FakeKey(unsigned keycode, bool press) {
    keycode &= 0xFF;
    if (press && usedInThisMs_.test(keycode)) {
        // The server stamps each event with its millisecond clock, and some
        // clients (the plain X11 backend of LibreOffice among them) drop a
        // press of a key that comes in the same millisecond as an earlier
        // event of that key. Once the server has handled everything sent so
        // far (XSync) and a millisecond more has passed, every later event is
        // stamped later than all of them.
        XSync(dpy_, False);
        std::this_thread::sleep_for(std::chrono::microseconds(1100));
        usedInThisMs_.reset();
    }
    XTestFakeKeyEvent(dpy_, keycode, press ? True : False, CurrentTime);
    usedInThisMs_.set(keycode);
}

bool X11Keyboard::CapsLockOn() {
    XkbStateRec state;
    XkbGetState(dpy_, XkbUseCoreKbd, &state);
    return (state.locked_mods & LockMask) != 0;
}

void X11Keyboard::SetCapsLock(bool on) {
    XkbLockModifiers(dpy_, XkbUseCoreKbd, LockMask, on ? LockMask : 0);
    XSync(dpy_, False);
}

namespace {

Atom Intern(Display* dpy, const char* name) {
    return XInternAtom(dpy, name, False);
}

std::vector<Window> WindowListProperty(Display* dpy, Window root, Atom property) {
    std::vector<Window> out;
    Atom type;
    int format;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(dpy, root, property, 0, 1 << 16, False, XA_WINDOW, &type, &format,
                           &count, &after, &data) == Success &&
        data && format == 32) {
        auto* windows = reinterpret_cast<Window*>(data);
        out.assign(windows, windows + count);
    }
    if (data)
        XFree(data);
    return out;
}

} // namespace

std::vector<WindowId> X11WindowSystem::TopLevelWindows() {
    ScopedX11ErrorTrap trap(dpy_);
    Window root = DefaultRootWindow(dpy_);
    std::vector<Window> list =
        WindowListProperty(dpy_, root, Intern(dpy_, "_NET_CLIENT_LIST_STACKING"));
    if (list.empty()) {
        Window rootReturn, parent, *children = nullptr;
        unsigned count = 0;
        if (XQueryTree(dpy_, root, &rootReturn, &parent, &children, &count) && children) {
            for (unsigned i = 0; i < count; ++i) {
                XWindowAttributes attrs;
                if (XGetWindowAttributes(dpy_, children[i], &attrs) &&
                    attrs.map_state == IsViewable)
                    list.push_back(children[i]);
            }
            XFree(children);
        }
    }
    // Both lists are bottom first.
    return std::vector<WindowId>(list.rbegin(), list.rend());
}

std::string X11WindowSystem::Caption(WindowId w) {
    ScopedX11ErrorTrap trap(dpy_);
    Atom type;
    int format;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    std::string caption;
    if (XGetWindowProperty(dpy_, w, Intern(dpy_, "_NET_WM_NAME"), 0, 1024, False,
                           Intern(dpy_, "UTF8_STRING"), &type, &format, &count, &after,
                           &data) == Success &&
        data && count > 0) {
        caption.assign(reinterpret_cast<char*>(data), count);
    } else {
        char* name = nullptr;
        if (XFetchName(dpy_, w, &name) && name) {
            caption = name;
            XFree(name);
        }
    }
    if (data)
        XFree(data);
    return caption;
}

WindowId X11WindowSystem::ForegroundWindow() {
    std::vector<Window> active =
        WindowListProperty(dpy_, DefaultRootWindow(dpy_), Intern(dpy_, "_NET_ACTIVE_WINDOW"));
    if (!active.empty() && active[0] != 0)
        return active[0];
    Window focus = 0;
    int revert = 0;
    XGetInputFocus(dpy_, &focus, &revert);
    return focus > 1 ? focus : 0;
}

bool X11WindowSystem::Activate(WindowId w) {
    ScopedX11ErrorTrap trap(dpy_);
    Window root = DefaultRootWindow(dpy_);
    Atom active = Intern(dpy_, "_NET_ACTIVE_WINDOW");
    if (!WindowListProperty(dpy_, root, Intern(dpy_, "_NET_CLIENT_LIST_STACKING")).empty()) {
        XEvent e{};
        e.xclient.type = ClientMessage;
        e.xclient.window = w;
        e.xclient.message_type = active;
        e.xclient.format = 32;
        e.xclient.data.l[0] = 2; // from a pager: honoured as the user's wish
        e.xclient.data.l[1] = CurrentTime;
        XSendEvent(dpy_, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &e);
    } else {
        XRaiseWindow(dpy_, w);
        XSetInputFocus(dpy_, w, RevertToParent, CurrentTime);
    }
    XSync(dpy_, False);
    return true;
}

namespace {

// The child of the root window that holds w (w itself for an unframed
// window, the frame a window manager put around it otherwise), or 0.
Window TopAncestor(Display* dpy, Window w) {
    const Window root = DefaultRootWindow(dpy);
    while (w != 0 && w != root) {
        Window rootReturn = 0, parent = 0, *children = nullptr;
        unsigned count = 0;
        if (!XQueryTree(dpy, w, &rootReturn, &parent, &children, &count))
            return 0;
        if (children)
            XFree(children);
        if (parent == root)
            return w;
        w = parent;
    }
    return 0;
}

} // namespace

bool X11WindowSystem::FocusIsIn(WindowId w) {
    ScopedX11ErrorTrap trap(dpy_);
    const Window root = DefaultRootWindow(dpy_);
    if (!WindowListProperty(dpy_, root, Intern(dpy_, "_NET_CLIENT_LIST_STACKING")).empty()) {
        std::vector<Window> active = WindowListProperty(dpy_, root, Intern(dpy_, "_NET_ACTIVE_WINDOW"));
        if (active.empty() || active[0] != w)
            return false;
    }
    Window focus = 0;
    int revert = 0;
    XGetInputFocus(dpy_, &focus, &revert);
    if (focus == PointerRoot) {
        // Keys go to the window under the pointer.
        Window rootReturn = 0, child = 0;
        int rx, ry, wx, wy;
        unsigned mask;
        if (!XQueryPointer(dpy_, root, &rootReturn, &child, &rx, &ry, &wx, &wy, &mask))
            return false;
        focus = child;
    }
    if (focus == None)
        return false;
    // The focus may sit on a window inside the client or on the frame that a
    // window manager put around it: both share the client's top ancestor.
    const Window top = TopAncestor(dpy_, w);
    return top != 0 && TopAncestor(dpy_, focus) == top;
}

bool X11WindowSystem::IsIconic(WindowId w) {
    ScopedX11ErrorTrap trap(dpy_);
    Atom wmState = Intern(dpy_, "WM_STATE");
    Atom type;
    int format;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    bool iconic = false;
    if (XGetWindowProperty(dpy_, w, wmState, 0, 2, False, wmState, &type, &format, &count, &after,
                           &data) == Success &&
        data && count > 0)
        iconic = reinterpret_cast<long*>(data)[0] == IconicState;
    if (data)
        XFree(data);
    return iconic;
}

void X11WindowSystem::Restore(WindowId w) {
    ScopedX11ErrorTrap trap(dpy_);
    XMapRaised(dpy_, w);
    XSync(dpy_, False);
}

void X11WindowSystem::Show(WindowId w) {
    ScopedX11ErrorTrap trap(dpy_);
    XMapWindow(dpy_, w);
    XSync(dpy_, False);
}

void X11WindowSystem::Minimize(WindowId w) {
    ScopedX11ErrorTrap trap(dpy_);
    XIconifyWindow(dpy_, w, DefaultScreen(dpy_));
    XSync(dpy_, False);
}

} // namespace output
