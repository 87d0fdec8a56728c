#include "config/Validation.h"

#include <gtest/gtest.h>

using namespace config;

TEST(Validation, RangesAreRefusedJustOutsideTheirLimits) {
    struct Case {
        Check (*check)(long);
        long lowOk, highOk;
        const char* text;
        const char* title;
    } cases[] = {
        {CheckBufferSize, 128, 131072, "Buffer Size Must Be Between 128 and 131072",
         "Invalid Input"},
        {CheckDelimitedFieldCount, 2, 40, "Number of Fields Must Be Between 2 and 40",
         "Invalid Input"},
        {CheckRecordLength, 1, 32766, "Record Length Must Be Between 1 and 32766", "Invalid Input"},
        {CheckTimeDelayTicks, 1, 255, "Time between records must range between 1 and 255",
         "Invalid Input"},
        {CheckFieldLength, 1, 32766, "Field length must be between 1 and 32766.",
         "Field Length Error"},
    };
    for (const auto& c : cases) {
        EXPECT_FALSE(c.check(c.lowOk)) << c.text;
        EXPECT_FALSE(c.check(c.highOk)) << c.text;
        for (long bad : {c.lowOk - 1, c.highOk + 1}) {
            auto r = c.check(bad);
            ASSERT_TRUE(r) << c.text << " " << bad;
            EXPECT_EQ(r->text, c.text);
            EXPECT_EQ(r->title, c.title);
            EXPECT_FALSE(r->beep);
        }
    }
    EXPECT_FALSE(CheckTimerInterval(99999999));
    ASSERT_TRUE(CheckTimerInterval(100000000));
    EXPECT_EQ(CheckTimerInterval(100000000)->text,
              "Timer interval must be less than 100000000 milliseconds.");
}

TEST(Validation, FieldLengthsMustAddUpToTheRecordLength) {
    Config c;
    c.EndOfRecordEvent = 2;
    c.RecordLength = 20;
    c.FieldLength[1] = 5;
    c.FieldLength[2] = 10;
    auto r = CheckFieldLengthSum(c);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->text,
              "Total sum of field lengths is not equal to the total record length. ( 20).");
    EXPECT_EQ(r->title, "Field Length Error");
    EXPECT_TRUE(r->beep);
    c.FieldLength[3] = 5;
    EXPECT_FALSE(CheckFieldLengthSum(c));
    c.EndOfRecordEvent = 0; // only the fixed-byte-count end checks the sum
    c.FieldLength[3] = 6;
    EXPECT_FALSE(CheckFieldLengthSum(c));
}

TEST(Validation, SpecialCharacterEventsNeedTheirCharacters) {
    auto start = CheckStartEvent(3, "");
    ASSERT_TRUE(start);
    EXPECT_EQ(start->text, "Invalid Input - Special Character Must Be Specified!");
    EXPECT_EQ(start->title, "Invalid Start of Record Event");
    EXPECT_TRUE(start->beep);
    EXPECT_EQ(CheckEndEvent(3, "")->title, "Invalid End of Record Event");
    EXPECT_FALSE(CheckStartEvent(3, "\x02"));
    EXPECT_FALSE(CheckEndEvent(0, ""));

    auto topic = CheckDdeTopic(true, "  ");
    ASSERT_TRUE(topic);
    EXPECT_EQ(topic->title, "Invalid DDE Topic");
    EXPECT_EQ(topic->text.rfind("DDE Topic value cannot be blank.", 0), 0u);
    EXPECT_FALSE(CheckDdeTopic(false, ""));
}

TEST(Validation, WholeRecordCheckFindsTheFirstRefusal) {
    Config c;
    EXPECT_FALSE(ValidateConfig(c));
    c.InputBufferSize = 127;
    EXPECT_EQ(ValidateConfig(c)->text, "Buffer Size Must Be Between 128 and 131072");
    c = Config{};
    c.RecordStructure = 1;
    c.NumFields = 41;
    EXPECT_EQ(ValidateConfig(c)->text, "Number of Fields Must Be Between 2 and 40");
}

TEST(CoupledSettings, FixedByteCountForcesFixedFieldsAndFortyOfThem) {
    Config c;
    ChooseEndOfRecordEvent(c, 2);
    EXPECT_EQ(c.RecordStructure, 2);
    EXPECT_EQ(c.NumFields, 40);
    EXPECT_EQ(c.ConfigChanged, True);

    Config same;
    ChooseEndOfRecordEvent(same, 0);
    EXPECT_EQ(same.ConfigChanged, False);

    // Chosen again once the field definitions gave the count: it stays.
    c.NumFields = 3;
    c.ConfigChanged = False;
    ChooseEndOfRecordEvent(c, 2);
    EXPECT_EQ(c.NumFields, 3);
    EXPECT_EQ(c.ConfigChanged, False);
}

TEST(CoupledSettings, LeadingFieldLengthsGiveTheFieldCount) {
    Config c;
    c.RecordStructure = 2;
    c.NumFields = 40;
    c.FieldLength[1] = 5;
    c.FieldLength[2] = 5;
    c.FieldLength[4] = 7;
    DeriveFixedFieldCount(c);
    EXPECT_EQ(c.NumFields, 2);
    for (int i = 1; i <= 40; ++i)
        c.FieldLength[i] = 1;
    c.NumFields = 17;
    DeriveFixedFieldCount(c);
    EXPECT_EQ(c.NumFields, 17);
}

TEST(CoupledSettings, TargetTextsDecideActivationOnlyWhenSomethingChanged) {
    Config c;
    EXPECT_EQ(c.ActivateTarget, True); // the default, although both texts are empty
    EXPECT_FALSE(ApplyTargetApplication(c, "", "", "1"));
    EXPECT_EQ(c.ActivateTarget, True);
    EXPECT_TRUE(ApplyTargetApplication(c, "", "", "0"));
    EXPECT_EQ(c.ActivateTarget, False);
    EXPECT_EQ(c.InterCharDelay, 0);
    EXPECT_TRUE(ApplyTargetApplication(c, "  Editor ", "", "2.6"));
    EXPECT_EQ(c.TargetAppTitle, "Editor");
    EXPECT_EQ(c.InterCharDelay, 3);
    EXPECT_EQ(c.ActivateTarget, True);
    EXPECT_EQ(c.ConfigChanged, True);
}

TEST(CoupledSettings, ButtonDisplayCombinesTheTwoBoxes) {
    EXPECT_EQ(ButtonDisplayFrom(0, 0), 0);
    EXPECT_EQ(ButtonDisplayFrom(1, 0), 1);
    EXPECT_EQ(ButtonDisplayFrom(0, 1), 2);
    EXPECT_EQ(ButtonDisplayFrom(1, 1), 3);
}

TEST(Defaults, AFreshConfigurationIsCom1At9600E71InKeystrokeMode) {
    Config c;
    EXPECT_EQ(PortName(c), "COM1");
    EXPECT_EQ(c.BaudRate, 6);
    EXPECT_EQ(c.Parity, 2);
    EXPECT_EQ(c.DataBits + 5, 7);
    EXPECT_EQ(c.InputBufferSize, 1024);
    EXPECT_EQ(c.OutputBufferSize, 512);
    EXPECT_EQ(c.TransferMode, SendKeystrokes);
    EXPECT_EQ(c.DdeTranslation[13], '\0');
    EXPECT_EQ(c.DdeTranslation[65], 'A');
    EXPECT_EQ(c.TranslationTable[9], "{TAB}");
    EXPECT_EQ(c.TranslationTable[10], "NUL");
    EXPECT_EQ(c.TranslationTable[160], " ");
    EXPECT_EQ(c.TranslationTable[200], "\xc8");
    EXPECT_EQ(c.OutputStringName[1], "String1");
    EXPECT_EQ(c.FieldFilter[40], "C");

    c.TransferMode = LogToDisk;
    c.ConfigFileName = "/x.QX3";
    c.ConfigLoaded = True;
    ResetToDefaults(c);
    EXPECT_EQ(c.TransferMode, SendKeystrokes);
    EXPECT_EQ(c.ConfigFileName, "/x.QX3");
    EXPECT_EQ(c.ConfigLoaded, False);
}

TEST(Defaults, RecordModeFollowsTheEndEventAndStructure) {
    const int expected[4][3] = {{0, 2, 6}, {1, 4, 5}, {3, 3, 3}, {0, 2, 6}};
    for (int e = 0; e < 4; ++e)
        for (int s = 0; s < 3; ++s)
            EXPECT_EQ(DeriveRecordMode(static_cast<Integer>(e), static_cast<Integer>(s)),
                      expected[e][s]);
    Config c;
    c.EndOfRecordEvent = 3;
    c.EndOfRecordChars = "\x03;";
    EXPECT_EQ(DeriveEndChars(c), "\x03;");
    c.EndOfRecordEvent = 0;
    EXPECT_EQ(DeriveEndChars(c), "\r");
}
