#include "control/X11HotKeys.h"

#include "output/X11ErrorTrap.h"
#include "output/X11Keyboard.h"

#include <QSocketNotifier>
#include <QTimer>

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>

#include <algorithm>

namespace control {

namespace {

// The modifiers that tell one hot key from another: Shift, Ctrl and the five
// ModN masks (Alt among them). Mouse buttons and the keyboard group are not.
constexpr unsigned ComparedMods =
    ShiftMask | ControlMask | Mod1Mask | Mod2Mask | Mod3Mask | Mod4Mask | Mod5Mask;

} // namespace

std::unique_ptr<X11HotKeys> X11HotKeys::Open() {
    auto keyboard = output::X11Keyboard::Open();
    if (!keyboard)
        return nullptr;
    return std::unique_ptr<X11HotKeys>(new X11HotKeys(std::move(keyboard)));
}

X11HotKeys::X11HotKeys(std::unique_ptr<output::X11Keyboard> keyboard)
    : keyboard_(std::move(keyboard)), dpy_(keyboard_->display()) {
    ReadModifierMasks();
    notifier_ = std::make_unique<QSocketNotifier>(ConnectionNumber(dpy_), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { ProcessEvents(); });
}

X11HotKeys::~X11HotKeys() {
    notifier_.reset();
    while (!registrations_.empty())
        UnregisterHotKey(registrations_.back().id);
}

void X11HotKeys::ReadModifierMasks() {
    // Which ModN stands for Alt or Num Lock is the server's choice; ask it.
    altMask_ = XkbKeysymToModifiers(dpy_, XK_Alt_L);
    if (altMask_ == 0)
        altMask_ = XkbKeysymToModifiers(dpy_, XK_Meta_L);
    if (altMask_ == 0)
        altMask_ = Mod1Mask;
    const unsigned candidates[] = {LockMask, XkbKeysymToModifiers(dpy_, XK_Num_Lock),
                                   XkbKeysymToModifiers(dpy_, XK_Scroll_Lock)};
    for (unsigned mask : candidates)
        if (mask != 0 && (mask & (altMask_ | ShiftMask | ControlMask)) == 0 &&
            (mask & allLocks_) == 0) {
            lockMasks_.push_back(mask);
            allLocks_ |= mask;
        }
}

std::vector<unsigned> X11HotKeys::Variants(unsigned mods) const {
    std::vector<unsigned> variants;
    for (unsigned subset = 0; subset < (1u << lockMasks_.size()); ++subset) {
        unsigned v = mods;
        for (std::size_t i = 0; i < lockMasks_.size(); ++i)
            if (subset & (1u << i))
                v |= lockMasks_[i];
        variants.push_back(v);
    }
    return variants;
}

bool X11HotKeys::Grab(unsigned keycode, unsigned mods) {
    const Window root = DefaultRootWindow(dpy_);
    output::ScopedX11ErrorTrap trap(dpy_);
    for (unsigned v : Variants(mods))
        XGrabKey(dpy_, static_cast<int>(keycode), v, root, False, GrabModeAsync, GrabModeAsync);
    if (trap.Sync() == 0)
        return true;
    // The variants that were granted go back: the combination is someone else's.
    Ungrab(keycode, mods);
    return false;
}

void X11HotKeys::Ungrab(unsigned keycode, unsigned mods) {
    const Window root = DefaultRootWindow(dpy_);
    for (unsigned v : Variants(mods))
        XUngrabKey(dpy_, static_cast<int>(keycode), v, root);
}

bool X11HotKeys::RegisterHotKey(int id, int modifiers, int virtualKey) {
    const unsigned keycode = keyboard_->KeycodeFor(virtualKey);
    if (keycode == 0)
        return false;
    const unsigned mods = ((modifiers & ModShift) ? ShiftMask : 0) |
                          ((modifiers & ModControl) ? ControlMask : 0) |
                          ((modifiers & ModAlt) ? altMask_ : 0);
    // The server lets a client grab its own combination again; the platform
    // does not let two hot keys share one, so the first keeps it.
    const bool ours = std::any_of(registrations_.begin(), registrations_.end(), [&](const auto& r) {
        return r.keycode == keycode && r.mods == mods;
    });
    const bool granted = !ours && Grab(keycode, mods);
    if (granted)
        registrations_.push_back({id, keycode, mods});
    ProcessQueuedEventsSoon();
    return granted;
}

void X11HotKeys::UnregisterHotKey(int id) {
    auto it = std::find_if(registrations_.begin(), registrations_.end(),
                           [&](const Registration& r) { return r.id == id; });
    if (it == registrations_.end())
        return;
    Ungrab(it->keycode, it->mods);
    registrations_.erase(it);
    // Once this returns the combination is free for any other program.
    XSync(dpy_, False);
    ProcessQueuedEventsSoon();
}

void X11HotKeys::ProcessEvents() {
    // An action never pumps events, but should one ever do, the presses it
    // lets in wait here for this loop instead of nesting in it.
    if (processing_)
        return;
    processing_ = true;
    while (XPending(dpy_) > 0) {
        XEvent event;
        XNextEvent(dpy_, &event);
        if (event.type == MappingNotify) {
            XRefreshKeyboardMapping(&event.xmapping);
            continue;
        }
        if (event.type != KeyPress)
            continue;
        const unsigned mods = event.xkey.state & ComparedMods & ~allLocks_;
        for (const Registration& r : registrations_)
            if (r.keycode == event.xkey.keycode && r.mods == mods) {
                if (pressed)
                    pressed(r.id);
                break;
            }
    }
    processing_ = false;
}

void X11HotKeys::ProcessQueuedEventsSoon() {
    if (notifier_ && XEventsQueued(dpy_, QueuedAlready) > 0)
        QTimer::singleShot(0, notifier_.get(), [this] { ProcessEvents(); });
}

} // namespace control
