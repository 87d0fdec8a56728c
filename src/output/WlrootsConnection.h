#pragma once
// The connection to a Wayland compositor that the wlroots keystroke backend
// shares between its keyboard (WlrootsKeyboard) and its window list
// (WlrootsWindowSystem): the display, the first seat, and what the
// compositor offers of the two protocols the backend needs.
//
// The runtime is single-threaded: events are read without blocking, by
// Dispatch (called from the program's event loop when the socket becomes
// readable, and by every query of the window list) and inside the waits of
// Flush. Requests are flushed after each key event, so libwayland's own
// buffer never overflows (an overflowing buffer ends the connection).

#include <cstdint>
#include <memory>
#include <string>

struct wl_display;
struct wl_registry;
struct wl_seat;
struct zwp_virtual_keyboard_manager_v1;

namespace output {

class WlrootsConnection {
public:
    // What the compositor offers, as its globals announce it.
    struct Offer {
        bool seat = false;
        bool virtualKeyboard = false; // zwp_virtual_keyboard_manager_v1
        bool toplevels = false;       // zwlr_foreign_toplevel_manager_v1
        std::uint32_t toplevelsName = 0, toplevelsVersion = 0;
        bool seatHasKeyboard = false; // a keyboard other than ours, last we heard
    };

    // Connects to the compositor that WAYLAND_DISPLAY names and reads its
    // globals. Null, with why in words for the user, when none answers.
    static std::unique_ptr<WlrootsConnection> Open(std::string& why);
    ~WlrootsConnection();
    WlrootsConnection(const WlrootsConnection&) = delete;
    WlrootsConnection& operator=(const WlrootsConnection&) = delete;

    const Offer& offer() const { return offer_; }
    wl_display* display() const { return display_; }
    wl_registry* registry() const { return registry_; }
    wl_seat* seat() const { return seat_; }
    zwp_virtual_keyboard_manager_v1* keyboards() const { return keyboards_; }
    int Fd() const;

    // Reads and handles what the compositor has sent, without blocking.
    // False once the connection is broken.
    bool Dispatch();
    // Sends every queued request and waits for the compositor's answers.
    bool Roundtrip();
    // Sends the queued requests; while the socket is full it waits (reading
    // what comes meanwhile), at most FlushWaitMs. False when the connection
    // broke or the compositor took nothing for that long.
    bool Flush();
    static constexpr int FlushWaitMs = 2000;
    bool Broken() const;

    // Called by the seat listener.
    void SeatCapabilities(std::uint32_t capabilities);
    void Global(wl_registry* registry, std::uint32_t name, const char* interface,
                std::uint32_t version);

private:
    explicit WlrootsConnection(wl_display* display) : display_(display) {}

    wl_display* display_;
    wl_registry* registry_ = nullptr;
    wl_seat* seat_ = nullptr;
    zwp_virtual_keyboard_manager_v1* keyboards_ = nullptr;
    Offer offer_;
};

} // namespace output
