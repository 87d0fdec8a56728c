#include "serial/VirtualPort.h"

namespace serial {

int VirtualPort::ReadOneByte(std::uint8_t& byte) {
    if (readPos_ >= VirtualInput.size()) {
        VirtualInput.clear();
        readPos_ = 0;
        return 0;
    }
    byte = static_cast<std::uint8_t>(VirtualInput[readPos_++]);
    // Drop what was read once it is a large part of the buffer, so a long
    // input does not cost a copy per byte.
    if (readPos_ > 4096 && readPos_ * 2 > VirtualInput.size()) {
        VirtualInput.erase(0, readPos_);
        readPos_ = 0;
    }
    return 1;
}

void VirtualPort::FlushPendingOutput(std::string& pendingOutput) {
    if (pendingOutput.empty())
        return;
    if (output_)
        output_(pendingOutput);
    pendingOutput.clear();
}

std::string ShowableText(std::string bytes) {
    for (char& c : bytes)
        if (c == '\0')
            c = '\xff';
    return bytes;
}

} // namespace serial
