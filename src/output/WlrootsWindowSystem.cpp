#include "output/WlrootsWindowSystem.h"

#include "wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <algorithm>

namespace output {

namespace {

using Toplevel = WlrootsWindowSystem::Toplevel;

Toplevel& Of(void* data) {
    return *static_cast<Toplevel*>(data);
}

void OnTitle(void* data, zwlr_foreign_toplevel_handle_v1*, const char* title) {
    Of(data).pendingTitle = title ? title : "";
}
void OnAppId(void* data, zwlr_foreign_toplevel_handle_v1*, const char* appId) {
    Of(data).pendingAppId = appId ? appId : "";
}
void OnOutputEnter(void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {}
void OnOutputLeave(void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {}
void OnState(void* data, zwlr_foreign_toplevel_handle_v1*, wl_array* states) {
    Toplevel& toplevel = Of(data);
    toplevel.pendingActivated = toplevel.pendingMinimized = false;
    const auto* state = static_cast<const std::uint32_t*>(states->data);
    for (std::size_t i = 0; i < states->size / sizeof(std::uint32_t); ++i) {
        if (state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED)
            toplevel.pendingActivated = true;
        else if (state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_MINIMIZED)
            toplevel.pendingMinimized = true;
    }
}
void OnDone(void* data, zwlr_foreign_toplevel_handle_v1*) {
    Of(data).owner->Done(Of(data));
}
void OnClosed(void* data, zwlr_foreign_toplevel_handle_v1*) {
    Of(data).owner->Closed(Of(data));
}
void OnParent(void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {}

const zwlr_foreign_toplevel_handle_v1_listener HandleListener = {
    OnTitle, OnAppId, OnOutputEnter, OnOutputLeave, OnState, OnDone, OnClosed, OnParent};

void OnToplevel(void* data, zwlr_foreign_toplevel_manager_v1*,
                zwlr_foreign_toplevel_handle_v1* handle) {
    static_cast<WlrootsWindowSystem*>(data)->Added(handle);
}
void OnFinished(void* data, zwlr_foreign_toplevel_manager_v1* manager) {
    zwlr_foreign_toplevel_manager_v1_destroy(manager);
    static_cast<WlrootsWindowSystem*>(data)->Finished();
}

const zwlr_foreign_toplevel_manager_v1_listener ManagerListener = {OnToplevel, OnFinished};

} // namespace

WlrootsWindowSystem::WlrootsWindowSystem(WlrootsConnection& connection) : connection_(connection) {
    const WlrootsConnection::Offer& offer = connection.offer();
    if (!offer.toplevels)
        return;
    // Version 3 adds only the parent event, which is not needed here.
    manager_ = static_cast<zwlr_foreign_toplevel_manager_v1*>(wl_registry_bind(
        connection.registry(), offer.toplevelsName, &zwlr_foreign_toplevel_manager_v1_interface,
        std::min<std::uint32_t>(offer.toplevelsVersion, 3)));
    zwlr_foreign_toplevel_manager_v1_add_listener(manager_, &ManagerListener, this);
    // Every window is announced at once, its details right after it.
    connection.Roundtrip();
    connection.Roundtrip();
}

WlrootsWindowSystem::~WlrootsWindowSystem() {
    for (auto& [id, toplevel] : toplevels_)
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel->handle);
    if (manager_)
        zwlr_foreign_toplevel_manager_v1_stop(manager_);
    connection_.Flush();
}

void WlrootsWindowSystem::Added(zwlr_foreign_toplevel_handle_v1* handle) {
    auto toplevel = std::make_unique<Toplevel>();
    toplevel->handle = handle;
    toplevel->id = nextId_++;
    toplevel->owner = this;
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &HandleListener, toplevel.get());
    toplevels_[toplevel->id] = std::move(toplevel);
}

void WlrootsWindowSystem::Done(Toplevel& toplevel) {
    if (toplevel.pendingActivated && !toplevel.activated)
        toplevel.activatedAt = ++activations_;
    toplevel.title = toplevel.pendingTitle;
    toplevel.appId = toplevel.pendingAppId;
    toplevel.activated = toplevel.pendingActivated;
    toplevel.minimized = toplevel.pendingMinimized;
}

void WlrootsWindowSystem::Closed(Toplevel& toplevel) {
    zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    toplevels_.erase(toplevel.id);
}

WlrootsWindowSystem::Toplevel* WlrootsWindowSystem::Find(WindowId w) {
    auto it = toplevels_.find(w);
    return it == toplevels_.end() ? nullptr : it->second.get();
}

std::vector<WindowId> WlrootsWindowSystem::TopLevelWindows() {
    connection_.Dispatch();
    std::vector<const Toplevel*> order;
    for (const auto& [id, toplevel] : toplevels_)
        order.push_back(toplevel.get());
    std::sort(order.begin(), order.end(), [](const Toplevel* a, const Toplevel* b) {
        if (a->activated != b->activated)
            return a->activated;
        if (a->activatedAt != b->activatedAt)
            return a->activatedAt > b->activatedAt;
        return a->id > b->id;
    });
    std::vector<WindowId> out;
    for (const Toplevel* toplevel : order)
        out.push_back(toplevel->id);
    return out;
}

std::string WlrootsWindowSystem::Caption(WindowId w) {
    const Toplevel* toplevel = Find(w);
    return toplevel ? toplevel->title : "";
}

WindowId WlrootsWindowSystem::ForegroundWindow() {
    connection_.Dispatch();
    const Toplevel* front = nullptr;
    for (const auto& [id, toplevel] : toplevels_)
        if (toplevel->activated && (!front || toplevel->activatedAt > front->activatedAt))
            front = toplevel.get();
    return front ? front->id : 0;
}

bool WlrootsWindowSystem::Activate(WindowId w) {
    Toplevel* toplevel = Find(w);
    if (!toplevel || !connection_.seat())
        return false;
    zwlr_foreign_toplevel_handle_v1_activate(toplevel->handle, connection_.seat());
    return connection_.Flush();
}

bool WlrootsWindowSystem::FocusIsIn(WindowId w) {
    connection_.Dispatch();
    const Toplevel* toplevel = Find(w);
    return toplevel && toplevel->activated;
}

bool WlrootsWindowSystem::IsIconic(WindowId w) {
    connection_.Dispatch();
    const Toplevel* toplevel = Find(w);
    return toplevel && toplevel->minimized;
}

void WlrootsWindowSystem::Restore(WindowId w) {
    if (Toplevel* toplevel = Find(w)) {
        zwlr_foreign_toplevel_handle_v1_unset_minimized(toplevel->handle);
        connection_.Flush();
    }
}

void WlrootsWindowSystem::Show(WindowId) {
    // Activation shows the window: nothing more to ask.
}

void WlrootsWindowSystem::Minimize(WindowId w) {
    if (Toplevel* toplevel = Find(w)) {
        zwlr_foreign_toplevel_handle_v1_set_minimized(toplevel->handle);
        connection_.Flush();
    }
}

WindowId WlrootsWindowSystem::FindByTitle(const std::string& title) {
    connection_.Dispatch();
    for (const auto& [id, toplevel] : toplevels_)
        if (toplevel->title == title)
            return id;
    return 0;
}

} // namespace output
