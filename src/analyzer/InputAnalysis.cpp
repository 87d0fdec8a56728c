#include "analyzer/InputAnalysis.h"

#include <algorithm>
#include <array>

namespace analyzer {

namespace {

// A number as the descriptions write it: a blank before a non-negative one.
std::string SignSpaced(long n) {
    return (n >= 0 ? " " : "") + std::to_string(n);
}

constexpr int MaxCount = 32767;

} // namespace

std::string ShownInput(std::uint8_t b, bool preInputTable, const config::Config& cfg) {
    if (!preInputTable)
        return std::string(1, static_cast<char>(b == 0 ? 255 : b));
    const std::string& entry = cfg.PreInputTranslation[b];
    if (entry == "Ignore")
        return "";
    if (entry == "Void Record")
        return std::string(1, static_cast<char>(b));
    if (entry == std::string(1, '\0'))
        return std::string(1, static_cast<char>(255));
    return entry;
}

AnalysisStatus AnalyzeInput(std::string_view text, InputAnalysis& analysis) {
    if (text.empty())
        return AnalysisStatus::Empty;
    // Only the text before the first carriage return counts; a space counts
    // once however many there are, so space-delimited data is always
    // proposed as two fields.
    const std::size_t cr = text.find('\r');
    const bool endsInCr = cr != std::string_view::npos;
    const std::size_t length = endsInCr ? cr + 1 : text.size();
    long commas = 0, tabs = 0, asterisks = 0;
    bool spaceSeen = false;
    for (char c : text.substr(0, endsInCr ? cr : text.size())) {
        switch (c) {
        case '\t':
            ++tabs;
            break;
        case ',':
            ++commas;
            break;
        case '*':
            ++asterisks;
            break;
        case ' ':
            spaceSeen = true;
            break;
        default:
            break;
        }
    }
    if (std::max({commas, tabs, asterisks}) > MaxCount)
        return AnalysisStatus::Overflow;
    const long spaces = spaceSeen ? 1 : 0;

    // The first delimiter found, by priority.
    struct Delimiter {
        long count;
        char c;
        const char* name;
    };
    const std::array<Delimiter, 4> delimiters = {{
        {commas, ',', "Comma"}, {spaces, ' ', "Space"}, {tabs, '\t', "Tab"}, {asterisks, '*', "Asterisk"}}};
    const auto found = std::find_if(delimiters.begin(), delimiters.end(),
                                    [](const Delimiter& d) { return d.count != 0; });
    long fields = found == delimiters.end() ? 1 : found->count + 1;

    InputAnalysis a;
    a.recordLength = static_cast<long>(length);
    a.delimiter = found == delimiters.end() ? 0 : found->c;
    if (endsInCr && fields > 1) {
        a.proposal = Proposal::Delimited;
    } else if (endsInCr) {
        a.proposal = Proposal::SingleFieldEndedByCr;
    } else if (fields > 1) {
        // Each delimiter becomes a one-byte field between two data fields.
        a.proposal = Proposal::FixedLength;
        fields = 2 * fields - 1;
    } else {
        a.proposal = Proposal::SingleFieldEndedByPause;
    }
    a.numFields = static_cast<int>(std::min<long>(fields, config::MaxFields));

    switch (a.proposal) {
    case Proposal::SingleFieldEndedByCr:
        a.description = "Single Field Records with Cr or CrLf at end of record.";
        break;
    case Proposal::SingleFieldEndedByPause:
        a.description = "Single Field Records with time delay between records.";
        break;
    case Proposal::Delimited:
        a.description = std::string(found->name) + " delimited records with " +
                        SignSpaced(a.numFields) + " fields and Cr or CrLf at end of record.";
        break;
    case Proposal::FixedLength:
        a.description = SignSpaced(a.recordLength) + " byte fixed length records with " +
                        SignSpaced(a.numFields) + " field(s).";
        break;
    }
    analysis = std::move(a);
    return AnalysisStatus::Proposed;
}

std::string AnalysisQuestion(const InputAnalysis& analysis) {
    return analysis.description + "\r\rConfigure Corvane Using these Settings?";
}

bool ApplyAnalysis(const InputAnalysis& analysis, config::Config& cfg) {
    if (analysis.recordLength > MaxCount)
        return false;
    switch (analysis.proposal) {
    case Proposal::SingleFieldEndedByCr:
        cfg.EndOfRecordEvent = 0;
        cfg.RecordStructure = 0;
        break;
    case Proposal::SingleFieldEndedByPause:
        cfg.EndOfRecordEvent = 1;
        cfg.RecordStructure = 0;
        break;
    case Proposal::Delimited:
        cfg.EndOfRecordEvent = 0;
        cfg.RecordStructure = 1;
        cfg.DelimiterChar = std::string(1, analysis.delimiter);
        break;
    case Proposal::FixedLength:
        cfg.EndOfRecordEvent = 2;
        cfg.RecordStructure = 2;
        break;
    }
    cfg.NumFields = static_cast<config::Integer>(analysis.numFields);
    cfg.RecordLength = static_cast<config::Integer>(analysis.recordLength);
    cfg.ConfigChanged = config::True;
    return true;
}

} // namespace analyzer
