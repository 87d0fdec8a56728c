#pragma once
// A runtime platform that records what the runtime asks of it: a fake port
// that reopens, a recording bus, fake hot keys and DDE client, and the
// virtual device's output, with every call in one list so that their order
// shows.

#include "engine/Clock.h"
#include "runtime/Runtime.h"
#include "serial/ReconnectingPort.h"
#include "support/FakeDdeClient.h"
#include "support/FakeHotKeyPlatform.h"
#include "support/FakePort.h"
#include "support/ManualClock.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace testsupport {

class RecordingPlatform : public runtime::RuntimePlatform {
public:
    std::vector<std::string> calls;
    bool portOpens = true, bus = true, display = true;
    serial::FakePort* port = nullptr;
    control::FakeHotKeyPlatform* hotKeys = nullptr;
    std::string deviceOutput;
    std::optional<int> closed;

    class Bus : public control::DdeBus {
    public:
        explicit Bus(RecordingPlatform& p) : p_(p) {}
        Status Start(const std::string& name) override {
            p_.calls.push_back("bus start " + name);
            serving_ = true;
            return Status::Serving;
        }
        void Stop() override {
            p_.calls.push_back("bus stop");
            serving_ = false;
        }
        bool Serving() const override { return serving_; }
        void Changed(const std::string& item, const std::string& text) override {
            p_.changes.push_back(item + "=" + text);
        }

    private:
        RecordingPlatform& p_;
        bool serving_ = false;
    };
    std::vector<std::string> changes;

    // As the program does it: a port that is opened again when its device
    // comes back, or when a reload asks for the new line settings.
    std::unique_ptr<serial::Port> OpenPort(config::Config& cfg) override {
        calls.push_back("open " + config::PortName(cfg));
        if (!portOpens)
            return nullptr;
        auto open = [this] {
            auto p = std::make_unique<serial::FakePort>();
            port = p.get();
            return p;
        };
        auto first = open();
        return std::make_unique<serial::ReconnectingPort>(
            std::move(first),
            [this, open]() -> std::unique_ptr<serial::Port> {
                calls.push_back("reopen");
                return open();
            },
            "COM1", silent, clock);
    }
    config::SilentMessageSink silent;
    engine::ManualClock clock;
    void VirtualDeviceOutput(const std::string& bytes) override { deviceOutput += bytes; }
    // The Send Keystrokes delivery handed to the runtime; none by default.
    output::KeystrokeDelivery* keystrokeDelivery = nullptr;
    output::KeystrokeDelivery* Keystrokes(config::Config&) override {
        calls.push_back("keystrokes");
        return keystrokeDelivery;
    }
    std::unique_ptr<control::DdeClient> NewDdeClient() override {
        return std::make_unique<control::FakeDdeClient>();
    }
    std::unique_ptr<control::DdeBus> NewDdeBus(control::DdeServerHandler&) override {
        if (!bus)
            return nullptr;
        return std::make_unique<Bus>(*this);
    }
    std::unique_ptr<control::HotKeyPlatform> NewHotKeyPlatform() override {
        if (!display)
            return nullptr;
        auto p = std::make_unique<control::FakeHotKeyPlatform>();
        hotKeys = p.get();
        return p;
    }
    void ShowNormal() override { calls.push_back("normal"); }
    void Minimize() override { calls.push_back("minimize"); }
    // Runs after a reload has put the new configuration in force.
    std::function<void()> reloaded;
    void Reloaded() override {
        calls.push_back("reloaded");
        if (reloaded)
            reloaded();
    }
    void Closed(int status) override {
        calls.push_back("closed " + std::to_string(status));
        closed = status;
    }
};

} // namespace testsupport
