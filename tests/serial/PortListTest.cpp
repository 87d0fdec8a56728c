// Finding serial devices in a folder tree shaped like /dev and /sys, the COM
// names that open them, and the reasons a device cannot be opened.

#include "serial/PortList.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

namespace fs = std::filesystem;
using namespace serial;

namespace {

class DeviceFolders : public ::testing::Test {
protected:
    void SetUp() override {
        root = fs::temp_directory_path() /
               ("corvane-ports-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
                "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(root);
        fs::create_directories(tree.dev = root / "dev");
        tree.sys = root / "sys";
    }
    void TearDown() override { fs::remove_all(root); }

    void Node(const std::string& name) { std::ofstream(tree.dev / name) << ""; }
    void Uart(const std::string& name, int type) {
        fs::create_directories(tree.sys / "class/tty" / name);
        std::ofstream(tree.sys / "class/tty" / name / "type") << type << '\n';
    }
    void ById(const std::string& name, const std::string& target) {
        fs::create_directories(tree.dev / "serial/by-id");
        fs::create_symlink(target, tree.dev / "serial/by-id" / name);
    }
    std::vector<std::string> Paths() {
        std::vector<std::string> paths;
        for (const FoundDevice& d : FindSerialDevices(tree))
            paths.push_back(fs::path(d.path).lexically_relative(root).string() + " " +
                            fs::path(d.target).lexically_relative(root).string());
        return paths;
    }

    fs::path root;
    DeviceTree tree;
};

} // namespace

TEST_F(DeviceFolders, ByIdNamesComeFirstThenEachKindInNumberOrder) {
    for (const char* name : {"ttyUSB10", "ttyUSB11", "ttyUSB2", "ttyACM0", "ttyS0", "ttyS1", "ttyS2", "tty0",
                             "ttyUSBx", "ttyprintk"})
        Node(name);
    Uart("ttyS0", 4); // a 16550A
    Uart("ttyS1", 0); // created by the kernel, no UART behind it
    ById("usb-FTDI_FT232R_A50285BI-if00-port0", "../../ttyUSB10");
    ById("usb-gone-if00", "../../ttyUSB7"); // left behind by an unplugged adapter

    EXPECT_EQ(Paths(), (std::vector<std::string>{
                           "dev/serial/by-id/usb-FTDI_FT232R_A50285BI-if00-port0 dev/ttyUSB10",
                           "dev/ttyUSB2 dev/ttyUSB2", "dev/ttyUSB11 dev/ttyUSB11",
                           "dev/ttyACM0 dev/ttyACM0",
                           "dev/ttyS0 dev/ttyS0"}));
}

TEST_F(DeviceFolders, NoFoldersNoDevices) {
    fs::remove_all(tree.dev);
    EXPECT_TRUE(FindSerialDevices(tree).empty());
}

TEST_F(DeviceFolders, AMappingNamesTheDeviceUnderEitherOfItsNames) {
    Node("ttyUSB0");
    ById("usb-Prolific-if00", "../../ttyUSB0");
    const FoundDevice byId{(tree.dev / "serial/by-id/usb-Prolific-if00").string(),
                           (tree.dev / "ttyUSB0").string()};
    const std::vector<ComMapping> mappings = {
        {"COM3", (tree.dev / "ttyUSB0").string()},
        {"COM5", (tree.dev / "serial/by-id/usb-Prolific-if00").string()},
        {"COM6", (tree.dev / "ttyUSB1").string()},
    };
    const ComNamesOfDevice names = ComNamesFor(byId, mappings);
    EXPECT_EQ(names.mapped, (std::vector<std::string>{"COM3", "COM5"}));
    EXPECT_EQ(names.byDefault, "");
}

TEST(ComNames, AnUnmappedComNameOpensItsSerialPortByDefault) {
    const FoundDevice ttyS0{"/dev/ttyS0", "/dev/ttyS0"};
    const FoundDevice ttyS3{"/dev/ttyS3", "/dev/ttyS3"};
    EXPECT_EQ(ComNamesFor(ttyS0, {}).byDefault, "COM1");
    EXPECT_EQ(ComNamesFor(ttyS3, {}).byDefault, "COM4");
    // COM1 opens another device now; COM2 is mapped to ttyS0 as well.
    const auto names = ComNamesFor(ttyS0, {{"COM1", "/dev/ttyUSB0"}, {"COM2", "/dev/ttyS0"}});
    EXPECT_EQ(names.mapped, std::vector<std::string>{"COM2"});
    EXPECT_EQ(names.byDefault, "");
    EXPECT_EQ(ComNamesFor(ttyS3, {{"COM1", "/dev/ttyS0"}}).byDefault, "COM4");
    EXPECT_EQ(ComNamesFor({"/dev/ttyS256", "/dev/ttyS256"}, {}).byDefault, "")
        << "beyond COM256";
}

TEST(ComNames, ComNamesAreCheckedAndWrittenOneWay) {
    const std::pair<const char*, const char*> cases[] = {
        {"COM1", "COM1"},   {"com3", "COM3"}, {"Com03", "COM3"}, {"COM256", "COM256"},
        {"COM257", nullptr}, {"COM0", nullptr}, {"COM", nullptr},  {"COM-1", nullptr},
        {"LPT1", nullptr},  {"COM1 ", nullptr}, {"/dev/ttyS0", nullptr}};
    for (const auto& [text, expected] : cases) {
        const auto name = NormalComName(text);
        if (expected)
            EXPECT_EQ(name, std::optional<std::string>(expected)) << text;
        else
            EXPECT_FALSE(name) << text;
    }
}

TEST(OpenFailureReasons, SayWhyAndWhatToDo) {
    using M = OpenFailure::Membership;
    EXPECT_EQ(OpenFailureReason({"/dev/ttyUSB0", ENOENT, "", M::None}),
              "/dev/ttyUSB0 does not exist: is the instrument's adapter plugged in? \"corvane "
              "ports\" lists the serial devices present.");
    EXPECT_EQ(OpenFailureReason({"/dev/ttyUSB0", EWOULDBLOCK, "", M::None}),
              "/dev/ttyUSB0 is in use by another program.");
    EXPECT_EQ(OpenFailureReason({"/dev/ttyUSB0", EBUSY, "", M::None}),
              "/dev/ttyUSB0 is in use by another program.");
    EXPECT_EQ(OpenFailureReason({"/dev/ttyUSB0", EACCES, "dialout", M::None}),
              "/dev/ttyUSB0: permission denied. It belongs to the group dialout; add yourself "
              "with: sudo usermod -aG dialout \"$USER\" and log out and in again.");
    EXPECT_EQ(OpenFailureReason({"/dev/ttyACM0", EACCES, "uucp", M::NextLogin}),
              "/dev/ttyACM0: permission denied. You were added to the group uucp that owns it; "
              "log out and in again for that to take effect.");
    EXPECT_EQ(OpenFailureReason({"/dev/ttyS0", EACCES, "root", M::None}),
              "/dev/ttyS0: permission denied; only the administrator can open it.");
    EXPECT_EQ(OpenFailureReason({"/dev/ttyS0", EIO, "", M::None}),
              "/dev/ttyS0: Input/output error.");
}
