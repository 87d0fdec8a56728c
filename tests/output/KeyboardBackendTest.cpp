// The choice of the keystroke backend for a session, the stored preference,
// and the stamps that keep the pacing rule on a virtual keyboard.

#include "output/KeyboardBackend.h"
#include "output/KeyPacing.h"
#include "support/MemorySettingsStore.h"

#include <gtest/gtest.h>

using output::BackendProbe;
using output::KeyboardBackend;
using output::SessionEnvironment;

namespace {

struct ChoiceCase {
    const char* name;
    SessionEnvironment session;
    KeyboardBackend forced;
    BackendProbe probe;
    KeyboardBackend expected;
    const char* whyContains;
};

BackendProbe Probe(bool x11, bool wlroots) {
    return {x11, "the X display cannot be opened", wlroots,
            "the compositor offers no virtual keyboard"};
}

} // namespace

TEST(KeyboardBackendChoice, FollowsTheSessionAndTheForcedChoice) {
    const SessionEnvironment x11{":0", "", "x11", "XFCE"};
    const SessionEnvironment waylandWithX{":0", "wayland-1", "wayland", "sway"};
    const SessionEnvironment waylandOnly{"", "wayland-1", "wayland", "sway"};
    const SessionEnvironment x11SessionWithStrayWayland{":0", "wayland-0", "x11", ""};
    const SessionEnvironment tty{"", "", "tty", ""};
    const ChoiceCase cases[] = {
        {"x11 session", x11, KeyboardBackend::Auto, Probe(true, true), KeyboardBackend::X11,
         "XTest on DISPLAY=:0"},
        {"XDG_SESSION_TYPE=x11 wins over WAYLAND_DISPLAY", x11SessionWithStrayWayland,
         KeyboardBackend::Auto, Probe(true, true), KeyboardBackend::X11, "x11"},
        {"wlroots compositor", waylandWithX, KeyboardBackend::Auto, Probe(true, true),
         KeyboardBackend::Wlroots, "virtual keyboard"},
        {"other compositor with XWayland", waylandWithX, KeyboardBackend::Auto, Probe(true, false),
         KeyboardBackend::X11, "reach only X11 programs"},
        {"other compositor without XWayland", waylandOnly, KeyboardBackend::Auto,
         Probe(false, false), KeyboardBackend::Auto, "no virtual keyboard"},
        {"x11 forced on wlroots", waylandWithX, KeyboardBackend::X11, Probe(true, true),
         KeyboardBackend::X11, "as chosen"},
        {"wlroots forced on X11", x11, KeyboardBackend::Wlroots, Probe(true, false),
         KeyboardBackend::Auto, "no virtual keyboard"},
        {"no session", tty, KeyboardBackend::Auto, Probe(false, false), KeyboardBackend::Auto,
         "neither DISPLAY nor WAYLAND_DISPLAY"},
    };
    for (const ChoiceCase& c : cases) {
        const output::BackendChoice choice =
            output::ChooseKeyboardBackend(c.session, c.forced, c.probe);
        EXPECT_EQ(choice.backend, c.expected) << c.name;
        EXPECT_NE(choice.why.find(c.whyContains), std::string::npos)
            << c.name << ": " << choice.why;
    }
}

TEST(KeyboardBackendChoice, TriesOnlyWhatTheSessionOrTheUserCallsFor) {
    const auto order = [](SessionEnvironment s, KeyboardBackend forced) {
        const output::BackendOrder o = output::OrderOfBackends(s, forced);
        return std::string(o.tryWlroots ? "w" : "") + (o.tryX11 ? "x" : "");
    };
    EXPECT_EQ(order({":0", "", "", ""}, KeyboardBackend::Auto), "x");
    EXPECT_EQ(order({":0", "wayland-1", "wayland", ""}, KeyboardBackend::Auto), "wx");
    EXPECT_EQ(order({"", "wayland-1", "", ""}, KeyboardBackend::Auto), "w");
    EXPECT_EQ(order({":0", "wayland-1", "wayland", ""}, KeyboardBackend::X11), "x");
    EXPECT_EQ(order({":0", "", "x11", ""}, KeyboardBackend::Wlroots), "w");
    EXPECT_EQ(order({"", "", "", ""}, KeyboardBackend::Auto), "");
}

TEST(KeyboardBackendChoice, NamesAndTheStoredPreference) {
    for (KeyboardBackend b :
         {KeyboardBackend::Auto, KeyboardBackend::X11, KeyboardBackend::Wlroots})
        EXPECT_EQ(output::ParseKeyboardBackend(output::KeyboardBackendName(b)), b);
    EXPECT_FALSE(output::ParseKeyboardBackend("X11"));
    EXPECT_FALSE(output::ParseKeyboardBackend("kde"));

    config::MemorySettingsStore store;
    EXPECT_EQ(output::StoredKeyboardBackend(store), KeyboardBackend::Auto);
    output::StoreKeyboardBackend(store, KeyboardBackend::Wlroots);
    EXPECT_EQ(store.Get("Corvane", "Preferences", "KeystrokeBackend"), "wlroots");
    EXPECT_EQ(output::StoredKeyboardBackend(store), KeyboardBackend::Wlroots);
    // Automatic is the absence of a choice.
    output::StoreKeyboardBackend(store, KeyboardBackend::Auto);
    EXPECT_FALSE(store.Get("Corvane", "Preferences", "KeystrokeBackend"));
    store.Set("Corvane", "Preferences", "KeystrokeBackend", "something else");
    EXPECT_EQ(output::StoredKeyboardBackend(store), KeyboardBackend::Auto);
}

TEST(KeyStamps, NoPressSharesAMillisecondWithAnEarlierEventOfItsKey) {
    output::KeyStamps stamps;
    // "11" typed within one real millisecond.
    EXPECT_EQ(stamps.Stamp(2, true, 1000), 1000u);
    EXPECT_EQ(stamps.Stamp(2, false, 1000), 1000u); // a release may share its press's time
    EXPECT_EQ(stamps.Stamp(2, true, 1000), 1001u);
    EXPECT_EQ(stamps.Stamp(2, false, 1000), 1001u);
    // Another key is not held back, but the clock of the keyboard never
    // goes back.
    EXPECT_EQ(stamps.Stamp(3, true, 1000), 1001u);
    EXPECT_EQ(stamps.Stamp(2, true, 1000), 1002u);
    // Once the real clock is ahead again, it is used as it is.
    EXPECT_EQ(stamps.Stamp(2, true, 1500), 1500u);
    EXPECT_EQ(stamps.Stamp(2, true, 1502), 1502u);
}

TEST(KeyStamps, SurviveTheWrapOfTheMillisecondClockAndBoundTheLead) {
    output::KeyStamps stamps;
    EXPECT_EQ(stamps.Stamp(7, true, 0xFFFFFFFFu), 0xFFFFFFFFu);
    EXPECT_EQ(stamps.Stamp(7, true, 0xFFFFFFFFu), 0u);
    EXPECT_EQ(stamps.Stamp(7, true, 0xFFFFFFFFu), 1u);
    // Within the lead nothing waits; beyond it, the difference.
    EXPECT_EQ(output::KeyStamps::WaitBefore(1020, 1000), 0u);
    EXPECT_EQ(output::KeyStamps::WaitBefore(1025, 1000), 5u);
    EXPECT_EQ(output::KeyStamps::WaitBefore(999, 1000), 0u);
    EXPECT_EQ(output::KeyStamps::WaitBefore(3, 0xFFFFFFF0u), 0u);
}
