#include "runtime/Runtime.h"

#include "config/ConfigFile.h"
#include "control/DdeNames.h"
#include "control/HotKeyNames.h"
#include "engine/OutputQueue.h"
#include "serial/PortSettings.h"
#include "serial/ReconnectingPort.h"

#include <algorithm>
#include <cstdlib>

namespace runtime {

namespace {

// How long the end of the virtual device's input waits for a log file that
// cannot be written (it is retried once a second) before the run ends.
constexpr std::int32_t LogWaitAtEndMs = 3000;

// "the hot key F9" / "the hot keys F9, F10".
std::string HotKeyList(const std::vector<std::string>& names) {
    std::string list = names.size() == 1 ? "the hot key " : "the hot keys ";
    for (std::size_t i = 0; i < names.size(); ++i)
        list += (i ? ", " : "") + names[i];
    return list;
}

} // namespace

bool LoadActivationFile(config::Config& cfg, const std::string& file,
                        config::MessageSink& messages) {
    const int check = config::CheckConfigFile(file, messages);
    if (check == -3 || check == -2) {
        messages.Show({"Cannot read the configuration file " + file, "Corvane File Error",
                       config::MessageIcon::Exclamation, config::MessageButtons::Ok});
        return false;
    }
    if (check < 0)
        return false;
    config::LoadConfigFile(cfg, file, messages, true);
    cfg.ConfigFileName = file;
    return true;
}

Runtime::Runtime(const RuntimeParts& parts)
    : platform_(parts.platform), messages_(parts.messages), clock_(parts.clock),
      store_(parts.store), clipboard_(parts.clipboard), locale_(parts.locale), home_(parts.home),
      cfg_(parts.cfg) {}

Runtime::~Runtime() = default;

bool Runtime::RunNormal(const std::string& file) {
    return Run(file, false);
}

bool Runtime::RunVirtual(const std::string& file) {
    return Run(file, true);
}

bool Runtime::RunNormal() {
    return Start(false);
}

bool Runtime::RunVirtual() {
    return Start(true);
}

bool Runtime::Run(const std::string& file, bool virtualDevice) {
    if (!LoadActivationFile(cfg_, file, messages_))
        return false;
    return Start(virtualDevice);
}

bool Runtime::Start(bool virtualDevice) {
    if (virtualDevice) {
        state_.RunMode = engine::VirtualDevice;
        auto port = std::make_unique<serial::VirtualPort>(
            [this](const std::string& bytes) { platform_.VirtualDeviceOutput(bytes); });
        virtualPort_ = port.get();
        port_ = std::move(port);
    } else {
        state_.RunMode = engine::Normal;
        port_ = platform_.OpenPort(cfg_);
        if (!port_)
            return false;
    }
    const std::string stem = "Corvane - " + config::PortName(cfg_);
    if (auto beep = store_.Get(stem, "Settings", "SpecialBeep"))
        state_.SpecialBeep = std::strtol(beep->c_str(), nullptr, 10);

    dispatch_ = std::make_unique<output::RecordDispatch>(cfg_, state_, clock_, messages_, locale_,
                                                         logWriter_, home_);
    acquisition_ =
        std::make_unique<Acquisition>(cfg_, state_, *port_, clock_, messages_, locale_, *dispatch_);
    control_ = std::make_unique<CoreRuntimeControl>(state_, *acquisition_, *port_);
    // Cancel on the log file's Retry/Cancel question: the record in progress
    // is dropped and input suspended.
    dispatch_->cancelLogAction = [this] {
        acquisition_->Reset();
        if (!state_.Suspended)
            acquisition_->ToggleSuspend();
    };
    dispatch_->delivered = recordDelivered_;
    acquisition_->hooks.exitAction = [this] { Exit(); };
    acquisition_->hooks.suspendChanged = [this] {
        if (suspendChanged)
            suspendChanged();
    };
    acquisition_->Activate();
    // A message box shown on the way waits for the user, and the runtime may
    // be closed meanwhile (a signal, the window manager): then it stops
    // starting.
    if (cfg_.TransferMode == config::SendKeystrokes)
        dispatch_->keystrokes = keystrokes_ = platform_.Keystrokes(cfg_);
    if (!exiting_)
        StartDde();
    if (!exiting_)
        StartHotKeys();
    return !exiting_;
}

void Runtime::VirtualInput(std::string_view bytes) {
    if (!virtualPort_)
        return;
    virtualPort_->VirtualInput.append(bytes);
    InputArrived();
}

void Runtime::InputArrived() {
    // Inside a tick (an event pumped while a record is delivered) the tick's
    // own byte loop reads what came, once the delivery is over.
    Drive(&Acquisition::InputArrived);
}

bool Runtime::Drive(void (Acquisition::*step)()) {
    // A step started from an event pumped inside a tick (while a record is
    // typed or its program starts) does nothing: a stop, a reload and the
    // end of the virtual input wait for the outer tick to end, with the
    // record it delivers.
    if (exiting_ || !acquisition_ || state_.InTick)
        return false;
    if (!stopRequested_) {
        if (pendingReload_)
            Reload();
        ((*acquisition_).*step)();
    }
    if (stopRequested_ && !exiting_)
        Exit();
    return !exiting_;
}

int Runtime::ArrivalHandle() const {
    if (exiting_ || !acquisition_ || !acquisition_->ReadsOnArrival())
        return -1;
    return port_->ArrivalHandle();
}

void Runtime::Tick() {
    if (!Drive(&Acquisition::Timer1_Timer))
        return;
    if (virtualPort_ && inputEnded_ && state_.ExitCountdown == 0 && InputFinished())
        state_.ExitCountdown = -1;
}

bool Runtime::InputFinished() {
    // Suspended input stays unread; a record waiting for its time gap ends first.
    if (virtualPort_->Unread() != 0 || state_.Suspended ||
        (cfg_.EndOfRecordEvent == 1 && state_.RecordActive))
        return false;
    if (!dispatch_->LogPending())
        return true;
    // Records that wait for the log file get a few retries; then the run
    // ends and they are reported.
    const std::int32_t now = clock_.TickCount();
    if (!logWaitSince_)
        logWaitSince_ = now;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(now) -
                                     static_cast<std::uint32_t>(*logWaitSince_)) >= LogWaitAtEndMs;
}

void Runtime::OnRecordDelivered(std::function<void(const output::DeliveredRecord&)> hook) {
    recordReaders_.push_back(std::move(hook));
    // One reader is called directly; more through this loop.
    if (recordReaders_.size() == 1)
        recordDelivered_ = recordReaders_.front();
    else
        recordDelivered_ = [this](const output::DeliveredRecord& record) {
            for (const auto& reader : recordReaders_)
                reader(record);
        };
    if (dispatch_)
        dispatch_->delivered = recordDelivered_;
}

void Runtime::ToggleSuspend() {
    if (acquisition_)
        acquisition_->ToggleSuspend();
}

std::string Runtime::Caption() const {
    return RuntimeCaption(cfg_, state_);
}

void Runtime::ReportUnwrittenRecords() {
    const std::deque<std::string> lines = dispatch_->TakeUnwrittenLines();
    if (lines.empty())
        return;
    std::string text = std::to_string(lines.size()) +
                       (lines.size() == 1 ? " record was" : " records were") +
                       " not logged: they could not be written to " + cfg_.LogFileName +
                       ". Here they are, each as its log line:\n";
    for (const std::string& line : lines)
        text += line + "\r\n";
    messages_.Show({text, Caption() + " ERROR!", config::MessageIcon::Exclamation,
                    config::MessageButtons::Ok});
    exitStatus_ = 1;
}

void Runtime::RequestStop() {
    if (exiting_)
        return;
    if (state_.InTick)
        stopRequested_ = true;
    else
        Exit();
}

bool Runtime::StopRequested() const {
    return exiting_ || stopRequested_ || state_.ExitCountdown != 0;
}

void Runtime::Exit() {
    if (exiting_)
        return;
    exiting_ = true;
    platform_.Closing();
    StopDde();
    StopHotKeys();
    if (port_) {
        engine::TopUpPendingOutput(state_);
        port_->FlushPendingOutput(state_.PendingOutput);
        if (dispatch_)
            ReportUnwrittenRecords();
        port_->ClosePort();
    }
    platform_.Closed(exitStatus_);
}

void Runtime::StartDde() {
    if (!dde_) {
        ddeClient_ = platform_.NewDdeClient();
        dde_ = std::make_unique<control::DdeRuntime>(
            control::DdeRuntimeParts{cfg_, state_, *control_, *this, clipboard_, *ddeClient_,
                                     messages_, clock_, locale_, home_});
        dde_->OnChanged([this](const std::string& item, const std::string& text) {
            if (ddeBus_)
                ddeBus_->Changed(item, text);
            if (itemChanged)
                itemChanged(item, text);
        });
        acquisition_->hooks.relinkCommand = [this] { dde_->RelinkCommand(); };
        acquisition_->hooks.relinkOutput = [this] { dde_->RelinkOutput(); };
        acquisition_->hooks.dateTimeChanged = [this] { dde_->DateTimeChanged(); };
        dispatch_->dde = dde_.get();
        // Without a session bus nothing of DDE works; log and keystroke
        // delivery go on all the same.
        ddeBus_ = platform_.NewDdeBus(*dde_);
        if (!ddeBus_)
            messages_.Show({control::NoSessionBusMessage(), Caption(),
                            config::MessageIcon::Exclamation, config::MessageButtons::Ok});
    }
    // Each name is tried once: a name another program owns is said once,
    // and the runtime goes on without a server.
    if (ddeBus_ && dde_->BusName() != servedName_) {
        servedName_ = dde_->BusName();
        const auto status = ddeBus_->Start(servedName_);
        if (status != control::DdeBus::Status::Serving)
            messages_.Show({status == control::DdeBus::Status::NameTaken
                                ? control::NameTakenMessage(servedName_)
                                : control::NoSessionBusMessage(),
                            Caption(), config::MessageIcon::Exclamation,
                            config::MessageButtons::Ok});
    }
    dde_->Start();
}

void Runtime::StopDde() {
    if (!dde_)
        return;
    dde_->Stop();
    if (ddeBus_)
        ddeBus_->Stop();
    servedName_.clear();
}

void Runtime::StartHotKeys() {
    if (control::HotKeyTable(cfg_).empty())
        return;
    if (!hotKeys_) {
        if (noHotKeyDisplay_)
            return;
        hotKeyPlatform_ = platform_.NewHotKeyPlatform();
        if (!hotKeyPlatform_) {
            noHotKeyDisplay_ = true;
            // Bound to a key of the desktop, the command presses a slot over
            // the bus, where the runtime serves.
            std::string text = "Hot keys need an X display, and none can be opened: this "
                               "runtime goes on without its hot keys.";
            if (ddeBus_ && ddeBus_->Serving())
                text += " A key of your desktop's keyboard settings can press one with the "
                        "command: corvane hotkey " +
                        config::DdeTopic(cfg_) + " SLOT (SLOT 0 is the Hot Keys dialog's slot 1).";
            messages_.Show(
                {text, Caption(), config::MessageIcon::Exclamation, config::MessageButtons::Ok});
            return;
        }
        hotKeys_ = std::make_unique<control::HotKeys>(cfg_, *control_, *hotKeyPlatform_);
    }
    hotKeys_->Register();
    WarnAboutConsoleKeys();
}

void Runtime::WarnAboutConsoleKeys() {
    std::vector<std::string> names;
    for (const control::HotKey& hotKey : control::HotKeyTable(cfg_)) {
        const int code = cfg_.HotKeyCode[static_cast<std::size_t>(hotKey.slot)];
        const std::string name = control::HotKeyDisplayName(code);
        if (control::IsConsoleSwitchKey(code) &&
            std::find(consoleKeysNamed_.begin(), consoleKeysNamed_.end(), name) ==
                consoleKeysNamed_.end()) {
            names.push_back(name);
            consoleKeysNamed_.push_back(name);
        }
    }
    if (!names.empty())
        messages_.Show({control::ConsoleSwitchWarning(names) +
                            " Choose another combination in Settings > Hot Keys.",
                        Caption(), config::MessageIcon::Exclamation, config::MessageButtons::Ok});
}

void Runtime::StopHotKeys() {
    if (hotKeys_)
        hotKeys_->Release();
}

std::string Runtime::SuspendedMessage() const {
    // Only the ways this runtime really offers: the DDE command while its
    // server is on the bus, and the resume hot keys it could take.
    std::vector<std::string> ways;
    if (ddeBus_ && ddeBus_->Serving())
        ways.push_back("with: corvane dde execute Corvane " + config::DdeTopic(cfg_) +
                       " \"{RESUME}\"");
    if (hotKeys_) {
        if (auto names = hotKeys_->RegisteredNames(control::ResumeInput); !names.empty())
            ways.push_back("with " + HotKeyList(names));
        if (auto names = hotKeys_->RegisteredNames(control::ResumeForOneRecord); !names.empty())
            ways.push_back("for one record with " + HotKeyList(names));
    }
    const std::string lead = "Input is suspended (the configuration activates suspended); ";
    if (ways.empty())
        return lead + "this runtime has no D-Bus server and no resume hot key, so nothing "
                      "will be read from the instrument until it is stopped.";
    std::string text = lead + "nothing is read from the instrument until it is resumed ";
    for (std::size_t i = 0; i < ways.size(); ++i)
        text += (i ? ", or " : "") + ways[i];
    return text;
}

void Runtime::ReloadConfiguration(const std::string& file) {
    // Not now: the command is answered first, and the reload replaces what
    // the tick works with, so it runs at the start of the next tick.
    pendingReload_ = file;
}

void Runtime::Reload() {
    const std::string file = std::move(*pendingReload_);
    pendingReload_.reset();
    const serial::LineSettings line = serial::MapSettings(cfg_);

    // Stop: the DDE conversations and links end, the hot keys are given
    // back. The server keeps serving unless the new file names another
    // topic.
    dde_->Stop();
    StopHotKeys();
    if (config::LoadConfigFile(cfg_, file, messages_) != config::LoadStatus::NotOpened)
        cfg_.ConfigFileName = file;

    // Start again. The record in progress is dropped and framing starts
    // afresh; bytes that came meanwhile stay in the port (or were read
    // ahead and not framed yet) and are framed under the new configuration.
    // Output still queued goes out, a pending exit still happens, and what
    // the items show stays until the next record sets it.
    engine::RuntimeState fresh;
    fresh.RunMode = state_.RunMode;
    fresh.PendingOutput = std::move(state_.PendingOutput);
    fresh.OutputFiles = std::move(state_.OutputFiles);
    fresh.ExitCountdown = state_.ExitCountdown;
    fresh.FieldText = state_.FieldText;
    fresh.RecordNumber = state_.RecordNumber;
    fresh.DateTimeText = state_.DateTimeText;
    fresh.SpecialBeep = state_.SpecialBeep;
    state_ = std::move(fresh);
    // "{CONFIG(" is refused on the virtual device, so this is a real port.
    // It stays open unless the new file changes its line settings; then it
    // opens again with them, and what was on its way may be lost.
    if (serial::MapSettings(cfg_) != line)
        if (auto* port = dynamic_cast<serial::ReconnectingPort*>(port_.get()))
            port->Reopen();
    acquisition_->Activate();
    if (cfg_.TransferMode == config::SendKeystrokes && !keystrokes_)
        dispatch_->keystrokes = keystrokes_ = platform_.Keystrokes(cfg_);
    StartDde();
    StartHotKeys();
    platform_.Reloaded();
}

} // namespace runtime
