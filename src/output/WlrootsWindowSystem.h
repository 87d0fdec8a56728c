#pragma once
// Top-level windows of a wlroots compositor, as its foreign toplevel list
// (zwlr_foreign_toplevel_manager_v1) reports them: every program's windows
// with their titles, which one is activated, and requests to activate,
// minimise and restore them.
//
// The protocol gives no stacking order. The order here is the order in which
// the windows were last activated, the active one first, then the ones never
// seen active, newest first: the target search takes the first window whose
// title matches, as on X11.

#include "output/WindowSystem.h"
#include "output/WlrootsConnection.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_foreign_toplevel_handle_v1;

namespace output {

class WlrootsWindowSystem : public WindowSystem {
public:
    // Binds the compositor's toplevel list and reads it. Usable() is false
    // when the compositor offers none: then no window is found, and keys go
    // to the window that has the focus.
    explicit WlrootsWindowSystem(WlrootsConnection& connection);
    ~WlrootsWindowSystem() override;
    bool Usable() const { return manager_ != nullptr; }

    std::vector<WindowId> TopLevelWindows() override;
    std::string Caption(WindowId w) override;
    WindowId ForegroundWindow() override;
    bool Activate(WindowId w) override;
    bool FocusIsIn(WindowId w) override;
    bool IsIconic(WindowId w) override;
    void Restore(WindowId w) override;
    void Show(WindowId w) override;
    void Minimize(WindowId w) override;

    // The first window whose title is exactly title (Corvane's own runtime
    // window is found so), or 0.
    WindowId FindByTitle(const std::string& title);

    // What the listeners report; the state of a toplevel counts once its
    // "done" event has come.
    struct Toplevel {
        zwlr_foreign_toplevel_handle_v1* handle = nullptr;
        WindowId id = 0;
        std::string title, appId;
        bool activated = false, minimized = false;
        std::string pendingTitle, pendingAppId;
        bool pendingActivated = false, pendingMinimized = false;
        std::uint64_t activatedAt = 0; // when it last became active (0: never)
        WlrootsWindowSystem* owner = nullptr;
    };
    void Added(zwlr_foreign_toplevel_handle_v1* handle);
    void Done(Toplevel& toplevel);
    void Closed(Toplevel& toplevel);
    void Finished() { manager_ = nullptr; }

private:
    Toplevel* Find(WindowId w);

    WlrootsConnection& connection_;
    zwlr_foreign_toplevel_manager_v1* manager_ = nullptr;
    std::map<WindowId, std::unique_ptr<Toplevel>> toplevels_;
    WindowId nextId_ = 1;
    std::uint64_t activations_ = 0;
};

} // namespace output
