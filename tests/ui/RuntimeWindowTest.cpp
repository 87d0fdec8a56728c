// The runtime window on the offscreen platform, with a real runtime on a
// recording platform and the ticks driven by hand.

#include "ui/RuntimeWindow.h"
#include "ui/SetupWindow.h"

#include "config/ConfigFile.h"
#include "support/ProcessRunner.h"
#include "support/RecordingPlatform.h"

#include "OffscreenApp.h"
#include "support/ManualClock.h"
#include "support/MemorySettingsStore.h"
#include "support/RecordingClipboard.h"
#include "support/RecordingMessageSink.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace {

class RuntimeWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }

    // Activates a configuration with three fields, two output strings and
    // both line buttons, on the recording platform's port.
    void Start(void (*change)(config::Config&) = nullptr) {
        config::Config cfg;
        cfg.TransferMode = config::LogToDisk;
        cfg.LogFileName = (dir.path / "records.log").string();
        cfg.RecordStructure = 1; // delimited
        cfg.NumFields = 3;
        cfg.DelimiterChar = ",";
        cfg.FieldFilter[3] = "N"; // without the record's carriage return
        cfg.OutputStringName[1] = "Tare";
        cfg.OutputString[1] = "T\r\n";
        cfg.OutputStringName[3] = "Print & Zero";
        cfg.OutputString[3] = "P\r\n";
        cfg.ButtonDisplay = 3;
        cfg.ShowDateTime = config::True;
        if (change)
            change(cfg);
        cfg.ConfigFileName = (dir.path / "window.QX3").string();
        ASSERT_TRUE(config::SaveConfigFile(cfg));
        runtime.itemChanged = [this](const std::string& item, const std::string& text) {
            window->ItemChanged(item, text);
        };
        runtime.suspendChanged = [this] { window->SuspendChanged(); };
        ASSERT_TRUE(runtime.RunNormal(cfg.ConfigFileName));
        window->Build();
        window->show();
    }
    void Arrive(const std::string& bytes) {
        platform.port->Feed(bytes);
        clock.Advance(50);
        runtime.Tick();
    }

    testsupport::TempDir dir;
    testsupport::RecordingPlatform platform;
    config::RecordingMessageSink messages;
    engine::ManualClock clock;
    config::MemorySettingsStore store;
    control::RecordingClipboard clipboard;
    config::Config record; // the program's configuration record
    runtime::Runtime runtime{
        {platform, record, messages, clock, store, clipboard, engine::Locale{}, dir.path.string()}};
    std::unique_ptr<ui::RuntimeWindow> window = std::make_unique<ui::RuntimeWindow>(runtime, store);
};

} // namespace

TEST_F(RuntimeWindowTest, BoxesFollowTheRecordsAndTheCounterIsWhatTheUserTypes) {
    Start();
    EXPECT_EQ(window->windowTitle(), "Corvane - COM1");
    ASSERT_NE(window->FieldBox(3), nullptr);
    EXPECT_EQ(window->FieldBox(4), nullptr);
    Arrive("12.5,\xb5g,7\r");
    EXPECT_EQ(window->FieldBox(1)->text(), "12.5");
    EXPECT_EQ(window->FieldBox(2)->text(), QString::fromUtf8("\xc2\xb5g")); // Latin-1 byte 0xB5
    EXPECT_EQ(window->FieldBox(3)->text(), "7");
    EXPECT_EQ(window->RecordNumberBox()->text(), "1");
    EXPECT_TRUE(window->DateTimeBox()->isVisible());

    // The user sets the counter; the next record counts on from there.
    window->RecordNumberBox()->setText("100");
    emit window->RecordNumberBox()->editingFinished();
    Arrive("1,2,3\r");
    EXPECT_EQ(window->RecordNumberBox()->text(), "101");
}

TEST_F(RuntimeWindowTest, ButtonsQueueTheirStringsAndDriveTheLines) {
    Start();
    EXPECT_EQ(window->StringButton(2), nullptr); // no string, no button
    ASSERT_NE(window->StringButton(3), nullptr);
    EXPECT_EQ(window->StringButton(3)->text(), "Print && Zero");
    QTest::mouseClick(window->StringButton(1), Qt::LeftButton);
    QTest::mouseClick(window->StringButton(3), Qt::LeftButton);
    EXPECT_EQ(runtime.state().PendingOutput, "T\r\nP\r\n");
    Arrive("");
    EXPECT_EQ(platform.port->written, "T\r\nP\r\n");

    QTest::mouseClick(window->DtrButton(), Qt::LeftButton);
    QTest::mouseClick(window->BreakButton(), Qt::LeftButton);
    const auto& calls = platform.port->calls;
    EXPECT_NE(std::find(calls.begin(), calls.end(), "pulse"), calls.end());
    EXPECT_NE(std::find(calls.begin(), calls.end(), "BREAK on"), calls.end());
}

TEST_F(RuntimeWindowTest, TheMenusSuspendResumeSwitchTimedOutputAndExit) {
    Start([](config::Config& c) {
        c.ButtonDisplay = 0;
        c.TimerString = "P\r\n";
        c.TimerInterval = 10;
    });
    EXPECT_EQ(window->DtrButton(), nullptr);
    EXPECT_EQ(window->SuspendAction()->text(), "&Suspend Corvane");
    EXPECT_FALSE(window->ResumeOneAction()->isVisible());
    window->SuspendAction()->trigger();
    EXPECT_EQ(window->windowTitle(), "Corvane - COM1 (S)");
    EXPECT_EQ(window->SuspendAction()->text(), "Re&sume Corvane");
    EXPECT_TRUE(window->ResumeOneAction()->isVisible());
    Arrive("1,2,3\r"); // suspended: not read
    EXPECT_EQ(window->FieldBox(1)->text(), "");
    window->ResumeOneAction()->trigger();
    EXPECT_EQ(window->windowTitle(), "Corvane - COM1");
    Arrive("");
    EXPECT_EQ(window->FieldBox(1)->text(), "1");
    EXPECT_EQ(window->windowTitle(), "Corvane - COM1 (S)"); // one record, then suspended again

    ASSERT_TRUE(window->TimedOutputAction()->isEnabled());
    EXPECT_EQ(window->TimedOutputAction()->text(), "Enable &Timed Output");
    window->TimedOutputAction()->trigger();
    EXPECT_EQ(window->TimedOutputAction()->text(), "Disable &Timed Output");
    EXPECT_TRUE(runtime.control().TimedOutputOn());

    // Exit closes the runtime first, in its order; then the window goes.
    bool asked = false;
    window->onCloseRequested = [&] {
        asked = true;
        runtime.Exit();
        window->RuntimeClosed();
    };
    window->move(120, 80);
    window->ExitAction()->trigger();
    EXPECT_TRUE(asked);
    EXPECT_EQ(platform.closed, 0);
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(store.Get("Corvane - COM1", "Settings", "MainLeft").has_value());
}

TEST_F(RuntimeWindowTest, AReloadBuildsTheWindowAgainForTheNewConfiguration) {
    Start();
    platform.reloaded = [this] { window->Build(); };
    config::Config next;
    next.TransferMode = config::LogToDisk;
    next.LogFileName = (dir.path / "records.log").string();
    next.OutputStringName[2] = "Zero";
    next.OutputString[2] = "Z\r\n";
    next.ButtonDisplay = 0;
    next.ActivateSuspended = config::True;
    next.ConfigFileName = (dir.path / "next.QX3").string();
    ASSERT_TRUE(config::SaveConfigFile(next));
    ASSERT_TRUE(runtime.dde()->Execute("{CONFIG(" + next.ConfigFileName + ")}"));
    Arrive("");

    // One field box, the new string's button only, no line buttons and no
    // date/time; the caption and the menu follow the new suspension.
    ASSERT_NE(window->FieldBox(1), nullptr);
    EXPECT_EQ(window->FieldBox(2), nullptr);
    EXPECT_EQ(window->StringButton(1), nullptr);
    EXPECT_EQ(window->StringButton(3), nullptr);
    ASSERT_NE(window->StringButton(2), nullptr);
    EXPECT_EQ(window->StringButton(2)->text(), "Zero");
    EXPECT_EQ(window->DtrButton(), nullptr);
    EXPECT_EQ(window->BreakButton(), nullptr);
    EXPECT_FALSE(window->DateTimeBox()->isVisible());
    EXPECT_EQ(window->windowTitle(), "Corvane - COM1 (S)");
    EXPECT_EQ(window->SuspendAction()->text(), "Re&sume Corvane");
    QTest::mouseClick(window->StringButton(2), Qt::LeftButton);
    EXPECT_EQ(runtime.state().PendingOutput, "Z\r\n");
    window->SuspendAction()->trigger();
    EXPECT_EQ(window->windowTitle(), "Corvane - COM1");
    Arrive("9\r");
    EXPECT_EQ(window->FieldBox(1)->text(), "9\r");
    // The Edit menu offers the one field.
    QMenu* copyField = nullptr;
    for (QAction* a : window->EditMenu()->actions())
        if (a->menu())
            copyField = a->menu();
    ASSERT_NE(copyField, nullptr);
    EXPECT_EQ(copyField->actions().size(), 1);
}

TEST_F(RuntimeWindowTest, WhatARunChangesIsWhatTheSetupWindowShowsAndSavesAfterwards) {
    Start();
    config::Config next = record;
    next.DdeTopicName = "Lab";
    next.ConfigFileName = (dir.path / "reloaded.QX3").string();
    ASSERT_TRUE(config::SaveConfigFile(next));
    ASSERT_TRUE(runtime.dde()->Execute("{CONFIG(" + next.ConfigFileName + ")}"));
    Arrive("");
    clipboard.link = "Excel|Sheet1!R1C1";
    EXPECT_TRUE(runtime.dde()->Execute("{PASTE-COMMAND}"));
    EXPECT_TRUE(runtime.dde()->Execute("{TIMERSTRING='P'13}"));
    EXPECT_TRUE(runtime.dde()->Execute("{TIMERINTERVAL=2500}"));
    runtime.Exit();

    ui::SetupWindow setup(record, store, messages);
    EXPECT_EQ(setup.windowTitle(), "Corvane Setup - reloaded.QX3");
    // Not marked as changed by the run itself; Save keeps all of it.
    ASSERT_TRUE(setup.Save());
    config::Config saved;
    ASSERT_EQ(config::LoadConfigFile(saved, next.ConfigFileName, messages),
              config::LoadStatus::Complete);
    EXPECT_EQ(saved.DdeTopicName, "Lab");
    EXPECT_EQ(saved.CmdLinkApp, "Excel");
    EXPECT_EQ(saved.CmdLinkTopic, "Sheet1");
    EXPECT_EQ(saved.CmdLinkItem, "R1C1");
    EXPECT_EQ(saved.TimerString, "P\r");
    EXPECT_EQ(saved.TimerInterval, 2500);
}

TEST_F(RuntimeWindowTest, TheEditMenuCopiesItemsAsLinks) {
    Start();
    Arrive("4,5,6\r");
    QMenu* edit = window->EditMenu();
    emit edit->aboutToShow();
    QAction* copyRecord = nullptr;
    for (QAction* a : edit->actions())
        if (a->text() == "Copy &Record Number as Link")
            copyRecord = a;
    ASSERT_NE(copyRecord, nullptr);
    copyRecord->trigger();
    EXPECT_EQ(clipboard.link, "Corvane|COM1!RecordNumber");
    for (QAction* a : edit->actions()) {
        if (a->objectName() == "DDEKill") {
            EXPECT_FALSE(a->isEnabled()); // no command link is on
        }
    }
}
