#include "engine/FieldProcessing.h"
#include "output/RecordDispatch.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageSink.h"

#include <gtest/gtest.h>

using namespace engine;

namespace {

std::string Filtered(char letter, const std::string& input, const Locale& locale = Locale{},
                     config::Integer mode = config::LogToDisk) {
    config::Config cfg;
    cfg.TransferMode = mode;
    cfg.FieldFilter[1] = std::string(1, letter);
    RuntimeState state;
    for (int i = 0; i < 256; ++i)
        state.OutputTranslation[static_cast<std::size_t>(i)] = std::string(1, static_cast<char>(i));
    state.OutputTranslation[13] = std::string(1, '\0');
    FieldProcessor fields(locale);
    fields.Activate(cfg, state);
    for (unsigned char c : input)
        fields.AppendFiltered(1, c, state);
    return state.FieldValue[1].ToText(locale);
}

} // namespace

TEST(FieldProcessing, InputFilters) {
    EXPECT_EQ(Filtered('N', " -12.5 kg"), "-12.5");
    Locale comma;
    comma.DecimalSeparator = ',';
    EXPECT_EQ(Filtered('N', "12.5", comma), "125");
    EXPECT_EQ(Filtered('I', "anything"), "");
    EXPECT_EQ(Filtered('B', std::string("\x01\xff\x0a\xc8", 4)), "01FF0AC8");
    // A character whose output translation is NUL is dropped at input, except
    // in Log To Disk mode.
    EXPECT_EQ(Filtered('C', "a\rb", Locale{}, config::SendKeystrokes), "ab");
    EXPECT_EQ(Filtered('C', "a\rb", Locale{}, config::LogToDisk), "a\rb");
    EXPECT_EQ(Filtered('H', "a\rb", Locale{}, config::DdeServer), "ab");
}

TEST(FieldProcessing, BaseConversionKeepsItsSixteenBitSign) {
    struct Case {
        const char* text;
        int base;
        long value;
    } cases[] = {
        {"  1A", 16, 26}, {"FFFF", 16, -1},       {"8000", 16, -32768}, {"10000", 16, 65536},
        {"xyz", 16, 0},   {"ffffffff", 16, -1},   {"7fz", 16, 127},     {"177777", 8, -1},
        {"777", 8, 511},  {"1000000", 8, 262144}, {"", 16, 0},          {"0000FFFF", 16, -1},
    };
    for (const auto& c : cases) {
        long v = 99;
        EXPECT_TRUE(ConvertBase(c.text, c.base, v)) << c.text;
        EXPECT_EQ(v, c.value) << c.text;
    }
    long v = 0;
    EXPECT_FALSE(ConvertBase("123456789", 16, v));
}

TEST(FieldProcessing, ChainRunsFieldByFieldInOrder) {
    config::Config cfg;
    cfg.NumFields = 3;
    cfg.FieldFilter[1] = "H";
    cfg.FieldExpression[2] = "field(1)+field(2)*1";
    cfg.FieldFormat[2] = "0.0";
    cfg.FieldExpression[3] = "field(2)";
    cfg.FieldExpression[1] = "field(1)*2";
    cfg.TransferMode = config::SendKeystrokes;
    RuntimeState state;
    Locale locale;
    for (int i = 0; i < 256; ++i) {
        const std::string& key = cfg.TranslationTable[static_cast<std::size_t>(i)];
        state.OutputTranslation[static_cast<std::size_t>(i)] =
            key == "NUL" ? std::string(1, '\0') : key;
    }
    state.FieldValue[1] = Value::Text("1A");
    state.FieldValue[2] = Value::Text("4");
    state.FieldValue[3] = Value::Text("x");
    FieldProcessor fields(locale);
    fields.Activate(cfg, state);
    fields.ProcessFields(state, cfg);
    // Field 1: 26 after conversion, 52 after its expression.
    EXPECT_EQ(state.FieldValue[1].ToText(locale), "52");
    // Field 2 sees field 1 already processed.
    EXPECT_EQ(state.FieldValue[2].ToText(locale), "56.0");
    // The translation runs on what the format produced: "+" becomes "{+}".
    cfg.FieldExpression[3] = "";
    cfg.FieldFormat[3] = "+0";
    state.FieldValue[3] = Value::Text("5");
    fields.ProcessFields(state, cfg);
    EXPECT_EQ(state.FieldValue[3].ToText(locale), "{+}5");
}

TEST(FieldProcessing, BooleanResultsAreDeliveredAsTrueUnlessFormatted) {
    config::Config cfg;
    cfg.NumFields = 2;
    cfg.FieldExpression[1] = "field(1) > 10";
    cfg.FieldExpression[2] = "field(2) > 10";
    cfg.FieldFormat[2] = "Yes/No";
    RuntimeState state;
    for (int i = 0; i < 256; ++i)
        state.OutputTranslation[static_cast<std::size_t>(i)] = std::string(1, static_cast<char>(i));
    state.FieldValue[1] = Value::Text("12");
    state.FieldValue[2] = Value::Text("12");
    Locale locale;
    FieldProcessor fields(locale);
    fields.Activate(cfg, state);
    fields.ProcessFields(state, cfg);
    EXPECT_EQ(state.FieldValue[1].ToText(locale), "True");
    EXPECT_EQ(state.FieldValue[2].ToText(locale), "Yes");
}

TEST(FieldProcessing, EachFieldKeepsItsOwnFormatAndAChangedFormatAppliesAtOnce) {
    config::Config cfg;
    cfg.NumFields = 3;
    cfg.FieldFormat[1] = "0.00";
    cfg.FieldFormat[2] = "Yes/No";
    cfg.FieldFormat[3] = "yyyy-mm-dd";
    RuntimeState state;
    for (int i = 0; i < 256; ++i)
        state.OutputTranslation[static_cast<std::size_t>(i)] = std::string(1, static_cast<char>(i));
    Locale locale;
    FieldProcessor fields(locale);
    fields.Activate(cfg, state);
    auto record = [&](const char* a, const char* b, const char* c) {
        state.FieldValue[1] = Value::Text(a);
        state.FieldValue[2] = Value::Text(b);
        state.FieldValue[3] = Value::Text(c);
        fields.ProcessFields(state, cfg);
        return state.FieldValue[1].ToText(locale) + " " + state.FieldValue[2].ToText(locale) + " " +
               state.FieldValue[3].ToText(locale);
    };
    EXPECT_EQ(record("1.5", "0", "45000"), "1.50 No 2023-03-15");
    EXPECT_EQ(record("2", "7", "1"), "2.00 Yes 1899-12-31");
    // A setting changed while running (no new activation) formats the next
    // record; a field that had no format gets one.
    cfg.FieldFormat[1] = "0.0%";
    cfg.FieldFormat[2] = "";
    EXPECT_EQ(record("0.25", "7", "45000"), "25.0% 7 2023-03-15");
    cfg.FieldFormat[2] = "0.000";
    EXPECT_EQ(record("0.25", "7", "x"), "25.0% 7.000 x");
}

TEST(RecordDispatch, LogPathsAndTheRecordCounter) {
    EXPECT_EQ(output::MapLogPath("C:\\Corvane.Log", "/home/ann"), "/home/ann/Corvane.Log");
    EXPECT_EQ(output::MapLogPath("D:\\data\\a.txt", "/home/ann"), "/home/ann/data/a.txt");
    EXPECT_EQ(output::MapLogPath("/var/log/x.log", "/home/ann"), "/var/log/x.log");
    EXPECT_EQ(output::MapLogPath("rel\\x.log", "/home/ann"), "rel\\x.log");

    config::Config cfg;
    RuntimeState state;
    ManualClock clock;
    config::RecordingMessageSink messages;
    Locale locale;
    output::FileLogWriter writer;
    output::RecordDispatch dispatch(cfg, state, clock, messages, locale, writer, "/tmp");
    state.RecordNumber = "letters";
    dispatch.IncreaseRecordNumber();
    EXPECT_EQ(state.RecordNumber, "1");
    state.RecordNumber = "41";
    dispatch.IncreaseRecordNumber();
    EXPECT_EQ(state.RecordNumber, "42");
    // Counting on from what the user (or another program) wrote, record after
    // record, carries included.
    const std::vector<std::pair<std::string, std::vector<std::string>>> counts = {
        {"8", {"9", "10", "11"}},
        {"-3", {"-2", "-1", "0", "1"}},
        {"0.5", {"1.5", "2.5"}},
        {"007", {"8", "9", "10"}},
        {"199", {"200", "201"}},
        {"12 g", {"13", "14"}},
        {"99999999999999", {"100000000000000", "100000000000001"}},
        {"999999999999999", {"1E+15"}},
    };
    for (const auto& [start, expected] : counts) {
        state.RecordNumber = start;
        std::vector<std::string> seen;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            dispatch.IncreaseRecordNumber();
            seen.push_back(state.RecordNumber);
        }
        EXPECT_EQ(seen, expected) << start;
    }

    cfg.TransferMode = config::SendKeystrokes;
    dispatch.BuildOutputTranslation();
    EXPECT_EQ(state.OutputTranslation[13], "{ENTER}");
    EXPECT_EQ(state.OutputTranslation[10], std::string(1, '\0'));
    cfg.TransferMode = config::DdeServer;
    dispatch.BuildOutputTranslation();
    EXPECT_EQ(state.OutputTranslation[13], std::string(1, '\0'));
    EXPECT_EQ(state.OutputTranslation[65], "A");
}

TEST(RecordDispatch, KeystrokeModeShowsCountsAndHandsTheTextToTheSender) {
    struct Recorder : output::KeystrokeDelivery {
        std::vector<std::string> texts;
        bool typed = true;
        bool DeliverRecord(const std::function<std::string()>& build) override {
            texts.push_back(build());
            return typed;
        }
    } recorder;
    config::Config cfg;
    cfg.NumFields = 2;
    cfg.RecordPreamble = "{HOUR}:{MINUTE} ";
    cfg.FieldPostamble[1] = "{TAB}";
    cfg.FieldPostamble[2] = "{ENTER}";
    RuntimeState state;
    ManualClock clock;
    config::RecordingMessageSink messages;
    Locale locale;
    output::FileLogWriter writer;
    output::RecordDispatch dispatch(cfg, state, clock, messages, locale, writer, "/tmp");
    dispatch.keystrokes = &recorder;
    state.FieldValue[1] = Value::Text("1");
    state.FieldValue[2] = Value::Text("2");
    state.FieldValue[3] = Value::Text("overflow");
    dispatch.Deliver();
    EXPECT_EQ(recorder.texts, std::vector<std::string>{"14:05 1{TAB}2{ENTER}"});
    EXPECT_EQ(state.FieldText[1], "1");
    EXPECT_EQ(state.RecordNumber, "1");
    EXPECT_EQ(state.FieldValue[3].ToText(locale), "");

    // A record the target could not take is shown but not counted.
    recorder.typed = false;
    state.FieldValue[1] = Value::Text("3");
    dispatch.Deliver();
    EXPECT_EQ(recorder.texts.size(), 2u);
    EXPECT_EQ(state.FieldText[1], "3");
    EXPECT_EQ(state.RecordNumber, "1");
}

TEST(FieldProcessing, FilterInputCharGivesWhatAppendingAdds) {
    config::Config cfg;
    cfg.TransferMode = config::LogToDisk;
    cfg.FieldFilter[1] = "B";
    cfg.FieldFilter[2] = "N";
    RuntimeState state;
    Locale locale;
    FieldProcessor fields(locale);
    fields.Activate(cfg, state);
    EXPECT_EQ(fields.FilterInputChar(1, 200), "C8");
    EXPECT_EQ(fields.FilterInputChar(2, 200), "");
    EXPECT_EQ(fields.FilterInputChar(2, '7'), "7");
    EXPECT_EQ(fields.FilterInputChar(41, '7'), "7"); // the overflow field keeps all
}
