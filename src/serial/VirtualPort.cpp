#include "serial/VirtualPort.h"

#include <algorithm>
#include <cstring>

namespace serial {

std::size_t VirtualPort::Read(std::uint8_t* buffer, std::size_t size) {
    const std::size_t n = std::min(size, Unread());
    std::memcpy(buffer, VirtualInput.data() + readPos_, n);
    readPos_ += n;
    // Drop what was read once it is a large part of the text, so a long
    // input does not cost a copy per read.
    if (readPos_ == VirtualInput.size() || (readPos_ > 4096 && readPos_ * 2 > VirtualInput.size())) {
        VirtualInput.erase(0, readPos_);
        readPos_ = 0;
    }
    return n;
}

void VirtualPort::PurgePort() {
    VirtualInput.clear();
    readPos_ = 0;
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
