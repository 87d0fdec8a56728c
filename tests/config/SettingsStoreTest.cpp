#include "config/QtSettingsStore.h"
#include "config/RecentFiles.h"
#include "support/MemorySettingsStore.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace config;

TEST(RecentFiles, MostRecentFirstWithoutDuplicatesAndBounded) {
    std::vector<std::string> files;
    for (const char* f : {"/a.QX3", "/b.QX3", "/a.QX3", "/c.QX3", "/d.QX3", "/e.QX3"})
        files = AddRecentFile(files, f);
    EXPECT_EQ(files, (std::vector<std::string>{"/e.QX3", "/d.QX3", "/c.QX3", "/a.QX3"}));
    EXPECT_EQ(AddRecentFile(files, ""), files);
}

TEST(RecentFiles, ReadingStopsAtTheFirstGapAndWritingClearsTheRest) {
    MemorySettingsStore store;
    store.Set("Corvane", "MRUFiles", "1", "/one.QX3");
    store.Set("Corvane", "MRUFiles", "2", "");
    store.Set("Corvane", "MRUFiles", "3", "/three.QX3");
    EXPECT_EQ(ReadRecentFiles(store), std::vector<std::string>{"/one.QX3"});

    WriteRecentFiles(store, {"/x.QX3", "/y.QX3"});
    EXPECT_EQ(ReadRecentFiles(store), (std::vector<std::string>{"/x.QX3", "/y.QX3"}));
    EXPECT_FALSE(store.Get("Corvane", "MRUFiles", "3").has_value());
}

TEST(QtSettingsStore, KeepsValuesInIniFilesUnderTheUsersConfigFolder) {
    char tmpl[] = "/tmp/corvane-xdg-XXXXXX";
    std::filesystem::path dir = mkdtemp(tmpl);
    setenv("XDG_CONFIG_HOME", dir.c_str(), 1);
    {
        QtSettingsStore store;
        store.Set("Corvane", "Ports", "COM1", "/dev/ttyUSB0");
        store.Set("Corvane - COM2", "Settings", "MainLeft", "250");
        EXPECT_EQ(store.Get("Corvane", "Ports", "COM1"), "/dev/ttyUSB0");
        EXPECT_EQ(store.Get("Corvane - COM2", "Settings", "MainLeft"), "250");
        EXPECT_FALSE(store.Get("Corvane - COM1", "Settings", "MainLeft").has_value());
        store.Remove("Corvane", "Ports", "COM1");
        EXPECT_FALSE(store.Get("Corvane", "Ports", "COM1").has_value());
        store.Set("Corvane", "Ports", "COM3", "/dev/serial/by-id/usb-x");
    }
    std::ifstream in(dir / "Corvane" / "Corvane.ini");
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_NE(text.str().find("[Ports]"), std::string::npos) << text.str();
    EXPECT_NE(text.str().find("COM3=/dev/serial/by-id/usb-x"), std::string::npos);
    unsetenv("XDG_CONFIG_HOME");
    std::filesystem::remove_all(dir);
}
