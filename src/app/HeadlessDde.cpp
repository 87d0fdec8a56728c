// The headless runtime's DDE side: its server on the session bus, the client
// links and target command, and the reload that "{CONFIG(" asks for.

#include "app/HeadlessRuntime.h"

#include "config/ConfigFile.h"
#include "serial/ReconnectingPort.h"

#include <cstdlib>

namespace app {

void HeadlessRuntime::StartDde() {
    if (!dde_) {
        control_ = std::make_unique<control::CoreRuntimeControl>(state_, *acquisition_, *port_);
        ddeClient_ = std::make_unique<control::DbusClient>();
        const char* home = std::getenv("HOME");
        dde_ = std::make_unique<control::DdeRuntime>(
            control::DdeRuntimeParts{cfg_, state_, *control_, *this, clipboard_, *ddeClient_,
                                     messages_, clock_, locale_, home ? home : ""});
        dde_->OnChanged([this](const std::string& item, const std::string& text) {
            if (ddeServer_)
                ddeServer_->Changed(item, text);
        });
        acquisition_->hooks.relinkCommand = [this] { dde_->RelinkCommand(); };
        acquisition_->hooks.relinkOutput = [this] { dde_->RelinkOutput(); };
        acquisition_->hooks.dateTimeChanged = [this] { dde_->DateTimeChanged(); };
        dispatch_->dde = dde_.get();
        // Without a session bus nothing of DDE works; log and keystroke
        // delivery go on all the same.
        if (QDBusConnection::sessionBus().isConnected())
            ddeServer_ = std::make_unique<control::DbusServer>(*dde_);
        else
            messages_.Show({control::NoSessionBusMessage(), RuntimeCaptionFor(),
                            config::MessageIcon::Exclamation, config::MessageButtons::Ok});
    }
    // Each name is tried once: a name another program owns is said once,
    // and the runtime goes on without a server.
    if (ddeServer_ && dde_->BusName() != servedName_) {
        servedName_ = dde_->BusName();
        const auto status = ddeServer_->Start(servedName_);
        if (status != control::DbusServer::Status::Serving)
            messages_.Show({status == control::DbusServer::Status::NameTaken
                                ? control::NameTakenMessage(servedName_)
                                : control::NoSessionBusMessage(),
                            RuntimeCaptionFor(), config::MessageIcon::Exclamation,
                            config::MessageButtons::Ok});
    }
    dde_->Start();
}

void HeadlessRuntime::StopDde() {
    if (!dde_)
        return;
    dde_->Stop();
    if (ddeServer_)
        ddeServer_->Stop();
    servedName_.clear();
}

void HeadlessRuntime::ReloadConfiguration(const std::string& file) {
    // Not now: the command is answered first, and the reload replaces what
    // the tick works with, so it runs at the start of the next tick.
    pendingReload_ = file;
}

void HeadlessRuntime::Reload() {
    const std::string file = std::move(*pendingReload_);
    pendingReload_.reset();

    // Stop: the DDE conversations and links end, the hot keys are given
    // back, the record in progress is dropped. The server keeps serving
    // unless the new file names another topic.
    dde_->Stop();
    StopHotKeys();
    acquisition_->Reset();
    config::LoadConfigFile(cfg_, file, messages_);
    cfg_.ConfigFileName = file;

    // Start again. Framing starts afresh; output still queued goes to the
    // reopened port, a pending exit still happens, and what the items show
    // stays until the next record sets it.
    engine::RuntimeState fresh;
    fresh.RunMode = state_.RunMode;
    fresh.PendingOutput = std::move(state_.PendingOutput);
    fresh.ExitCountdown = state_.ExitCountdown;
    fresh.FieldText = state_.FieldText;
    fresh.RecordNumber = state_.RecordNumber;
    fresh.DateTimeText = state_.DateTimeText;
    fresh.SpecialBeep = state_.SpecialBeep;
    state_ = std::move(fresh);
    // "{CONFIG(" is refused on the virtual device, so this is a real port;
    // it opens again with the new line settings.
    if (auto* port = dynamic_cast<serial::ReconnectingPort*>(port_.get()))
        port->Reopen();
    acquisition_->Activate();
    if (cfg_.TransferMode == config::SendKeystrokes && !keystrokes_)
        StartKeystrokes();
    StartDde();
    StartHotKeys();
}

} // namespace app
