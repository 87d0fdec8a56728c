#pragma once
// The engine without I/O, shared by the benchmarks: a port that serves one
// prepared record over and over, a log that only counts, and the two
// workloads (plain framing with the log translation, and the balance chain).

#include "runtime/Acquisition.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageSink.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

namespace benchrig {

// Serves the same record again and again, up to limit bytes in all. The
// record is repeated in a block of at least 64 KiB, so that a read is one
// copy, as the kernel's is.
class StreamPort : public serial::Port {
public:
    std::size_t pos = 0, limit = 0;
    void SetRecord(const std::string& record) {
        data.clear();
        while (data.size() < 65536)
            data += record;
        period = record.size();
    }
    std::size_t Read(std::uint8_t* buffer, std::size_t size) override {
        const std::size_t at = pos % period;
        const std::size_t n = std::min({size, limit - pos, data.size() - at});
        std::memcpy(buffer, data.data() + at, n);
        pos += n;
        return n;
    }
    void FlushPendingOutput(std::string& p) override { p.clear(); }
    void PurgePort() override {}
    void SetDTR(bool) override {}
    void SetRTS(bool) override {}
    void PulseDTR() override {}
    void SetCommBreak() override {}
    void ClearCommBreak() override {}
    void ClosePort() override {}

private:
    std::string data;
    std::size_t period = 1;
};

class CountingLog : public output::LogWriter {
public:
    std::size_t lines = 0, bytes = 0;
    bool AppendLine(const std::string&, const std::string& text, std::string&) override {
        ++lines;
        bytes += text.size() + 2;
        return true;
    }
};

enum class Workload { SimpleRecords, BalanceLines, BalanceChain };

inline const char* RecordOf(Workload w) {
    return w == Workload::SimpleRecords ? "12.345\r" : "  12.345 g\r\n";
}

// A Log To Disk runtime on a StreamPort. SimpleRecords: single-field records
// ended by CR, no filter, expression or format. BalanceLines: the balance's
// "  12.345 g" CR LF lines, framed from the first digit to the CR, nothing
// else. BalanceChain: the same lines through the numeric filter,
// field(1)*1000 and the format 0.0.
struct EngineRig {
    config::Config cfg;
    engine::RuntimeState state;
    StreamPort port;
    engine::ManualClock clock;
    config::RecordingMessageSink messages;
    engine::Locale locale;
    CountingLog log;
    std::unique_ptr<output::RecordDispatch> dispatch;
    std::unique_ptr<runtime::Acquisition> loop;

    explicit EngineRig(Workload w) {
        cfg.TransferMode = config::LogToDisk;
        cfg.LogFileName = "/tmp/unused.log";
        if (w != Workload::SimpleRecords)
            cfg.StartOfRecordEvent = 2;
        if (w == Workload::BalanceChain) {
            cfg.FieldFilter[1] = "N";
            cfg.FieldExpression[1] = "field(1)*1000";
            cfg.FieldFormat[1] = "0.0";
        }
        port.SetRecord(RecordOf(w));
        dispatch = std::make_unique<output::RecordDispatch>(cfg, state, clock, messages, locale,
                                                            log, "/tmp");
        loop = std::make_unique<runtime::Acquisition>(cfg, state, port, clock, messages, locale,
                                                      *dispatch);
        loop->Activate();
    }

    // Makes bytes more input available and runs one tick over it.
    void Tick(std::size_t bytes) {
        port.limit += bytes;
        clock.Advance(50);
        loop->Timer1_Timer();
    }
};

} // namespace benchrig
