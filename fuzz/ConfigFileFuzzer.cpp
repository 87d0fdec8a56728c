// The configuration file reader on any bytes, in each of the four layouts
// (the first byte picks the banner placed before the rest). Whatever it
// reads, the result must be a record that the program can save, and a save
// must read back to the same record.

#include "FuzzSupport.h"
#include "config/ConfigFile.h"
#include "support/RecordingMessageSink.h"

#include <string>

namespace {

const char* const Banners[] = {
    "Software Vardle Version 3.00 Settings File -- Serial Instrument Data Capture.",
    "Software Vardle Version 2.00 Settings File -- Serial Instrument Data Capture.",
    "Software Vardle Version 1.1 Settings File -- Serial Instrument Data Capture.",
    "Software Vardle Settings File -- Serial Instrument Data Capture",
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::MemoryFile file;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    // 0..3: that banner then the rest; anything else: the bytes as they are.
    if (!bytes.empty()) {
        unsigned pick = static_cast<unsigned char>(bytes[0]);
        bytes.erase(0, 1);
        if (pick < 4)
            bytes = std::string(Banners[pick]) + "\r\n" + bytes;
    }
    file.Write(bytes);

    config::RecordingMessageSink messages;
    config::CheckConfigFile(file.path(), messages);
    config::Config cfg;
    config::LoadStatus status = config::LoadConfigFile(cfg, file.path(), messages, size % 2 == 0);
    fuzz::Require(status != config::LoadStatus::NotOpened, "the in-memory file opens");

    // What was read saves, and reads back unchanged, unless a setting holds a
    // value a save refuses (a line break in a one-line setting, a value too
    // long for the file). A save and a second read cost many
    // times a read that ends early, so the check runs for every complete
    // file and for one in eight of the others.
    const bool check = status == config::LoadStatus::Complete || size % 8 == 0;
    std::string unkept;
    const std::string saved = check ? config::SerializeConfig(cfg, &unkept) : std::string();
    if (check && unkept.empty()) {
        file.Write(saved);
        config::Config back;
        fuzz::Require(config::LoadConfigFile(back, file.path(), messages) ==
                          config::LoadStatus::Complete,
                      "a saved configuration reads back completely");
        back.ConfigFileName = cfg.ConfigFileName;
        back.ConfigChanged = cfg.ConfigChanged;
        back.ConfigLoaded = cfg.ConfigLoaded;
        fuzz::Require(back == cfg, "a saved configuration reads back unchanged");
    }
    return 0;
}
