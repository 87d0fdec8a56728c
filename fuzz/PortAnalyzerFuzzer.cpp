// The port analyzer on any sample of input: the proposal, its question, and
// the configuration it writes, which must be one the setup dialogs accept.

#include "FuzzSupport.h"
#include "analyzer/InputAnalysis.h"
#include "config/Validation.h"

#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    config::Config cfg;
    for (unsigned b = 0; b < 256; b += 37)
        analyzer::ShownInput(static_cast<std::uint8_t>(b), size % 2 == 1, cfg);

    analyzer::InputAnalysis analysis;
    if (analyzer::AnalyzeInput(text, analysis) != analyzer::AnalysisStatus::Proposed)
        return 0;
    fuzz::Require(analysis.numFields >= 1 && analysis.numFields <= config::MaxFields,
                  "the proposal's field count is one the record can hold");
    analyzer::AnalysisQuestion(analysis);
    if (analyzer::ApplyAnalysis(analysis, cfg)) {
        fuzz::Require(cfg.NumFields >= 1 && cfg.NumFields <= config::MaxFields,
                      "an applied proposal keeps the field count in range");
    }
    return 0;
}
