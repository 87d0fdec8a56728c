#include "control/HotKeys.h"

#include "control/HotKeyNames.h"

#include <utility>

namespace control {

const std::array<std::string_view, 14>& HotKeyActionCaptions() {
    static const std::array<std::string_view, 14> captions = {"None",
                                                              "Transmit String",
                                                              "Issue BREAK Signal",
                                                              "Toggle DTR for 100ms",
                                                              "Enable  Timer",
                                                              "Disable Timer",
                                                              "Raise DTR Line",
                                                              "Lower DTR Line",
                                                              "Raise RTS Line",
                                                              "Lower RTS Line",
                                                              "Reset Corvane",
                                                              "Suspend Corvane",
                                                              "Enable  Corvane",
                                                              "Enable For 1 Data Record"};
    return captions;
}

int PlatformModifiers(int hotKeyCode) {
    const int high = (hotKeyCode >> 8) & 0xFF;
    return ((high & HotKeyShift) ? ModShift : 0) | ((high & HotKeyCtrl) ? ModControl : 0) |
           ((high & HotKeyAlt) ? ModAlt : 0);
}

HotKey HotKeyFor(const config::Config& cfg, int slot) {
    const auto i = static_cast<std::size_t>(slot);
    const int code = cfg.HotKeyCode[i];
    return {slot, code & 0xFF, PlatformModifiers(code), cfg.HotKeyAction[i], cfg.HotKeyData[i]};
}

std::vector<HotKey> HotKeyTable(const config::Config& cfg) {
    std::vector<HotKey> table;
    for (int slot = 0; slot < config::NumHotKeys; ++slot)
        if (HotKey key = HotKeyFor(cfg, slot); key.virtualKey != 0)
            table.push_back(std::move(key));
    return table;
}

std::optional<DuplicateHotKey>
FindDuplicateHotKey(const config::HotKeyArray<config::Integer>& codes) {
    // What the platform is given: the key byte and the three modifiers.
    auto combination = [&](int slot) {
        const int code = codes[static_cast<std::size_t>(slot)];
        return std::pair{code & 0xFF, PlatformModifiers(code)};
    };
    for (int second = 1; second < config::NumHotKeys; ++second) {
        if (combination(second).first == 0)
            continue;
        for (int first = 0; first < second; ++first)
            if (combination(first) == combination(second))
                return DuplicateHotKey{first, second};
    }
    return std::nullopt;
}

void RunHotKeyAction(const HotKey& hotKey, RuntimeControl& runtime) {
    int action = hotKey.action;
    // Without a port the line actions become "None".
    if (runtime.IsVirtualDevice()) {
        switch (action) {
        case IssueBreak:
        case ToggleDtr:
        case RaiseDtr:
        case LowerDtr:
        case RaiseRts:
        case LowerRts:
            action = NoAction;
            break;
        default:
            break;
        }
    }
    switch (action) {
    case TransmitString:
        runtime.QueueOutput(hotKey.text);
        break;
    case IssueBreak:
        runtime.StartBreak();
        break;
    case ToggleDtr:
        runtime.PulseDTR();
        break;
    case EnableTimer:
        runtime.SetTimedOutput(true);
        break;
    case DisableTimer:
        runtime.SetTimedOutput(false);
        break;
    case RaiseDtr:
    case LowerDtr:
        runtime.SetDTR(action == RaiseDtr);
        break;
    case RaiseRts:
    case LowerRts:
        runtime.SetRTS(action == RaiseRts);
        break;
    case ResetInput:
        runtime.Reset();
        break;
    case SuspendInput:
        runtime.Suspend();
        break;
    case ResumeInput:
        runtime.Resume();
        break;
    case ResumeForOneRecord:
        runtime.ResumeForOneRecord();
        break;
    default:
        break;
    }
}

HotKeys::HotKeys(const config::Config& cfg, RuntimeControl& runtime, HotKeyPlatform& platform)
    : cfg_(cfg), runtime_(runtime), platform_(platform) {
    platform_.pressed = [this](int slot) { Pressed(slot); };
}

HotKeys::~HotKeys() {
    platform_.pressed = nullptr;
}

void HotKeys::Register() {
    Release();
    for (const HotKey& key : HotKeyTable(cfg_))
        HotKeyRegistered[static_cast<std::size_t>(key.slot)] =
            platform_.RegisterHotKey(key.slot, key.modifiers, key.virtualKey);
}

void HotKeys::Release() {
    for (int slot = 0; slot < config::NumHotKeys; ++slot) {
        bool& registered = HotKeyRegistered[static_cast<std::size_t>(slot)];
        if (registered)
            platform_.UnregisterHotKey(slot);
        registered = false;
    }
}

void HotKeys::Pressed(int slot) {
    if (slot < 0 || slot >= config::NumHotKeys || !HotKeyRegistered[static_cast<std::size_t>(slot)])
        return;
    RunHotKeyAction(HotKeyFor(cfg_, slot), runtime_);
}

std::vector<std::string> HotKeys::RegisteredNames(int action) const {
    std::vector<std::string> names;
    for (const HotKey& key : HotKeyTable(cfg_))
        if (HotKeyRegistered[static_cast<std::size_t>(key.slot)] && key.action == action)
            names.push_back(HotKeyDisplayName(cfg_.HotKeyCode[static_cast<std::size_t>(key.slot)]));
    return names;
}

} // namespace control
