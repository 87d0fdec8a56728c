#pragma once
// A raw pseudo-terminal for tests: the program under test opens the slave by
// name, the test writes and reads at the master end.

#include <chrono>
#include <string>

namespace testsupport {

class PseudoTerminal {
public:
    enum class Mode { Raw, Cooked }; // Cooked: the system's defaults, echo on
    explicit PseudoTerminal(Mode mode = Mode::Raw) : mode_(mode) { Open(); }
    ~PseudoTerminal() { Close(); }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // A new pair; the slave's name changes.
    void Open();
    // Closes the master end: an open slave then hangs up, as an unplugged adapter.
    void Close();
    // Writes all of text; false when the terminal took less.
    bool Write(const std::string& text) const;
    // What arrived at the master end, until want bytes or the limit.
    std::string ReadFor(std::chrono::milliseconds limit, std::size_t want) const;
    // True while the terminal is in raw mode: no line editing, no echo.
    bool IsRaw() const;

    int master() const { return master_; }
    const std::string& slaveName() const { return slaveName_; }

private:
    Mode mode_;
    int master_ = -1;
    std::string slaveName_;
};

} // namespace testsupport
