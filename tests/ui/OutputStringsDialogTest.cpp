// The serial output strings editor offscreen: the timer interval's limit,
// TimerEnabled from the check box and the action, strings of any bytes shown
// in the output string notation and stored back exactly, the ASCII chart,
// and Cancel.

#include "ui/OutputStringsDialog.h"
#include "ui/OutputStringEdit.h"

#include "OffscreenApp.h"
#include "support/RecordingMessageSink.h"

#include <QAbstractButton>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class OutputStringsDialogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    config::Config cfg;
    config::RecordingMessageSink messages;
};

} // namespace

TEST_F(OutputStringsDialogTest, AnIntervalOfOneHundredMillionIsRefusedOneLessIsStored) {
    ui::OutputStringsDialog dialog(cfg, messages);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    dialog.Interval()->clear();
    QTest::keyClicks(dialog.Interval(), "1000x00000");
    EXPECT_EQ(dialog.Interval()->text(), "100000000"); // digits only
    dialog.TimerText()->setText("'?'13");
    dialog.accept();
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text, "Timer interval must be less than 100000000 milliseconds.");
    EXPECT_EQ(messages.shown[0].title, "");
    EXPECT_EQ(dialog.focusWidget(), dialog.Interval());
    EXPECT_EQ(dialog.result(), QDialog::Rejected); // still open
    EXPECT_EQ(cfg.TimerInterval, 0);               // nothing stored
    EXPECT_EQ(cfg.TimerString, "");
    EXPECT_FALSE(cfg.ConfigChanged);

    dialog.Interval()->setText("99999999");
    dialog.accept();
    EXPECT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(cfg.TimerInterval, 99999999);
    EXPECT_EQ(cfg.TimerString, "?\r");
    EXPECT_TRUE(cfg.ConfigChanged);

    ui::OutputStringsDialog cleared(cfg, messages);
    cleared.Interval()->clear(); // an empty box is no timed output
    cleared.accept();
    EXPECT_EQ(cfg.TimerInterval, 0);
}

TEST_F(OutputStringsDialogTest, TimerEnabledIsTheCheckBoxPlusTwoFourOrEightForTheAction) {
    const struct {
        bool timerOn;
        int action; // "Transmit String", "Toggle DTR", "Issue Break"
        int timerEnabled;
    } cases[] = {{true, 0, 3}, {false, 1, 4}, {true, 1, 5}, {false, 2, 8}, {true, 2, 9}};
    for (const auto& c : cases) {
        config::Config fresh;
        ui::OutputStringsDialog dialog(fresh, messages);
        dialog.TimerOn()->setChecked(c.timerOn);
        dialog.Action()->button(c.action)->setChecked(true);
        dialog.accept();
        EXPECT_EQ(fresh.TimerEnabled, c.timerEnabled) << c.timerOn << " " << c.action;
        EXPECT_TRUE(fresh.ConfigChanged);

        ui::OutputStringsDialog reopened(fresh, messages);
        EXPECT_EQ(reopened.TimerOn()->isChecked(), c.timerOn);
        EXPECT_EQ(reopened.Action()->checkedId(), c.action);
    }

    // "Transmit String" without the check box is what 0 means already: OK
    // alone changes nothing.
    ui::OutputStringsDialog untouched(cfg, messages);
    EXPECT_EQ(untouched.Action()->checkedId(), 0);
    untouched.accept();
    EXPECT_EQ(cfg.TimerEnabled, 0);
    EXPECT_FALSE(cfg.ConfigChanged);

    // With both action bits set the runtime toggles DTR, so the dialog shows that.
    cfg.TimerEnabled = 1 + 4 + 8;
    ui::OutputStringsDialog both(cfg, messages);
    EXPECT_TRUE(both.TimerOn()->isChecked());
    EXPECT_EQ(both.Action()->checkedId(), 1);
}

TEST_F(OutputStringsDialogTest, ControlCharactersAreShownInTheNotationAndStoredBackExactly) {
    cfg.OutputString[3] = std::string("AB\r\n'\0\x80", 7);
    cfg.OutputStringName[3] = "Tare";
    cfg.AckString = "\x06";
    std::string everyByte;
    for (int code = 255; code >= 0; --code)
        everyByte += static_cast<char>(code);
    cfg.OutputString[20] = everyByte;
    cfg.TimerString = everyByte;

    ui::OutputStringsDialog dialog(cfg, messages);
    dialog.show();
    dialog.SelectString(3);
    EXPECT_EQ(dialog.Caption()->text(), "Tare");
    EXPECT_EQ(dialog.Text()->text(), "'AB'13,10,39,0,128");
    EXPECT_EQ(dialog.TextSummary()->text(), "Sends: AB<CR><LF>'<NUL><128> (7 bytes)");
    EXPECT_EQ(dialog.Strings()->item(2, 1)->text(), "AB<CR><LF>'<NUL><128>");
    EXPECT_EQ(dialog.Ack()->text(), "6");

    // Nothing edited: every byte comes back as it was, nothing changed.
    dialog.accept();
    EXPECT_EQ(cfg.OutputString[3], std::string("AB\r\n'\0\x80", 7));
    EXPECT_EQ(cfg.OutputString[20], everyByte);
    EXPECT_EQ(cfg.TimerString, everyByte);
    EXPECT_FALSE(cfg.ConfigChanged);

    ui::OutputStringsDialog editing(cfg, messages);
    editing.show();
    editing.Strings()->setCurrentCell(4, 0); // the list selects string 5
    EXPECT_EQ(editing.SelectedString(), 5);
    editing.Caption()->setText("Print");
    editing.Text()->clear();
    QTest::keyClicks(editing.Text(), "'P'13 10,27'x'");
    EXPECT_EQ(editing.TextSummary()->text(), "Sends: P<CR><LF><ESC>x (5 bytes)");
    EXPECT_EQ(editing.Strings()->item(4, 0)->text(), "Print");
    editing.SelectString(3); // going to another string keeps the edit
    editing.SelectString(5);
    EXPECT_EQ(editing.Text()->text(), "'P'13 10,27'x'");
    editing.Ack()->setText("");
    editing.accept();
    EXPECT_EQ(cfg.OutputString[5], "P\r\n\x1Bx");
    EXPECT_EQ(cfg.OutputStringName[5], "Print");
    EXPECT_EQ(cfg.OutputString[3], std::string("AB\r\n'\0\x80", 7));
    EXPECT_EQ(cfg.AckString, "");
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(OutputStringsDialogTest, TheSummaryPointsOutCodesAbove255AndAnOpenQuote) {
    ui::OutputStringsDialog dialog(cfg, messages);
    dialog.Text()->setText("300");
    EXPECT_EQ(dialog.TextSummary()->text(), "Sends: , (1 byte)\nNote: 300 is above 255 and is sent "
                                            "as 44.");
    dialog.Text()->setText("'Hi, 1000'13,'there");
    EXPECT_EQ(dialog.TextSummary()->text(),
              "Sends: Hi, 1000<CR>there (14 bytes)\nNote: the last quote is not closed.");
    dialog.Text()->setText("0256 1 '9999' 0001 '");
    EXPECT_EQ(dialog.TextSummary()->text(), "Sends: <NUL><SOH>9999<SOH> (7 bytes)\nNote: 0256 is "
                                            "above 255 and is sent as 0.\nNote: the last quote "
                                            "is not closed.");
    std::string longer;
    for (int i = 0; i < 100; ++i)
        longer += static_cast<char>('A' + i % 26);
    dialog.Text()->SetBytes(longer);
    EXPECT_EQ(dialog.TextSummary()->text(),
              "Sends: " + QString::fromStdString(longer.substr(0, 40)) + "... (100 bytes)");
    dialog.Text()->clear();
    EXPECT_EQ(dialog.TextSummary()->text(), "Sends nothing.");
    // A character that does not fit in a byte cannot be typed; one that does can.
    QTest::keyClicks(dialog.Text(), "'5");
    for (const char16_t typed : {u'\u20AC', u'\u00E9'}) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, QString(QChar(typed)));
        QApplication::sendEvent(dialog.Text(), &press);
    }
    EXPECT_EQ(dialog.Text()->text(), QString::fromUtf8("'5\u00E9"));
    EXPECT_EQ(dialog.Text()->Bytes(), "5\xE9");
}

TEST_F(OutputStringsDialogTest, TheAsciiChartPutsItsCodeAtTheCursorOfTheStringBoxLastUsed) {
    ui::OutputStringsDialog dialog(cfg, messages);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    int picked = 13;
    dialog.pickCharacter = [&picked](int& code) {
        code = picked;
        return true;
    };
    dialog.Text()->setText("'ABCD'");
    dialog.Text()->setFocus();
    dialog.Text()->setCursorPosition(3); // between B and C, inside the quotes
    dialog.ChartButton()->click();
    EXPECT_EQ(dialog.Text()->text(), "'AB'13'CD'");
    EXPECT_EQ(dialog.Text()->Bytes(), "AB\rCD");

    dialog.Ack()->setText("1 2");
    dialog.Ack()->setFocus();
    dialog.Ack()->setCursorPosition(1); // right after the 1, before the blank
    picked = 7;
    dialog.ChartButton()->click();
    EXPECT_EQ(dialog.Ack()->Bytes(), "\x01\x07\x02");
    EXPECT_EQ(dialog.focusWidget(), dialog.Ack());
    EXPECT_EQ(dialog.Text()->Bytes(), "AB\rCD"); // the other box is left alone

    dialog.TimerText()->setText("'OK'");
    dialog.TimerText()->setFocus();
    dialog.TimerText()->selectAll();
    picked = 0;
    dialog.ChartButton()->click();
    EXPECT_EQ(dialog.TimerText()->Bytes(), std::string(1, '\0')); // the selection is replaced
}

TEST_F(OutputStringsDialogTest, CancelStoresNothing) {
    const config::Config before = cfg;
    ui::OutputStringsDialog dialog(cfg, messages);
    dialog.show();
    dialog.SelectString(2);
    dialog.Caption()->setText("Zero");
    dialog.Text()->setText("'Z'13");
    dialog.Ack()->setText("6");
    dialog.TimerText()->setText("'P'");
    dialog.Interval()->setText("1000");
    dialog.TimerOn()->setChecked(true);
    dialog.Action()->button(2)->setChecked(true);
    dialog.reject();
    EXPECT_EQ(cfg, before);
    EXPECT_TRUE(messages.shown.empty());
}
