#pragma once
// The commands other programs send by DDE Execute ("{BEEP}", "{SEND(text)}",
// "{CONFIG(file)}", ...): exactly one per Execute, normalised, matched against
// a fixed table in a fixed order, and carried out with the operations the
// runtime window's buttons and menus use. A command that is unknown or cannot
// be carried out is refused (a negative acknowledgement) and changes nothing;
// refusal is the only report.
//
// Commands only queue output or set flags: the tick writes to the port, and
// "{APPEXIT}" only asks for the deferred exit, so that nothing tears the
// runtime down inside the caller's transaction.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "control/Clipboard.h"
#include "control/DdeItems.h"
#include "control/DdeLinks.h"
#include "control/FileScope.h"
#include "control/RuntimeControl.h"
#include "control/RuntimeHost.h"
#include "engine/Clock.h"
#include "engine/Locale.h"

#include <optional>
#include <string>
#include <string_view>

namespace control {

// The notation of serial output strings: text inside single quotes is
// literal; outside them decimal numbers are character codes (taken AND 255)
// and every other character only separates them. 'ABC'13,10 is ABC CR LF.
std::string DecodeOutputString(std::string_view text);

// The bytes in that notation, so that DecodeOutputString gives them back
// exactly: runs of printable ASCII in quotes, every other byte as its decimal
// code, codes separated by commas. A quote cannot stand inside a literal (it
// would end it), so it is written as its code 39, as are the bytes above 126.
// "AB\r\n" becomes 'AB'13,10 and "it's" becomes 'it'39's'.
std::string EncodeOutputString(std::string_view bytes);

// Blanks trimmed at both ends, upper-cased, cut after the last "}" or "]",
// and a "[" at the start or a "]" at the end made a brace.
std::string NormaliseCommand(std::string_view received);

// Everything a command reaches.
struct CommandTargets {
    config::Config& cfg;
    RuntimeControl& runtime;
    RuntimeHost& host;
    DdeItems& items;
    ClientLinks& links;
    Clipboard& clipboard;
    config::MessageSink& messages; // for the beep
    engine::Clock& clock;
    const engine::Locale& locale;
    std::string home; // where a drive-letter path such as C:\x.txt leads
};

class CommandInterpreter {
public:
    explicit CommandInterpreter(CommandTargets targets) : t_(std::move(targets)) {}

    // Carries out one command string; false when it is refused. scope says
    // which files the command may name (its source's: any for the desktop's
    // programs, only those in one folder for the network).
    bool Execute(const std::string& received, const FileScope& scope = FileScope::Anywhere());
    // Why the last command was refused, where more can be said than that
    // it was ("/dev/zero is a device: only a regular file is sent"); empty
    // otherwise.
    const std::string& RefusalReason() const { return refusal_; }

    // One parsed command: the string as received, normalised, and its argument.
    struct Call {
        const std::string& received;
        const std::string& normalised;
        std::string argument;
    };

private:
    bool Push(const Call& call);
    bool SendCode(const Call& call);
    bool SendFile(const Call& call);
    bool Config(const Call& call);
    bool CopyField(const Call& call);
    bool TimerInterval(const Call& call);
    void CopyItem(const DdeItems::Item& item);
    void RunLinkEntry(LinkKind kind, bool LinkMenu::*entry, void (ClientLinks::*action)(LinkKind));
    std::string LocalPath(const std::string& name) const;
    // The file a command names, within the scope of its source.
    std::optional<std::string> ScopedPath(const std::string& name);
    bool Refuse(std::string reason);

    CommandTargets t_;
    const FileScope* scope_ = nullptr; // while a command runs
    std::string refusal_;
    struct Entry;
    static const Entry table_[];
};

} // namespace control
