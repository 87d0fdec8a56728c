#include "control/CommandInterpreter.h"

#include "config/ConfigFile.h"
#include "config/DataFile.h"
#include "control/DdeNames.h"
#include "engine/Format.h"
#include "engine/Value.h"
#include "output/RecordDispatch.h"
#include "output/WindowSystem.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <optional>

namespace control {

std::string DecodeOutputString(std::string_view text) {
    std::string out;
    bool quoted = false;
    bool pending = false;
    unsigned value = 0; // the pending number AND 255, kept as it grows
    auto flush = [&] {
        if (pending)
            out += static_cast<char>(value);
        pending = false;
        value = 0;
    };
    for (char c : text) {
        if (c == '\'') {
            if (!quoted)
                flush();
            quoted = !quoted; // the quote itself is never output
        } else if (quoted) {
            out += c;
        } else if (c >= '0' && c <= '9') {
            value = (value * 10 + static_cast<unsigned>(c - '0')) & 255;
            pending = true;
        } else {
            flush(); // a separator ends a number and is dropped
        }
    }
    flush();
    return out;
}

std::string EncodeOutputString(std::string_view bytes) {
    std::string text;
    bool quoted = false;
    bool afterCode = false; // the text ends in a code: another needs a separator
    for (char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        if (code >= 32 && code <= 126 && c != '\'') {
            if (!quoted)
                text += '\'';
            text += c;
            quoted = true;
            afterCode = false;
            continue;
        }
        if (quoted)
            text += '\''; // a closing quote also ends the literal before a code
        else if (afterCode)
            text += ',';
        text += std::to_string(code);
        quoted = false;
        afterCode = true;
    }
    if (quoted)
        text += '\'';
    return text;
}

std::string NormaliseCommand(std::string_view received) {
    // Only blanks are trimmed: a tab or a line end stays and is cut below
    // when it follows the last closing bracket.
    const std::size_t first = received.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return "";
    const std::size_t last = received.find_last_not_of(' ');
    std::string s = output::UpperCase(std::string(received.substr(first, last - first + 1)));
    const std::size_t close = s.find_last_of("}]");
    if (close != std::string::npos)
        s.resize(close + 1);
    // Some clients cannot send braces: brackets are accepted at the two ends.
    if (!s.empty() && s.front() == '[')
        s.front() = '{';
    if (!s.empty() && s.back() == ']')
        s.back() = '}';
    return s;
}

namespace {

// The leading-number rule, rounded to a whole number (halves to even, as
// the program always rounded); nullopt when it leaves the 32-bit range.
std::optional<std::int32_t> WholeNumber(std::string_view text) {
    const double v = std::nearbyint(engine::LeadingNumber(text, '.'));
    if (!(v >= INT32_MIN && v <= INT32_MAX))
        return std::nullopt;
    return static_cast<std::int32_t>(v);
}

} // namespace

using Call = CommandInterpreter::Call;

struct CommandInterpreter::Entry {
    std::string_view text; // the whole command, or the prefix of one with an argument
    std::size_t minLength; // 0 for a command matched whole
    enum Source { None, Received, Normalised } source;
    std::size_t tail; // characters after the argument: 2 for ")}", 1 for "}", 0 to the end
    bool (*run)(CommandInterpreter&, const Call&);
};

// Checked in this order; the first match runs. A prefixed command shorter
// than its minimum length falls through to the later rows. The minimum of
// "{TIMERSTRING=" and "{TIMERINTERVAL=" asks for two characters before the
// brace (an interval of 5 is written 05): that is the commands' syntax.
const CommandInterpreter::Entry CommandInterpreter::table_[] = {
    {"{BEEP}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.messages.Beep(0), true; }},
    {"{TIMER-OFF}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         if (c.t_.runtime.TimedOutputOn())
             c.t_.runtime.SetTimedOutput(false);
         return true;
     }},
    {"{TIMER-ON}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         if (!c.t_.runtime.TimedOutputOn())
             c.t_.runtime.SetTimedOutput(true);
         return true;
     }},
    {"{RESUME1}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.ResumeForOneRecord(), true; }},
    {"{SUSPEND}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.Suspend(), true; }},
    {"{RESUME}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.Resume(), true; }},
    // The line commands do nothing on the virtual device, without refusal.
    {"{BREAK}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.StartBreak(), true; }},
    {"{TOGGLEDTR}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.PulseDTR(), true; }},
    {"{DTR=ON}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.SetDTR(true), true; }},
    {"{DTR=OFF}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.SetDTR(false), true; }},
    {"{RTS=ON}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.SetRTS(true), true; }},
    {"{RTS=OFF}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.SetRTS(false), true; }},
    {"{RESET}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.Reset(), true; }},
    {"{CLEAR}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         const int n = std::clamp<int>(c.t_.cfg.NumFields, 1, config::MaxFields);
         for (int i = 1; i <= n; ++i)
             c.t_.items.Set({DdeItems::Item::Field, i}, "");
         return true;
     }},
    {"{APPNORMAL}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.host.ShowNormal(), true; }},
    {"{APPMINIMIZE}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.host.Minimize(), true; }},
    {"{APPEXIT}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.runtime.RequestExit(), true; }},
    {"{PASTE-COMMAND}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         return c.RunLinkEntry(LinkKind::Command, &LinkMenu::paste, &ClientLinks::Paste), true;
     }},
    {"{REFRESH-COMMAND}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         return c.RunLinkEntry(LinkKind::Command, &LinkMenu::refresh, &ClientLinks::Refresh), true;
     }},
    {"{TERMINATE-COMMAND}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         c.RunLinkEntry(LinkKind::Command, &LinkMenu::terminate, &ClientLinks::Terminate);
         return true;
     }},
    {"{PASTE-BUFFER}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         return c.RunLinkEntry(LinkKind::Buffer, &LinkMenu::paste, &ClientLinks::Paste), true;
     }},
    {"{REFRESH-BUFFER}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         return c.RunLinkEntry(LinkKind::Buffer, &LinkMenu::refresh, &ClientLinks::Refresh), true;
     }},
    {"{TERMINATE-BUFFER}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         c.RunLinkEntry(LinkKind::Buffer, &LinkMenu::terminate, &ClientLinks::Terminate);
         return true;
     }},
    {"{STRIPCRLF-ON}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) { return c.t_.cfg.StripOutputCrLf = config::True, true; }},
    {"{STRIPCRLF-OFF}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         return c.t_.cfg.StripOutputCrLf = config::False, true;
     }},
    {"{COPYDATE}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         return c.CopyItem({DdeItems::Item::DateTime}), true;
     }},
    {"{COPYRECNUM}", 0, Entry::None, 0,
     [](CommandInterpreter& c, const Call&) {
         return c.CopyItem({DdeItems::Item::RecordNumber}), true;
     }},
    {"{SEND(", 9, Entry::Received, 2,
     [](CommandInterpreter& c, const Call& call) {
         return c.t_.runtime.QueueOutput(call.argument), true;
     }},
    {"{SENDOUT(", 12, Entry::Received, 2,
     [](CommandInterpreter& c, const Call& call) {
         return c.t_.runtime.QueueOutput(DecodeOutputString(call.argument)), true;
     }},
    {"{TIMERSTRING=", 16, Entry::Received, 1,
     [](CommandInterpreter& c, const Call& call) {
         c.t_.cfg.TimerString = DecodeOutputString(call.argument);
         return true;
     }},
    {"{SENDCODE(", 13, Entry::Received, 2,
     [](CommandInterpreter& c, const Call& call) { return c.SendCode(call); }},
    {"{SENDDATE(", 13, Entry::Received, 2,
     [](CommandInterpreter& c, const Call& call) {
         c.t_.runtime.QueueOutput(
             engine::FormatDateTime(c.t_.clock.Now(), call.argument, c.t_.locale));
         return true;
     }},
    {"{SENDFILE(", 13, Entry::Received, 2,
     [](CommandInterpreter& c, const Call& call) { return c.SendFile(call); }},
    {"{PUSH(", 9, Entry::Normalised, 2,
     [](CommandInterpreter& c, const Call& call) { return c.Push(call); }},
    // The file name keeps its case, unlike the other normalised arguments:
    // file names on this system are case-sensitive.
    {"{CONFIG(", 11, Entry::Received, 2,
     [](CommandInterpreter& c, const Call& call) { return c.Config(call); }},
    {"{COPYFIELD(", 14, Entry::Normalised, 0,
     [](CommandInterpreter& c, const Call& call) { return c.CopyField(call); }},
    {"{TIMERINTERVAL=", 18, Entry::Normalised, 0,
     [](CommandInterpreter& c, const Call& call) { return c.TimerInterval(call); }},
};

bool CommandInterpreter::Refuse(std::string reason) {
    refusal_ = std::move(reason);
    return false;
}

bool CommandInterpreter::Execute(const std::string& received, const FileScope& scope) {
    refusal_.clear();
    // The scope lives as long as this call, and is only looked at in it.
    struct Forget {
        const FileScope*& scope;
        ~Forget() { scope = nullptr; }
    } forget{scope_ = &scope};
    const std::string normalised = NormaliseCommand(received);
    if (normalised.empty())
        return true;
    for (const Entry& entry : table_) {
        std::string argument;
        if (entry.minLength == 0) {
            if (normalised != entry.text)
                continue;
        } else {
            if (normalised.size() < entry.minLength ||
                normalised.compare(0, entry.text.size(), entry.text) != 0)
                continue;
            // The argument is cut at the same places whether it comes from
            // the string as received (case kept, not trimmed, so blanks
            // before the command shift it) or from the normalised one.
            const std::string& source = entry.source == Entry::Received ? received : normalised;
            argument = source.substr(entry.text.size(),
                                     normalised.size() - entry.text.size() - entry.tail);
        }
        return entry.run(*this, Call{received, normalised, std::move(argument)});
    }
    return false; // anything else, or two commands in one string
}

bool CommandInterpreter::SendCode(const Call& call) {
    const auto code = WholeNumber(call.argument);
    if (!code || *code < 0 || *code > 255)
        return false;
    t_.runtime.QueueOutput(std::string(1, static_cast<char>(*code)));
    return true;
}

bool CommandInterpreter::SendFile(const Call& call) {
    // A file that cannot be read, or a port that is not open, is a failure.
    // Only a regular file is sent: a device such as /dev/zero never ends and
    // a named pipe waits for a writer. It is read as the port takes it.
    if (!t_.runtime.PortIsOpen())
        return Refuse("the port is not open");
    const auto scoped = ScopedPath(call.argument);
    if (!scoped)
        return false;
    const std::string& path = *scoped;
    if (const std::string why = config::WhyNotARegularFile(path); !why.empty())
        return Refuse(path + " " + why + ": only a regular file is sent");
    auto file = std::make_unique<std::ifstream>(path, std::ios::binary);
    if (!*file)
        return Refuse(path + " cannot be opened");
    t_.runtime.QueueFile(std::move(file));
    return true;
}

bool CommandInterpreter::Push(const Call& call) {
    if (call.argument == "DTR~" || call.argument == "BREAK") {
        // Pressing a line button on the virtual device is refused, unlike
        // the line commands themselves.
        if (t_.runtime.IsVirtualDevice())
            return false;
        if (call.argument == "BREAK")
            t_.runtime.StartBreak();
        else
            t_.runtime.PulseDTR();
        return true;
    }
    for (int i = 1; i <= config::NumOutputStrings; ++i) {
        if (output::UpperCase(t_.cfg.OutputStringName[static_cast<std::size_t>(i)]) ==
            call.argument) {
            t_.runtime.QueueOutput(t_.cfg.OutputString[static_cast<std::size_t>(i)]);
            return true;
        }
    }
    return false;
}

bool CommandInterpreter::Config(const Call& call) {
    if (t_.runtime.IsVirtualDevice())
        return false;
    const auto scoped = ScopedPath(call.argument);
    if (!scoped)
        return false;
    const std::string& path = *scoped;
    // A command is refused without a message box: what the check would say
    // is the refusal's reason.
    config::KeptMessages unseen;
    const int portNumber = config::CheckConfigFile(path, unseen);
    if (portNumber < 0)
        return Refuse(!unseen.kept.empty() ? unseen.kept.front().text
                                           : path + " cannot be read as a configuration");
    if (portNumber != t_.cfg.PortNumber)
        return Refuse(path + " is a configuration for COM" + std::to_string(portNumber + 1) +
                      ", and this runtime reads " + config::PortName(t_.cfg));
    t_.host.ReloadConfiguration(path);
    return true;
}

bool CommandInterpreter::CopyField(const Call& call) {
    const auto field = WholeNumber(call.argument);
    if (!field || *field < 1 || *field > std::clamp<int>(t_.cfg.NumFields, 1, config::MaxFields))
        return false;
    CopyItem({DdeItems::Item::Field, *field});
    return true;
}

bool CommandInterpreter::TimerInterval(const Call& call) {
    const auto interval = WholeNumber(call.argument);
    if (!interval)
        return false;
    if (*interval > 0) {
        t_.cfg.TimerInterval = *interval;
        // The entry can be chosen once timed output has something to do: a
        // string to send, or a line action.
        if (!t_.cfg.TimerString.empty() || (t_.cfg.TimerEnabled & (4 | 8)))
            t_.runtime.SetTimedOutputAvailable(true);
    } else {
        t_.cfg.TimerInterval = 0;
        if (t_.runtime.TimedOutputOn())
            t_.runtime.SetTimedOutput(false);
        t_.runtime.SetTimedOutputAvailable(false);
    }
    return true;
}

void CommandInterpreter::CopyItem(const DdeItems::Item& item) {
    t_.clipboard.PutLink(LinkText({DdeServerApp, config::DdeTopic(t_.cfg), DdeItems::Name(item)}),
                         t_.items.Text(item));
}

void CommandInterpreter::RunLinkEntry(LinkKind kind, bool LinkMenu::*entry,
                                      void (ClientLinks::*action)(LinkKind)) {
    // As the menu would: its state is refreshed, and only an entry that can
    // be chosen does anything.
    if (t_.links.Menu(kind).*entry)
        (t_.links.*action)(kind);
}

std::string CommandInterpreter::LocalPath(const std::string& name) const {
    return output::MapLogPath(name, t_.home);
}

std::optional<std::string> CommandInterpreter::ScopedPath(const std::string& name) {
    std::string why;
    auto path = (scope_ ? *scope_ : FileScope::Anywhere()).Resolve(LocalPath(name), why);
    if (!path)
        Refuse(why);
    return path;
}

} // namespace control
