#include "app/Help.h"

#include <cctype>
#include <iostream>
#include <sstream>

namespace app {

namespace {

constexpr std::string_view KeyboardOptionText =
    "the keystroke backend: auto (the session's own: x11 on X11, wlroots on sway, Hyprland, "
    "labwc, river and Wayfire), x11 (XTest; on Wayland it reaches only X11 programs under "
    "XWayland) or wlroots; without it, the one chosen in Preferences";

} // namespace

const std::vector<CommandHelp>& Commands() {
    static const std::vector<CommandHelp> commands = {
        {"run",
         {"run [--virtual|--test] [--headless] [--trend] [--port PATH] FILE",
          "run [OPTIONS] --mqtt URL [--mqtt-commands] [--mqtt-qos N] FILE"},
         "activate the configuration FILE at once",
         {"Opens the port of the configuration FILE (a .QX3 file) and runs it: records are "
          "framed, their fields processed and each record delivered as the configuration says "
          "(typed as keystrokes, served over D-Bus, or appended to the log file). The D-Bus "
          "server runs whenever there is a session bus, and the configuration's hot keys are "
          "active whenever there is an X display. SIGINT and SIGTERM close the runtime in order: "
          "the settings are saved, the lines are lowered and the port is closed.",
          "Without --headless the runtime window shows every field, the record number (type a "
          "number there to set the counter) and the date and time, with a button per output "
          "string, DTR~ and BREAK, and menus to suspend and resume input, switch timed output, "
          "reset, copy items as DDE links and exit; messages come as message boxes. Closing the "
          "window closes the runtime.",
          "With a broker (--mqtt, or the configuration's network settings in FILE's .mqtt.ini "
          "beside it, as balance.mqtt.ini for balance.QX3) every delivered record is also "
          "published as JSON to PREFIX/TOPIC/record, TOPIC being the DDE topic (COM1), and "
          "PREFIX/TOPIC/status says online or offline. Records the broker has not taken wait in "
          "order in a queue under $XDG_STATE_HOME/corvane/queue (~/.local/state/corvane/queue) "
          "and are published when it is back, also after a restart. The password may come "
          "from the URL, --mqtt-password-file or the environment variable "
          "CORVANE_MQTT_PASSWORD."},
         {{"--headless", "run without windows; messages go to standard error"},
          {"--virtual",
           "use the virtual serial device instead of the port: in the window, the lines you send "
           "from the Virtual Serial Device window (Enter adds a carriage return) are the "
           "instrument's input and what is sent to the instrument is shown there; with "
           "--headless the instrument's bytes are read from standard input and what is sent to "
           "the instrument is written to standard output, and at the end of input the pending "
           "records are finished and the program exits"},
          {"--test",
           "open the Port Test window on the configuration's port instead of running it: see "
           "every character as it arrives, send characters, pulse DTR, send a BREAK, and "
           "analyse the input; an accepted analysis is written into FILE"},
          {"--trend",
           "open the trend window beside the runtime window at the start (View > Trend opens "
           "it later): every field that reads as a number plotted live against time, with its "
           "count, last value, minimum, maximum, mean, standard deviation and rate of change"},
          {"--port PATH",
           "open PATH (/dev/ttyUSB0, a /dev/serial/by-id name, a pseudo-terminal) instead of "
           "the device the configuration's COM name is mapped to"},
          {"--mqtt URL",
           "publish every record to the MQTT broker mqtt://[USER[:PASSWORD]@]HOST[:PORT][/PREFIX] "
           "(mqtts:// for TLS; PREFIX is corvane when not given)"},
          {"--mqtt-commands",
           "run the commands published on PREFIX/TOPIC/execute, as D-Bus Execute does, and "
           "publish each outcome on PREFIX/TOPIC/execute/result; needs a user name and password "
           "or a client certificate"},
          {"--mqtt-qos N", "the quality of service of the records: 0, 1 (the default) or 2"},
          {"--mqtt-ca FILE",
           "the CA certificate that signed the broker's (PEM); without it, the system's trust "
           "store"},
          {"--mqtt-cert FILE", "a client certificate (PEM) to authenticate with, with --mqtt-key"},
          {"--mqtt-key FILE", "the key of the client certificate (PEM, not encrypted)"},
          {"--mqtt-password-file FILE", "read the broker password from the first line of FILE"},
          {"--mqtt-folder DIR",
           "the only folder whose files commands from the network may name ({SENDFILE(}, "
           "{CONFIG(}); without it they may name none"},
          {"--keyboard NAME", KeyboardOptionText}}},
        {"config",
         {"config new FILE", "config dump FILE", "config build JSON FILE"},
         "write, print or build configuration files",
         {"new writes a configuration with every setting at its default. dump prints every "
          "setting of FILE as one JSON object whose keys are the setting names; arrays keep "
          "their full index ranges. build writes FILE from such a JSON object; settings it "
          "leaves out keep their defaults, and a value outside its setting's range, a number "
          "beyond its type or a line break in a one-line setting is refused with a message "
          "that names the setting.",
          "Strings in JSON map byte n to code point n (Latin-1)."},
         {}},
        {"eval",
         {"eval EXPR [--field N=TEXT]... [--format FMT]"},
         "evaluate a math expression as field processing would",
         {"Evaluates EXPR with field(N) holding TEXT for each --field given (fields not given "
          "are empty) and prints the result, formatted with FMT when --format is given. When "
          "the expression cannot be evaluated the exit status is 1."},
         {{"--field N=TEXT", "the value of field N (1 to 40); may be repeated"},
          {"--format FMT", "a display format such as 0.00, #,##0.0 or Scientific"}}},
        {"format",
         {"format VALUE FMT", "format --datetime YYYY-MM-DDTHH:MM:SS FMT"},
         "apply a display format to a value or a date and time",
         {"Prints VALUE (a number or text) formatted with the display format FMT, as a field "
          "format would show it; with --datetime, the date and time given formatted with FMT "
          "(yyyy-mm-dd hh:nn:ss, Long Date, ...)."},
         {}},
        {"expand",
         {"expand TEXT [--now YYYY-MM-DDTHH:MM:SS]"},
         "expand the date/time tokens of a preamble or postamble",
         {"Prints TEXT with its date/time tokens ({YEAR}, {MONTH}, {HOUR}, ...) replaced by the "
          "current local time, or by the time given with --now."},
         {{"--now YYYY-MM-DDTHH:MM:SS", "the time to expand the tokens with"}}},
        {"keys",
         {"keys [--dry-run] [--window TITLE] [--delay MS] STRING"},
         "parse and type a keystroke string",
         {"Types STRING, written in the keystroke notation of the configurations (Total{TAB 2}"
          "+(abc)~), into the window that has the focus: through XTest on the current keyboard "
          "layout on X11, through a virtual keyboard with a keymap of Corvane's own on Wayland "
          "compositors built on wlroots. The exit status is the parser's code: 0 when STRING "
          "parses, 1 to 5 when it "
          "does not (then nothing is typed); 1 also when the display cannot be opened or the "
          "window is not found."},
         {{"--dry-run", "type nothing; print each key event (down VK or up VK) instead"},
          {"--window TITLE",
           "first bring the window whose title contains TITLE (any case) to the front, and "
           "wait until it has the focus"},
          {"--delay MS", "pause MS milliseconds after every key event"},
          {"--keyboard NAME", KeyboardOptionText}}},
        {"dde",
         {"dde execute APP TOPIC COMMAND", "dde request APP TOPIC ITEM",
          "dde poke APP TOPIC ITEM TEXT", "dde watch APP TOPIC ITEM"},
         "talk to a Corvane runtime (or any DDE server) on the D-Bus session bus",
         {"execute sends COMMAND (such as {BEEP}, {PUSH(Tare)} or {APPEXIT}) to the server of "
          "APP and TOPIC; request prints an item's text; poke sets it; watch prints the item's "
          "text, then each new one, until interrupted. A runtime on COM1 is APP Corvane, TOPIC "
          "COM1 (bus name org.corvane.Corvane.COM1, object /org/corvane/Dde, interface "
          "org.corvane.Dde1), with the items Field(1) to Field(40), RecordNumber, DateTime "
          "and CommandBuffer. Any D-Bus tool works too, for example: gdbus call --session "
          "--dest org.corvane.Corvane.COM1 --object-path /org/corvane/Dde --method "
          "org.corvane.Dde1.Execute '{BEEP}'"},
         {}},
        {"hotkey",
         {"hotkey TOPIC SLOT"},
         "press a hot key slot of a running runtime",
         {"Runs the action of hot key slot SLOT (0 to 49; the Hot Keys dialog lists slot 0 "
          "as 1 and shows the command for the slot it edits) of the running runtime whose "
          "DDE topic is TOPIC (its port name, such as COM1, unless the configuration names "
          "another), over the session bus, as if its key combination had been pressed. Where "
          "Corvane cannot take a key combination itself (a Wayland desktop, a combination "
          "another program holds), bind this command to a key in the desktop's keyboard "
          "settings. Any D-Bus tool works too: gdbus call --session --dest "
          "org.corvane.Corvane.COM1 --object-path /org/corvane/Dde --method "
          "org.corvane.Runtime1.PressHotKey 0"},
         {}},
        {"analyze",
         {"analyze --port PATH [--seconds N] [--apply FILE]"},
         "listen to a port and propose a record structure",
         {"Listens to PATH for N seconds, then proposes how its records end (carriage return, "
          "a pause, a fixed length) and how their fields are delimited. Make the instrument "
          "send a reading or two while it listens. The port is opened with the line settings "
          "of FILE when it exists, else at 9600,E,7,1."},
         {{"--port PATH", "the device to listen to"},
          {"--seconds N", "how long to listen, 1 to 3600 seconds (5 when not given)"},
          {"--apply FILE",
           "write the proposal into the configuration FILE, created with the defaults when it "
           "does not exist"}}},
        {"mqtt-check",
         {"mqtt-check URL|FILE [--mqtt-ca CA] [--mqtt-password-file FILE]",
          "mqtt-check URL|FILE --mqtt-cert CERT --mqtt-key KEY"},
         "tell whether an MQTT broker can be reached",
         {"Connects to the broker URL (mqtt:// or mqtts://, as for run --mqtt), or to the broker "
          "of the configuration FILE's network settings, and says whether it takes the "
          "connection or why not (nothing answers, the TLS handshake failed, the user name or "
          "password was refused). Exit status 0 when it does, 1 when it does not."},
         {{"--mqtt-ca CA", "the CA certificate that signed the broker's (PEM)"},
          {"--mqtt-cert CERT", "a client certificate (PEM), with --mqtt-key"},
          {"--mqtt-key KEY", "the key of the client certificate (PEM, not encrypted)"},
          {"--mqtt-password-file FILE", "read the password from the first line of FILE"}}},
        {"ports",
         {"ports", "ports map COMn DEVICE"},
         "list the serial devices present and map COM names to them",
         {"ports lists the serial devices present (/dev/serial/by-id names first, then "
          "ttyUSB, ttyACM and the ttyS ports that answer), each with the COM name that opens "
          "it. A configuration names its port COM1, COM2, ...; ports map makes COMn open "
          "DEVICE (kept in ~/.config/Corvane/Corvane.ini). A /dev/serial/by-id name stays "
          "right when the adapter moves to another socket."},
         {}},
        {"doctor",
         {"doctor"},
         "tell what this session offers and what Corvane uses",
         {"Prints one line each: the kind of session (X11, Wayland with or without XWayland), "
          "the keystroke backend Corvane uses and why, how target windows are found, the hot "
          "keys, the D-Bus session bus, and each serial device with whether you may open it. "
          "The exit status is 0 when keystrokes can be typed and the session bus answers, 1 "
          "otherwise. Paste its output into bug reports."},
         {}},
    };
    return commands;
}

const CommandHelp* FindCommand(std::string_view name) {
    for (const auto& c : Commands())
        if (c.name == name)
            return &c;
    return nullptr;
}

namespace {

// Words of text laid out from column indent to column 79.
std::string Wrap(std::string_view text, std::size_t indent, std::size_t firstColumn) {
    std::string out;
    std::size_t column = firstColumn;
    std::size_t i = 0;
    bool first = true;
    while (i < text.size()) {
        std::size_t end = text.find(' ', i);
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view word = text.substr(i, end - i);
        i = end + 1;
        if (word.empty())
            continue;
        if (!first && column + 1 + word.size() > 79) {
            out += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (!first) {
            out += ' ';
            ++column;
        } else if (column < indent) {
            out += std::string(indent - column, ' ');
            column = indent;
        }
        out += word;
        column += word.size();
        first = false;
    }
    return out + '\n';
}

// man(7) text: backslashes and hyphens escaped, no line starting with a dot
// or an apostrophe.
std::string Roff(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    if (!out.empty() && (out[0] == '.' || out[0] == '\''))
        out.insert(0, "\\&");
    return out;
}

// The summary as a sentence: capitalised, with a full stop.
std::string Sentence(std::string_view summary) {
    std::string out(summary);
    if (!out.empty())
        out[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[0])));
    return out + '.';
}

} // namespace

std::string OverviewHelp() {
    std::string out = "Usage:\n  corvane [FILE]\n"
                      "      open the setup window with FILE, or the last file used\n"
                      "  corvane COMMAND [ARGUMENTS]\n\n";
    for (const auto& c : Commands()) {
        for (auto form : c.forms)
            out += "  corvane " + std::string(form) + '\n';
        out += Wrap(c.summary, 6, 0);
    }
    out += "  corvane --help | --version\n"
           "\n"
           "corvane COMMAND --help describes a command and its options; man corvane\n"
           "describes them all. Exit status: 0 success, 1 a refused or failed operation\n"
           "(the message on standard error), 2 a usage error.\n";
    return out;
}

std::string UsageLines(const CommandHelp& command) {
    std::string out;
    for (std::size_t i = 0; i < command.forms.size(); ++i)
        out +=
            (i == 0 ? "Usage: corvane " : "       corvane ") + std::string(command.forms[i]) + '\n';
    return out;
}

int UsageError(std::string_view name) {
    if (const CommandHelp* command = FindCommand(name))
        std::cerr << UsageLines(*command) << "(corvane " << name << " --help tells more)\n";
    return 2;
}

std::string CommandHelpText(const CommandHelp& command) {
    std::string out = UsageLines(command);
    out += '\n' + Wrap(Sentence(command.summary), 0, 0);
    for (auto paragraph : command.text)
        out += '\n' + Wrap(paragraph, 0, 0);
    if (!command.options.empty()) {
        out += "\nOptions:\n";
        for (const auto& o : command.options) {
            std::string head = "  " + std::string(o.option);
            if (head.size() + 2 > 24)
                out += head + '\n' + Wrap(o.text, 24, 0);
            else
                out += head + std::string(24 - head.size(), ' ') + Wrap(o.text, 24, 24);
        }
    }
    return out;
}

std::string VersionText(std::string_view version) {
    return "corvane " + std::string(version) +
           "\n"
           "Copyright 2026 The Corvane developers\n"
           "License GPLv3+: GNU GPL version 3 or later <https://gnu.org/licenses/gpl.html>.\n"
           "This is free software: you are free to change and redistribute it.\n"
           "There is NO WARRANTY, to the extent permitted by law.\n";
}

std::string ManPageCommands() {
    std::ostringstream out;
    for (const auto& c : Commands()) {
        out << ".SS " << Roff(c.name) << "\n";
        for (auto form : c.forms)
            out << ".B corvane " << Roff(form) << "\n.br\n";
        out << ".PP\n" << Roff(Sentence(c.summary)) << "\n";
        for (auto paragraph : c.text)
            out << ".PP\n" << Roff(paragraph) << "\n";
        for (const auto& o : c.options)
            out << ".TP\n.B " << Roff(o.option) << "\n" << Roff(o.text) << "\n";
    }
    return out.str();
}

} // namespace app
