#include "output/KeystrokeDispatch.h"

#include <cctype>
#include <cstdint>
#include <optional>

namespace output {

KeystrokeDispatch::KeystrokeDispatch(config::Config& cfg, WindowSystem& windows,
                                     ProgramLauncher& launcher, KeySender& sender,
                                     config::MessageSink& messages, engine::Clock& clock,
                                     EventPump pump)
    : cfg_(cfg), windows_(windows), launcher_(launcher), sender_(sender), messages_(messages),
      clock_(clock), pump_(std::move(pump)) {}

bool KeystrokeDispatch::Launch(WindowId& target, WindowId& returnWindow) {
    const WindowId before = windows_.ForegroundWindow();
    const StartedProgram program = launcher_.Start(cfg_.TargetAppCommand);
    if (program.id == 0) {
        messages_.Show({"Cannot Run Program: " + cfg_.TargetAppCommand + "\r" + program.error, "",
                        config::MessageIcon::Exclamation, config::MessageButtons::Ok});
        return false;
    }
    // Wait for the program's window to come to the front, then one more
    // second on the clock so that it is ready for keys. The wait has no time
    // limit while the program runs, as it may take long to start, but it
    // looks at the windows only between the pump's sleeps and ends when the
    // runtime closes. A program that hands its work to a copy of itself
    // already running (as office suites and browsers do) ends at once while
    // that copy opens the window: after the end the window gets as long as
    // a window switch, before the start counts as failed.
    std::optional<std::int32_t> endedAt;
    std::string how;
    while (windows_.ForegroundWindow() == before) {
        if (pump_ && !pump_(WaitPollMs))
            return false;
        if (!endedAt) {
            if (launcher_.Ended(program.id, how))
                endedAt = clock_.TickCount();
        } else if (static_cast<std::int32_t>(static_cast<std::uint32_t>(clock_.TickCount()) -
                                             static_cast<std::uint32_t>(*endedAt)) >= FrontWaitMs) {
            if (reportedCommands_.insert(cfg_.TargetAppCommand).second)
                messages_.Show({"Cannot Run Program: " + cfg_.TargetAppCommand +
                                    "\rThe program ended (" + how + ") without opening a window.",
                                "", config::MessageIcon::Exclamation, config::MessageButtons::Ok});
            return false;
        }
    }
    if (!WaitClockSeconds(clock_, 1, pump_))
        return false;
    target = returnWindow = windows_.ForegroundWindow();
    // The next record finds the window by its real caption; the setting
    // itself is not marked as changed.
    std::string caption = UpperCase(windows_.Caption(target));
    if (cfg_.TargetAppTitle.empty() ||
        caption.find(UpperCase(cfg_.TargetAppTitle)) == std::string::npos)
        cfg_.TargetAppTitle = caption;
    return true;
}

bool KeystrokeDispatch::DeliverRecord(const std::function<std::string()>& buildRecordText) {
    // Every earlier switch has completed (or was given up), so the window in
    // front now is the user's own.
    WindowId returnWindow = windows_.ForegroundWindow();
    Activation activation;
    WindowId target = 0;
    bool launchFailed = false;
    if (cfg_.ActivateTarget) {
        activation = ActivateTargetApp(cfg_.TargetAppTitle, windows_);
        target = activation.window;
        if (!target && !cfg_.TargetAppCommand.empty())
            launchFailed = !Launch(target, returnWindow);
    }
    std::string text = buildRecordText();
    if (launchFailed)
        return true;
    if (target && !windows_.FocusIsIn(target)) {
        // The top window is taken to be in front; when the focus is
        // elsewhere after all, it is asked for like any other.
        if (!activation.requested)
            windows_.Activate(target);
        if (FrontWait wait = WaitUntilInFront(windows_, target, clock_, pump_);
            wait != FrontWait::InFront) {
            if (wait == FrontWait::TimedOut && reportedTargets_.insert(target).second)
                messages_.Show({"Cannot Activate Window: " + windows_.Caption(target) +
                                    "\rThe window did not come to the front within " +
                                    std::to_string(FrontWaitMs / 1000) +
                                    " seconds, so nothing was typed into it.",
                                "", config::MessageIcon::Exclamation, config::MessageButtons::Ok});
            if (activation.TargetWasIconic)
                windows_.Minimize(target);
            if (returnWindow != target)
                Return(returnWindow, true);
            return false;
        }
    }
    if (const WindowId own = ownWindow ? ownWindow() : 0;
        own != 0 && windows_.ForegroundWindow() == own)
        return true; // the runtime's own window is in front: nothing is typed
    sender_.SimSendKeys(text, cfg_.InterCharDelay);
    if (activation.TargetWasIconic && target)
        windows_.Minimize(target);
    if (returnWindow != target)
        Return(returnWindow, target != 0);
    return true;
}

void KeystrokeDispatch::Return(WindowId w, bool wait) {
    if (w == 0 || windows_.FocusIsIn(w))
        return;
    windows_.Activate(w);
    if (wait)
        WaitUntilInFront(windows_, w, clock_, pump_);
}

} // namespace output
