#pragma once
// The virtual serial device: no hardware. Input is the text "received" from
// the virtual device (VirtualInput, consumed from the front); output goes to a
// sink (the device window, or standard output when headless); line operations
// do nothing.

#include "serial/Port.h"

#include <functional>
#include <string>

namespace serial {

class VirtualPort : public Port {
public:
    using OutputSink = std::function<void(const std::string&)>;
    explicit VirtualPort(OutputSink output) : output_(std::move(output)) {}

    std::string VirtualInput;

    std::size_t Read(std::uint8_t* buffer, std::size_t size) override;
    void FlushPendingOutput(std::string& pendingOutput) override;
    // The reset empties what was received from the device and not read yet.
    void PurgePort() override;
    void SetDTR(bool) override {}
    void SetRTS(bool) override {}
    void PulseDTR() override {}
    void SetCommBreak() override {}
    void ClearCommBreak() override {}
    void ClosePort() override {}
    bool IsRealPort() const override { return false; }
    // Bytes received and not read yet.
    std::size_t Unread() const { return VirtualInput.size() - readPos_; }

private:
    OutputSink output_;
    std::size_t readPos_ = 0;
};

// A text box cannot show NUL: the device window shows it as the character 255.
std::string ShowableText(std::string bytes);

} // namespace serial
