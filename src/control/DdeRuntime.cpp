#include "control/DdeRuntime.h"

#include "control/DdeNames.h"
#include "control/HotKeys.h"

namespace control {

DdeRuntime::DdeRuntime(const DdeRuntimeParts& p)
    : cfg_(p.cfg), runtime_(p.runtime), items_(p.cfg, p.state), target_(p.cfg, p.client),
      links_(p.cfg, p.state, p.client, p.clipboard, p.messages),
      interpreter_(CommandTargets{p.cfg, p.runtime, p.host, items_, links_, p.clipboard, p.messages,
                                  p.clock, p.locale, p.home}) {
    links_.commandText = [this](const std::string& text) { CommandBufferText(text); };
    links_.bufferText = [this](const std::string& text) { OutputBufferText(text); };
}

void DdeRuntime::Start() {
    links_.EstablishAuto();
}

void DdeRuntime::Stop() {
    target_.Disconnect();
    links_.EndAll();
}

std::string DdeRuntime::BusName() const {
    return DdeBusName(DdeServerApp, config::DdeTopic(cfg_));
}

bool DdeRuntime::PressHotKey(int slot, std::string& why) {
    if (slot < 0 || slot >= config::NumHotKeys) {
        why = "there is no hot key slot " + std::to_string(slot) + ": the slots are 0 to " +
              std::to_string(config::NumHotKeys - 1);
        return false;
    }
    const HotKey hotKey = HotKeyFor(cfg_, slot);
    if (hotKey.virtualKey == 0) {
        why = "hot key slot " + std::to_string(slot) + " has no key and no action";
        return false;
    }
    RunHotKeyAction(hotKey, runtime_);
    return true;
}

bool DdeRuntime::Execute(const std::string& command) {
    return interpreter_.Execute(command);
}

std::optional<std::string> DdeRuntime::Request(const std::string& item) {
    const auto found = items_.Find(item);
    if (!found)
        return std::nullopt;
    return items_.Text(*found);
}

PokeResult DdeRuntime::Poke(const std::string& item, const std::string& text) {
    const auto found = items_.Find(item);
    if (!found)
        return PokeResult::UnknownItem;
    if (found->kind == DdeItems::Item::CommandBuffer)
        return CommandBufferText(text) ? PokeResult::Done : PokeResult::Refused;
    items_.Set(*found, text);
    return PokeResult::Done;
}

void DdeRuntime::FieldChanged(int field, const std::string&) {
    items_.Published({DdeItems::Item::Field, field});
}

void DdeRuntime::RecordNumberChanged(const std::string&) {
    items_.Published({DdeItems::Item::RecordNumber});
}

void DdeRuntime::ExecuteTargetCommand(const std::string& command) {
    target_.Execute(command);
}

bool DdeRuntime::CommandBufferText(const std::string& text) {
    const DdeItems::Item buffer{DdeItems::Item::CommandBuffer};
    items_.Set(buffer, text);
    if (text.empty())
        return true;
    const bool accepted = interpreter_.Execute(text);
    // Cleared, so that the same command sent again is a change again.
    items_.Set(buffer, "");
    return accepted;
}

void DdeRuntime::OutputBufferText(const std::string& text) {
    // Spreadsheet cells arrive with a line end; StripOutputCrLf drops it.
    std::string bytes = text;
    if (cfg_.StripOutputCrLf && bytes.size() >= 2 &&
        bytes.compare(bytes.size() - 2, 2, "\r\n") == 0)
        bytes.resize(bytes.size() - 2);
    runtime_.QueueOutput(bytes);
}

} // namespace control
