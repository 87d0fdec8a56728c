// The translation table editor offscreen: each kind of table edited through
// its controls and stored on OK, the keystroke parse verdict, switching and
// resetting tables, and what Cancel and an unchanged OK leave alone.

#include "ui/TranslationTableDialog.h"

#include "ui/AsciiChartDialog.h"
#include "ui/KeystrokePickerDialog.h"

#include "OffscreenApp.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

using Dialog = ui::TranslationTableDialog;

class TranslationTableDialogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }

    static QString Shown(const Dialog& d, int code) {
        return d.Codes()->item(code, Dialog::EntryColumn)->text();
    }
    static bool Bold(const Dialog& d, int code) {
        return d.Codes()->item(code, Dialog::EntryColumn)->font().bold();
    }
    static void Retype(QLineEdit* box, const char* text) {
        box->clear();
        QTest::keyClicks(box, text);
    }
    // Presses the chart button and picks code in the chart that opens.
    static void PickFromChart(Dialog& d, int code) {
        QTimer::singleShot(0, &d, [&d, code] {
            auto* chart = d.findChild<ui::AsciiChartDialog*>();
            ASSERT_NE(chart, nullptr);
            chart->SelectCode(code);
            chart->accept();
        });
        d.ChartButton()->click();
    }

    config::Config cfg;
};

} // namespace

TEST_F(TranslationTableDialogTest, PreInputEntriesAreAWordOrOneReplacementCharacter) {
    Dialog dialog(cfg, Dialog::PreInput);
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Translation Table - Pre-Input");
    EXPECT_TRUE(dialog.IgnoreChoice()->isVisible());
    EXPECT_FALSE(dialog.NulButton()->isVisible()); // NUL would not drop here

    dialog.Codes()->setCurrentCell(10, 0);
    dialog.IgnoreChoice()->click();
    EXPECT_EQ(Shown(dialog, 10), "Ignore");
    EXPECT_FALSE(dialog.Character()->isEnabled());

    dialog.Codes()->setCurrentCell(27, 0);
    dialog.VoidChoice()->click();
    dialog.Codes()->setCurrentCell(13, 0);
    EXPECT_EQ(dialog.Character()->placeholderText(), "CR");
    QTest::keyClicks(dialog.Character(), "|");
    EXPECT_EQ(dialog.Code()->value(), 124);
    dialog.Codes()->setCurrentCell(65, 0);
    dialog.Code()->setValue(0);
    EXPECT_EQ(Shown(dialog, 65), "NUL");
    EXPECT_TRUE(Bold(dialog, 65));

    // Back on a word entry, Replace brings the byte's own character back.
    dialog.Codes()->setCurrentCell(27, 0);
    EXPECT_TRUE(dialog.VoidChoice()->isChecked());
    EXPECT_EQ(Shown(dialog, 27), "Void Record");
    dialog.Codes()->setCurrentCell(10, 0);
    EXPECT_TRUE(dialog.IgnoreChoice()->isChecked());
    dialog.ReplaceChoice()->click();
    EXPECT_EQ(Shown(dialog, 10), "LF");
    EXPECT_FALSE(Bold(dialog, 10));

    dialog.accept();
    EXPECT_EQ(cfg.PreInputTranslation[10], "\n");
    EXPECT_EQ(cfg.PreInputTranslation[27], "Void Record");
    EXPECT_EQ(cfg.PreInputTranslation[13], "|");
    EXPECT_EQ(cfg.PreInputTranslation[65], std::string(1, '\0'));
    EXPECT_EQ(cfg.TranslationTable, config::BuildDefaultTranslation());
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(TranslationTableDialogTest, KeystrokeEntriesSayWhetherTheyParse) {
    Dialog dialog(cfg, Dialog::TableForMode(config::SendKeystrokes));
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Translation Table - Keystroke Mode");
    dialog.Codes()->setCurrentCell(10, 0);
    EXPECT_EQ(dialog.Keystrokes()->text(), "NUL");
    EXPECT_EQ(dialog.Verdict()->text(), "NUL: the character is dropped.");

    QTest::keyClicks(dialog.Keystrokes(), "x"); // "NULx": typed as letters
    EXPECT_EQ(dialog.Verdict()->text(), "Valid keystrokes.");
    Retype(dialog.Keystrokes(), "{ENTER");
    EXPECT_TRUE(dialog.Verdict()->text().contains("has no closing \"}\""));
    EXPECT_FALSE(dialog.Codes()->item(10, Dialog::EntryColumn)->toolTip().isEmpty());
    QTest::keyClicks(dialog.Keystrokes(), "}");
    EXPECT_EQ(dialog.Verdict()->text(), "Valid keystrokes.");
    EXPECT_TRUE(dialog.Codes()->item(10, Dialog::EntryColumn)->toolTip().isEmpty());

    const struct {
        const char* text;
        const char* reason;
    } faults[] = {{"{FOO}", "unknown key name"},
                  {"(ab", "has no closing \")\""},
                  {"{TAB 0}", "repeat count"}};
    dialog.Codes()->setCurrentCell(65, 0);
    for (const auto& f : faults) {
        Retype(dialog.Keystrokes(), f.text);
        EXPECT_TRUE(dialog.Verdict()->text().startsWith("Not valid keystrokes"));
        EXPECT_TRUE(dialog.Verdict()->text().contains(f.reason)) << f.text;
    }
    dialog.NulButton()->click();
    EXPECT_EQ(Shown(dialog, 65), "NUL");

    // A notation character picked from the chart is braced.
    dialog.Codes()->setCurrentCell(66, 0);
    dialog.Keystrokes()->clear();
    PickFromChart(dialog, '+');
    EXPECT_EQ(dialog.Keystrokes()->text(), "{+}");
    // A key name from the keystroke picker goes in at the cursor.
    QTimer::singleShot(0, &dialog, [&dialog] {
        auto* picker = dialog.findChild<ui::KeystrokePickerDialog*>();
        ASSERT_NE(picker, nullptr);
        ASSERT_TRUE(picker->SelectText("{TAB}"));
        picker->accept();
    });
    dialog.KeysButton()->click();
    EXPECT_EQ(dialog.Keystrokes()->text(), "{+}{TAB}");
    EXPECT_EQ(Shown(dialog, 66), "{+}{TAB}");

    dialog.accept();
    EXPECT_EQ(cfg.TranslationTable[10], "{ENTER}");
    EXPECT_EQ(cfg.TranslationTable[65], "NUL");
    EXPECT_EQ(cfg.TranslationTable[66], "{+}{TAB}");
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(TranslationTableDialogTest, DdeAndLogTablesTakeOneCharacterPerCode) {
    Dialog dialog(cfg, Dialog::TableForMode(config::DdeServer));
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Translation Table - DDE Server Mode");
    EXPECT_FALSE(dialog.IgnoreChoice()->isVisible());
    EXPECT_EQ(Shown(dialog, 13), "NUL"); // control characters vanish by default
    dialog.Codes()->setCurrentCell(13, 0);
    PickFromChart(dialog, 'A');
    EXPECT_EQ(dialog.Code()->value(), 65);
    dialog.Codes()->setCurrentCell(66, 0);
    dialog.NulButton()->click();
    EXPECT_EQ(Shown(dialog, 66), "NUL");

    dialog.Tables()->setCurrentIndex(Dialog::Log);
    EXPECT_EQ(dialog.windowTitle(), "Translation Table - Log To Disk Mode");
    EXPECT_EQ(Shown(dialog, 66), "B"); // each table keeps its own entries
    EXPECT_EQ(Shown(dialog, 13), "CR");
    dialog.Codes()->setCurrentCell(200, 0);
    dialog.NulButton()->click();
    dialog.Codes()->setCurrentCell(0, 0);
    QTest::keyClicks(dialog.Character(), "Z");

    dialog.accept();
    ASSERT_EQ(cfg.DdeTranslation.size(), 256u);
    EXPECT_EQ(cfg.DdeTranslation[13], 'A');
    EXPECT_EQ(cfg.DdeTranslation[66], '\0');
    EXPECT_EQ(cfg.DdeTranslation[67], 'C');
    ASSERT_EQ(cfg.LogTranslation.size(), 256u);
    EXPECT_EQ(cfg.LogTranslation[0], 'Z');
    EXPECT_EQ(cfg.LogTranslation[200], '\0');
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(TranslationTableDialogTest, OnlyAnEditThatStaysDifferentMarksTheConfigurationChanged) {
    for (int table = Dialog::PreInput; table <= Dialog::Log; ++table) {
        Dialog dialog(cfg, static_cast<Dialog::Table>(table));
        EXPECT_EQ(dialog.windowTitle(), Dialog::Caption(static_cast<Dialog::Table>(table)));
        dialog.accept();
    }
    EXPECT_FALSE(cfg.ConfigChanged);

    // Changed and changed back: nothing differs.
    Dialog back(cfg, Dialog::Log);
    back.Codes()->setCurrentCell(65, 0);
    back.Code()->setValue(66);
    back.Code()->setValue(65);
    back.accept();
    EXPECT_FALSE(cfg.ConfigChanged);

    Dialog cancelled(cfg, Dialog::Keystroke);
    cancelled.Codes()->setCurrentCell(9, 0);
    Retype(cancelled.Keystrokes(), "{TAB 2}");
    cancelled.reject();
    EXPECT_EQ(cfg.TranslationTable[9], "{TAB}");
    EXPECT_FALSE(cfg.ConfigChanged);
}

TEST_F(TranslationTableDialogTest, ResetPutsOnlyTheShownTableBackToItsDefault) {
    cfg.LogTranslation[5] = 'x';
    cfg.TranslationTable[5] = "{F5}";
    const config::Config before = cfg;

    Dialog cancelled(cfg, Dialog::Log);
    EXPECT_EQ(Shown(cancelled, 5), "x");
    EXPECT_TRUE(Bold(cancelled, 5));
    cancelled.ResetButton()->click();
    EXPECT_EQ(Shown(cancelled, 5), "ENQ");
    EXPECT_FALSE(Bold(cancelled, 5));
    cancelled.reject();
    EXPECT_EQ(cfg, before);

    Dialog dialog(cfg, Dialog::Log);
    dialog.ResetButton()->click();
    dialog.accept();
    EXPECT_EQ(cfg.LogTranslation, config::IdentityTranslation());
    EXPECT_EQ(cfg.TranslationTable[5], "{F5}");
    EXPECT_TRUE(cfg.ConfigChanged);
}
