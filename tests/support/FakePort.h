#pragma once
// A recording port for tests: input is scripted, writes accept a configurable
// number of bytes, and every line operation is logged.

#include "serial/Port.h"

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

namespace serial {

class FakePort : public Port {
public:
    std::deque<std::uint8_t> input;
    std::string written;
    // Bytes accepted per write; negative accepts everything.
    long acceptPerWrite = -1;
    std::vector<std::string> calls; // "DTR on", "RTS off", "BREAK on", "purge", "pulse", "close"
    bool real = true;
    bool lost = false;
    int arrivalHandle = -1;

    void Feed(const std::string& bytes) {
        for (unsigned char c : bytes)
            input.push_back(c);
    }

    std::size_t Read(std::uint8_t* buffer, std::size_t size) override {
        std::size_t n = lost ? 0 : std::min(size, input.size());
        std::copy_n(input.begin(), n, buffer);
        input.erase(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(n));
        return n;
    }
    void FlushPendingOutput(std::string& pendingOutput) override {
        if (pendingOutput.empty())
            return;
        std::size_t n = acceptPerWrite < 0
                            ? pendingOutput.size()
                            : std::min<std::size_t>(pendingOutput.size(),
                                                    static_cast<std::size_t>(acceptPerWrite));
        written += pendingOutput.substr(0, n);
        pendingOutput.erase(0, n);
    }
    void PurgePort() override {
        calls.push_back("purge");
        input.clear();
    }
    void SetDTR(bool on) override { calls.push_back(on ? "DTR on" : "DTR off"); }
    void SetRTS(bool on) override { calls.push_back(on ? "RTS on" : "RTS off"); }
    void PulseDTR() override { calls.push_back("pulse"); }
    void SetCommBreak() override { calls.push_back("BREAK on"); }
    void ClearCommBreak() override { calls.push_back("BREAK off"); }
    void ClosePort() override { calls.push_back("close"); }
    bool IsRealPort() const override { return real; }
    bool IsLost() const override { return lost; }
    int ArrivalHandle() const override { return arrivalHandle; }
};

} // namespace serial
