// A configuration made through the setup window's dialogs alone, saved,
// and compared with the same settings made directly: `corvane config dump`
// of both files must be the same, so every dialog stores exactly what was
// entered, in the setting it belongs to, and nothing else.

#include "ui/DdeParametersDialog.h"
#include "ui/FieldDefinitionDialog.h"
#include "ui/HotKeysDialog.h"
#include "ui/OutputStringEdit.h"
#include "ui/OutputStringsDialog.h"
#include "ui/PortSetupDialog.h"
#include "ui/RecordDialogs.h"
#include "ui/SettingsDialogs.h"
#include "ui/SetupWindow.h"
#include "ui/TranslationTableDialog.h"

#include "config/ConfigFile.h"
#include "support/ProcessRunner.h"

#include "OffscreenApp.h"
#include "support/MemorySettingsStore.h"
#include "support/RecordingMessageSink.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

class SetupRoundTripTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }

    static nlohmann::json Dump(const std::string& file) {
        const auto result = testsupport::RunProgram({CORVANE_BINARY, "config", "dump", file});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return nlohmann::json::parse(result.out);
    }
    // The settings in which the two dumps differ.
    static std::vector<std::string> Differences(const nlohmann::json& a, const nlohmann::json& b) {
        std::vector<std::string> keys;
        for (const auto& [key, value] : a.items())
            if (!b.contains(key) || b[key] != value)
                keys.push_back(key);
        return keys;
    }

    testsupport::TempDir dir;
    config::Config cfg;
    config::MemorySettingsStore store;
    config::RecordingMessageSink messages;
    engine::Locale locale;
};

} // namespace

TEST_F(SetupRoundTripTest, EverySectionEditedThroughItsDialogIsSavedAsEntered) {
    ui::SetupWindow window(cfg, store, messages);
    config::Config want;

    {
        ui::PortSetupDialog port(cfg, messages);
        port.Port()->setCurrentIndex(2);
        port.Baud()->setCurrentIndex(8);
        port.ParityBox()->setCurrentIndex(1);
        port.DataBitsBox()->setCurrentIndex(3);
        port.StopBitsBox()->setCurrentIndex(2);
        port.Flow()->setCurrentIndex(1);
        port.InputBuffer()->setText("4096");
        port.OutputBuffer()->setText("256");
        port.accept();
    }
    want.PortNumber = 2;
    want.BaudRate = 8;
    want.Parity = 1;
    want.DataBits = 3;
    want.StopBits = 2;
    want.FlowControl = 1;
    want.InputBufferSize = 4096;
    want.OutputBufferSize = 256;

    ASSERT_TRUE(ui::EditRecordFraming(cfg, messages, nullptr, [](QDialog& d) {
        if (auto* events = dynamic_cast<ui::RecordEventsDialog*>(&d)) {
            events->StartEvents()->button(3)->setChecked(true);
            events->StartChars()->setText("$");
            events->EndEvents()->button(3)->setChecked(true);
            events->EndChars()->setText("#");
        } else if (auto* structure = dynamic_cast<ui::RecordStructureDialog*>(&d)) {
            structure->Choices()->button(1)->setChecked(true);
        } else if (auto* delimited = dynamic_cast<ui::NumberDialog*>(&d)) {
            delimited->Value()->setText("3");
            delimited->Delimiter()->setText(";");
        }
        d.accept();
        return d.result() == QDialog::Accepted;
    }));
    want.StartOfRecordEvent = 3;
    want.StartOfRecordChars = "$";
    want.EndOfRecordEvent = 3;
    want.EndOfRecordChars = "#";
    want.RecordStructure = 1;
    want.NumFields = 3;
    want.DelimiterChar = ";";

    {
        ui::FieldDefinitionDialog fields(cfg, messages, locale);
        fields.Preamble()->setText("{HOME}");
        fields.Filter()->setCurrentIndex(2);
        fields.Expression()->setText("field(1)*1000");
        fields.Format()->setEditText("0.0");
        fields.Postamble()->setText("{TAB}");
        fields.FieldNumber()->setValue(3);
        fields.Filter()->setCurrentIndex(3);
        fields.Format()->setEditText("Fixed");
        fields.accept();
    }
    want.RecordPreamble = "{HOME}";
    want.FieldFilter[1] = "N";
    want.FieldExpression[1] = "field(1)*1000";
    want.FieldFormat[1] = "0.0";
    want.FieldPostamble[1] = "{TAB}";
    want.FieldFilter[3] = "H";
    want.FieldFormat[3] = "Fixed";

    {
        ui::AppSelectDialog app(cfg, messages);
        app.Title()->setText("Untitled - Sheet");
        app.Command()->setText("gnumeric");
        app.Delay()->setText("5");
        app.accept();
    }
    want.TargetAppTitle = "Untitled - Sheet";
    want.TargetAppCommand = "gnumeric";
    want.InterCharDelay = 5;

    {
        ui::PreferencesDialog preferences(cfg, messages, locale);
        preferences.LogFile()->setText("/var/tmp/bench.log");
        preferences.Box("BeepOnInput")->setChecked(true);
        preferences.Box("ShowBreak")->setChecked(true);
        preferences.Box("ShowDateTime")->setChecked(true);
        preferences.DateTimeFormat()->setText("yyyy-mm-dd hh:nn");
        preferences.SpecifyTopic()->setChecked(true);
        preferences.Topic()->setText("Bench");
        preferences.accept();
    }
    want.LogFileName = "/var/tmp/bench.log";
    want.BeepOnInput = config::True;
    want.ButtonDisplay = 2;
    want.ShowDateTime = config::True;
    want.DateTimeFormat = "yyyy-mm-dd hh:nn";
    want.DdeTopicName = "Bench";

    window.ChooseTransferMode(config::LogToDisk);
    want.TransferMode = config::LogToDisk;

    {
        ui::TranslationTableDialog tables(cfg, ui::TranslationTableDialog::PreInput);
        tables.Codes()->setCurrentCell(27, 0);
        tables.VoidChoice()->click();
        tables.Codes()->setCurrentCell(10, 0);
        tables.IgnoreChoice()->click();
        // The log table, chosen in the same dialog: tabs become blanks.
        tables.Tables()->setCurrentIndex(ui::TranslationTableDialog::Log);
        tables.Codes()->setCurrentCell(9, 0);
        QTest::keyClicks(tables.Character(), " ");
        tables.accept();
    }
    want.PreInputTranslation[27] = "Void Record";
    want.PreInputTranslation[10] = "Ignore";
    want.LogTranslation[9] = ' ';

    {
        ui::OutputStringsDialog strings(cfg, messages);
        strings.SelectString(2);
        strings.Caption()->setText("Tare");
        QTest::keyClicks(strings.Text(), "'T'13,10");
        strings.Ack()->setText("6");
        strings.TimerText()->setText("'P'13");
        strings.Interval()->setText("2500");
        strings.TimerOn()->setChecked(true);
        strings.Action()->button(0)->setChecked(true);
        strings.accept();
    }
    want.OutputStringName[2] = "Tare";
    want.OutputString[2] = "T\r\n";
    want.AckString = "\x06";
    want.TimerString = "P\r";
    want.TimerInterval = 2500;
    want.TimerEnabled = 1 + 2;

    {
        ui::HotKeysDialog hotKeys(cfg, messages);
        hotKeys.SelectSlot(4);
        hotKeys.Key()->setCurrentIndex(hotKeys.Key()->findText("F5"));
        hotKeys.Alt()->setChecked(true);
        hotKeys.Ctrl()->setChecked(true);
        hotKeys.ActionList()->setCurrentIndex(hotKeys.ActionList()->findText("Transmit String"));
        QTest::keyClicks(hotKeys.Text(), "'Z'13");
        hotKeys.accept();
    }
    want.HotKeyCode[4] = (4 + 2) << 8 | 0x74; // Alt+Ctrl, F5
    want.HotKeyAction[4] = 1;
    want.HotKeyData[4] = "Z\r";

    {
        ui::DdeParametersDialog command(cfg, ui::DdeParametersDialog::TargetCommand);
        command.App()->setText("gnumeric");
        command.Topic()->setText("Sheet1");
        command.Item()->setText("[Refresh]");
        command.accept();
        ui::DdeParametersDialog link(cfg, ui::DdeParametersDialog::OutputLink);
        link.App()->setText("Corvane");
        link.Topic()->setText("COM2");
        link.Item()->setText("Field(1)");
        link.AutoLink()->setChecked(true);
        link.StripCrLf()->setChecked(false);
        link.accept();
    }
    want.DdeCmdApp = "gnumeric";
    want.DdeCmdTopic = "Sheet1";
    want.DdeCmdText = "[Refresh]";
    want.OutLinkApp = "Corvane";
    want.OutLinkTopic = "COM2";
    want.OutLinkItem = "Field(1)";
    want.OutLinkAuto = config::True;
    want.StripOutputCrLf = config::False;

    ASSERT_TRUE(messages.shown.empty()) << messages.shown.front().text;
    EXPECT_TRUE(cfg.ConfigChanged);
    const std::string made = (dir.path / "made.QX3").string();
    ASSERT_TRUE(window.SaveAs(made));
    EXPECT_FALSE(cfg.ConfigChanged);
    want.ConfigFileName = (dir.path / "want.QX3").string();
    ASSERT_TRUE(config::SaveConfigFile(want));
    const nlohmann::json dumped = Dump(made);
    EXPECT_EQ(dumped.size(), 62u); // every setting, arrays as one
    EXPECT_EQ(Differences(dumped, Dump(want.ConfigFileName)), std::vector<std::string>{});
}

// The README's walk-through, step by step: a new configuration made through
// the dialogs alone is the balance example.
TEST_F(SetupRoundTripTest, TheWalkThroughMakesTheBalanceExample) {
    ui::SetupWindow window(cfg, store, messages);
    {
        ui::PortSetupDialog port(cfg, messages);
        port.ParityBox()->setCurrentText("None");
        port.DataBitsBox()->setCurrentText("8");
        port.accept();
    }
    ASSERT_TRUE(ui::EditRecordFraming(cfg, messages, nullptr, [](QDialog& d) {
        if (auto* events = dynamic_cast<ui::RecordEventsDialog*>(&d))
            events->StartEvents()->button(2)->setChecked(true); // "Numeric Char Received"
        d.accept();
        return d.result() == QDialog::Accepted;
    }));
    {
        ui::FieldDefinitionDialog fields(cfg, messages, locale);
        fields.Preamble()->setText("{CENTURY}{YEAR}-{MONTH}-{DAY} {HOUR}:{MINUTE}:{SECOND};");
        fields.Filter()->setCurrentText("Numeric Data Only");
        fields.Expression()->setText("field(1)*1000");
        fields.Format()->setEditText("0.0");
        fields.Postamble()->setText(" mg");
        fields.accept();
    }
    window.ChooseTransferMode(config::LogToDisk);
    {
        ui::PreferencesDialog preferences(cfg, messages, locale);
        preferences.LogFile()->setText("balance.log");
        preferences.accept();
    }
    ASSERT_TRUE(messages.shown.empty()) << messages.shown.front().text;
    const std::string made = (dir.path / "balance.QX3").string();
    ASSERT_TRUE(window.SaveAs(made));

    const std::string example = (dir.path / "example.QX3").string();
    const auto built = testsupport::RunProgram(
        {CORVANE_BINARY, "config", "build", CORVANE_SOURCE_DIR "/examples/balance.json", example});
    ASSERT_EQ(built.exitCode, 0) << built.err;
    EXPECT_EQ(Differences(Dump(made), Dump(example)), std::vector<std::string>{});
}
