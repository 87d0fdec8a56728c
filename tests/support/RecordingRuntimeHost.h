#pragma once
// A runtime host for tests: the window commands and reloads the DDE
// commands ask for, recorded in order.

#include "control/RuntimeHost.h"

#include <string>
#include <vector>

namespace control {

class RecordingRuntimeHost : public RuntimeHost {
public:
    std::vector<std::string> calls; // "normal", "minimize", "reload FILE"
    void ShowNormal() override { calls.push_back("normal"); }
    void Minimize() override { calls.push_back("minimize"); }
    void ReloadConfiguration(const std::string& file) override {
        calls.push_back("reload " + file);
    }
};

} // namespace control
