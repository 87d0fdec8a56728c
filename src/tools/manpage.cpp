// Writes the manual page: the template with @VERSION@ and @COMMANDS@ filled
// in from the command line's own help, so that the page and `--help` agree.
//
//     corvane_manpage TEMPLATE OUTPUT VERSION

#include "app/Help.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

void ReplaceAll(std::string& text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "Usage: corvane_manpage TEMPLATE OUTPUT VERSION\n";
        return 2;
    }
    std::ifstream in(argv[1]);
    std::ostringstream page;
    page << in.rdbuf();
    if (!in) {
        std::cerr << "corvane_manpage: cannot read " << argv[1] << '\n';
        return 1;
    }
    std::string text = page.str();
    ReplaceAll(text, "@VERSION@", argv[3]);
    std::string commands = app::ManPageCommands();
    if (!commands.empty() && commands.back() == '\n')
        commands.pop_back();
    ReplaceAll(text, "@COMMANDS@", commands);
    std::ofstream out(argv[2]);
    out << text;
    return out ? 0 : 1;
}
