// The DDE parameters dialog offscreen, for each of its three purposes: the
// texts stored only when one differs (and the configuration then marked
// changed), the check boxes stored every time, Cancel storing nothing.

#include "ui/DdeParametersDialog.h"

#include "OffscreenApp.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <gtest/gtest.h>

namespace {

using Dialog = ui::DdeParametersDialog;

class DdeParametersDialogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    config::Config cfg;
};

} // namespace

TEST_F(DdeParametersDialogTest, TargetCommandStoresTheTextsOnlyWhenOneDiffers) {
    Dialog unchanged(cfg, Dialog::TargetCommand);
    EXPECT_EQ(unchanged.windowTitle(), "Target Application DDE Command");
    EXPECT_EQ(unchanged.App()->text(), "Excel");
    EXPECT_EQ(unchanged.Topic()->text(), "System");
    EXPECT_EQ(unchanged.AutoLink(), nullptr);
    EXPECT_EQ(unchanged.StripCrLf(), nullptr);
    EXPECT_EQ(unchanged.BusName()->text(), "org.corvane.Excel.System");
    unchanged.accept();
    EXPECT_FALSE(cfg.ConfigChanged);

    Dialog dialog(cfg, Dialog::TargetCommand);
    dialog.show();
    dialog.App()->clear();
    QTest::keyClicks(dialog.App(), "org.example.Sheet");
    EXPECT_EQ(dialog.BusName()->text(), "org.example.Sheet.System");
    QTest::keyClicks(dialog.Item(), "[SELECT(\"R1C1\")]");
    dialog.accept();
    EXPECT_EQ(cfg.DdeCmdApp, "org.example.Sheet");
    EXPECT_EQ(cfg.DdeCmdTopic, "System");
    EXPECT_EQ(cfg.DdeCmdText, "[SELECT(\"R1C1\")]");
    EXPECT_TRUE(cfg.ConfigChanged);
    EXPECT_EQ(cfg.CmdLinkApp, ""); // the links are other settings
}

TEST_F(DdeParametersDialogTest, LinkCheckBoxesAreStoredEveryTimeWithoutMarkingAChange) {
    Dialog command(cfg, Dialog::CommandLink);
    EXPECT_EQ(command.windowTitle(), "DDE Command Link");
    ASSERT_NE(command.AutoLink(), nullptr);
    EXPECT_EQ(command.StripCrLf(), nullptr);
    EXPECT_FALSE(command.AutoLink()->isChecked());
    command.AutoLink()->setChecked(true);
    command.accept();
    EXPECT_EQ(cfg.CmdLinkAuto, config::True);
    EXPECT_FALSE(cfg.ConfigChanged);

    Dialog output(cfg, Dialog::OutputLink);
    EXPECT_EQ(output.windowTitle(), "DDE Output Buffer Link");
    EXPECT_EQ(output.BusName()->text(), "none: the application and the topic are both needed");
    ASSERT_NE(output.StripCrLf(), nullptr);
    EXPECT_TRUE(output.StripCrLf()->isChecked()); // the default
    output.StripCrLf()->setChecked(false);
    output.AutoLink()->setChecked(true);
    output.App()->setText("Corvane");
    output.Topic()->setText("COM2");
    output.Item()->setText("Field(1)");
    EXPECT_EQ(output.BusName()->text(), "org.corvane.Corvane.COM2");
    output.accept();
    EXPECT_EQ(cfg.OutLinkApp, "Corvane");
    EXPECT_EQ(cfg.OutLinkTopic, "COM2");
    EXPECT_EQ(cfg.OutLinkItem, "Field(1)");
    EXPECT_EQ(cfg.OutLinkAuto, config::True);
    EXPECT_EQ(cfg.StripOutputCrLf, config::False);
    EXPECT_TRUE(cfg.ConfigChanged);
    EXPECT_EQ(cfg.CmdLinkApp, "");

    const config::Config before = cfg;
    Dialog cancelled(cfg, Dialog::OutputLink);
    EXPECT_EQ(cancelled.Item()->text(), "Field(1)");
    cancelled.Item()->setText("Field(2)");
    cancelled.AutoLink()->setChecked(false);
    cancelled.reject();
    EXPECT_EQ(cfg, before);
}
