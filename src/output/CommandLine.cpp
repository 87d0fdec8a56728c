#include "output/ProgramLauncher.h"

namespace output {

std::optional<std::vector<std::string>> SplitCommandLine(std::string_view line, std::string& why) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false; // also true for a word that is only '' or ""
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            if (inWord)
                words.push_back(std::move(word));
            word.clear();
            inWord = false;
            continue;
        }
        inWord = true;
        if (c == '\\') {
            // A backslash at the very end stands for itself.
            if (i + 1 < line.size())
                ++i;
            word += line[i];
        } else if (c == '\'') {
            const std::size_t close = line.find('\'', i + 1);
            if (close == std::string_view::npos) {
                why = "The command line has a single quote that is not closed.";
                return std::nullopt;
            }
            word.append(line.substr(i + 1, close - i - 1));
            i = close;
        } else if (c == '"') {
            std::size_t j = i + 1;
            for (; j < line.size() && line[j] != '"'; ++j) {
                if (line[j] == '\\' && j + 1 < line.size() &&
                    (line[j + 1] == '"' || line[j + 1] == '\\' || line[j + 1] == '$' ||
                     line[j + 1] == '`'))
                    ++j;
                word += line[j];
            }
            if (j == line.size()) {
                why = "The command line has a double quote that is not closed.";
                return std::nullopt;
            }
            i = j;
        } else {
            word += c;
        }
    }
    if (inWord)
        words.push_back(std::move(word));
    if (words.empty()) {
        why = "The command line is empty.";
        return std::nullopt;
    }
    return words;
}

} // namespace output
