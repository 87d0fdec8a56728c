#pragma once
// The runtime's DDE side on recording fakes: a runtime control, host,
// clipboard and DDE client, with every Changed notice kept as "item=text".

#include "control/DdeRuntime.h"
#include "support/FakeDdeClient.h"
#include "support/FakeRuntimeControl.h"
#include "support/ManualClock.h"
#include "support/RecordingClipboard.h"
#include "support/RecordingMessageSink.h"
#include "support/RecordingRuntimeHost.h"

#include <string>
#include <vector>

struct DdeRig {
    config::Config cfg;
    engine::RuntimeState state;
    control::FakeRuntimeControl runtime;
    control::RecordingRuntimeHost host;
    control::RecordingClipboard clipboard;
    control::FakeDdeClient client;
    config::RecordingMessageSink messages;
    engine::ManualClock clock;
    engine::Locale locale;
    control::DdeRuntime dde{control::DdeRuntimeParts{cfg, state, runtime, host, clipboard, client,
                                                     messages, clock, locale, "/home/u"}};
    std::vector<std::string> changes;

    DdeRig() {
        dde.OnChanged([this](const std::string& item, const std::string& text) {
            changes.push_back(item + "=" + text);
        });
    }
    bool Exec(const std::string& command) { return dde.Execute(command); }
    // The runtime control's calls, joined by ", ".
    std::string Calls() const {
        std::string all;
        for (const auto& c : runtime.calls)
            all += (all.empty() ? "" : ", ") + c;
        return all;
    }
};
