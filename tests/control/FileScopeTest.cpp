// Files named by commands, by the commands' source: the desktop's programs
// may name any file, the network only files inside its folder, resolved
// through ".." and symbolic links; and the interpreter asks the scope of
// each command's source.

#include "control/FileScope.h"
#include "control/DdeRig.h"
#include "support/ProcessRunner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;
using control::FileScope;

namespace {

// dir/allowed with a file in it and in a subfolder, dir/secret.txt beside it,
// and links inside allowed that lead in and out.
struct Folders {
    testsupport::TempDir dir;
    fs::path allowed = dir.path / "allowed";
    Folders() {
        fs::create_directories(allowed / "sub");
        std::ofstream(allowed / "tare.txt") << "T\r\n";
        std::ofstream(allowed / "sub" / "zero.txt") << "Z\r\n";
        std::ofstream(dir.path / "secret.txt") << "secret";
        fs::create_symlink(dir.path / "secret.txt", allowed / "out-link.txt");
        fs::create_symlink(allowed / "tare.txt", allowed / "in-link.txt");
        fs::create_symlink(dir.path, allowed / "up");
    }
};

} // namespace

TEST(FileScope, NetworkNamesOnlyFilesInsideItsFolderResolvedThroughDotsAndLinks) {
    Folders f;
    const FileScope scope = FileScope::Inside(f.allowed.string());
    const fs::path real = fs::canonical(f.allowed);
    const struct {
        std::string name;
        std::optional<fs::path> resolved; // nullopt: refused
    } cases[] = {
        {"tare.txt", real / "tare.txt"},                        // relative to the folder
        {(f.allowed / "tare.txt").string(), real / "tare.txt"}, // absolute inside
        {"sub/zero.txt", real / "sub" / "zero.txt"},
        {"sub/../tare.txt", real / "tare.txt"}, // ".." that stays inside
        {"in-link.txt", real / "tare.txt"},     // a link that stays inside
        {"../secret.txt", std::nullopt},
        {"sub/../../secret.txt", std::nullopt},
        {(f.dir.path / "secret.txt").string(), std::nullopt},
        {"out-link.txt", std::nullopt},  // a link out of the folder
        {"up/secret.txt", std::nullopt}, // a linked folder out of it
        {"/etc/passwd", std::nullopt},
        {".", std::nullopt}, // the folder itself is no file in it
        {"", std::nullopt},
        {(f.allowed.string() + "-evil/x"), std::nullopt}, // a name that only starts alike
    };
    for (const auto& c : cases) {
        std::string why;
        const auto resolved = scope.Resolve(c.name, why);
        if (c.resolved) {
            EXPECT_EQ(resolved, c.resolved->string()) << c.name << ": " << why;
        } else {
            EXPECT_EQ(resolved, std::nullopt) << c.name;
            EXPECT_FALSE(why.empty()) << c.name;
        }
    }
}

TEST(FileScope, WithoutAFolderTheNetworkNamesNoFileAndTheDesktopAny) {
    Folders f;
    std::string why;
    EXPECT_EQ(FileScope::Inside("").Resolve((f.allowed / "tare.txt").string(), why), std::nullopt);
    EXPECT_NE(why.find("no folder is set"), std::string::npos) << why;
    why.clear();
    EXPECT_EQ(FileScope::Inside((f.dir.path / "gone").string()).Resolve("tare.txt", why),
              std::nullopt);
    EXPECT_NE(why.find("does not exist"), std::string::npos) << why;
    // The desktop's programs: the name as it is, whatever it names.
    EXPECT_EQ(FileScope::Anywhere().Resolve("../secret.txt", why), "../secret.txt");
}

TEST(FileScope, TheInterpreterRefusesAFileOutsideTheScopeOfTheCommandsSourceWithTheReason) {
    Folders f;
    DdeRig r;
    const FileScope network = FileScope::Inside(f.allowed.string());
    EXPECT_TRUE(r.dde.ExecuteFrom("{SENDFILE(tare.txt)}", network));
    EXPECT_EQ(r.runtime.output, "T\r\n");
    EXPECT_FALSE(r.dde.ExecuteFrom("{SENDFILE(out-link.txt)}", network));
    EXPECT_NE(r.dde.RefusalReason().find("outside"), std::string::npos) << r.dde.RefusalReason();
    EXPECT_FALSE(r.dde.ExecuteFrom("{CONFIG(../secret.txt)}", network));
    EXPECT_FALSE(r.dde.ExecuteFrom("{SENDFILE(tare.txt)}", FileScope::Inside("")));
    EXPECT_EQ(r.runtime.output, "T\r\n");
    // The same file over D-Bus: any file, as before.
    EXPECT_TRUE(r.Exec("{SENDFILE(" + (f.dir.path / "secret.txt").string() + ")}"));
    EXPECT_EQ(r.runtime.output, "T\r\nsecret");
    EXPECT_TRUE(r.host.calls.empty());
}
