#include "output/WlrootsConnection.h"

#include "virtual-keyboard-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <poll.h>

namespace output {

namespace {

void OnGlobal(void* data, wl_registry* registry, std::uint32_t name, const char* interface,
              std::uint32_t version) {
    static_cast<WlrootsConnection*>(data)->Global(registry, name, interface, version);
}

void OnGlobalRemove(void*, wl_registry*, std::uint32_t) {}

const wl_registry_listener RegistryListener = {OnGlobal, OnGlobalRemove};

void OnCapabilities(void* data, wl_seat*, std::uint32_t capabilities) {
    static_cast<WlrootsConnection*>(data)->SeatCapabilities(capabilities);
}

void OnSeatName(void*, wl_seat*, const char*) {}

const wl_seat_listener SeatListener = {OnCapabilities, OnSeatName};

} // namespace

std::unique_ptr<WlrootsConnection> WlrootsConnection::Open(std::string& why) {
    const char* name = std::getenv("WAYLAND_DISPLAY");
    if (!name || !*name) {
        why = "WAYLAND_DISPLAY is not set: this is no Wayland session";
        return nullptr;
    }
    wl_display* display = wl_display_connect(nullptr);
    if (!display) {
        why = std::string("no Wayland compositor answers at WAYLAND_DISPLAY=") + name + " (" +
              std::strerror(errno) + ")";
        return nullptr;
    }
    std::unique_ptr<WlrootsConnection> connection(new WlrootsConnection(display));
    connection->registry_ = wl_display_get_registry(display);
    wl_registry_add_listener(connection->registry_, &RegistryListener, connection.get());
    // The globals, then the seat's capabilities.
    if (!connection->Roundtrip() || !connection->Roundtrip()) {
        why = std::string("the Wayland compositor at ") + name + " closed the connection";
        return nullptr;
    }
    return connection;
}

WlrootsConnection::~WlrootsConnection() {
    if (keyboards_)
        zwp_virtual_keyboard_manager_v1_destroy(keyboards_);
    if (seat_)
        wl_seat_destroy(seat_);
    if (registry_)
        wl_registry_destroy(registry_);
    wl_display_flush(display_);
    wl_display_disconnect(display_);
}

void WlrootsConnection::Global(wl_registry* registry, std::uint32_t name, const char* interface,
                               std::uint32_t version) {
    const std::string_view which(interface);
    if (which == wl_seat_interface.name && !seat_) {
        seat_ = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
        wl_seat_add_listener(seat_, &SeatListener, this);
        offer_.seat = true;
    } else if (which == zwp_virtual_keyboard_manager_v1_interface.name && !keyboards_) {
        keyboards_ = static_cast<zwp_virtual_keyboard_manager_v1*>(
            wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
        offer_.virtualKeyboard = true;
    } else if (which == "zwlr_foreign_toplevel_manager_v1" && !offer_.toplevels) {
        // Bound by the window list, which listens to it from the start.
        offer_.toplevels = true;
        offer_.toplevelsName = name;
        offer_.toplevelsVersion = version;
    }
}

void WlrootsConnection::SeatCapabilities(std::uint32_t capabilities) {
    offer_.seatHasKeyboard = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
}

int WlrootsConnection::Fd() const {
    return wl_display_get_fd(display_);
}

bool WlrootsConnection::Broken() const {
    return wl_display_get_error(display_) != 0;
}

bool WlrootsConnection::Dispatch() {
    if (Broken())
        return false;
    while (wl_display_prepare_read(display_) != 0)
        wl_display_dispatch_pending(display_);
    wl_display_flush(display_); // a full socket is flushed by the next Flush
    pollfd readable{Fd(), POLLIN, 0};
    if (::poll(&readable, 1, 0) > 0)
        wl_display_read_events(display_);
    else
        wl_display_cancel_read(display_);
    wl_display_dispatch_pending(display_);
    return !Broken();
}

bool WlrootsConnection::Roundtrip() {
    return wl_display_roundtrip(display_) >= 0;
}

bool WlrootsConnection::Flush() {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(FlushWaitMs);
    while (wl_display_flush(display_) < 0) {
        if (errno != EAGAIN)
            return false;
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return false;
        // The compositor may be waiting for us to read before it reads more.
        pollfd socket{Fd(), POLLOUT | POLLIN, 0};
        if (::poll(&socket, 1, static_cast<int>(left.count())) > 0 && (socket.revents & POLLIN))
            Dispatch();
    }
    return !Broken();
}

} // namespace output
