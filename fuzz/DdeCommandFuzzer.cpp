// The DDE command interpreter on recording fakes: the input is split at NUL
// bytes into a few commands carried out one after the other (so that a
// command meets the state earlier ones left), then a poke to the command
// buffer and a request for every item.

#include "FuzzSupport.h"
#include "control/DdeRig.h"

#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    DdeRig rig;
    std::string last;
    for (int n = 0; n < 8 && !rest.empty(); ++n) {
        const std::size_t end = rest.find('\0');
        last = std::string(rest.substr(0, end));
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        rig.Exec(last);
    }
    rig.dde.Poke("CommandBuffer", last);
    for (const char* item : {"CommandBuffer", "RecordNumber", "Field(1)", "Field(41)", "DateTime"})
        rig.dde.Request(item);
    return 0;
}
