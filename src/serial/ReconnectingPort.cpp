#include "serial/ReconnectingPort.h"

namespace serial {

ReconnectingPort::ReconnectingPort(std::unique_ptr<Port> port, Opener reopen, std::string portName,
                                   config::MessageSink& messages, engine::Clock& clock)
    : port_(std::move(port)), reopen_(std::move(reopen)), portName_(std::move(portName)),
      messages_(messages), clock_(clock) {}

Port* ReconnectingPort::Current() {
    if (closed_)
        return nullptr;
    if (port_ && port_->IsLost()) {
        port_->ClosePort();
        port_.reset();
        lastAttempt_ = clock_.TickCount();
        ReportLoss();
        return nullptr;
    }
    if (!port_) {
        std::int32_t now = clock_.TickCount();
        std::int32_t since = static_cast<std::int32_t>(static_cast<std::uint32_t>(now) -
                                                       static_cast<std::uint32_t>(lastAttempt_));
        if (since < 1000 && since >= 0)
            return nullptr;
        lastAttempt_ = now;
        port_ = reopen_();
        if (!port_)
            return nullptr;
        // The loss no longer holds: a box that still says so goes.
        messages_.Retract(LossMessage());
        messages_.Show({"Device " + portName_ + " is back.", "Device Error",
                        config::MessageIcon::Information, config::MessageButtons::Ok});
    }
    return port_.get();
}

std::size_t ReconnectingPort::Read(std::uint8_t* buffer, std::size_t size) {
    Port* p = Current();
    if (!p)
        return 0;
    std::size_t n = p->Read(buffer, size);
    if (n == 0 && p->IsLost())
        Current(); // report the loss now rather than on the next call
    return n;
}

void ReconnectingPort::FlushPendingOutput(std::string& pendingOutput) {
    if (Port* p = Current())
        p->FlushPendingOutput(pendingOutput);
}

void ReconnectingPort::PurgePort() {
    if (Port* p = Current())
        p->PurgePort();
}
void ReconnectingPort::SetDTR(bool on) {
    if (Port* p = Current())
        p->SetDTR(on);
}
void ReconnectingPort::SetRTS(bool on) {
    if (Port* p = Current())
        p->SetRTS(on);
}
void ReconnectingPort::PulseDTR() {
    if (Port* p = Current())
        p->PulseDTR();
}
void ReconnectingPort::SetCommBreak() {
    if (Port* p = Current())
        p->SetCommBreak();
}
void ReconnectingPort::ClearCommBreak() {
    if (Port* p = Current())
        p->ClearCommBreak();
}
void ReconnectingPort::ClosePort() {
    if (port_)
        port_->ClosePort();
    port_.reset();
    closed_ = true;
}

void ReconnectingPort::Reopen() {
    if (port_)
        port_->ClosePort();
    port_.reset();
    closed_ = false;
    lastAttempt_ = clock_.TickCount();
    port_ = reopen_();
    if (!port_)
        ReportLoss();
}

config::Message ReconnectingPort::LossMessage() const {
    return {"Device " + portName_ + " was disconnected; Corvane will go on when it is back.",
            "Device Error", config::MessageIcon::Exclamation, config::MessageButtons::Ok};
}

void ReconnectingPort::ReportLoss() {
    messages_.Show(LossMessage());
}

} // namespace serial
