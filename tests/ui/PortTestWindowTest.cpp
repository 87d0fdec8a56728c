// The Port Test window's real widgets on the offscreen platform, on a
// recording port, with the ticks driven by hand.

#include "ui/PortTestWindow.h"
#include "ui/AsciiChartDialog.h"
#include "ui/QtMessageSink.h"

#include "support/FakePort.h"

#include "OffscreenApp.h"
#include "support/RecordingMessageSink.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace {

class PortTestWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }

    void SetUp() override {
        window = std::make_unique<ui::PortTestWindow>(cfg, port, messages);
        window->show();
    }

    template <typename T> T* Find(const char* name) {
        T* w = window->findChild<T*>(name);
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    QString Counter(const char* name) { return Find<QLabel>(name)->text(); }
    void Click(const char* button) { QTest::mouseClick(Find<QPushButton>(button), Qt::LeftButton); }
    void Arrive(const std::string& bytes) {
        port.Feed(bytes);
        window->Tick();
    }

    config::Config cfg;
    serial::FakePort port;
    config::RecordingMessageSink messages;
    std::unique_ptr<ui::PortTestWindow> window;
};

} // namespace

TEST_F(PortTestWindowTest, ShowsWhatArrivesAndCountsEveryByte) {
    auto* buffer = Find<QPlainTextEdit>("Buffer");
    EXPECT_EQ(window->windowTitle(), "Port Test");
    EXPECT_FALSE(Find<QPushButton>("AnalyzeButton")->isEnabled());

    Arrive(std::string("  12.345 g\r\n", 12));
    Arrive(std::string("A\0B\rC\nD", 7));
    window->Tick(); // the counters follow one tick later, as the display does
    EXPECT_EQ(window->InputText(), std::string("  12.345 g\r\nA\xff"
                                               "B\rC\nD"));
    // CR LF, CR and LF each start a line; the counters still count them.
    EXPECT_EQ(buffer->toPlainText(), QString::fromLatin1("  12.345 g\nA\xff"
                                                         "B\nC\nD"));
    EXPECT_EQ(Counter("BufByteCount"), "19");
    EXPECT_TRUE(Find<QPushButton>("AnalyzeButton")->isEnabled());
    EXPECT_EQ(buffer->textCursor().position(), buffer->toPlainText().size()) << "caret follows";

    // Selecting the second line, its line break included.
    QTextCursor cursor = buffer->textCursor();
    cursor.setPosition(0);
    cursor.setPosition(11, QTextCursor::KeepAnchor);
    buffer->setTextCursor(cursor);
    EXPECT_EQ(Counter("SelStartPosition"), "1");
    EXPECT_EQ(Counter("SelByteCount"), "12");
    cursor.setPosition(11);
    cursor.setPosition(14, QTextCursor::KeepAnchor);
    buffer->setTextCursor(cursor);
    EXPECT_EQ(Counter("SelStartPosition"), "13");
    EXPECT_EQ(Counter("SelByteCount"), "3");

    // A selection stays while more arrives.
    Arrive("E");
    EXPECT_EQ(buffer->textCursor().selectedText(), QString::fromLatin1("A\xff"
                                                                       "B"));

    Click("BufferClearButton");
    EXPECT_EQ(buffer->toPlainText(), "");
    EXPECT_EQ(window->InputText(), "");
    EXPECT_EQ(Counter("BufByteCount"), "0");
    EXPECT_FALSE(Find<QPushButton>("AnalyzeButton")->isEnabled());
    // A line feed after a clear is a line of its own again.
    Arrive("\n");
    EXPECT_EQ(buffer->toPlainText(), "\n");
}

TEST_F(PortTestWindowTest, ThePreInputTableChangesWhatIsShown) {
    cfg.PreInputTranslation['x'] = "Ignore";
    cfg.PreInputTranslation['y'] = "Void Record";
    cfg.PreInputTranslation['z'] = "ZZ";
    Arrive("xyz");
    Find<QCheckBox>("Check1")->setChecked(true);
    Arrive("xyz");
    EXPECT_EQ(window->InputText(), "xyzyZZ");
}

TEST_F(PortTestWindowTest, SendsTheOutputBoxAndDrivesTheLines) {
    auto* output = Find<QLineEdit>("OutputBuffer");
    QTest::keyClicks(output, "P");
    window->pickCharacter = [](int& code) {
        code = 13;
        return true;
    };
    Click("AsciiChartButton");
    Click("SendButton");
    EXPECT_EQ(port.written, "P\r");
    // Enter in the box sends too; nothing is added to what it holds.
    QTest::keyClick(output, Qt::Key_Return);
    EXPECT_EQ(port.written, "P\rP\r");

    // What the port does not take at once goes out at the next ticks.
    port.acceptPerWrite = 1;
    Click("SendButton");
    EXPECT_EQ(port.written, "P\rP\rP");
    window->Tick();
    EXPECT_EQ(port.written, "P\rP\rP\r");

    window->pickCharacter = [](int&) { return false; };
    Click("AsciiChartButton");
    EXPECT_EQ(output->text(), QString("P\r"));

    Click("DTRButton");
    Click("Command1");
    window->Tick();
    EXPECT_EQ(port.calls, (std::vector<std::string>{"pulse", "BREAK on"}));
    window->Tick();
    EXPECT_EQ(port.calls.back(), "BREAK off");
}

TEST_F(PortTestWindowTest, AnalyzeAsksAndWritesTheProposalOnlyOnYes) {
    int configured = 0;
    window->onConfigured = [&] { ++configured; };
    Arrive("12.5,g,ST\r\n");
    window->Tick();

    messages.answers = {config::MessageAnswer::No};
    Click("AnalyzeButton");
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].title, "Input Analysis Best Guess");
    EXPECT_EQ(messages.shown[0].text, "Comma delimited records with  3 fields and Cr or CrLf at "
                                      "end of record.\r\rConfigure Corvane Using these Settings?");
    EXPECT_EQ(messages.shown[0].icon, config::MessageIcon::Question);
    EXPECT_EQ(messages.shown[0].buttons, config::MessageButtons::YesNo);
    EXPECT_EQ(cfg.RecordStructure, 0);
    EXPECT_FALSE(cfg.ConfigChanged);
    EXPECT_EQ(configured, 0);

    messages.answers = {config::MessageAnswer::Yes};
    Find<QLineEdit>("OutputBuffer")->setFocus();
    Click("AnalyzeButton");
    EXPECT_EQ(cfg.RecordStructure, 1);
    EXPECT_EQ(cfg.NumFields, 3);
    EXPECT_EQ(cfg.DelimiterChar, ",");
    EXPECT_TRUE(cfg.ConfigChanged);
    EXPECT_EQ(configured, 1);
    EXPECT_EQ(window->focusWidget(), Find<QPlainTextEdit>("Buffer"));
}

TEST_F(PortTestWindowTest, TheAsciiChartPicksACodeAndNamesControlCharacters) {
    ui::AsciiChartDialog chart;
    EXPECT_EQ(chart.SelectedCode(), 65);
    chart.SelectCode(13);
    EXPECT_EQ(chart.SelectedCode(), 13);
    EXPECT_EQ(ui::AsciiChartDialog::ControlName(13), "CR");
    EXPECT_EQ(ui::AsciiChartDialog::ControlName(0), "NUL");
    EXPECT_EQ(ui::AsciiChartDialog::ControlName(127), "DEL");
    EXPECT_EQ(ui::AsciiChartDialog::ControlName(65), "");
}

TEST(QtMessageSink, DeviceTextCrossesAsLatin1) {
    const std::string bytes("\x00\x7f\x80\xff", 4);
    EXPECT_EQ(ui::Latin1Bytes(ui::Latin1Text(bytes)), bytes);
    EXPECT_EQ(ui::Latin1Text(bytes).at(3), QChar(0xff));
    EXPECT_EQ(ui::Latin1Bytes(QString(QChar(0x20ac))), "?");
}
