#include "output/WindowSystem.h"

#include <cctype>

namespace output {

namespace {

std::string Trim(const std::string& s) {
    std::size_t b = s.find_first_not_of(" \t");
    if (b == std::string::npos)
        return "";
    return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

} // namespace

std::string UpperCase(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

Activation ActivateTargetApp(const std::string& title, WindowSystem& windows) {
    Activation result;
    if (title.empty())
        return result;
    const std::string wanted = UpperCase(Trim(title));
    std::vector<WindowId> all = windows.TopLevelWindows();
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (UpperCase(windows.Caption(all[i])).find(wanted) == std::string::npos)
            continue;
        result.window = all[i];
        if (i == 0)
            return result; // already in front
        // Asked before activating: a window manager restores a minimised
        // window as it activates it.
        const bool iconic = windows.IsIconic(all[i]);
        result.requested = true;
        if (windows.Activate(all[i])) {
            if (iconic) {
                windows.Restore(all[i]);
                result.TargetWasIconic = true;
            } else {
                windows.Show(all[i]);
            }
        }
        return result;
    }
    return result;
}

FrontWait WaitUntilInFront(WindowSystem& windows, WindowId w, engine::Clock& clock,
                           const std::function<bool(int maxWaitMs)>& pump) {
    // A window manager switches within a few milliseconds; short looks keep
    // the typing close behind it.
    constexpr int LookMs = 2;
    const std::int32_t start = clock.TickCount();
    while (!windows.FocusIsIn(w)) {
        // The difference survives the wrap-around of the tick count.
        const auto elapsed = static_cast<std::int32_t>(static_cast<std::uint32_t>(clock.TickCount()) -
                                                       static_cast<std::uint32_t>(start));
        if (elapsed >= FrontWaitMs || elapsed < 0)
            return FrontWait::TimedOut;
        if (pump && !pump(LookMs))
            return FrontWait::Closing;
    }
    return FrontWait::InFront;
}

} // namespace output
