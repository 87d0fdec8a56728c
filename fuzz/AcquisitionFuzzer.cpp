// The whole acquisition path: a random configuration (any value a
// configuration file can hold in the settings that shape framing, field
// processing and the log line), then random bytes fed through a fake port in
// random chunks, tick after tick, with suspensions and resets between them,
// and every record delivered to a log kept in memory.
//
// The settings are drawn from the end of the input and the bytes are its
// front, so that the example data files seed the byte stream directly.

#include "FuzzSupport.h"
#include "runtime/Acquisition.h"
#include "support/FakePort.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageSink.h"

#include <algorithm>
#include <string>

namespace {

// Counts what reaches the log without keeping it: a long run must not grow.
class CountingLog : public output::LogWriter {
public:
    std::size_t lines = 0;
    bool fail = false;
    bool AppendLine(const std::string&, const std::string&, std::string& error) override {
        if (fail) {
            error = "No space left on device";
            return false;
        }
        ++lines;
        return true;
    }
};

// Mostly the small values the program's dialogs offer, sometimes any 16-bit
// value, as a hand-edited or damaged file can hold.
config::Integer AnyInteger(FuzzedDataProvider& in, int lo, int hi) {
    if (in.ConsumeIntegralInRange<int>(0, 7) == 0)
        return in.ConsumeIntegral<config::Integer>();
    return static_cast<config::Integer>(in.ConsumeIntegralInRange<int>(lo, hi));
}

template <std::size_t N> std::string Pick(FuzzedDataProvider& in, const char* const (&choices)[N]) {
    return choices[in.ConsumeIntegralInRange<std::size_t>(0, N - 1)];
}

// A short string of arbitrary bytes.
std::string AnyBytes(FuzzedDataProvider& in, int most) {
    std::string s;
    for (int n = in.ConsumeIntegralInRange<int>(0, most); n > 0; --n)
        s.push_back(static_cast<char>(in.ConsumeIntegral<std::uint8_t>()));
    return s;
}

const char* const Filters[] = {"", "C", "N", "I", "B", "H", "O", "n", "NH", "x"};
const char* const Formats[] = {"",        "0.00",     "#,##0.0", "Fixed",       "Long Date",
                               "dddd",    "0E+0",     "@@@-@",   "hh:nn:ss",    "Yes/No",
                               "%0.0E+0", "Currency", ">",       "mmmm d yyyy", "0;(0);\"zero\""};
const char* const Expressions[] = {"",
                                   "field(1)*2",
                                   "field(1)+field(2)",
                                   "val(field(3))/field(1)",
                                   "field(41)",
                                   "len(field(1))",
                                   "hex(field(2))",
                                   "field(1) & \"x\"",
                                   "sqr(field(1))",
                                   "field(0)"};
const char* const Postambles[] = {"", "\r", ",", "\t", "{YEAR}-{MONTH}", "{SECOND}\r", "|"};

void Configure(FuzzedDataProvider& in, config::Config& cfg) {
    cfg.TransferMode = config::LogToDisk;
    cfg.LogFileName = "C:\\Corvane.Log";
    cfg.StartOfRecordEvent = AnyInteger(in, 0, 4);
    cfg.StartOfRecordChars = AnyBytes(in, 3);
    cfg.EndOfRecordEvent = AnyInteger(in, 0, 4);
    cfg.EndOfRecordChars = AnyBytes(in, 3);
    cfg.TimeDelayTicks = AnyInteger(in, 0, 5);
    cfg.RecordStructure = AnyInteger(in, 0, 3);
    cfg.NumFields = AnyInteger(in, 0, 42);
    cfg.DelimiterChar = AnyBytes(in, 1);
    cfg.RecordLength = AnyInteger(in, 0, 40);
    cfg.FlowControl = AnyInteger(in, 0, 3);
    cfg.BeepOnInput = in.ConsumeBool() ? config::True : config::False;
    cfg.ActivateSuspended =
        in.ConsumeIntegralInRange<int>(0, 15) == 0 ? config::True : config::False;
    cfg.RecordPreamble = Pick(in, Postambles);
    for (int n = in.ConsumeIntegralInRange<int>(0, 6); n > 0; --n) {
        const auto f = in.ConsumeIntegralInRange<std::size_t>(0, config::MaxFields);
        cfg.FieldFilter[f] = Pick(in, Filters);
        cfg.FieldLength[f] = AnyInteger(in, 0, 12);
        cfg.FieldFormat[f] = Pick(in, Formats);
        cfg.FieldExpression[f] = Pick(in, Expressions);
        cfg.FieldPostamble[f] = Pick(in, Postambles);
    }
    for (int n = in.ConsumeIntegralInRange<int>(0, 4); n > 0; --n) {
        const auto b = in.ConsumeIntegral<std::uint8_t>();
        const int kind = in.ConsumeIntegralInRange<int>(0, 3);
        cfg.PreInputTranslation[b] = kind == 0   ? "Ignore"
                                     : kind == 1 ? "Void Record"
                                                 : AnyBytes(in, 2);
    }
    for (int n = in.ConsumeIntegralInRange<int>(0, 3); n > 0; --n) {
        const auto b = in.ConsumeIntegral<std::uint8_t>();
        cfg.LogTranslation[b] = static_cast<char>(in.ConsumeIntegral<std::uint8_t>());
    }
    cfg.AckString = AnyBytes(in, 2);
    if (in.ConsumeIntegralInRange<int>(0, 7) == 0) {
        cfg.TimerEnabled = config::True;
        cfg.TimerInterval = in.ConsumeIntegralInRange<config::Long>(-1, 200);
        cfg.TimerString = AnyBytes(in, 3);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    config::Config cfg;
    engine::RuntimeState state;
    serial::FakePort port;
    engine::ManualClock clock;
    config::RecordingMessageSink messages;
    const engine::Locale locale = fuzz::PickLocale(in.ConsumeBool());
    CountingLog log;
    Configure(in, cfg);
    // What the settings left at the end of the input drives the chunking
    // and the runtime actions; the rest, from the front, is the byte stream.
    const std::uint64_t schedule = in.ConsumeIntegral<std::uint64_t>();
    const std::string bytes = in.ConsumeRemainingBytesAsString();

    output::RecordDispatch dispatch(cfg, state, clock, messages, locale, log, "/nonexistent");
    runtime::Acquisition loop(cfg, state, port, clock, messages, locale, dispatch);
    dispatch.cancelLogAction = [&] {
        loop.Reset();
        if (!state.Suspended)
            loop.ToggleSuspend();
    };
    loop.Activate();

    std::size_t at = 0;
    for (unsigned step = 0; at < bytes.size() || step < 4; ++step) {
        const unsigned k = static_cast<unsigned>(schedule >> ((step * 5) % 60)) & 31;
        const std::size_t chunk = k < 24 ? k * 3 + 1 : 4096;
        port.Feed(bytes.substr(at, chunk));
        at = std::min(bytes.size(), at + chunk);
        switch (k) {
        case 25:
            loop.ToggleSuspend();
            break;
        case 26:
            loop.ResumeForOneRecord();
            break;
        case 27:
            loop.Reset();
            break;
        case 28:
            log.fail = !log.fail;
            break;
        default:
            break;
        }
        clock.Advance(k == 29 ? 1100 : 50);
        loop.Timer1_Timer();
    }
    if (state.Suspended)
        loop.ToggleSuspend();
    // Pauses long enough to end a record that waits for one.
    for (int t = 0; t < 8; ++t) {
        clock.Advance(50);
        loop.Timer1_Timer();
    }
    log.fail = false;
    dispatch.TakeUnwrittenLines();
    return 0;
}
