// The field definition editor and the keystroke picker offscreen: the length
// refusals while typing and on OK, the number of fixed length fields, what OK
// and Cancel store, the filter list, the live samples and the macro checks.

#include "ui/FieldDefinitionDialog.h"
#include "ui/AsciiChartDialog.h"
#include "ui/KeystrokePickerDialog.h"

#include "OffscreenApp.h"
#include "output/KeySender.h"
#include "support/RecordingMessageSink.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <gtest/gtest.h>

namespace {

const std::string LengthRule = "Field length must be between 1 and 32766.";

class FieldDefinitionDialogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    void FixedLengthFields(int endEvent = 0, int recordLength = 0) {
        cfg.RecordStructure = 2;
        cfg.EndOfRecordEvent = static_cast<config::Integer>(endEvent);
        cfg.RecordLength = static_cast<config::Integer>(recordLength);
        cfg.NumFields = 40;
    }
    // Types the lengths of fields 1, 2, ... into the dialog.
    static void TypeLengths(ui::FieldDefinitionDialog& d,
                            std::initializer_list<const char*> lengths) {
        int field = 1;
        for (const char* length : lengths) {
            d.FieldNumber()->setValue(field++);
            d.Length()->clear();
            QTest::keyClicks(d.Length(), length);
        }
    }

    config::Config cfg;
    config::RecordingMessageSink messages;
    engine::Locale locale;
};

} // namespace

TEST_F(FieldDefinitionDialogTest, LengthsOutOfRangeAreRefusedWhileTypingAndOnOk) {
    FixedLengthFields();
    ui::FieldDefinitionDialog dialog(cfg, messages, locale);
    dialog.show();
    EXPECT_EQ(dialog.FieldNumber()->maximum(), 40);

    QTest::keyClicks(dialog.Length(), "0");
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text, LengthRule);
    EXPECT_EQ(messages.shown[0].title, "Field Length Error");
    EXPECT_EQ(dialog.Length()->text(), ""); // the keystroke is undone: still unused

    QTest::keyClicks(dialog.Length(), "32767");
    EXPECT_EQ(messages.shown.size(), 2u);
    EXPECT_EQ(dialog.Length()->text(), "3276");
    QTest::keyClicks(dialog.Length(), "6");
    EXPECT_EQ(dialog.Length()->text(), "32766"); // the largest length is taken
    EXPECT_EQ(messages.shown.size(), 2u);

    // A length that got into a box without typing is refused on OK, on its
    // own field.
    dialog.FieldNumber()->setValue(3);
    dialog.Length()->setText("0");
    dialog.FieldNumber()->setValue(1);
    dialog.accept();
    ASSERT_EQ(messages.shown.size(), 3u);
    EXPECT_EQ(messages.shown[2].text, LengthRule);
    EXPECT_EQ(dialog.FieldNumber()->value(), 3);
    EXPECT_EQ(dialog.focusWidget(), dialog.Length());
    EXPECT_TRUE(messages.beeps.empty());
    EXPECT_EQ(cfg.FieldLength[1], 0); // nothing stored
    EXPECT_EQ(dialog.result(), QDialog::Rejected);

    dialog.Length()->clear();
    dialog.accept();
    EXPECT_EQ(cfg.FieldLength[1], 32766);
    EXPECT_EQ(cfg.NumFields, 1);
}

TEST_F(FieldDefinitionDialogTest, WithAFixedNumberOfBytesTheLengthsMustAddUpToTheRecordLength) {
    FixedLengthFields(2, 20);
    ui::FieldDefinitionDialog dialog(cfg, messages, locale);
    dialog.show();
    TypeLengths(dialog, {"8", "10"});
    dialog.accept();
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text,
              "Total sum of field lengths is not equal to the total record length. ( 20).");
    EXPECT_EQ(messages.shown[0].title, "Field Length Error");
    EXPECT_EQ(messages.beeps.size(), 1u);
    EXPECT_EQ(dialog.focusWidget(), dialog.Length());
    EXPECT_EQ(cfg.FieldLength[1], 0);
    EXPECT_EQ(cfg.NumFields, 40);
    EXPECT_FALSE(cfg.ConfigChanged);

    TypeLengths(dialog, {"8", "12"});
    dialog.accept();
    EXPECT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(cfg.FieldLength[1], 8);
    EXPECT_EQ(cfg.FieldLength[2], 12);
    EXPECT_EQ(cfg.NumFields, 2);
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(FieldDefinitionDialogTest, TheNumberOfFixedFieldsIsTheCountOfLeadingLengths) {
    FixedLengthFields();
    ui::FieldDefinitionDialog gap(cfg, messages, locale);
    gap.show();
    TypeLengths(gap, {"5", "5", "", "7"});
    gap.accept();
    EXPECT_EQ(cfg.NumFields, 2);
    EXPECT_EQ(cfg.FieldLength[4], 7); // kept although not counted

    // With every field given a length the count stays as it was.
    for (int i = 1; i <= config::MaxFields; ++i)
        cfg.FieldLength[static_cast<std::size_t>(i)] = 1;
    cfg.NumFields = 7;
    ui::FieldDefinitionDialog all(cfg, messages, locale);
    all.accept();
    EXPECT_EQ(cfg.NumFields, 7);
    EXPECT_TRUE(messages.shown.empty());
}

TEST_F(FieldDefinitionDialogTest, OkStoresEveryFieldEditedAndMarksOnlyARealChange) {
    cfg.RecordStructure = 1;
    cfg.NumFields = 3;
    cfg.FieldFilter[2] = "x"; // not a filter letter: it stays unless chosen anew
    cfg.FieldExpression[1] = "field(1)*2";
    cfg.FieldLength[1] = 4; // not editable without fixed length fields
    {
        ui::FieldDefinitionDialog unchanged(cfg, messages, locale);
        unchanged.FieldNumber()->setValue(2);
        unchanged.FieldNumber()->setValue(3);
        unchanged.accept();
    }
    EXPECT_FALSE(cfg.ConfigChanged);
    EXPECT_EQ(cfg.FieldFilter[2], "x");

    const config::Config before = cfg;
    {
        ui::FieldDefinitionDialog cancelled(cfg, messages, locale);
        cancelled.Preamble()->setText("{HOME}");
        cancelled.Expression()->setText("1");
        cancelled.reject();
    }
    EXPECT_EQ(cfg.RecordPreamble, before.RecordPreamble);
    EXPECT_EQ(cfg.FieldExpression, before.FieldExpression);
    EXPECT_FALSE(cfg.ConfigChanged);

    ui::FieldDefinitionDialog dialog(cfg, messages, locale);
    EXPECT_EQ(dialog.FieldNumber()->maximum(), 3);
    EXPECT_FALSE(dialog.Length()->isEnabled());
    dialog.FieldNumber()->setValue(3);
    dialog.Expression()->setText("field(1)+1");
    dialog.Format()->setEditText("0.000");
    dialog.Postamble()->setText("{TAB}");
    dialog.FieldNumber()->setValue(1); // switching fields keeps what was typed
    EXPECT_EQ(dialog.Expression()->text(), "field(1)*2");
    dialog.Format()->setCurrentIndex(dialog.Format()->findText("Percent"));
    dialog.accept();
    EXPECT_EQ(cfg.FieldExpression[3], "field(1)+1");
    EXPECT_EQ(cfg.FieldFormat[3], "0.000");
    EXPECT_EQ(cfg.FieldPostamble[3], "{TAB}");
    EXPECT_EQ(cfg.FieldFormat[1], "Percent");
    EXPECT_EQ(cfg.FieldExpression[1], "field(1)*2");
    EXPECT_EQ(cfg.FieldLength[1], 4);
    EXPECT_EQ(cfg.NumFields, 3);
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(FieldDefinitionDialogTest, TheFilterListMapsToTheLettersBothWays) {
    const std::string letters = "CINHOB";
    for (int i = 0; i < 6; ++i) {
        const std::string letter(1, letters[static_cast<std::size_t>(i)]);
        EXPECT_EQ(ui::FieldDefinitionDialog::FilterLetter(i), letter);
        EXPECT_EQ(ui::FieldDefinitionDialog::FilterIndex(letter), i);
    }
    EXPECT_EQ(ui::FieldDefinitionDialog::FilterIndex("x"), 0); // filters like "C"
    EXPECT_EQ(ui::FieldDefinitionDialog::FilterIndex(""), 0);

    cfg.RecordStructure = 1;
    cfg.NumFields = 2;
    cfg.FieldFilter[2] = "O";
    ui::FieldDefinitionDialog dialog(cfg, messages, locale);
    dialog.FieldNumber()->setValue(2);
    EXPECT_EQ(dialog.Filter()->currentText(), "Octal To Decimal");
    dialog.FieldNumber()->setValue(1);
    dialog.Filter()->setCurrentIndex(dialog.Filter()->findText("Hex To Decimal"));
    dialog.accept();
    EXPECT_EQ(cfg.FieldFilter[1], "H");
    EXPECT_EQ(cfg.FieldFilter[2], "O");
}

TEST_F(FieldDefinitionDialogTest, SamplesShowTheExpressionAndTheFormatInTheGivenLocale) {
    locale.DecimalSeparator = ',';
    locale.ThousandsSeparator = '.';
    ui::FieldDefinitionDialog dialog(cfg, messages, locale);
    dialog.SampleValue()->setText("1234,5");
    dialog.Expression()->setText("field(1)*2");
    EXPECT_EQ(dialog.ExpressionSample()->text(), "2469");
    dialog.Format()->setEditText("Standard");
    EXPECT_EQ(dialog.FormatSample()->text(), "2.469,00");
    dialog.SampleValue()->setText("0,125");
    dialog.Expression()->clear();
    dialog.Format()->setEditText("Percent");
    EXPECT_EQ(dialog.FormatSample()->text(), "12,50%");

    dialog.Expression()->setText("(1+2");
    EXPECT_EQ(dialog.ExpressionSample()->text(), "error in the math expression");
    dialog.Expression()->setText("sqr(-1)");
    EXPECT_EQ(dialog.ExpressionSample()->text(), "error in the math expression");
    dialog.Expression()->setText("field(1) > 0");
    dialog.Format()->setEditText("Yes/No");
    EXPECT_EQ(dialog.ExpressionSample()->text(), "True");
    EXPECT_EQ(dialog.FormatSample()->text(), "Yes");
}

TEST_F(FieldDefinitionDialogTest, MacrosSayWhetherTheyAreKeystrokesOrHowTheModeUsesThem) {
    ui::FieldDefinitionDialog dialog(cfg, messages, locale);
    // The date/time tokens are filled in before the text is read as keys.
    dialog.Preamble()->setText("{HOUR}:{MINUTE}{TAB 2}+(abc)~");
    EXPECT_EQ(dialog.PreambleCheck()->text(), "Valid keystrokes.");
    const struct {
        const char* text;
        int code;
    } bad[] = {{"{TAB", 1}, {"{FOO}", 2}, {"+(abc", 3}, {"{TAB 0}", 4}};
    for (const auto& b : bad) {
        dialog.Postamble()->setText(b.text);
        EXPECT_EQ(dialog.PostambleCheck()->text(),
                  "Not valid keystrokes: " + ui::FieldDefinitionDialog::KeyParseMessage(b.code) +
                      ".")
            << b.text;
    }
    EXPECT_NE(ui::FieldDefinitionDialog::KeyParseMessage(2),
              ui::FieldDefinitionDialog::KeyParseMessage(3));
    dialog.Postamble()->setText(QString(4097, 'a'));
    EXPECT_EQ(dialog.PostambleCheck()->text(),
              "Not valid keystrokes: too many keys (more than 4096).");

    // Characters the box cannot show are named once each, however long the macro.
    dialog.Postamble()->setText("a\rb");
    EXPECT_EQ(dialog.PostambleCheck()->text(),
              "Valid keystrokes.\nAlso holds <CR>, which the box cannot show.");
    dialog.Postamble()->setText("{FOO}\x1b");
    EXPECT_EQ(dialog.PostambleCheck()->text(),
              "Not valid keystrokes: " + ui::FieldDefinitionDialog::KeyParseMessage(2) +
                  ".\nAlso holds <ESC>, which the box cannot show.");

    cfg.TransferMode = config::LogToDisk;
    ui::FieldDefinitionDialog log(cfg, messages, locale);
    log.Postamble()->setText("{FOO}");
    EXPECT_EQ(log.PostambleCheck()->text(),
              "Log To Disk mode writes this text, date and time tokens filled in.");
    log.Postamble()->setText(QString(50, 'x'));
    EXPECT_EQ(log.PostambleCheck()->text(),
              "Log To Disk mode writes this text, date and time tokens filled in.");
    log.Postamble()->setText(QString(50, 'x') + " mg\t;\t\r\n");
    EXPECT_EQ(log.PostambleCheck()->text(),
              "Log To Disk mode writes this text, date and time tokens filled in.\nAlso holds "
              "<TAB> <CR> <LF>, which the box cannot show.");
}

TEST_F(FieldDefinitionDialogTest, ThePickersInsertAtTheCursor) {
    ui::KeystrokePickerDialog picker;
    picker.show();
    ASSERT_TRUE(picker.SelectText("{TAB}"));
    EXPECT_EQ(picker.SelectedText(), "{TAB}");
    picker.Repeat()->setValue(3);
    EXPECT_EQ(picker.SelectedText(), "{TAB 3}");
    ASSERT_TRUE(picker.SelectText("{}}"));
    EXPECT_EQ(picker.SelectedText(), "{} 3}");
    ASSERT_TRUE(picker.SelectText("^"));
    EXPECT_FALSE(picker.Repeat()->isEnabled());
    EXPECT_EQ(picker.SelectedText(), "^");
    EXPECT_FALSE(picker.SelectText("{SHIFT}"));
    // Whatever the picker offers is valid keystroke text.
    int offered = 0;
    for (QTreeWidgetItemIterator it(picker.Keys(), QTreeWidgetItemIterator::Selectable); *it;
         ++it) {
        output::UsKeyboard keyboard;
        std::vector<std::uint16_t> queue;
        const std::string text = (*it)->text(0).toStdString();
        EXPECT_EQ(output::ParseKeyString(text, keyboard, queue), output::KeysOk) << text;
        ++offered;
    }
    EXPECT_EQ(offered, static_cast<int>(output::KeyNameTable().size()) + 4 + 8);

    // A double click on a key chooses it.
    QTreeWidget* keys = picker.Keys();
    picker.Repeat()->setValue(1);
    picker.SelectText("{F1}");
    QApplication::processEvents();
    const QRect f1 = keys->visualItemRect(keys->currentItem());
    QTest::mouseClick(keys->viewport(), Qt::LeftButton, {}, f1.center());
    QTest::mouseDClick(keys->viewport(), Qt::LeftButton, {}, f1.center());
    EXPECT_EQ(picker.result(), QDialog::Accepted);
    EXPECT_EQ(picker.SelectedText(), "{F1}");

    ui::FieldDefinitionDialog dialog(cfg, messages, locale);
    dialog.SetPickerRunner([](QDialog& d) {
        if (auto* p = qobject_cast<ui::KeystrokePickerDialog*>(&d))
            return p->SelectText("{TAB}");
        if (auto* chart = qobject_cast<ui::AsciiChartDialog*>(&d)) {
            chart->SelectCode('+');
            return true;
        }
        return false;
    });
    dialog.Postamble()->setText("ab");
    dialog.Postamble()->setCursorPosition(1);
    dialog.findChild<QPushButton*>("PostambleKeys")->click();
    EXPECT_EQ(dialog.Postamble()->text(), "a{TAB}b");
    dialog.findChild<QPushButton*>("PostambleChars")->click(); // "+" is notation: braced
    EXPECT_EQ(dialog.Postamble()->text(), "a{TAB}{+}b");
    dialog.accept();
    EXPECT_EQ(cfg.FieldPostamble[1], "a{TAB}{+}b");

    cfg.TransferMode = config::LogToDisk;
    ui::FieldDefinitionDialog log(cfg, messages, locale);
    log.SetPickerRunner([](QDialog& d) {
        static_cast<ui::AsciiChartDialog&>(d).SelectCode(13);
        return true;
    });
    log.findChild<QPushButton*>("PreambleChars")->click();
    // The box cannot show a carriage return; the check line names it.
    EXPECT_EQ(
        log.PreambleCheck()->text(),
        "Log To Disk mode writes this text, date and time tokens filled in.\nAlso holds <CR>, "
        "which the box cannot show.");
    log.accept();
    EXPECT_EQ(cfg.RecordPreamble, "\r");
}
