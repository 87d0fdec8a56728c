// The Send Keystrokes To and Preferences dialogs offscreen: what OK stores,
// the coupled settings, and the blank-topic refusal.

#include "ui/SettingsDialogs.h"

#include "OffscreenApp.h"
#include "support/MemorySettingsStore.h"
#include "support/RecordingMessageSink.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class SettingsDialogsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    config::Config cfg;
    config::RecordingMessageSink messages;
    engine::Locale locale;
};

} // namespace

TEST_F(SettingsDialogsTest, SendKeystrokesToStoresTrimmedTextsAndDerivesActivateTarget) {
    ui::AppSelectDialog unchanged(cfg, messages);
    unchanged.accept();
    EXPECT_FALSE(cfg.ConfigChanged);

    ui::AppSelectDialog dialog(cfg, messages);
    dialog.show();
    dialog.Title()->setText("  Untitled 1 - LibreOffice Calc  ");
    dialog.Delay()->clear();
    QTest::keyClicks(dialog.Delay(), "1x5");
    EXPECT_EQ(dialog.Delay()->text(), "15"); // only digits are taken
    EXPECT_EQ(messages.beeps.size(), 1u);    // and the other key beeps
    QTest::keyClick(dialog.Delay(), Qt::Key_Backspace);
    QTest::keyClicks(dialog.Delay(), "5");
    EXPECT_EQ(dialog.Delay()->text(), "15");
    EXPECT_EQ(messages.beeps.size(), 1u); // Backspace is a key the box takes
    dialog.accept();
    EXPECT_EQ(cfg.TargetAppTitle, "Untitled 1 - LibreOffice Calc");
    EXPECT_EQ(cfg.InterCharDelay, 15);
    EXPECT_TRUE(cfg.ActivateTarget);
    EXPECT_TRUE(cfg.ConfigChanged);

    cfg.ConfigChanged = config::False;
    ui::AppSelectDialog cleared(cfg, messages);
    cleared.Title()->clear();
    cleared.accept();
    EXPECT_EQ(cfg.TargetAppTitle, "");
    EXPECT_FALSE(cfg.ActivateTarget); // neither text: nothing to activate
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(SettingsDialogsTest, PreferencesCoupleTheButtonsAndRefuseABlankTopic) {
    ui::PreferencesDialog unchanged(cfg, messages, locale);
    unchanged.accept();
    EXPECT_FALSE(cfg.ConfigChanged);

    ui::PreferencesDialog dialog(cfg, messages, locale);
    dialog.show();
    dialog.DateTimeFormat()->setText("yyyy-mm-dd hh:nn");
    EXPECT_EQ(dialog.DateTimeSample()->text(), "2026-11-15 14:05");
    dialog.Box("ShowBreak")->setChecked(true);
    dialog.Box("AlwaysOnTop")->setChecked(true);
    dialog.SpecifyTopic()->setChecked(true);
    dialog.Topic()->setText("   ");
    dialog.accept();
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].title, "Invalid DDE Topic");
    EXPECT_EQ(messages.shown[0].text, "DDE Topic value cannot be blank.\rPlease enter the text "
                                      "that you want to use as the DDE Topic for Corvane.");
    EXPECT_EQ(messages.beeps.size(), 1u);
    EXPECT_EQ(dialog.focusWidget(), dialog.Topic());
    EXPECT_EQ(cfg.ButtonDisplay, 0); // nothing stored
    EXPECT_FALSE(cfg.AlwaysOnTop);

    dialog.Topic()->setText(" Scale ");
    dialog.accept();
    EXPECT_EQ(cfg.ButtonDisplay, 2);
    EXPECT_EQ(cfg.AlwaysOnTop, config::True);
    EXPECT_EQ(cfg.DdeTopicName, "Scale");
    EXPECT_EQ(cfg.DateTimeFormat, "yyyy-mm-dd hh:nn");
    EXPECT_TRUE(cfg.ConfigChanged);

    ui::PreferencesDialog again(cfg, messages, locale);
    EXPECT_TRUE(again.SpecifyTopic()->isChecked());
    again.Box("ShowDtr")->setChecked(true);
    again.UsePortName()->setChecked(true);
    again.accept();
    EXPECT_EQ(cfg.ButtonDisplay, 3);
    EXPECT_EQ(cfg.DdeTopicName, ""); // the port's name again
}

TEST_F(SettingsDialogsTest, TheKeystrokeBackendIsKeptForTheUserNotInTheConfiguration) {
    config::MemorySettingsStore store;
    ui::PreferencesDialog dialog(cfg, messages, locale, nullptr, &store);
    ASSERT_NE(dialog.KeystrokeBackend(), nullptr);
    EXPECT_EQ(dialog.KeystrokeBackend()->currentData().toString(), "auto");
    dialog.KeystrokeBackend()->setCurrentIndex(dialog.KeystrokeBackend()->findData("wlroots"));
    // A refusal stores nothing, this choice neither.
    dialog.SpecifyTopic()->setChecked(true);
    dialog.Topic()->setText("");
    dialog.accept();
    EXPECT_FALSE(store.Get("Corvane", "Preferences", "KeystrokeBackend"));
    dialog.UsePortName()->setChecked(true);
    dialog.accept();
    EXPECT_EQ(store.Get("Corvane", "Preferences", "KeystrokeBackend"), "wlroots");
    EXPECT_FALSE(cfg.ConfigChanged);

    ui::PreferencesDialog again(cfg, messages, locale, nullptr, &store);
    EXPECT_EQ(again.KeystrokeBackend()->currentData().toString(), "wlroots");
    again.KeystrokeBackend()->setCurrentIndex(again.KeystrokeBackend()->findData("auto"));
    again.accept();
    EXPECT_FALSE(store.Get("Corvane", "Preferences", "KeystrokeBackend"));
    // Without a store there is no such choice.
    EXPECT_EQ(ui::PreferencesDialog(cfg, messages, locale).KeystrokeBackend(), nullptr);
}
