// The hot-key editor offscreen: a slot set up from the key list, the
// modifier boxes, the action list and the string, stored as HotKeyCode,
// HotKeyAction and HotKeyData; "None" clearing a slot; the refusal of a
// combination used twice; keys outside the list; Cancel.

#include "ui/HotKeysDialog.h"

#include "output/ProgramLauncher.h"
#include "ui/OutputStringEdit.h"

#include "OffscreenApp.h"
#include "support/RecordingMessageSink.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class HotKeysDialogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    config::Config cfg;
    config::RecordingMessageSink messages;

    static void ChooseKey(ui::HotKeysDialog& dialog, const char* name) {
        const int index = dialog.Key()->findText(name);
        ASSERT_GE(index, 0) << name;
        dialog.Key()->setCurrentIndex(index);
    }
    static QString Cell(ui::HotKeysDialog& dialog, int slot, int column) {
        return dialog.Slots()->item(slot, column)->text();
    }
};

} // namespace

TEST_F(HotKeysDialogTest, AltCtrlF5TransmittingAStringIsStoredWithTheModifiersInTheHighByte) {
    ui::HotKeysDialog dialog(cfg, messages);
    dialog.show();
    dialog.Slots()->setCurrentCell(2, 0);
    EXPECT_EQ(dialog.SelectedSlot(), 2);
    EXPECT_FALSE(dialog.ActionList()->isEnabled()); // no key yet: nothing to do
    ChooseKey(dialog, "F5");
    dialog.Alt()->setChecked(true);
    dialog.Ctrl()->setChecked(true);
    EXPECT_FALSE(dialog.Text()->isEnabled()); // action "None" sends nothing
    EXPECT_FALSE(dialog.ChartButton()->isEnabled());
    dialog.ActionList()->setCurrentIndex(dialog.ActionList()->findText("Transmit String"));
    ASSERT_TRUE(dialog.Text()->isEnabled());
    QTest::keyClicks(dialog.Text(), "'GO'1");
    dialog.pickCharacter = [](int& code) { return code = 10, true; };
    dialog.ChartButton()->click(); // right after a digit: kept apart by a comma
    EXPECT_EQ(dialog.Text()->text(), "'GO'1,10");
    dialog.Text()->setCursorPosition(5);
    QTest::keyClicks(dialog.Text(), "3");
    EXPECT_EQ(Cell(dialog, 2, 0), "ALT+CTRL+F5");
    EXPECT_EQ(Cell(dialog, 2, 1), "Transmit String");
    EXPECT_EQ(Cell(dialog, 2, 2), "GO<CR><LF>");
    dialog.accept();
    EXPECT_TRUE(messages.shown.empty());
    EXPECT_EQ(cfg.HotKeyCode[2], 0x0674); // (Alt 4 + Ctrl 2) << 8 | F5 (116)
    EXPECT_EQ(cfg.HotKeyAction[2], 1);
    EXPECT_EQ(cfg.HotKeyData[2], "GO\r\n");
    EXPECT_TRUE(cfg.ConfigChanged);

    ui::HotKeysDialog reopened(cfg, messages);
    EXPECT_EQ(Cell(reopened, 2, 0), "ALT+CTRL+F5");
    reopened.SelectSlot(2);
    EXPECT_EQ(reopened.Key()->currentText(), "F5");
    EXPECT_TRUE(reopened.Alt()->isChecked());
    EXPECT_TRUE(reopened.Ctrl()->isChecked());
    EXPECT_FALSE(reopened.Shift()->isChecked());
    EXPECT_EQ(reopened.Text()->text(), "'GO'13,10");
    reopened.Shift()->setChecked(true);
    reopened.accept();
    EXPECT_EQ(cfg.HotKeyCode[2], 0x0774);
}

TEST_F(HotKeysDialogTest, TheListsHoldTheKeysAndTheFourteenActionCaptionsAsWritten) {
    ui::HotKeysDialog dialog(cfg, messages);
    const QStringList actions = {"None",
                                 "Transmit String",
                                 "Issue BREAK Signal",
                                 "Toggle DTR for 100ms",
                                 "Enable  Timer",
                                 "Disable Timer",
                                 "Raise DTR Line",
                                 "Lower DTR Line",
                                 "Raise RTS Line",
                                 "Lower RTS Line",
                                 "Reset Corvane",
                                 "Suspend Corvane",
                                 "Enable  Corvane",
                                 "Enable For 1 Data Record"};
    ASSERT_EQ(dialog.ActionList()->count(), actions.size());
    for (int i = 0; i < actions.size(); ++i)
        EXPECT_EQ(dialog.ActionList()->itemText(i), actions[i]);
    ASSERT_EQ(dialog.Key()->count(), 53);
    EXPECT_EQ(dialog.Key()->itemText(0), "None");
    EXPECT_EQ(dialog.Key()->itemText(1), "SPACE");
    EXPECT_EQ(dialog.Key()->itemText(52), "Gray /");
    EXPECT_EQ(dialog.Slots()->rowCount(), 50);
}

TEST_F(HotKeysDialogTest, ChoosingNoneClearsTheSlot) {
    cfg.HotKeyCode[5] = 0x0274; // CTRL+F5
    cfg.HotKeyAction[5] = 1;
    cfg.HotKeyData[5] = "X\r";
    ui::HotKeysDialog dialog(cfg, messages);
    dialog.show();
    dialog.SelectSlot(5);
    EXPECT_EQ(dialog.Text()->text(), "'X'13");
    ChooseKey(dialog, "None");
    EXPECT_EQ(Cell(dialog, 5, 0), "None");
    EXPECT_EQ(Cell(dialog, 5, 1), "");
    EXPECT_FALSE(dialog.ActionList()->isEnabled());
    EXPECT_EQ(dialog.Text()->text(), "");
    dialog.accept();
    EXPECT_EQ(cfg.HotKeyCode[5], 0);
    EXPECT_EQ(cfg.HotKeyAction[5], 0);
    EXPECT_EQ(cfg.HotKeyData[5], "");
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(HotKeysDialogTest, TheSameCombinationInTwoSlotsIsRefusedWithTheLaterSlotSelected) {
    cfg.HotKeyCode[0] = 0x0674; // ALT+CTRL+F5
    cfg.HotKeyAction[0] = 2;
    ui::HotKeysDialog dialog(cfg, messages);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    dialog.SelectSlot(7);
    ChooseKey(dialog, "F5");
    dialog.Ctrl()->setChecked(true);
    EXPECT_TRUE(dialog.KeyNote()->isHidden()); // CTRL+F5 is free
    dialog.Alt()->setChecked(true);
    EXPECT_FALSE(dialog.KeyNote()->isHidden());
    EXPECT_TRUE(dialog.KeyNote()->text().contains("slot 1"))
        << dialog.KeyNote()->text().toStdString();
    dialog.ActionList()->setCurrentIndex(3);
    dialog.SelectSlot(9); // look elsewhere before OK
    dialog.accept();
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].title, "Duplicate Hot Key");
    EXPECT_EQ(messages.shown[0].text, "ALT+CTRL+F5 is already the hot key of slot 1.\rA key "
                                      "combination can start one action only.");
    EXPECT_EQ(dialog.SelectedSlot(), 7);
    EXPECT_EQ(dialog.focusWidget(), dialog.Key());
    EXPECT_EQ(cfg.HotKeyCode[7], 0); // nothing stored
    EXPECT_FALSE(cfg.ConfigChanged);

    dialog.Alt()->setChecked(false);
    dialog.accept();
    EXPECT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(cfg.HotKeyCode[7], 0x0274);
    EXPECT_EQ(cfg.HotKeyAction[7], 3);
}

TEST_F(HotKeysDialogTest, AConsoleSwitchCombinationIsKeptWithANoteThatItWillNotReachCorvane) {
    ui::HotKeysDialog dialog(cfg, messages);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    dialog.SelectSlot(4);
    ChooseKey(dialog, "F5");
    dialog.Ctrl()->setChecked(true);
    EXPECT_TRUE(dialog.KeyNote()->isHidden());
    dialog.Alt()->setChecked(true);
    EXPECT_FALSE(dialog.KeyNote()->isHidden());
    EXPECT_TRUE(dialog.KeyNote()->text().startsWith(
        "ALT+CTRL+F5 switches the desktop to a text console on Linux"))
        << dialog.KeyNote()->text().toStdString();
    dialog.Shift()->setChecked(true); // the keyboard map gives plain F5 then
    EXPECT_TRUE(dialog.KeyNote()->isHidden());
    dialog.Shift()->setChecked(false);
    dialog.ActionList()->setCurrentIndex(11);
    // Another slot shows its own note; coming back shows this one again.
    dialog.SelectSlot(5);
    EXPECT_TRUE(dialog.KeyNote()->isHidden());
    dialog.SelectSlot(4);
    EXPECT_FALSE(dialog.KeyNote()->isHidden());
    // A warning, not a refusal.
    dialog.accept();
    EXPECT_TRUE(messages.shown.empty());
    EXPECT_EQ(cfg.HotKeyCode[4], 0x0674);
    EXPECT_EQ(cfg.HotKeyAction[4], 11);
}

TEST_F(HotKeysDialogTest, AUsedSlotShowsTheCommandThatPressesItFromTheDesktop) {
    cfg.HotKeyCode[4] = 0x0274; // CTRL+F5
    cfg.HotKeyAction[4] = 11;
    cfg.DdeTopicName = "Bench 1";
    ui::HotKeysDialog dialog(cfg, messages);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    dialog.SelectSlot(4);
    EXPECT_FALSE(dialog.Command()->isHidden());
    EXPECT_EQ(dialog.Command()->text(),
              "From the desktop's keyboard settings: corvane hotkey 'Bench 1' 4");
    dialog.SelectSlot(5); // unused: nothing to press
    EXPECT_TRUE(dialog.Command()->isHidden());
    ChooseKey(dialog, "F9");
    EXPECT_FALSE(dialog.Command()->isHidden());
    EXPECT_TRUE(dialog.Command()->text().endsWith(" 5"));

    // The topic reaches the command as one word, whatever it holds.
    for (const std::string topic : {"COM1", "Bench 1", "it's", "a\"b$c"}) {
        const std::string command = ui::HotKeysDialog::HotKeyCommand(topic, 7);
        std::string why;
        const auto words = output::SplitCommandLine(command, why);
        ASSERT_TRUE(words.has_value()) << command;
        EXPECT_EQ(*words, (std::vector<std::string>{"corvane", "hotkey", topic, "7"})) << command;
    }
    EXPECT_EQ(ui::HotKeysDialog::HotKeyCommand("COM1", 0), "corvane hotkey COM1 0");
}

TEST_F(HotKeysDialogTest, OkAloneKeepsEverySlotAndCancelStoresNothing) {
    cfg.HotKeyCode[1] = 0x0441; // ALT+A: a letter, which the key list does not offer
    cfg.HotKeyAction[1] = 11;
    cfg.HotKeyCode[2] = 0x0013; // BREAK
    cfg.HotKeyAction[2] = 1;
    for (int code = 0; code < 256; ++code)
        cfg.HotKeyData[2] += static_cast<char>(code);
    cfg.HotKeyData[3] = "kept\r"; // a string in an unused slot
    const config::Config before = cfg;

    ui::HotKeysDialog dialog(cfg, messages);
    EXPECT_EQ(Cell(dialog, 1, 0), "ALT+A");
    EXPECT_EQ(Cell(dialog, 1, 1), "Suspend Corvane");
    dialog.SelectSlot(1);
    EXPECT_EQ(dialog.Key()->currentText(), "A");
    dialog.SelectSlot(2);
    EXPECT_EQ(dialog.Key()->count(), 53); // the extra entry went with its slot
    dialog.SelectSlot(3);
    dialog.accept();
    EXPECT_EQ(cfg, before);

    ui::HotKeysDialog cancelled(cfg, messages);
    cancelled.SelectSlot(1);
    ChooseKey(cancelled, "F9");
    cancelled.ActionList()->setCurrentIndex(1);
    cancelled.Text()->setText("65");
    cancelled.SelectSlot(2);
    ChooseKey(cancelled, "None");
    cancelled.reject();
    EXPECT_EQ(cfg, before);
    EXPECT_TRUE(messages.shown.empty());
}
