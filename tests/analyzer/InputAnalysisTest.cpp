// The record structure proposed from a sample of input, and how received
// bytes are shown.

#include "analyzer/InputAnalysis.h"

#include <gtest/gtest.h>

using namespace analyzer;

namespace {

InputAnalysis Analyzed(std::string_view text) {
    InputAnalysis a;
    EXPECT_EQ(AnalyzeInput(text, a), AnalysisStatus::Proposed) << text;
    return a;
}

} // namespace

TEST(InputAnalysis, DescribesEachKindOfRecord) {
    struct Case {
        std::string text;
        Proposal proposal;
        int fields, length;
        char delimiter;
        const char* description;
    };
    const Case cases[] = {
        {"12.5,g,ST\r\n", Proposal::Delimited, 3, 10, ',',
         "Comma delimited records with  3 fields and Cr or CrLf at end of record."},
        // A space counts once, however many there are.
        {"A B C D\r", Proposal::Delimited, 2, 8, ' ',
         "Space delimited records with  2 fields and Cr or CrLf at end of record."},
        // Commas before tabs, whatever their numbers.
        {"1,2\t3\t4\r", Proposal::Delimited, 2, 8, ',',
         "Comma delimited records with  2 fields and Cr or CrLf at end of record."},
        {"1\t2\t3\r", Proposal::Delimited, 3, 6, '\t',
         "Tab delimited records with  3 fields and Cr or CrLf at end of record."},
        {"1*2\r", Proposal::Delimited, 2, 4, '*',
         "Asterisk delimited records with  2 fields and Cr or CrLf at end of record."},
        {"123,456,7890", Proposal::FixedLength, 5, 12, ',',
         " 12 byte fixed length records with  5 field(s)."},
        {"  12.345 g\r\n", Proposal::Delimited, 2, 11, ' ',
         "Space delimited records with  2 fields and Cr or CrLf at end of record."},
        {"12345\r", Proposal::SingleFieldEndedByCr, 1, 6, 0,
         "Single Field Records with Cr or CrLf at end of record."},
        {"\r1,2,3\r", Proposal::SingleFieldEndedByCr, 1, 1, 0,
         "Single Field Records with Cr or CrLf at end of record."},
        {"0012345\n0012346\n", Proposal::SingleFieldEndedByPause, 1, 16, 0,
         "Single Field Records with time delay between records."},
    };
    for (const Case& c : cases) {
        const InputAnalysis a = Analyzed(c.text);
        EXPECT_EQ(a.proposal, c.proposal) << c.text;
        EXPECT_EQ(a.numFields, c.fields) << c.text;
        EXPECT_EQ(a.recordLength, c.length) << c.text;
        EXPECT_EQ(a.delimiter, c.delimiter) << c.text;
        EXPECT_EQ(a.description, c.description) << c.text;
    }
}

TEST(InputAnalysis, OnlyTheFirstRecordCountsAndFieldsStopAtForty) {
    EXPECT_EQ(Analyzed("1\r2,3,4\t5 6*7").description,
              Analyzed("1\rwhatever follows").description);
    EXPECT_EQ(Analyzed(std::string(45, ',') + "\r").numFields, 40);
    EXPECT_EQ(Analyzed(std::string(39, ',') + "\r").numFields, 40);
    EXPECT_EQ(Analyzed(std::string(38, ',') + "\r").numFields, 39);
    // Without a carriage return every delimiter is a field of its own.
    EXPECT_EQ(Analyzed("a,b").numFields, 3);
    EXPECT_EQ(Analyzed("a,b,c,d,e,f,g,h,i,j,k,l,m,n,o,p,q,r,s,t,u").numFields, 40);
}

TEST(InputAnalysis, EmptyInputAndCountsBeyondSixteenBitsProposeNothing) {
    InputAnalysis a;
    a.description = "untouched";
    EXPECT_EQ(AnalyzeInput("", a), AnalysisStatus::Empty);
    EXPECT_EQ(AnalyzeInput(std::string(32768, ',') + "\r", a), AnalysisStatus::Overflow);
    EXPECT_EQ(AnalyzeInput(std::string(32768, '\t'), a), AnalysisStatus::Overflow);
    EXPECT_EQ(a.description, "untouched");
    EXPECT_EQ(AnalyzeInput(std::string(32767, '*') + "\r", a), AnalysisStatus::Proposed);
    EXPECT_EQ(a.numFields, 40);

    // A record longer than the setting holds is described, but not applied.
    config::Config cfg;
    EXPECT_EQ(AnalyzeInput(std::string(40000, ' '), a), AnalysisStatus::Proposed);
    EXPECT_EQ(a.description, " 40000 byte fixed length records with  3 field(s).");
    EXPECT_FALSE(ApplyAnalysis(a, cfg));
    EXPECT_EQ(cfg.EndOfRecordEvent, 0);
    EXPECT_FALSE(cfg.ConfigChanged);
    ASSERT_EQ(AnalyzeInput(std::string(32766, 'x') + "\r", a), AnalysisStatus::Proposed);
    EXPECT_TRUE(ApplyAnalysis(a, cfg));
    EXPECT_EQ(cfg.RecordLength, 32767);
}

TEST(InputAnalysis, TheProposalIsWrittenIntoTheConfiguration) {
    struct Case {
        std::string text;
        int endEvent, structure, fields, length;
        std::string delimiter;
    };
    const Case cases[] = {
        {"12.5,g,ST\r", 0, 1, 3, 10, ","},
        {"1\t2\r", 0, 1, 2, 4, "\t"},
        {"12345\r", 0, 0, 1, 6, "#"},
        {"12345", 1, 0, 1, 5, "#"},
        {"123,456,7890", 2, 2, 5, 12, "#"},
    };
    for (const Case& c : cases) {
        config::Config cfg;
        cfg.DelimiterChar = "#"; // kept unless the records are delimited
        cfg.FieldLength[1] = 7;  // fixed-length widths are the user's to set
        EXPECT_TRUE(ApplyAnalysis(Analyzed(c.text), cfg));
        EXPECT_EQ(cfg.EndOfRecordEvent, c.endEvent) << c.text;
        EXPECT_EQ(cfg.RecordStructure, c.structure) << c.text;
        EXPECT_EQ(cfg.NumFields, c.fields) << c.text;
        EXPECT_EQ(cfg.RecordLength, c.length) << c.text;
        EXPECT_EQ(cfg.DelimiterChar, c.delimiter) << c.text;
        EXPECT_EQ(cfg.FieldLength[1], 7);
        EXPECT_TRUE(cfg.ConfigChanged);
    }
    EXPECT_EQ(AnalysisQuestion(Analyzed("12345\r")),
              "Single Field Records with Cr or CrLf at end of record.\r\rConfigure Corvane Using "
              "these Settings?");
}

TEST(InputDisplay, ShowsBytesWithOrWithoutThePreInputTable) {
    config::Config cfg;
    cfg.PreInputTranslation['a'] = "Ignore";
    cfg.PreInputTranslation['b'] = "Void Record";
    cfg.PreInputTranslation['c'] = std::string(1, '\0');
    cfg.PreInputTranslation['d'] = "XY";
    cfg.PreInputTranslation[0] = "Z";
    const std::string nul255(1, static_cast<char>(255));
    EXPECT_EQ(ShownInput('a', true, cfg), "");
    EXPECT_EQ(ShownInput('b', true, cfg), "b");
    EXPECT_EQ(ShownInput('c', true, cfg), nul255);
    EXPECT_EQ(ShownInput('d', true, cfg), "XY");
    EXPECT_EQ(ShownInput(0, true, cfg), "Z");
    EXPECT_EQ(ShownInput('\r', true, cfg), "\r");
    // Without the table every byte is itself; 0 shows as 255.
    EXPECT_EQ(ShownInput('a', false, cfg), "a");
    EXPECT_EQ(ShownInput(0, false, cfg), nul255);
    EXPECT_EQ(ShownInput(200, false, cfg), std::string(1, static_cast<char>(200)));
}
