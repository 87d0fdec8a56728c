// Writes seed inputs for the configuration file fuzzer from JSON
// configurations (the examples): each configuration saved in the current
// layout, once as the current layout and once under each older banner, in
// the fuzzer's input form (a byte that picks the banner, then the body).
//
// Usage: corvane_fuzz_seeds OUTPUT_DIR JSON_FILE...

#include "app/ConfigJson.h"
#include "config/ConfigFile.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: corvane_fuzz_seeds OUTPUT_DIR JSON_FILE...\n";
        return 2;
    }
    const std::filesystem::path out = argv[1];
    std::filesystem::create_directories(out);
    for (int i = 2; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        config::Config cfg;
        nlohmann::json json = nlohmann::json::parse(text.str(), nullptr, false);
        if (json.is_discarded() || !app::ApplyJson(cfg, json).empty()) {
            std::cerr << argv[i] << ": not a configuration\n";
            return 1;
        }
        std::string file = config::SerializeConfig(cfg);
        const std::string body = file.substr(file.find("\r\n") + 2);
        const std::string stem = std::filesystem::path(argv[i]).stem().string();
        for (char layout = 0; layout < 4; ++layout) {
            std::ofstream seed(out / (stem + "-layout" + std::to_string(layout)), std::ios::binary);
            seed << layout << body;
        }
    }
    return 0;
}
