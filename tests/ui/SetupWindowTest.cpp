// The setup window's file commands on the offscreen platform: its title, the
// recently used files, and the question before changes are lost.

#include "ui/SetupWindow.h"

#include "config/ConfigFile.h"
#include "config/RecentFiles.h"
#include "support/ProcessRunner.h"

#include "OffscreenApp.h"
#include "support/MemorySettingsStore.h"
#include "support/RecordingMessageSink.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QTest>
#include <gtest/gtest.h>

#include <fstream>

namespace {

class SetupWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    void SetUp() override { config::ResetToDefaults(cfg); }

    // A saved configuration whose port is n.
    std::string File(const std::string& name, int port = 0) {
        config::Config c;
        c.PortNumber = port;
        c.ConfigFileName = (dir.path / name).string();
        EXPECT_TRUE(config::SaveConfigFile(c));
        return c.ConfigFileName;
    }
    std::vector<QString> RecentEntries() {
        std::vector<QString> out;
        for (QAction* a : window.FileMenu()->actions())
            if (a->text().startsWith('&') && a->text().size() > 2 && a->text()[1].isDigit())
                out.push_back(a->text());
        return out;
    }

    testsupport::TempDir dir;
    config::Config cfg;
    config::MemorySettingsStore store;
    config::RecordingMessageSink messages;
    ui::SetupWindow window{cfg, store, messages};
};

} // namespace

TEST_F(SetupWindowTest, TheTitleNamesTheFileAndRecentFilesComeMostRecentFirst) {
    EXPECT_EQ(window.windowTitle(), "Corvane Setup (Untitled)");
    std::vector<std::string> files;
    for (int i = 1; i <= 5; ++i)
        files.push_back(File("f" + std::to_string(i) + ".QX3", i));
    for (const auto& f : files)
        ASSERT_TRUE(window.Open(f));
    EXPECT_EQ(window.windowTitle(), "Corvane Setup - f5.QX3");
    EXPECT_EQ(cfg.PortNumber, 5);
    EXPECT_NE(window.Overview()->text().indexOf("COM6"), -1);
    const auto recent = config::ReadRecentFiles(store);
    ASSERT_EQ(recent.size(), static_cast<std::size_t>(config::MaxRecentFiles));
    EXPECT_EQ(recent.front(), files[4]);
    EXPECT_EQ(recent.back(), files[1]);
    ASSERT_EQ(RecentEntries().size(), recent.size());
    EXPECT_EQ(RecentEntries().front(), "&1 " + QString::fromStdString(files[4]));

    // Opening an older one again moves it to the front, without a duplicate.
    ASSERT_TRUE(window.Open(files[2]));
    EXPECT_EQ(config::ReadRecentFiles(store).front(), files[2]);
    EXPECT_EQ(config::ReadRecentFiles(store).size(), recent.size());

    // A file that is not a configuration gives the defaults, untitled.
    std::ofstream(dir.path / "junk.QX3") << "not a configuration\r\n";
    EXPECT_FALSE(window.Open((dir.path / "junk.QX3").string()));
    EXPECT_EQ(window.windowTitle(), "Corvane Setup (Untitled)");
}

TEST_F(SetupWindowTest, ChangesAreSavedDiscardedOrKeptAsTheUserAnswers) {
    const std::string file = File("kept.QX3", 2);
    ASSERT_TRUE(window.Open(file));
    int asked = 0;
    ui::SaveAnswer answer = ui::SaveAnswer::Cancel;
    window.askSave = [&] {
        ++asked;
        return answer;
    };
    EXPECT_TRUE(window.New()); // nothing changed: no question
    EXPECT_EQ(asked, 0);

    ASSERT_TRUE(window.Open(file));
    cfg.PortNumber = 7;
    cfg.ConfigChanged = config::True;
    window.Refresh();
    EXPECT_EQ(window.windowTitle(), "Corvane Setup - kept.QX3 *");
    EXPECT_FALSE(window.New()); // cancelled: everything stays
    EXPECT_EQ(cfg.PortNumber, 7);
    EXPECT_EQ(cfg.ConfigFileName, file);

    answer = ui::SaveAnswer::Save;
    EXPECT_TRUE(window.New());
    config::Config back;
    config::LoadConfigFile(back, file, messages);
    EXPECT_EQ(back.PortNumber, 7);
    EXPECT_EQ(window.windowTitle(), "Corvane Setup (Untitled)");

    cfg.PortNumber = 3;
    cfg.ConfigChanged = config::True;
    answer = ui::SaveAnswer::Discard;
    EXPECT_TRUE(window.Open(file));
    EXPECT_EQ(cfg.PortNumber, 7);
    EXPECT_EQ(asked, 3);

    // Save As names the file and keeps it in the recent list.
    const std::string other = (dir.path / "other.QX3").string();
    EXPECT_TRUE(window.SaveAs(other));
    EXPECT_EQ(window.windowTitle(), "Corvane Setup - other.QX3");
    EXPECT_EQ(config::ReadRecentFiles(store).front(), other);
}

TEST_F(SetupWindowTest, SaveOnAnUntitledConfigurationAsksForAFileName) {
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    int asked = 0;
    QString answer; // the user cancels the file dialog first
    window.askFileName = [&] {
        ++asked;
        return answer;
    };
    cfg.PortNumber = 4;
    cfg.ConfigChanged = config::True;
    window.Refresh();
    QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(window.windowTitle(), "Corvane Setup (Untitled) *");
    EXPECT_TRUE(messages.shown.empty()); // a cancelled dialog is no error

    answer = QString::fromStdString((dir.path / "bench").string()); // no extension
    QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(asked, 2);
    const std::string saved = (dir.path / "bench.QX3").string();
    EXPECT_EQ(cfg.ConfigFileName, saved);
    EXPECT_FALSE(cfg.ConfigChanged);
    EXPECT_EQ(window.windowTitle(), "Corvane Setup - bench.QX3");
    ASSERT_EQ(config::CheckConfigFile(saved, messages), 4); // line 2: the port
    EXPECT_EQ(config::ReadRecentFiles(store).front(), saved);

    // Named now: the next Save writes the file without asking.
    cfg.PortNumber = 6;
    cfg.ConfigChanged = config::True;
    QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(config::CheckConfigFile(saved, messages), 6);
}

TEST_F(SetupWindowTest, TheModeMenuShowsAndChangesTheTransferMode) {
    EXPECT_TRUE(window.ModeAction(config::SendKeystrokes)->isChecked());
    window.ChooseTransferMode(config::SendKeystrokes); // the same mode: nothing changed
    EXPECT_FALSE(cfg.ConfigChanged);

    window.ChooseTransferMode(config::LogToDisk);
    EXPECT_EQ(cfg.TransferMode, config::LogToDisk);
    EXPECT_TRUE(cfg.ConfigChanged);
    EXPECT_TRUE(window.ModeAction(config::LogToDisk)->isChecked());
    EXPECT_FALSE(window.ModeAction(config::SendKeystrokes)->isChecked());
    EXPECT_NE(window.Overview()->text().indexOf("Log To Disk"), -1);

    // A file opened in another mode checks that mode.
    config::Config dde;
    dde.TransferMode = config::DdeServer;
    dde.ConfigFileName = (dir.path / "dde.QX3").string();
    ASSERT_TRUE(config::SaveConfigFile(dde));
    window.askSave = [] { return ui::SaveAnswer::Discard; };
    ASSERT_TRUE(window.Open(dde.ConfigFileName));
    EXPECT_TRUE(window.ModeAction(config::DdeServer)->isChecked());
    EXPECT_FALSE(window.ModeAction(config::LogToDisk)->isChecked());
}

TEST_F(SetupWindowTest, TheOverviewNamesTheEventsAndWhatEachFieldDoes) {
    cfg.StartOfRecordEvent = 2;
    cfg.RecordStructure = 1;
    cfg.NumFields = 7;
    cfg.FieldFilter[1] = "N";
    cfg.FieldExpression[1] = "field(1)*1000";
    cfg.FieldFormat[1] = "0.0";
    cfg.FieldFilter[2] = "I";
    for (int i = 3; i <= 7; ++i)
        cfg.FieldFormat[i] = "Fixed";
    cfg.FieldFormat[8] = "beyond the record"; // not one of its fields
    const std::string text = ui::DescribeConfiguration(cfg);
    EXPECT_NE(text.find("Records start at a number, end at a carriage return"), std::string::npos);
    EXPECT_NE(text.find("Field 1: numbers only, math field(1)*1000, format 0.0\n"),
              std::string::npos);
    EXPECT_NE(text.find("Field 2: ignored\n"), std::string::npos);
    EXPECT_NE(text.find("Field 4: format Fixed\n  ..."), std::string::npos) << text;
    EXPECT_EQ(text.find("Field 5"), std::string::npos);
    EXPECT_EQ(text.find("beyond"), std::string::npos);
}
