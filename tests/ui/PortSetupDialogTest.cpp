// The Serial Port Settings dialog offscreen: what OK stores, and the buffer
// size rule while typing and on OK.

#include "ui/PortSetupDialog.h"

#include "OffscreenApp.h"
#include "support/RecordingMessageSink.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class PortSetupDialogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    config::Config cfg;
    config::RecordingMessageSink messages;
};

} // namespace

TEST_F(PortSetupDialogTest, OkStoresEveryListAndBufferAndMarksTheChange) {
    ui::PortSetupDialog unchanged(cfg, messages);
    unchanged.accept();
    EXPECT_FALSE(cfg.ConfigChanged); // nothing differed

    ui::PortSetupDialog dialog(cfg, messages, [](const std::string& com) {
        return com == "COM3" ? std::string("/dev/ttyUSB0") : std::string();
    });
    EXPECT_EQ(dialog.Baud()->currentText(), "9600");
    EXPECT_EQ(dialog.ParityBox()->currentText(), "Even");
    dialog.Port()->setCurrentIndex(2);
    EXPECT_EQ(dialog.findChild<QLabel*>("Device")->text(), "opens /dev/ttyUSB0");
    dialog.Baud()->setCurrentIndex(11);
    dialog.ParityBox()->setCurrentIndex(0);
    dialog.DataBitsBox()->setCurrentIndex(3);
    dialog.StopBitsBox()->setCurrentIndex(2);
    dialog.Flow()->setCurrentIndex(2);
    dialog.InputBuffer()->setText("4096");
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(cfg.PortNumber, 2);
    EXPECT_EQ(cfg.BaudRate, 11);
    EXPECT_EQ(cfg.Parity, 0);
    EXPECT_EQ(cfg.DataBits, 3);
    EXPECT_EQ(cfg.StopBits, 2);
    EXPECT_EQ(cfg.FlowControl, 2);
    EXPECT_EQ(cfg.InputBufferSize, 4096);
    EXPECT_EQ(cfg.OutputBufferSize, 512);
    EXPECT_TRUE(cfg.ConfigChanged);
    EXPECT_TRUE(messages.shown.empty());
}

TEST_F(PortSetupDialogTest, ABufferSizeOutOfRangeIsSaidWhileTypingAndRefusedOnOk) {
    ui::PortSetupDialog dialog(cfg, messages);
    dialog.show();
    dialog.Baud()->setCurrentIndex(0);
    dialog.OutputBuffer()->clear();
    QTest::keyClicks(dialog.OutputBuffer(), "99");
    EXPECT_EQ(dialog.findChild<QLabel*>("BufferNote")->text(),
              "Buffer Size Must Be Between 128 and 131072");
    dialog.accept();
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text, "Buffer Size Must Be Between 128 and 131072");
    EXPECT_EQ(messages.shown[0].title, "Invalid Input");
    EXPECT_EQ(dialog.focusWidget(), dialog.OutputBuffer());
    EXPECT_TRUE(dialog.isVisible()); // still open
    EXPECT_EQ(cfg.BaudRate, 6);      // nothing stored
    EXPECT_EQ(cfg.OutputBufferSize, 512);

    for (const char* edge : {"128", "131072"}) {
        dialog.OutputBuffer()->setText(edge);
        emit dialog.OutputBuffer()->textEdited(edge);
        EXPECT_EQ(dialog.findChild<QLabel*>("BufferNote")->text(), "") << edge;
    }
    dialog.OutputBuffer()->setText("131073");
    dialog.accept();
    EXPECT_EQ(messages.shown.size(), 2u);
    dialog.OutputBuffer()->setText("131072");
    dialog.accept();
    EXPECT_EQ(cfg.OutputBufferSize, 131072);
    EXPECT_EQ(cfg.BaudRate, 0);
}
