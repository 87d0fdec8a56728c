// The runtime's DDE side without a bus: the name rules, the items and their
// Changed notices, pokes, the target command after each record, the client
// links.

#include "control/DdeNames.h"
#include "control/DdeRig.h"
#include "support/FakePort.h"

#include <gtest/gtest.h>

using namespace control;

using Rig = DdeRig;

TEST(DdeNames, BusNamesFollowTheConvention) {
    const struct {
        const char* app;
        const char* topic;
        const char* busName;
    } cases[] = {
        {"Corvane", "COM1", "org.corvane.Corvane.COM1"},
        {"Corvane", "Lab Scale #2", "org.corvane.Corvane.Lab_Scale__2"},
        {"Corvane", "2nd", "org.corvane.Corvane._2nd"},
        {"Excel", "System", "org.corvane.Excel.System"},
        {"com.example.Lims", "Results", "com.example.Lims.Results"},
        {"com.example.9lives", "a.b", "com.example._9lives.a_b"},
        {"1app", "t", "org.corvane._1app.t"},
        {"Caf\xe9", "t\xf6pic", "org.corvane.Caf_.t_pic"},
        {"", "", "org.corvane._._"},
        {"a..b", "x", "a._.b.x"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DdeBusName(c.app, c.topic), c.busName) << c.app << " / " << c.topic;
}

TEST(DdeNames, LinkTextsAndItemTexts) {
    EXPECT_EQ(ParseLinkText("Corvane|COM1!Field(1)"), (LinkAddress{"Corvane", "COM1", "Field(1)"}));
    EXPECT_EQ(ParseLinkText("Excel|Book1"), (LinkAddress{"Excel", "Book1", ""}));
    EXPECT_EQ(ParseLinkText("App|T!a!b"), (LinkAddress{"App", "T", "a!b"}));
    EXPECT_EQ(LinkText({"Corvane", "COM1", "DateTime"}), "Corvane|COM1!DateTime");
    EXPECT_EQ(ItemText(std::string("12.5\0\r", 6)), "12.5");
    EXPECT_EQ(ItemText("plain"), "plain");
}

TEST(DdeItems, RequestsFindItemsWithoutRegardToCaseAndOnlyConfiguredFields) {
    Rig r;
    r.cfg.NumFields = 3;
    r.state.FieldText[3] = std::string("7.25\0\r", 6);
    r.state.RecordNumber = "12";
    r.state.DateTimeText = "14:05:09";
    EXPECT_EQ(r.dde.Request("Field(3)"), "7.25");
    EXPECT_EQ(r.dde.Request("FIELD(3)"), "7.25");
    EXPECT_EQ(r.dde.Request("recordnumber"), "12");
    EXPECT_EQ(r.dde.Request("DateTime"), "14:05:09");
    EXPECT_EQ(r.dde.Request("CommandBuffer"), "");
    for (const char* unknown : {"Field(0)", "Field(4)", "Field(03)", "Field()", "Field(1", "Foo",
                                "OutputBuffer", "Field(x)"})
        EXPECT_EQ(r.dde.Request(unknown), std::nullopt) << unknown;
}

TEST(DdeItems, APokeSetsTheItemAndAPokedCommandRunsAndIsCleared) {
    Rig r;
    EXPECT_EQ(r.dde.Poke("RecordNumber", "100"), PokeResult::Done);
    EXPECT_EQ(r.state.RecordNumber, "100");
    EXPECT_EQ(r.dde.Poke("Field(1)", "x"), PokeResult::Done);
    EXPECT_EQ(r.dde.Poke("Field(2)", "x"), PokeResult::UnknownItem);
    EXPECT_EQ(r.dde.Poke("CommandBuffer", "{SEND(a)}"), PokeResult::Done);
    EXPECT_EQ(r.dde.Poke("CommandBuffer", "{SEND(a)}"), PokeResult::Done); // twice, runs twice
    EXPECT_EQ(r.dde.Poke("CommandBuffer", "{NOPE}"), PokeResult::Refused);
    EXPECT_EQ(r.runtime.output, "aa");
    EXPECT_EQ(r.dde.Request("CommandBuffer"), "");
    EXPECT_EQ(r.changes, (std::vector<std::string>{
                             "RecordNumber=100", "Field(1)=x", "CommandBuffer={SEND(a)}",
                             "CommandBuffer=", "CommandBuffer={SEND(a)}",
                             "CommandBuffer=", "CommandBuffer={NOPE}", "CommandBuffer="}));
}

TEST(DdeItems, DeliveredRecordsPublishEveryFieldAndTheCounter) {
    // Through the record dispatcher, in each transfer mode.
    for (config::Integer mode : {config::SendKeystrokes, config::DdeServer, config::LogToDisk}) {
        Rig r;
        r.cfg.TransferMode = mode;
        r.cfg.NumFields = 2;
        r.cfg.LogFileName = "/dev/null";
        output::FileLogWriter log;
        output::RecordDispatch dispatch(r.cfg, r.state, r.clock, r.messages, r.locale, log, "/");
        dispatch.dde = &r.dde;
        dispatch.BuildOutputTranslation();
        r.state.FieldValue[1] = engine::Value::Text("1.5");
        r.state.FieldValue[2] = engine::Value::Text(std::string("g\0", 2));
        dispatch.Deliver();
        EXPECT_EQ(r.changes,
                  (std::vector<std::string>{"Field(1)=1.5", "Field(2)=g", "RecordNumber=1"}))
            << "mode " << mode;
    }
}

TEST(TargetCommand, ConnectsLazilyKeepsTheConversationAndTriesAgainAfterADisconnect) {
    Rig r;
    r.cfg.DdeCmdApp = "Lims";
    r.cfg.DdeCmdTopic = "Balance";
    r.dde.ExecuteTargetCommand("[Fetch]");
    EXPECT_EQ(r.client.connects.size(), 1u); // not running: nothing sent
    EXPECT_TRUE(r.client.executed.empty());
    r.client.servers.insert("Lims|Balance");
    r.dde.ExecuteTargetCommand("[Fetch]");
    r.dde.ExecuteTargetCommand("[Fetch]");
    EXPECT_EQ(r.client.connects.size(), 2u); // kept from record to record
    EXPECT_EQ(r.client.executed,
              (std::vector<std::string>{"Lims|Balance: [Fetch]", "Lims|Balance: [Fetch]"}));
    r.client.StopServer("Lims|Balance");
    EXPECT_EQ(r.dde.target().conversation(), 0u);
    r.dde.ExecuteTargetCommand("[Fetch]");
    EXPECT_EQ(r.client.connects.size(), 3u);
    r.client.servers.insert("Lims|Balance");
    r.dde.ExecuteTargetCommand("[Fetch]");
    EXPECT_EQ(r.client.executed.size(), 3u);
    r.dde.Stop();
    EXPECT_TRUE(r.client.open.empty());
}

TEST(TargetCommand, AnEmptyCommandNeverConnects) {
    Rig r;
    r.client.servers.insert("Excel|System");
    r.dde.ExecuteTargetCommand("");
    EXPECT_TRUE(r.client.connects.empty());
    // Nor does the dispatcher ask for one.
    r.cfg.TransferMode = config::DdeServer;
    output::FileLogWriter log;
    output::RecordDispatch dispatch(r.cfg, r.state, r.clock, r.messages, r.locale, log, "/");
    dispatch.dde = &r.dde;
    dispatch.Deliver();
    EXPECT_TRUE(r.client.connects.empty());
    r.cfg.DdeCmdText = "[Go]";
    dispatch.Deliver();
    EXPECT_EQ(r.client.executed, (std::vector<std::string>{"Excel|System: [Go]"}));
}

TEST(ClientLinks, AutoLinksStartWithTheRuntimeAndNeedAnApplicationAndATopic) {
    Rig r;
    r.cfg.CmdLinkApp = "Excel";
    r.cfg.CmdLinkTopic = "Sheet1";
    r.cfg.CmdLinkItem = "R1C1";
    r.cfg.CmdLinkAuto = config::True;
    r.cfg.OutLinkApp = "Excel"; // no topic
    r.cfg.OutLinkAuto = config::True;
    r.dde.Start();
    ASSERT_EQ(r.client.links.size(), 1u);
    const auto& link = r.client.links.begin()->second;
    EXPECT_EQ(link.app + "|" + link.topic + "!" + link.item, "Excel|Sheet1!R1C1");
    EXPECT_TRUE(r.messages.shown.empty());
}

TEST(ClientLinks, FailuresShowTheirMessageAndLeaveTheLinkOff) {
    Rig r;
    r.cfg.CmdLinkApp = "Excel";
    r.cfg.CmdLinkTopic = "Sheet1";
    r.cfg.CmdLinkItem = "R1C1";
    r.cfg.OutLinkApp = "Lab";
    r.cfg.OutLinkTopic = "Out";
    r.cfg.OutLinkItem = "Cell";
    r.dde.RelinkCommand();
    r.client.LastLink()->events.failed();
    EXPECT_FALSE(r.dde.links().Active(LinkKind::Command));
    r.client.busAvailable = false;
    r.dde.RelinkOutput();
    EXPECT_FALSE(r.dde.links().Active(LinkKind::Buffer));
    ASSERT_EQ(r.messages.shown.size(), 2u);
    EXPECT_EQ(r.messages.shown[0].text,
              "Cannot Establish DDE Command Link With: Excel,Sheet1,R1C1");
    EXPECT_EQ(r.messages.shown[1].text,
              "Cannot Establish DDE Output Buffer Link With: Lab,Out,Cell");
}

TEST(ClientLinks, ADroppedLinkGoesOffWithoutAMessage) {
    Rig r;
    r.cfg.CmdLinkApp = "A";
    r.cfg.CmdLinkTopic = "T";
    r.dde.RelinkCommand();
    ASSERT_TRUE(r.dde.links().Active(LinkKind::Command));
    r.client.LastLink()->events.dropped();
    EXPECT_FALSE(r.dde.links().Active(LinkKind::Command));
    EXPECT_TRUE(r.messages.shown.empty());
}

namespace {

// Sets the link to application A, topic T, establishes it, and gives back
// what hands it the other program's texts.
std::function<void(const std::string&)>& Linked(Rig& r, LinkKind kind) {
    if (kind == LinkKind::Command) {
        r.cfg.CmdLinkApp = "A";
        r.cfg.CmdLinkTopic = "T";
        r.dde.RelinkCommand();
    } else {
        r.cfg.OutLinkApp = "A";
        r.cfg.OutLinkTopic = "T";
        r.dde.RelinkOutput();
    }
    return r.client.LastLink()->events.value;
}

} // namespace

TEST(ClientLinks, EachNewCommandLinkTextIsExecutedAndCleared) {
    Rig r;
    auto& value = Linked(r, LinkKind::Command);
    value(""); // the current text when established: nothing to run
    value("{SEND(1)}");
    value("{SEND(1)}"); // the same text again runs again
    value("{NOPE}");
    value("{SEND(2)}");
    EXPECT_EQ(r.runtime.output, "112");
    EXPECT_EQ(r.dde.Request("CommandBuffer"), "");
}

TEST(ClientLinks, BufferLinkTextsGoToTheInstrumentWithTheStripCrLfRule) {
    // Each row: StripOutputCrLf, the texts that arrive, what is sent.
    const struct {
        bool strip;
        std::vector<std::string> texts;
        std::string sent;
    } cases[] = {
        {true, {"12.5\r\n"}, "12.5"},
        {true, {"\r\n"}, ""}, // nothing left: nothing is sent
        {true, {"12\n"}, "12\n"},
        {true, {"x\r"}, "x\r"},
        {true, {"\n"}, "\n"},
        {false, {"12.5\r\n"}, "12.5\r\n"},
        {true, {"T\r\n", "T\r\n", "\r\n"}, "TT"}, // the same text again is sent again
    };
    for (const auto& c : cases) {
        Rig r;
        r.cfg.StripOutputCrLf = c.strip ? config::True : config::False;
        auto& value = Linked(r, LinkKind::Buffer);
        for (const auto& text : c.texts)
            value(text);
        EXPECT_EQ(r.runtime.output, c.sent) << c.texts[0];
    }
}

TEST(ClientLinks, RelinkingEndsTheOldLinkFirstAndStopEndsBoth) {
    Rig r;
    r.cfg.CmdLinkApp = r.cfg.OutLinkApp = "A";
    r.cfg.CmdLinkTopic = r.cfg.OutLinkTopic = "T";
    r.dde.RelinkCommand();
    r.dde.RelinkCommand();
    r.dde.RelinkOutput();
    ASSERT_EQ(r.client.links.size(), 3u);
    EXPECT_TRUE(r.client.links[1].ended);
    EXPECT_FALSE(r.client.links[2].ended);
    r.dde.Stop();
    EXPECT_TRUE(r.client.links[2].ended);
    EXPECT_TRUE(r.client.links[3].ended);
}

TEST(DdeRuntime, AHotKeySlotPressedFromOutsideRunsItsActionAsItsKeysWould) {
    DdeRig r;
    r.cfg.HotKeyCode[3] = 0x0274; // CTRL+F5
    r.cfg.HotKeyAction[3] = 1;    // Transmit String
    r.cfg.HotKeyData[3] = "P\r\n";
    r.cfg.HotKeyCode[4] = 0x0275;
    r.cfg.HotKeyAction[4] = 2; // BREAK
    std::string why;
    EXPECT_TRUE(r.dde.PressHotKey(3, why));
    EXPECT_TRUE(r.dde.PressHotKey(4, why));
    EXPECT_EQ(r.runtime.output, "P\r\n");
    EXPECT_EQ(r.Calls(), "BREAK");
    const std::pair<int, const char*> refused[] = {
        {5, "hot key slot 5 has no key and no action"},
        {50, "there is no hot key slot 50: the slots are 0 to 49"},
        {-1, "there is no hot key slot -1: the slots are 0 to 49"},
    };
    for (const auto& [slot, text] : refused) {
        EXPECT_FALSE(r.dde.PressHotKey(slot, why)) << slot;
        EXPECT_EQ(why, text);
    }
    EXPECT_EQ(r.runtime.output, "P\r\n");
}
