// The record framing dialogs offscreen, driven through the whole sequence:
// which dialog follows which event, the coupled settings, and the refusals.

#include "ui/RecordDialogs.h"

#include "OffscreenApp.h"
#include "support/RecordingMessageSink.h"

#include <QAbstractButton>
#include <QApplication>
#include <QButtonGroup>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace {

class RecordDialogsTest : public ::testing::Test {
protected:
    using Step = std::function<void(QDialog&)>;
    static void SetUpTestSuite() { EnsureOffscreenApp(); }
    // Runs the sequence; each dialog is filled in by the step named by its
    // title, which may press OK several times (a refusal keeps it open).
    bool Edit(std::map<QString, Step> steps) {
        return ui::EditRecordFraming(cfg, messages, nullptr, [&](QDialog& d) {
            seen.push_back(d.windowTitle());
            auto step = steps.find(d.windowTitle());
            if (step == steps.end())
                return false; // cancelled
            step->second(d);
            return d.result() == QDialog::Accepted;
        });
    }
    static void Pick(QButtonGroup* group, int id) { group->button(id)->setChecked(true); }
    // Steps that press OK: on the events dialog with end event id; on the
    // structure dialog with structure id; on a number dialog with text.
    static Step EndAt(int id) {
        return [id](QDialog& d) {
            Pick(static_cast<ui::RecordEventsDialog&>(d).EndEvents(), id);
            d.accept();
        };
    }
    static Step Structure(int id) {
        return [id](QDialog& d) {
            Pick(static_cast<ui::RecordStructureDialog&>(d).Choices(), id);
            d.accept();
        };
    }
    // Types bad, which OK refuses with message, then good, which it takes.
    Step RefusedThen(const QString& bad, const std::string& message, const QString& good) {
        return [this, bad, message, good](QDialog& d) {
            QLineEdit* box = static_cast<ui::NumberDialog&>(d).Value();
            box->setText(bad);
            d.accept();
            EXPECT_EQ(messages.shown.back().text, message);
            box->setText(good);
            d.accept();
        };
    }
    static Step Number(const QString& text) {
        return [text](QDialog& d) {
            static_cast<ui::NumberDialog&>(d).Value()->setText(text);
            d.accept();
        };
    }

    config::Config cfg;
    config::RecordingMessageSink messages;
    std::vector<QString> seen;
};

} // namespace

TEST_F(RecordDialogsTest, AFixedNumberOfBytesForcesFixedFieldsAndAsksTheLength) {
    EXPECT_TRUE(Edit({{"Start and End Of Record Events", EndAt(2)},
                      {"Fixed Length Record",
                       RefusedThen("0", "Record Length Must Be Between 1 and 32766", "24")}}));
    EXPECT_EQ(seen,
              (std::vector<QString>{"Start and End Of Record Events", "Fixed Length Record"}));
    EXPECT_EQ(cfg.EndOfRecordEvent, 2);
    EXPECT_EQ(cfg.RecordStructure, 2);
    EXPECT_EQ(cfg.NumFields, 40);
    EXPECT_EQ(cfg.RecordLength, 24);
    EXPECT_TRUE(cfg.ConfigChanged);
}

TEST_F(RecordDialogsTest, ASpecialCharacterEventWithoutItsCharacterIsRefused) {
    EXPECT_FALSE(Edit({{"Start and End Of Record Events", [&](QDialog& d) {
                            auto& e = static_cast<ui::RecordEventsDialog&>(d);
                            Pick(e.StartEvents(), 3);
                            Pick(e.EndEvents(), 1);
                            e.accept();
                            ASSERT_EQ(messages.shown.size(), 1u);
                            EXPECT_EQ(messages.shown[0].title, "Invalid Start of Record Event");
                            EXPECT_EQ(messages.shown[0].text,
                                      "Invalid Input - Special Character Must Be Specified!");
                            EXPECT_EQ(messages.beeps.size(), 1u);
                            EXPECT_EQ(d.focusWidget(), e.StartChars());
                        }}}));
    EXPECT_EQ(cfg.StartOfRecordEvent, 0); // nothing stored
    EXPECT_EQ(cfg.EndOfRecordEvent, 0);
    EXPECT_FALSE(cfg.ConfigChanged);
}

TEST_F(RecordDialogsTest, OkAgainOnAFixedNumberOfBytesKeepsTheFieldCountItHas) {
    cfg.EndOfRecordEvent = 2;
    cfg.RecordStructure = 2;
    cfg.NumFields = 3; // as the field definitions derived it
    cfg.RecordLength = 24;
    EXPECT_TRUE(Edit({{"Start and End Of Record Events",
                       [](QDialog& d) { static_cast<ui::RecordEventsDialog&>(d).accept(); }},
                      {"Fixed Length Record", [](QDialog& d) {
                           auto& f = static_cast<ui::NumberDialog&>(d);
                           EXPECT_EQ(f.Value()->text(), "24");
                           f.accept();
                       }}}));
    EXPECT_EQ(seen,
              (std::vector<QString>{"Start and End Of Record Events", "Fixed Length Record"}));
    EXPECT_EQ(cfg.NumFields, 3);
    EXPECT_FALSE(cfg.ConfigChanged);
}

TEST_F(RecordDialogsTest, APauseAsksItsTicksAndThenHowTheFieldsAreLaidOut) {
    EXPECT_TRUE(
        Edit({{"Start and End Of Record Events", EndAt(1)},
              {"Timed Input",
               RefusedThen("256", "Time between records must range between 1 and 255", "5")},
              {"Input Record Structure", Structure(1)},
              {"Delimited Record", Number("3")}}));
    EXPECT_EQ(seen, (std::vector<QString>{"Start and End Of Record Events", "Timed Input",
                                          "Input Record Structure", "Delimited Record"}));
    EXPECT_EQ(cfg.TimeDelayTicks, 5);
    EXPECT_EQ(cfg.NumFields, 3);
    EXPECT_EQ(config::DeriveRecordMode(cfg.EndOfRecordEvent, cfg.RecordStructure), 4);

    // Fixed-length fields with a pause between records.
    seen.clear();
    EXPECT_TRUE(Edit({{"Start and End Of Record Events", EndAt(1)},
                      {"Timed Input", [](QDialog& d) { d.accept(); }},
                      {"Input Record Structure", Structure(2)}}));
    EXPECT_EQ(seen.back(), "Input Record Structure");
    EXPECT_EQ(cfg.TimeDelayTicks, 5);
    EXPECT_EQ(config::DeriveRecordMode(cfg.EndOfRecordEvent, cfg.RecordStructure), 5);

    // A cancelled pause offers nothing more.
    seen.clear();
    EXPECT_TRUE(Edit({{"Start and End Of Record Events", EndAt(1)}}));
    EXPECT_EQ(seen.back(), "Timed Input");
    EXPECT_EQ(cfg.RecordStructure, 2);
}

TEST_F(RecordDialogsTest, DelimitedFieldsAskTheirCountAndDelimiter) {
    EXPECT_TRUE(Edit({{"Start and End Of Record Events",
                       [](QDialog& d) { static_cast<ui::RecordEventsDialog&>(d).accept(); }},
                      {"Input Record Structure", Structure(1)},
                      {"Delimited Record", [&](QDialog& d) {
                           auto& n = static_cast<ui::NumberDialog&>(d);
                           n.Value()->setText("41");
                           n.accept();
                           EXPECT_EQ(messages.shown.back().text,
                                     "Number of Fields Must Be Between 2 and 40");
                           n.Value()->setText("3");
                           n.Delimiter()->setText(";");
                           n.accept();
                       }}}));
    EXPECT_EQ(cfg.RecordStructure, 1);
    EXPECT_EQ(cfg.NumFields, 3);
    EXPECT_EQ(cfg.DelimiterChar, ";");
    EXPECT_EQ(config::DeriveRecordMode(cfg.EndOfRecordEvent, cfg.RecordStructure), 2);
}

TEST_F(RecordDialogsTest, ControlCharactersComeFromTheChartAndAreNamedBesideTheirBox) {
    EXPECT_TRUE(Edit({{"Start and End Of Record Events",
                       [](QDialog& d) {
                           auto& e = static_cast<ui::RecordEventsDialog&>(d);
                           e.pickCharacter = [](int& code) {
                               code = 3; // ETX
                               return true;
                           };
                           Pick(e.EndEvents(), 3);
                           e.EndChars()->setText("#");
                           e.findChild<QPushButton*>("EndOfRecordCharsChart")->click();
                           EXPECT_EQ(e.EndChars()->text(), QString("#") + QChar(3));
                           EXPECT_EQ(e.findChild<QLabel*>("EndOfRecordCharsShown")->text(),
                                     "#<ETX>");
                           EXPECT_EQ(e.findChild<QLabel*>("StartOfRecordCharsShown")->text(), "");
                           e.accept();
                       }},
                      {"Input Record Structure", Structure(1)},
                      {"Delimited Record", [](QDialog& d) {
                           auto& n = static_cast<ui::NumberDialog&>(d);
                           n.pickCharacter = [](int& code) {
                               code = 9; // a tab cannot be typed into the box
                               return true;
                           };
                           n.findChild<QPushButton*>("DelimiterCharChart")->click();
                           EXPECT_EQ(n.Delimiter()->text(), "\t"); // replaced, one character
                           n.Value()->setText("4");
                           n.accept();
                       }}}));
    EXPECT_EQ(cfg.EndOfRecordChars, "#\x03");
    EXPECT_EQ(cfg.DelimiterChar, "\t");
    EXPECT_EQ(cfg.NumFields, 4);
}
