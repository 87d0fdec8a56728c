#pragma once
// A hot-key platform for tests: every call is logged ("register 3 mods 5 key
// 116", "unregister 3"), combinations listed in taken are refused as if
// another program held them, and Press plays a press of an id.

#include "control/HotKeyPlatform.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace control {

class FakeHotKeyPlatform : public HotKeyPlatform {
public:
    std::vector<std::string> calls;
    std::set<std::pair<int, int>> taken; // (modifiers, virtual key)

    bool RegisterHotKey(int id, int modifiers, int virtualKey) override {
        calls.push_back("register " + std::to_string(id) + " mods " + std::to_string(modifiers) +
                        " key " + std::to_string(virtualKey));
        return taken.count({modifiers, virtualKey}) == 0;
    }
    void UnregisterHotKey(int id) override { calls.push_back("unregister " + std::to_string(id)); }
    void Press(int id) {
        if (pressed)
            pressed(id);
    }
};

} // namespace control
