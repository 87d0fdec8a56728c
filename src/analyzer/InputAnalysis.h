#pragma once
// The port analyzer's view of the input: how a received byte is shown, and
// the record structure proposed from a sample of the instrument's output
// (records ended by a carriage return or by a pause, delimited or
// fixed-length fields), written into a configuration when the user accepts.

#include "config/Config.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace analyzer {

// What the input display shows for byte b. With the pre-input table, its
// entry: "Ignore" shows nothing, "Void Record" the byte itself, an entry
// that is the character 0 the character 255, any other entry as it stands.
// Without it the byte itself, except that 0 is shown as 255: a text box
// cannot hold the character 0.
std::string ShownInput(std::uint8_t b, bool preInputTable, const config::Config& cfg);

enum class Proposal {
    SingleFieldEndedByCr = 0,
    SingleFieldEndedByPause = 1,
    Delimited = 2,
    FixedLength = 3,
};

struct InputAnalysis {
    Proposal proposal = Proposal::SingleFieldEndedByPause;
    long recordLength = 0; // up to and with the first carriage return, else the whole text
    int numFields = 1;    // 1..MaxFields
    char delimiter = 0;   // the delimiter found (comma, space, tab or asterisk), 0 for none
    std::string description; // the one line that describes the proposal
};

enum class AnalysisStatus {
    Proposed,
    Empty,    // nothing to analyse: the user is only beeped at
    Overflow, // a count beyond the analysis's 16-bit counters (see below)
};

// The proposal for the input text, from the text before its first carriage
// return. The counters are 16-bit: more than 32767 delimiters of one kind is
// an overflow, reported with the text AnalysisOverflow.
AnalysisStatus AnalyzeInput(std::string_view text, InputAnalysis& analysis);
inline constexpr const char* AnalysisOverflow = "Overflow";

// The question that offers the proposal: its description, two carriage
// returns, and "Configure Corvane Using these Settings?". Its title:
inline constexpr const char* AnalysisTitle = "Input Analysis Best Guess";
std::string AnalysisQuestion(const InputAnalysis& analysis);

// Writes the proposal into cfg and marks it changed. The widths of
// fixed-length fields are left as they are. A record length that the 16-bit
// setting cannot hold (over 32767) is an overflow: false, nothing changed.
bool ApplyAnalysis(const InputAnalysis& analysis, config::Config& cfg);

} // namespace analyzer
