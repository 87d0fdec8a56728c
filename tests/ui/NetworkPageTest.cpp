// The Network page of the Preferences offscreen: it shows and writes the file
// beside the configuration, refuses what a run would refuse (on the page, with
// the focus on the box), writes nothing for an untitled configuration or one
// that never had a broker, and "Test Connection" asks a real broker.

#include "ui/NetworkPage.h"
#include "ui/SettingsDialogs.h"

#include "OffscreenApp.h"
#include "support/MqttBroker.h"
#include "support/ProcessRunner.h"
#include "support/RecordingMessageSink.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

class NetworkPageTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    void SetUp() override { cfg.ConfigFileName = (dir.path / "balance.QX3").string(); }
    std::string Ini() const { return (dir.path / "balance.mqtt.ini").string(); }

    testsupport::TempDir dir;
    config::Config cfg;
    config::RecordingMessageSink messages;
    engine::Locale locale;
};

} // namespace

TEST_F(NetworkPageTest, OkWritesTheFileBesideTheConfigurationAndTheNextPageShowsIt) {
    ui::PreferencesDialog dialog(cfg, messages, locale);
    dialog.show();
    ui::NetworkPage* page = dialog.Network();
    dialog.Pages()->setCurrentWidget(page);
    EXPECT_FALSE(page->Url()->isEnabled()) << "everything follows the switch";
    QTest::mouseClick(page->Enabled(), Qt::LeftButton, {}, QPoint(4, 4));
    ASSERT_TRUE(page->Enabled()->isChecked());
    EXPECT_TRUE(page->Url()->isEnabled());
    QTest::keyClicks(page->Url(), "mqtts://broker.lab/site/hall");
    QTest::keyClicks(page->User(), "lab");
    QTest::keyClicks(page->Password(), "s3cret");
    page->Qos()->setCurrentIndex(2);
    QTest::keyClicks(page->CaFile(), "/etc/lab/ca.pem");
    page->Commands()->setChecked(true);
    QTest::keyClicks(page->CommandFolder(), "/srv/lab");
    EXPECT_EQ(page->Topics()->text(),
              "Records go to site/hall/COM1/record, the runtime's status to "
              "site/hall/COM1/status.");
    EXPECT_EQ(page->Commands()->text(), "&Run the commands published to site/hall/COM1/execute");
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_TRUE(messages.shown.empty());
    EXPECT_FALSE(cfg.ConfigChanged) << "the configuration file itself is not touched";

    std::string why;
    const auto stored = output::ReadBrokerSettings(Ini(), why);
    ASSERT_TRUE(stored) << why;
    EXPECT_TRUE(stored->enabled);
    EXPECT_EQ(stored->url, "mqtts://broker.lab/site/hall");
    EXPECT_EQ(stored->user, "lab");
    EXPECT_EQ(stored->password, "s3cret");
    EXPECT_EQ(stored->qos, 2);
    EXPECT_EQ(stored->caFile, "/etc/lab/ca.pem");
    EXPECT_TRUE(stored->commands);
    EXPECT_EQ(stored->commandFolder, "/srv/lab");

    ui::NetworkPage again(cfg);
    EXPECT_EQ(again.Settings(), *stored);
    EXPECT_EQ(again.Password()->echoMode(), QLineEdit::Password);
}

TEST_F(NetworkPageTest, WhatARunWouldRefuseIsRefusedOnThePageAndNothingIsWritten) {
    ui::PreferencesDialog dialog(cfg, messages, locale);
    dialog.show();
    ui::NetworkPage* page = dialog.Network();
    page->Enabled()->setChecked(true);
    QTest::keyClicks(page->Url(), "mqtt://broker.lab");
    page->Commands()->setChecked(true); // without a user or a certificate
    dialog.accept();
    EXPECT_NE(dialog.result(), QDialog::Accepted);
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_NE(messages.shown[0].text.find("need a connection that authenticates"),
              std::string::npos);
    EXPECT_EQ(dialog.Pages()->currentWidget(), page);
    EXPECT_EQ(dialog.focusWidget(), page->Commands());
    EXPECT_FALSE(std::filesystem::exists(Ini()));

    page->Commands()->setChecked(false);
    page->Url()->setText("http://broker.lab");
    dialog.accept();
    ASSERT_EQ(messages.shown.size(), 2u);
    EXPECT_EQ(dialog.focusWidget(), page->Url());
    EXPECT_FALSE(std::filesystem::exists(Ini()));
}

TEST_F(NetworkPageTest, NoFileForAConfigurationThatNeverHadABrokerNorForAnUntitledOne) {
    ui::PreferencesDialog unchanged(cfg, messages, locale);
    unchanged.accept();
    EXPECT_EQ(unchanged.result(), QDialog::Accepted);
    EXPECT_FALSE(std::filesystem::exists(Ini()));

    config::Config untitled;
    ui::NetworkPage page(untitled);
    EXPECT_FALSE(page.Enabled()->isEnabled());
    EXPECT_TRUE(page.Path().empty());
    EXPECT_TRUE(page.Store());
}

TEST_F(NetworkPageTest, TestConnectionAsksTheBrokerWithWhatThePageShows) {
    if (testsupport::MosquittoProgram().empty())
        GTEST_SKIP() << "mosquitto is not installed (scripts/setup installs it)";
    testsupport::MqttBroker broker;
    ASSERT_TRUE(broker.Start()) << broker.Log();
    ui::NetworkPage page(cfg);
    page.show();
    page.Enabled()->setChecked(true);
    page.Url()->setText("mqtt://127.0.0.1:" + QString::number(broker.port()));
    QTest::mouseClick(page.TestButton(), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([&] { return page.TestResult()->text().startsWith("Connected"); },
                                10000))
        << page.TestResult()->text().toStdString();
    EXPECT_TRUE(page.TestButton()->isEnabled());

    broker.Stop();
    QTest::mouseClick(page.TestButton(), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return page.TestResult()->text().contains("connection refused"); }, 10000))
        << page.TestResult()->text().toStdString();
    EXPECT_FALSE(std::filesystem::exists(Ini())) << "a test saves nothing";
}
