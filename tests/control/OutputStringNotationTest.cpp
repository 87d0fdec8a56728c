// The output string notation written by EncodeOutputString and read back by
// DecodeOutputString: every byte string survives the round trip, and the
// notation itself is plain printable ASCII that a text box can show.

#include "control/CommandInterpreter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using control::DecodeOutputString;
using control::EncodeOutputString;

namespace {

// Printable ASCII only: what the setup dialogs show must be typeable.
bool PrintableAscii(const std::string& text) {
    for (char c : text)
        if (static_cast<unsigned char>(c) < 32 || static_cast<unsigned char>(c) > 126)
            return false;
    return true;
}

void ExpectRoundTrip(const std::string& bytes) {
    const std::string notation = EncodeOutputString(bytes);
    EXPECT_EQ(DecodeOutputString(notation), bytes) << "notation: " << notation;
    EXPECT_TRUE(PrintableAscii(notation)) << notation;
}

} // namespace

TEST(EncodeOutputString, EveryByteValueSurvivesAloneBetweenLettersAndBetweenDigits) {
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        ExpectRoundTrip(std::string(1, c));
        ExpectRoundTrip(std::string("A") + c + "B");
        ExpectRoundTrip(std::string("1") + c + "2");
        ExpectRoundTrip(std::string(2, c) + "\r" + c);
    }
    std::string all;
    for (int code = 0; code < 256; ++code)
        all += static_cast<char>(code);
    ExpectRoundTrip(all);
    ExpectRoundTrip(std::string(all.rbegin(), all.rend()));
}

TEST(EncodeOutputString, AwkwardStringsReadAsAPersonWouldWriteThem) {
    const struct {
        std::string bytes;
        const char* notation;
    } cases[] = {
        {"", ""},
        {"ABC\r\n", "'ABC'13,10"},
        {"\r", "13"},
        {"'", "39"},                     // a quote ends a literal, so it is a code
        {"it's", "'it'39's'"},           // and splits the literal around it
        {"''", "39,39"},                 // two codes need a separator
        {"12\00334", "'12'3'34'"},       // digits in text stay literal next to a code
        {std::string("\0\0", 2), "0,0"}, // NUL is a code like any other
        {"a b, 7", "'a b, 7'"},          // blanks and commas inside quotes are text
        {"\xE9t\xE9", "233't'233"},      // bytes above 126 are codes
        {"\x7F", "127"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(EncodeOutputString(c.bytes), c.notation);
        EXPECT_EQ(DecodeOutputString(c.notation), c.bytes) << c.notation;
    }
}

TEST(EncodeOutputString, RandomByteStringsSurvive) {
    std::mt19937 random(20260115);
    std::uniform_int_distribution<int> length(0, 40), byte(0, 255), printable(32, 126);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes;
        const int n = length(random);
        // Half of the strings mostly printable, so that quoted runs, digits
        // and quotes meet codes at every kind of boundary.
        for (int i = 0; i < n; ++i)
            bytes += static_cast<char>(round % 2 && i % 4 ? printable(random) : byte(random));
        ExpectRoundTrip(bytes);
    }
}
