// The acquisition loop driven tick by tick with a fake port and a manual
// clock: framing in every mode, start rules, pre-input translation, timed
// output, suspension and the deferred exit.

#include "runtime/Acquisition.h"
#include "support/FakePort.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageSink.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>

using namespace engine;
using namespace runtime;

namespace {

// Keeps every log line in memory; can be told to fail.
class MemoryLog : public output::LogWriter {
public:
    std::vector<std::string> lines;
    std::string failure;
    bool AppendLine(const std::string&, const std::string& text, std::string& error) override {
        error = failure;
        if (failure.empty())
            lines.push_back(text);
        return failure.empty();
    }
};

struct Rig {
    config::Config cfg;
    RuntimeState state;
    serial::FakePort port;
    ManualClock clock;
    config::RecordingMessageSink messages;
    Locale locale;
    MemoryLog log;
    std::unique_ptr<output::RecordDispatch> dispatch;
    std::unique_ptr<Acquisition> loop;

    Rig() {
        cfg.TransferMode = config::LogToDisk;
        cfg.LogFileName = "/unused";
    }
    // Activates with the settings made so far.
    void Start() {
        dispatch = std::make_unique<output::RecordDispatch>(cfg, state, clock, messages, locale,
                                                            log, "/home/u");
        loop = std::make_unique<Acquisition>(cfg, state, port, clock, messages, locale, *dispatch);
        dispatch->cancelLogAction = [this] {
            loop->Reset();
            if (!state.Suspended)
                loop->ToggleSuspend();
        };
        loop->Activate();
    }
    void Tick(const std::string& bytes = "") {
        port.Feed(bytes);
        clock.Advance(50);
        loop->Timer1_Timer();
    }
};

} // namespace

TEST(AcquisitionLoop, CarriageReturnEndsEachRecordAndTheLineFeedIsRejectedByTheStartRule) {
    Rig r;
    r.cfg.StartOfRecordEvent = 1;
    r.Start();
    r.Tick("12.5\r\n13.0\r\n");
    EXPECT_EQ(r.log.lines, (std::vector<std::string>{"12.5\r", "13.0\r"}));
    EXPECT_EQ(r.state.RecordNumber, "2");
}

TEST(AcquisitionLoop, RecordsSplitAcrossTicksSurvive) {
    Rig r;
    r.cfg.RecordStructure = 1;
    r.cfg.NumFields = 3;
    r.Start();
    for (const char* chunk : {"1", ",2", "2,", "33", "3\r4,5,6\r"})
        r.Tick(chunk);
    EXPECT_EQ(r.log.lines, (std::vector<std::string>{"122333\r", "456\r"}));
}

TEST(AcquisitionLoop, DelimiterThatIsAlsoTheEndCharEndsOnlyAfterLastField) {
    Rig r;
    r.cfg.RecordStructure = 1;
    r.cfg.NumFields = 3;
    r.cfg.EndOfRecordEvent = 3;
    r.cfg.EndOfRecordChars = ",";
    r.cfg.FieldPostamble[1] = "|";
    r.cfg.FieldPostamble[2] = "|";
    r.Start();
    r.Tick("1,2,3,");
    EXPECT_EQ(r.log.lines, std::vector<std::string>{"1|2|3"});
}

TEST(AcquisitionLoop, SingleFieldKeepsTheDelimiterAsDataEvenWhenItIsTheEndChar) {
    Rig r;
    r.cfg.EndOfRecordEvent = 3;
    r.cfg.EndOfRecordChars = ",";
    r.Start();
    r.Tick("1,2,3,");
    EXPECT_TRUE(r.log.lines.empty());
    EXPECT_EQ(r.state.FieldValue[1].ToText(r.locale), "1,2,3,");
}

TEST(AcquisitionLoop, RunOfSpacesIsOneDelimiterAndExtraFieldsGoToTheOverflow) {
    Rig r;
    r.cfg.RecordStructure = 1;
    r.cfg.NumFields = 2;
    r.cfg.DelimiterChar = " ";
    r.cfg.FieldPostamble[1] = "|";
    r.Start();
    r.Tick("A  B\r");
    EXPECT_EQ(r.log.lines, std::vector<std::string>{"A|B\r"});

    Rig many;
    many.cfg.RecordStructure = 1;
    many.cfg.NumFields = 40;
    many.Start();
    std::string input;
    for (int i = 1; i <= 45; ++i)
        input += std::to_string(i) + ",";
    many.Tick(input);
    EXPECT_EQ(many.state.FieldValue[40].ToText(many.locale), "40");
    EXPECT_EQ(many.state.FieldValue[41].ToText(many.locale), "4142434445");
}

TEST(AcquisitionLoop, FixedByteCountFillsFieldsByLength) {
    Rig r;
    r.cfg.EndOfRecordEvent = 2;
    r.cfg.RecordStructure = 2;
    r.cfg.NumFields = 2;
    r.cfg.RecordLength = 10;
    r.cfg.FieldLength[1] = 4;
    r.cfg.FieldLength[2] = 6;
    r.cfg.FieldPostamble[1] = "|";
    r.Start();
    r.Tick("ABCD12345");
    EXPECT_TRUE(r.log.lines.empty());
    r.Tick("6WXYZ");
    EXPECT_EQ(r.log.lines, std::vector<std::string>{"ABCD|123456"});
    EXPECT_EQ(r.state.FieldValue[1].ToText(r.locale), "WXYZ");
}

TEST(AcquisitionLoop, FixedFieldsEndedByTheEndCharacter) {
    Rig r;
    r.cfg.RecordStructure = 2;
    r.cfg.NumFields = 2;
    r.cfg.FieldLength[1] = 2;
    r.cfg.FieldLength[2] = 3;
    r.cfg.FieldPostamble[1] = "|";
    r.Start();
    EXPECT_EQ(r.cfg.RecordMode, 6);
    r.Tick("ab123\r");
    EXPECT_EQ(r.log.lines, std::vector<std::string>{"ab|123"});
}

TEST(AcquisitionLoop, TimeDelayEndsTheRecordInTheDthTickAfterTheLastByte) {
    Rig r;
    r.cfg.EndOfRecordEvent = 1;
    r.cfg.TimeDelayTicks = 3;
    r.Start();
    r.Tick("AB");
    r.Tick();
    r.Tick("C"); // a byte in the second tick starts the count again
    r.Tick();
    r.Tick();
    EXPECT_TRUE(r.log.lines.empty());
    r.Tick();
    EXPECT_EQ(r.log.lines, std::vector<std::string>{"ABC"});

    Rig d;
    d.cfg.EndOfRecordEvent = 1;
    d.cfg.RecordStructure = 1;
    d.cfg.NumFields = 2;
    d.cfg.TimeDelayTicks = 1;
    d.cfg.FieldPostamble[1] = "|";
    d.Start();
    EXPECT_EQ(d.cfg.RecordMode, 4);
    d.Tick("x,y");
    d.Tick();
    EXPECT_EQ(d.log.lines, std::vector<std::string>{"x|y"});
}

TEST(AcquisitionLoop, StartRulesDropBytesUntilARecordMayBegin) {
    struct Case {
        int event;
        const char* chars;
        const char* input;
        const char* line;
    } cases[] = {
        {1, "", "\x02\x01OK\r", "OK\r"}, {2, "", "ST,GS, -1.5 g\r", "-1.5 g\r"},
        {2, "", "x.5\r", ".5\r"},        {3, "$#", "abc#12\r", "#12\r"},
        {0, "", "\x02z\r", "\x02z\r"},
    };
    for (const auto& c : cases) {
        Rig r;
        r.cfg.StartOfRecordEvent = static_cast<config::Integer>(c.event);
        r.cfg.StartOfRecordChars = c.chars;
        r.Start();
        r.Tick(c.input);
        EXPECT_EQ(r.log.lines, std::vector<std::string>{c.line}) << c.input;
    }
    Rig comma;
    comma.locale.DecimalSeparator = ',';
    comma.cfg.StartOfRecordEvent = 2;
    comma.Start();
    comma.Tick(".,5\r");
    EXPECT_EQ(comma.log.lines, std::vector<std::string>{",5\r"});
}

TEST(AcquisitionLoop, PreInputTranslationReplacesIgnoresAndVoids) {
    Rig r;
    r.cfg.PreInputTranslation['a'] = "A";
    r.cfg.PreInputTranslation['\n'] = "Ignore";
    r.cfg.PreInputTranslation[27] = "Void Record";
    r.Start();
    r.Tick("ab\n\r");
    r.Tick("x\x1by\r");
    r.Tick("ok\r");
    EXPECT_EQ(r.log.lines, (std::vector<std::string>{"Ab\r", "ok\r"}));
    EXPECT_EQ(r.state.RecordNumber, "2"); // the void record is not counted
    // The voided byte is stored as the first digit of its code.
    Rig v;
    v.cfg.PreInputTranslation[27] = "Void Record";
    v.cfg.EndOfRecordEvent = 1;
    v.cfg.TimeDelayTicks = 5;
    v.Start();
    v.Tick("x\x1b");
    EXPECT_EQ(v.state.FieldValue[1].ToText(v.locale), "x2");
}

TEST(AcquisitionLoop, AcknowledgementGoesOutOnTheNextTickAlsoForVoidRecords) {
    Rig r;
    r.cfg.AckString = "\x06";
    r.cfg.PreInputTranslation['!'] = "Void Record";
    r.cfg.BeepOnInput = config::True;
    r.state.SpecialBeep = 48;
    r.Start();
    r.Tick("1\r!\r");
    EXPECT_EQ(r.port.written, "");
    r.Tick();
    EXPECT_EQ(r.port.written, "\x06\x06");
    EXPECT_EQ(r.messages.beeps, (std::vector<long>{48, 48}));
}

TEST(AcquisitionLoop, OptoHandshakePromptsAtEveryOtherCarriageReturn) {
    Rig r;
    r.cfg.FlowControl = 3;
    r.Start();
    r.Tick("1\r");
    EXPECT_EQ(r.state.PendingOutput, "?\r"); // queued; the next tick sends it
    EXPECT_EQ(r.port.written, "");
    r.Tick();
    EXPECT_EQ(r.port.written, "?\r");
    r.Tick("?2\r"); // the echo's carriage return spoils the record in progress
    r.Tick("3\r");
    EXPECT_EQ(r.log.lines, (std::vector<std::string>{"1\r", "3\r"}));
}

TEST(AcquisitionLoop, SuspensionLeavesBytesUnreadAndOneShotLetsOneRecordThrough) {
    Rig r;
    r.Start();
    r.loop->ToggleSuspend();
    r.Tick("1\r2\r3\r");
    EXPECT_TRUE(r.log.lines.empty());
    EXPECT_EQ(r.port.input.size(), 6u);
    r.loop->ResumeForOneRecord();
    r.Tick();
    EXPECT_EQ(r.log.lines, std::vector<std::string>{"1\r"});
    EXPECT_TRUE(r.state.Suspended);
    r.loop->ToggleSuspend();
    r.Tick();
    EXPECT_EQ(r.log.lines.size(), 3u);

    Rig s;
    s.cfg.ActivateSuspended = config::True;
    s.Start();
    EXPECT_EQ(RuntimeCaption(s.cfg, s.state), "Corvane - COM1 (S)");
    s.state.RunMode = VirtualDevice;
    EXPECT_EQ(RuntimeCaption(s.cfg, s.state), "Corvane - COM1 (S) (Virtual Device)");
}

TEST(AcquisitionLoop, TimedOutputCatchesUpOneActionPerTickAfterAStall) {
    Rig r;
    r.cfg.TimerEnabled = 1 + 2;
    r.cfg.TimerInterval = 1000;
    r.cfg.TimerString = "P";
    r.Start();
    r.Tick(); // starts the schedule
    r.clock.Advance(4500);
    std::vector<std::size_t> sent;
    for (int i = 0; i < 6; ++i) {
        r.loop->Timer1_Timer();
        sent.push_back(r.port.written.size());
    }
    // The string is queued and flushed in the same tick.
    EXPECT_EQ(sent, (std::vector<std::size_t>{1, 2, 3, 4, 4, 4}));
    r.Tick();
    EXPECT_EQ(r.port.written, "PPPP");

    Rig brk;
    brk.cfg.TimerEnabled = 1 + 8;
    brk.cfg.TimerInterval = 100;
    brk.Start();
    brk.Tick();
    brk.Tick();
    brk.Tick();
    EXPECT_EQ(brk.port.calls, std::vector<std::string>{"BREAK on"});
    brk.Tick();
    brk.Tick();
    EXPECT_EQ(brk.port.calls, (std::vector<std::string>{"BREAK on", "BREAK off", "BREAK on"}));
}

TEST(AcquisitionLoop, ExitWaitsForTwoTicksThatFindThePortEmpty) {
    Rig r;
    int exits = 0;
    r.Start();
    r.loop->hooks.exitAction = [&] { ++exits; };
    r.state.ExitCountdown = -1;
    r.Tick("1\r");
    EXPECT_EQ(exits, 0);
    r.Tick();
    EXPECT_EQ(exits, 1);
    EXPECT_EQ(r.log.lines.size(), 1u);
}

TEST(AcquisitionLoop, LogErrorRetriesAndCancelSuspends) {
    Rig r;
    r.log.failure = "Permission denied";
    r.messages.answers = {config::MessageAnswer::Retry, config::MessageAnswer::Cancel};
    r.Start();
    r.Tick("1\r2");
    ASSERT_EQ(r.messages.shown.size(), 2u);
    EXPECT_EQ(r.messages.shown[0].text, "File I/O Error Writing To: /unused\rPermission denied");
    EXPECT_EQ(r.messages.shown[0].title, "Corvane - COM1 ERROR!");
    EXPECT_EQ(r.messages.shown[0].buttons, config::MessageButtons::RetryCancel);
    EXPECT_TRUE(r.state.Suspended);
    EXPECT_EQ(r.port.calls, std::vector<std::string>{"purge"});
    EXPECT_FALSE(r.state.RecordActive);
}

TEST(AcquisitionLoop, HeadlessLogErrorKeepsEveryRecordInOrderAndReportsOnce) {
    Rig r;
    r.log.failure = "No space left on device";
    r.messages.answers = {config::MessageAnswer::Deferred};
    r.Start();
    r.Tick("1\r2\r");
    r.Tick("3\r"); // input goes on; every record waits behind the first
    EXPECT_EQ(r.messages.shown.size(), 1u);
    EXPECT_TRUE(r.dispatch->LogPending());
    EXPECT_EQ(r.state.RecordNumber, "3");
    r.log.failure.clear();
    r.Tick(); // less than a second since the last try
    EXPECT_TRUE(r.log.lines.empty());
    r.clock.Advance(1000);
    r.Tick("4\r");
    EXPECT_EQ(r.log.lines, (std::vector<std::string>{"1\r", "2\r", "3\r", "4\r"}));
    EXPECT_FALSE(r.dispatch->LogPending());
    ASSERT_EQ(r.messages.shown.size(), 2u); // and once that it works again
    EXPECT_EQ(r.messages.shown[1].icon, config::MessageIcon::Information);

    // A new failure is a new report; what is still unwritten at the end is
    // handed back, oldest first.
    r.log.failure = "Input/output error";
    r.messages.answers = {config::MessageAnswer::Deferred};
    r.Tick("5\r6\r");
    EXPECT_EQ(r.messages.shown.size(), 3u);
    auto unwritten = r.dispatch->TakeUnwrittenLines();
    EXPECT_EQ(unwritten, (std::deque<std::string>{"5\r", "6\r"}));
    EXPECT_FALSE(r.dispatch->LogPending());
}

TEST(AcquisitionLoop, ALogQuestionAnsweredLaterLeavesInputGoingOnMeanwhile) {
    Rig r;
    r.log.failure = "No space left on device";
    r.messages.answers = {config::MessageAnswer::Deferred, config::MessageAnswer::Deferred};
    r.Start();
    r.Tick("1\r2\r");
    r.Tick("3\r");
    ASSERT_EQ(r.messages.later.size(), 1u); // one question, still open
    EXPECT_EQ(r.state.RecordNumber, "3");
    EXPECT_FALSE(r.state.Suspended);

    // Retry while the disk is still full: the question comes again.
    r.messages.later[0](config::MessageAnswer::Retry);
    r.Tick();
    ASSERT_EQ(r.messages.later.size(), 2u);
    EXPECT_EQ(r.messages.shown.size(), 2u);
    EXPECT_EQ(r.messages.beeps.size(), 2u);
    // Room again: the lines go out on their own, and the open question is
    // taken down; an answer that comes after that changes nothing.
    r.log.failure.clear();
    r.clock.Advance(1000);
    r.Tick("4\r");
    EXPECT_EQ(r.log.lines, (std::vector<std::string>{"1\r", "2\r", "3\r", "4\r"}));
    ASSERT_EQ(r.messages.retracted.size(), 1u);
    EXPECT_EQ(r.messages.retracted[0], r.messages.shown[1]);
    r.messages.later[1](config::MessageAnswer::Cancel);
    r.Tick();
    EXPECT_FALSE(r.state.Suspended);

    // Cancel: what waits is dropped, the input reset and suspended.
    r.log.failure = "Input/output error";
    r.messages.answers = {config::MessageAnswer::Deferred};
    r.Tick("5\r6\r");
    ASSERT_EQ(r.messages.later.size(), 3u);
    r.messages.later[2](config::MessageAnswer::Cancel);
    r.Tick("7");
    EXPECT_TRUE(r.state.Suspended);
    EXPECT_FALSE(r.dispatch->LogPending());
    EXPECT_EQ(r.port.calls, std::vector<std::string>{"purge"});
    EXPECT_EQ(r.log.lines.size(), 4u);
}

TEST(AcquisitionLoop, AnIntervalOfZeroSendsNothingEvenWithTheTimerEnabled) {
    Rig r;
    r.cfg.TimerEnabled = 1 + 2;
    r.cfg.TimerInterval = 0;
    r.cfg.TimerString = "P";
    r.Start();
    for (int i = 0; i < 10; ++i)
        r.Tick();
    EXPECT_EQ(r.port.written, "");
    EXPECT_EQ(r.state.NextTimedOutput, 0);
}

TEST(AcquisitionLoop, ResetDiscardsWhatWasReceivedAndNotFramed) {
    // Bytes the one-shot record left unread are discarded with the port's
    // buffers, on a real port and on the virtual device alike.
    for (bool real : {true, false}) {
        Rig r;
        r.port.real = real;
        r.state.RunMode = real ? Normal : VirtualDevice;
        r.Start();
        r.loop->ToggleSuspend();
        r.loop->ResumeForOneRecord();
        r.Tick("1\r2\r3");
        ASSERT_EQ(r.log.lines, std::vector<std::string>{"1\r"});
        r.loop->Reset();
        EXPECT_EQ(r.port.calls, std::vector<std::string>{"purge"});
        r.loop->ToggleSuspend();
        r.Tick("4\r");
        EXPECT_EQ(r.log.lines, (std::vector<std::string>{"1\r", "4\r"})) << real;
    }
}

TEST(AcquisitionLoop, FramingWholeTicksMatchesFramingOneByteAtATime) {
    // The tick frames runs of ordinary bytes at once; the result must be
    // exactly that of ProcessByte on every byte, whatever the settings.
    std::mt19937 random(20261123);
    auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const std::string alphabet = std::string("0123456789.,; -\r\n\r\nX$a\x1b\xff", 24) + '\0';
    for (int round = 0; round < 400; ++round) {
        Rig whole, single;
        for (Rig* r : {&whole, &single}) {
            std::mt19937 same(static_cast<unsigned>(round));
            auto choose = [&](int n) {
                return static_cast<int>(same() % static_cast<unsigned>(n));
            };
            config::Config& c = r->cfg;
            c.TransferMode = static_cast<config::Integer>(choose(3));
            c.EndOfRecordEvent = static_cast<config::Integer>(choose(4));
            c.RecordStructure = static_cast<config::Integer>(choose(3));
            c.NumFields = static_cast<config::Integer>(1 + choose(4));
            c.DelimiterChar = std::string(1, ",; \r"[choose(4)]);
            c.EndOfRecordChars = std::string(1, "\n;X"[choose(3)]);
            c.StartOfRecordEvent = static_cast<config::Integer>(choose(4));
            c.StartOfRecordChars = "$";
            c.TimeDelayTicks = static_cast<config::Integer>(1 + choose(3));
            c.FlowControl = choose(4) == 0 ? 3 : 0;
            c.RecordLength = 0;
            for (int f = 1; f <= 4; ++f) {
                c.FieldFilter[static_cast<std::size_t>(f)] = std::string(1, "CCCNIBHO"[choose(8)]);
                c.FieldLength[static_cast<std::size_t>(f)] =
                    static_cast<config::Integer>(1 + choose(4));
                c.RecordLength = static_cast<config::Integer>(
                    c.RecordLength + c.FieldLength[static_cast<std::size_t>(f)]);
            }
            for (int k = choose(4); k > 0; --k) {
                const auto b = static_cast<std::size_t>(static_cast<unsigned char>(
                    alphabet[static_cast<std::size_t>(choose(static_cast<int>(alphabet.size())))]));
                const int what = choose(3);
                c.PreInputTranslation[b] = what == 0 ? "Ignore" : what == 1 ? "Void Record" : "Z";
            }
            r->Start();
        }
        std::string input;
        for (int i = 0; i < 300; ++i)
            input += alphabet[static_cast<std::size_t>(pick(static_cast<int>(alphabet.size())))];
        for (std::size_t at = 0; at < input.size();) {
            const std::size_t n =
                std::min<std::size_t>(input.size() - at, 1 + static_cast<std::size_t>(pick(40)));
            const std::string chunk = input.substr(at, n);
            at += n;
            whole.Tick(chunk);
            // The same tick by hand, one byte at a time: the idle count, the
            // bytes, then the end of a record by its time gap.
            single.clock.Advance(50);
            single.state.IdleTicks = static_cast<std::uint8_t>(single.state.IdleTicks + 1);
            for (unsigned char b : chunk)
                single.loop->ProcessByte(b);
            if (single.cfg.EndOfRecordEvent == 1 && single.state.RecordActive &&
                single.state.IdleTicks == single.cfg.TimeDelayTicks) {
                single.state.CurField = 1;
                single.state.CharsInRecord = single.state.CharsInField = 0;
                single.loop->CompleteRecord();
            }
        }
        SCOPED_TRACE("round " + std::to_string(round) + ", mode " +
                     std::to_string(whole.cfg.RecordMode));
        ASSERT_EQ(whole.log.lines, single.log.lines);
        EXPECT_EQ(whole.port.written + whole.state.PendingOutput, single.state.PendingOutput);
        EXPECT_EQ(whole.state.RecordNumber, single.state.RecordNumber);
        EXPECT_EQ(whole.state.FieldText, single.state.FieldText);
        for (std::size_t f = 0; f < whole.state.FieldValue.size(); ++f)
            EXPECT_EQ(whole.state.FieldValue[f].ToText(whole.locale),
                      single.state.FieldValue[f].ToText(single.locale))
                << f;
        EXPECT_EQ(whole.state.InChar, single.state.InChar);
        EXPECT_EQ(whole.state.CurField, single.state.CurField);
        EXPECT_EQ(whole.state.RecordActive, single.state.RecordActive);
        EXPECT_EQ(whole.state.VoidRecord, single.state.VoidRecord);
        EXPECT_EQ(whole.state.LastCharWasSpace, single.state.LastCharWasSpace);
        EXPECT_EQ(whole.state.IdleTicks, single.state.IdleTicks);
        EXPECT_EQ(whole.state.CharsInField, single.state.CharsInField);
        EXPECT_EQ(whole.state.CharsInRecord, single.state.CharsInRecord);
        EXPECT_EQ(whole.state.OptoEchoPending, single.state.OptoEchoPending);
    }
}

TEST(AcquisitionLoop, RecordsThatEndOnAByteAreDeliveredAsTheirLastByteArrives) {
    // Modes 0 (end character), 2 (delimited), 3 (byte count), 6 (fixed
    // fields and an end character): no tick needed.
    const struct {
        int endEvent, structure;
        std::string bytes;
        std::vector<std::string> logged;
    } cases[] = {
        {0, 0, "12.5\r1", {"12.5\r"}},
        {0, 1, "1,2\r3", {"12\r"}},
        {2, 0, "123456", {"1234"}},
        {0, 2, "ab\r", {"ab\r"}},
    };
    for (const auto& c : cases) {
        Rig r;
        r.cfg.EndOfRecordEvent = c.endEvent;
        r.cfg.RecordStructure = c.structure;
        r.cfg.NumFields = c.structure == 1 ? 2 : 1;
        r.cfg.DelimiterChar = ",";
        r.cfg.RecordLength = 4;
        r.cfg.FieldLength[1] = 4;
        r.cfg.AckString = "A";
        r.Start();
        ASSERT_TRUE(r.loop->ReadsOnArrival());
        r.port.Feed(c.bytes);
        r.loop->InputArrived();
        EXPECT_EQ(r.log.lines, c.logged) << c.bytes;
        // The acknowledgement goes out with the record, not a tick later.
        EXPECT_EQ(r.port.written, "A") << c.bytes;
        EXPECT_TRUE(r.port.input.empty()) << "what follows is framed too: " << c.bytes;
        EXPECT_FALSE(r.state.InTick);
    }
}

TEST(AcquisitionLoop, APauseStillCountsTicksAndNothingIsReadOnArrivalWhenItMustNotBe) {
    // Records that end on a pause are read on the tick that counts it: three
    // quiet ticks after the tick that read the last byte.
    for (int structure : {0, 1, 2}) {
        Rig r;
        r.cfg.EndOfRecordEvent = 1;
        r.cfg.RecordStructure = structure;
        r.cfg.TimeDelayTicks = 3;
        r.cfg.FieldLength[1] = 10;
        r.Start();
        EXPECT_FALSE(r.loop->ReadsOnArrival());
        r.port.Feed("12.5");
        r.loop->InputArrived();
        EXPECT_EQ(r.port.input.size(), 4u) << "left for the tick";
        r.Tick();
        r.Tick();
        r.Tick();
        EXPECT_TRUE(r.log.lines.empty());
        r.Tick();
        EXPECT_EQ(r.log.lines, std::vector<std::string>{"12.5"}) << structure;
    }
    // Suspended, or inside a tick that waits in a delivery: left in the port.
    Rig r;
    r.Start();
    r.loop->ToggleSuspend();
    r.port.Feed("1\r");
    r.loop->InputArrived();
    EXPECT_TRUE(r.log.lines.empty());
    r.loop->ToggleSuspend();
    r.state.InTick = true;
    EXPECT_FALSE(r.loop->ReadsOnArrival());
    r.loop->InputArrived();
    EXPECT_TRUE(r.log.lines.empty());
    r.state.InTick = false;
    r.loop->InputArrived();
    EXPECT_EQ(r.log.lines, std::vector<std::string>{"1\r"});
}
