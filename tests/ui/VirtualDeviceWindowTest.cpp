// The Virtual Serial Device window on the offscreen platform: lines typed or
// pasted are sent whole, into a real runtime on a recording platform whose
// records end at a pause, with the ticks driven by hand.

#include "ui/VirtualDeviceWindow.h"

#include "runtime/Runtime.h"
#include "support/ManualClock.h"
#include "support/MemorySettingsStore.h"
#include "support/ProcessRunner.h"
#include "support/RecordingClipboard.h"
#include "support/RecordingPlatform.h"
#include "ui/SendLine.h"

#include "OffscreenApp.h"
#include "support/RecordingMessageSink.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class VirtualDeviceWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }

    // Single-field records that end after three quiet ticks (150 ms), logged;
    // each record is acknowledged with "A" CR LF.
    void SetUp() override {
        record.TransferMode = config::LogToDisk;
        record.LogFileName = (dir.path / "records.log").string();
        record.EndOfRecordEvent = 1;
        record.TimeDelayTicks = 3;
        record.AckString = "A\r\n";
        ASSERT_TRUE(runtime.RunVirtual());
        device.onInput = [this](const std::string& bytes) { runtime.VirtualInput(bytes); };
        device.show();
    }
    void Ticks(int n) {
        for (int i = 0; i < n; ++i) {
            clock.Advance(50);
            runtime.Tick();
        }
    }
    // Types text at a person's pace: half a second between keys, far longer
    // than the pause that ends a record.
    void TypeSlowly(const QString& text) {
        for (QChar c : text) {
            QTest::keyClicks(Box(), QString(c));
            Ticks(10);
        }
    }
    QLineEdit* Box() { return device.Line()->Box(); }
    std::string Log() { return testsupport::ReadFileBytes(dir.path / "records.log"); }

    testsupport::TempDir dir;
    testsupport::RecordingPlatform platform;
    config::RecordingMessageSink messages;
    engine::ManualClock clock;
    config::MemorySettingsStore store;
    control::RecordingClipboard clipboard;
    config::Config record; // the program's configuration record
    runtime::Runtime runtime{
        {platform, record, messages, clock, store, clipboard, engine::Locale{}, dir.path.string()}};
    ui::VirtualDeviceWindow device;
};

} // namespace

TEST_F(VirtualDeviceWindowTest, ALineTypedSlowlyIsOneRecordWhenItIsSent) {
    device.EnterSendsCr()->setChecked(false);
    TypeSlowly("12.5");
    EXPECT_EQ(Log(), ""); // nothing is sent while the line is typed
    QTest::keyClick(Box(), Qt::Key_Return);
    Ticks(10);
    EXPECT_EQ(Log(), "12.5\r\n");
    EXPECT_EQ(Box()->text(), "");
    EXPECT_EQ(device.SentBox()->toPlainText(), "12.5\n");

    // Enter sends a carriage return after the line unless switched off; Send
    // sends the line as it stands.
    device.EnterSendsCr()->setChecked(true);
    TypeSlowly("7");
    QTest::keyClick(Box(), Qt::Key_Return);
    Ticks(10);
    QTest::keyClicks(Box(), "8");
    QTest::mouseClick(device.Line()->SendButton(), Qt::LeftButton);
    Ticks(10);
    EXPECT_EQ(Log(), "12.5\r\n7\r\r\n8\r\n");
    EXPECT_EQ(device.SentBox()->toPlainText(), "12.5\n7<CR>\n8\n");

    // What the program sends back (the acknowledgements) shows by name.
    device.ShowOutput(platform.deviceOutput);
    EXPECT_EQ(device.OutputBox()->toPlainText(), "A<CR><LF>\nA<CR><LF>\nA<CR><LF>\n");
}

TEST_F(VirtualDeviceWindowTest, PastedTextAndChartCharactersAreSentWithTheLine) {
    QApplication::clipboard()->setText("  100.004 g");
    Box()->setFocus();
    QTest::keyClick(Box(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(Log(), ""); // pasting alone sends nothing
    device.Line()->pickCharacter = [](int& code) {
        code = 2; // STX, which no key types
        return true;
    };
    Box()->home(false);
    QTest::mouseClick(device.Line()->ChartButton(), Qt::LeftButton);
    const auto* note = device.findChild<QLabel*>("OutputBufferShown");
    ASSERT_NE(note, nullptr);
    EXPECT_TRUE(note->isVisibleTo(&device));
    EXPECT_EQ(note->text(), "Sends: <STX>  100.004 g");
    QTest::keyClick(Box(), Qt::Key_Return);
    Ticks(10);
    EXPECT_EQ(Log(), "\x02  100.004 g\r\r\n");
    EXPECT_FALSE(note->isVisibleTo(&device)); // the box is empty again

    // Up brings back the line sent, to send it again; Down leaves it.
    QTest::keyClick(Box(), Qt::Key_Up);
    EXPECT_EQ(Box()->text(), QString(QChar(2)) + "  100.004 g");
    QTest::keyClick(Box(), Qt::Key_Down);
    EXPECT_EQ(Box()->text(), "");
    QTest::keyClick(Box(), Qt::Key_Up);
    QTest::keyClick(Box(), Qt::Key_Return);
    Ticks(10);
    EXPECT_EQ(Log(), "\x02  100.004 g\r\r\n\x02  100.004 g\r\r\n");
}
