#pragma once
// A port that survives its device going away (a USB adapter unplugged): the
// loss is reported once, the same device is reopened at most once a second
// with the same settings, and input goes on when it is back. Meanwhile reads
// give no byte and output waits.

#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "serial/Port.h"

#include <functional>
#include <memory>
#include <string>

namespace serial {

class ReconnectingPort : public Port {
public:
    // reopen returns the reopened port or null; it must not show messages.
    using Opener = std::function<std::unique_ptr<Port>()>;
    ReconnectingPort(std::unique_ptr<Port> port, Opener reopen, std::string portName,
                     config::MessageSink& messages, engine::Clock& clock);

    std::size_t Read(std::uint8_t* buffer, std::size_t size) override;
    void FlushPendingOutput(std::string& pendingOutput) override;
    void PurgePort() override;
    void SetDTR(bool on) override;
    void SetRTS(bool on) override;
    void PulseDTR() override;
    void SetCommBreak() override;
    void ClearCommBreak() override;
    void ClosePort() override;
    bool IsLost() const override { return !port_; }
    int ArrivalHandle() const override { return port_ ? port_->ArrivalHandle() : -1; }
    // Closes the device and opens it again at once with the opener (a new
    // configuration's line settings); when that fails the device counts as
    // lost and is tried again once a second.
    void Reopen();

private:
    // Returns the open port, trying to reopen a lost one when it is time.
    Port* Current();
    config::Message LossMessage() const;
    void ReportLoss();

    std::unique_ptr<Port> port_;
    Opener reopen_;
    std::string portName_;
    config::MessageSink& messages_;
    engine::Clock& clock_;
    std::int32_t lastAttempt_ = 0;
    bool closed_ = false;
};

} // namespace serial
