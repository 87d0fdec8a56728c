// corvane: the program entry and its command line.

#include "app/Commands.h"

#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

namespace app {

void ReportMessage(const std::string& title, const std::string& text) {
    if (title.empty())
        std::cerr << text << '\n';
    else
        std::cerr << title << ": " << text << '\n';
}

} // namespace app

namespace {

constexpr const char* Usage =
    R"(Usage:
  corvane run [--virtual|--test] [--headless] [--port PATH] FILE
                                      activate FILE at once; --test opens the Port Test
                                      window on its port instead (an analysis accepted
                                      there is written into FILE)
  corvane config new FILE             write a fresh default configuration
  corvane config dump FILE            print every setting of FILE as JSON
  corvane config build JSON FILE      write FILE from JSON (missing settings keep defaults)
  corvane eval EXPR [--field N=TEXT]... [--format FMT]
                                      evaluate a math expression as field processing would
  corvane format VALUE FMT            apply a display format
  corvane format --datetime YYYY-MM-DDTHH:MM:SS FMT
                                      apply a display format to a date and time
  corvane expand TEXT [--now YYYY-MM-DDTHH:MM:SS]
                                      expand the date/time tokens of a macro
  corvane keys [--dry-run] [--window TITLE] STRING
                                      parse (and type) a keystroke string
  corvane dde execute APP TOPIC COMMAND
                                      send a command to a DDE server on the session bus
  corvane dde request APP TOPIC ITEM  print an item's text
  corvane dde poke APP TOPIC ITEM TEXT
                                      set an item's text
  corvane dde watch APP TOPIC ITEM    print the item's text, then each new one, until
                                      interrupted
                                      (a runtime on COM1 is APP Corvane, TOPIC COM1; any
                                      D-Bus tool works too, for example
                                      gdbus call --session --dest org.corvane.Corvane.COM1
                                        --object-path /org/corvane/Dde
                                        --method org.corvane.Dde1.Execute '{BEEP}')
  corvane analyze --port PATH [--seconds N] [--apply FILE]
                                      listen N seconds (5) and propose a record structure;
                                      --apply writes it into FILE (created if missing)
  corvane ports                       list the serial devices present and the COM name
                                      that opens each
  corvane ports map COMn DEVICE       make COMn open DEVICE (a /dev/serial/by-id name
                                      stays right when the adapter moves to another socket)
  corvane --help | --version
)";

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(Usage, stderr);
        return 2;
    }
    std::string command = argv[1];
    app::Args rest(argv + 2, argv + argc);
    if (command == "--help" || command == "-h" || command == "help") {
        std::fputs(Usage, stdout);
        return 0;
    }
    if (command == "--version") {
        std::printf("corvane %s\n", CORVANE_VERSION);
        return 0;
    }
    // Sub-command table: the first matching name runs.
    if (command == "keys")
        return app::CmdKeys(rest);
    if (command == "run")
        return app::CmdRun(argc, argv, rest);
    if (command == "format")
        return app::CmdFormat(rest);
    if (command == "expand")
        return app::CmdExpand(rest);
    if (command == "eval")
        return app::CmdEval(rest);
    if (command == "config")
        return app::CmdConfig(rest);
    if (command == "dde")
        return app::CmdDde(argc, argv, rest);
    if (command == "analyze")
        return app::CmdAnalyze(rest);
    if (command == "ports")
        return app::CmdPorts(rest);
    std::fprintf(stderr, "corvane: unknown command \"%s\"\n%s", command.c_str(), Usage);
    return 2;
}
