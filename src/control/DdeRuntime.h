#pragma once
// The runtime's DDE side, in one place: its items and the command interpreter
// behind its server, the target application command after each record, and
// the two client links. The program around it publishes it on the bus
// (DbusServer) and hands it a DdeClient; the record dispatcher delivers to it
// in DDE Server mode.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "control/Clipboard.h"
#include "control/CommandInterpreter.h"
#include "control/DdeClient.h"
#include "control/DdeItems.h"
#include "control/DdeLinks.h"
#include "control/DdeServer.h"
#include "control/RuntimeControl.h"
#include "control/RuntimeHost.h"
#include "engine/Clock.h"
#include "engine/Locale.h"
#include "engine/RuntimeState.h"
#include "output/RecordDispatch.h"

#include <functional>
#include <string>

namespace control {

struct DdeRuntimeParts {
    config::Config& cfg;
    engine::RuntimeState& state;
    RuntimeControl& runtime;
    RuntimeHost& host;
    Clipboard& clipboard;
    DdeClient& client;
    config::MessageSink& messages;
    engine::Clock& clock;
    const engine::Locale& locale;
    std::string home;
};

class DdeRuntime : public DdeServerHandler, public output::DdeDelivery {
public:
    explicit DdeRuntime(const DdeRuntimeParts& parts);

    // Start-up: the links whose Auto flag is set.
    void Start();
    // Unloading (and reloading): the target conversation and both links end.
    void Stop();

    // The bus name the runtime serves under: "Corvane" and its DDE topic.
    std::string BusName() const;

    // Every time an item's text is set: its name and published text.
    void OnChanged(std::function<void(const std::string& item, const std::string& text)> hook) {
        items_.changed = std::move(hook);
    }
    // The tick's deferred link requests, and its date/time display.
    void RelinkCommand() { links_.Establish(LinkKind::Command); }
    void RelinkOutput() { links_.Establish(LinkKind::Buffer); }
    void DateTimeChanged() { items_.Published({DdeItems::Item::DateTime}); }

    // The server's calls.
    bool Execute(const std::string& command) override;
    // A command from another source (the network), by the same interpreter,
    // naming files only within scope.
    bool ExecuteFrom(const std::string& command, const FileScope& scope) {
        return interpreter_.Execute(command, scope);
    }
    std::string RefusalReason() const override { return interpreter_.RefusalReason(); }
    std::optional<std::string> Request(const std::string& item) override;
    // A poke to "CommandBuffer" is a command: Refused when it is refused.
    PokeResult Poke(const std::string& item, const std::string& text) override;
    bool PressHotKey(int slot, std::string& why) override;

    // DDE Server delivery.
    void FieldChanged(int field, const std::string& text) override;
    void RecordNumberChanged(const std::string& text) override;
    void ExecuteTargetCommand(const std::string& command) override;

    // The runtime window's Edit menu entries for the links.
    ClientLinks& links() { return links_; }
    const TargetCommand& target() const { return target_; }

private:
    // A new text of the CommandBuffer label: a command, run and cleared.
    bool CommandBufferText(const std::string& text);
    // A new text of the OutputBuffer label: sent to the instrument.
    void OutputBufferText(const std::string& text);

    config::Config& cfg_;
    RuntimeControl& runtime_;
    DdeItems items_;
    TargetCommand target_;
    ClientLinks links_;
    CommandInterpreter interpreter_;
};

} // namespace control
