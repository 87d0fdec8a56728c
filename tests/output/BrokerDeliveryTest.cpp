// Records to a broker, on a fake link and an in-memory queue: payloads and
// topics, the status and the will, nothing lost and the order kept over lost
// connections, retries that wait longer each time and are said once,
// commands, and what closing says.

#include "output/BrokerDelivery.h"
#include "support/FakeBrokerLink.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageSink.h"

#include <gtest/gtest.h>

using namespace output;

namespace {

struct Rig {
    FakeBrokerLink link;
    MemoryQueueStorage storage;
    RecordQueue queue{storage, 1 << 20};
    engine::ManualClock clock;
    config::RecordingMessageSink messages;
    BrokerDelivery delivery;
    std::vector<std::string> commands;

    explicit Rig(BrokerConnection connection = Connection())
        : delivery({link, queue, clock, messages, connection, TopicsFor("corvane", "COM1"), "run-1",
                    "corvane-test", "/dev/ttyUSB0"}) {
        delivery.title = [] { return "Corvane - COM1"; };
        delivery.execute = [this](const std::string& command) -> std::pair<bool, std::string> {
            commands.push_back(command);
            return {command == "{BEEP}", command == "{BEEP}" ? "done" : "refused: unknown"};
        };
    }
    static BrokerConnection Connection() {
        BrokerConnection c;
        std::string why;
        c.address = *ParseBrokerUrl("mqtt://broker.lab", why);
        return c;
    }
    void Deliver(int n) { delivery.Deliver({std::to_string(n), {"f" + std::to_string(n)}}, "T"); }
    // The seq numbers of the records published so far, in order.
    std::vector<int> Seqs() const {
        std::vector<int> seqs;
        for (const auto& p : link.published)
            if (p.topic == "corvane/COM1/record")
                seqs.push_back(std::stoi(p.payload.substr(p.payload.find("\"seq\": ") + 7)));
        return seqs;
    }
    void Tick(int ms) {
        clock.Advance(ms);
        delivery.Tick();
    }
};

std::vector<int> Range(int from, int to) {
    std::vector<int> r;
    for (int n = from; n <= to; ++n)
        r.push_back(n);
    return r;
}

} // namespace

TEST(BrokerDelivery, PublishesEachRecordRetainedAtItsQosAfterTheOnlineStatus) {
    BrokerConnection c = Rig::Connection();
    c.qos = 2;
    Rig r(c);
    r.delivery.Start();
    ASSERT_EQ(r.link.connects, 1);
    EXPECT_EQ(r.link.lastWill.topic, "corvane/COM1/status");
    EXPECT_EQ(r.link.lastWill.payload, "offline");
    EXPECT_TRUE(r.link.lastWill.retain);
    r.link.Accept();
    r.delivery.Deliver({"17", {"12.5", "g"}}, "2026-11-15T14:05:09.120+01:00");
    ASSERT_EQ(r.link.published.size(), 2u);
    const auto& status = r.link.published[0];
    EXPECT_EQ(status.topic, "corvane/COM1/status");
    EXPECT_EQ(status.payload, "online");
    EXPECT_TRUE(status.retain);
    const auto& record = r.link.published[1];
    EXPECT_EQ(record.topic, "corvane/COM1/record");
    EXPECT_EQ(record.payload, "{\"run\": \"run-1\", \"seq\": 1, \"record\": \"17\", \"time\": "
                              "\"2026-11-15T14:05:09.120+01:00\", \"port\": \"/dev/ttyUSB0\", "
                              "\"fields\": [\"12.5\", \"g\"]}");
    EXPECT_EQ(record.qos, 2);
    EXPECT_TRUE(record.retain);
    EXPECT_EQ(r.link.subscribed, (std::vector<std::string>{"corvane/COM1/execute"}));
    EXPECT_TRUE(r.messages.shown.empty());
}

TEST(BrokerDelivery, RecordsWhileTheBrokerIsAwayFollowInOrderWhenItIsBack) {
    Rig r;
    r.delivery.Start();
    r.link.Accept();
    for (int n = 1; n <= 3; ++n)
        r.Deliver(n);
    r.link.Acknowledge(r.link.published[1].id); // record 1 is taken
    r.link.Drop("the connection to broker.lab:1883 was lost");
    for (int n = 4; n <= 6; ++n)
        r.Deliver(n);
    EXPECT_EQ(r.delivery.Waiting(), 5u);
    // Retried after a second; the attempt is refused, then after two more.
    r.Tick(999);
    EXPECT_EQ(r.link.connects, 1);
    r.Tick(1);
    EXPECT_EQ(r.link.connects, 2);
    r.link.Drop("nothing accepts connections at broker.lab:1883 (connection refused)");
    r.Tick(1999);
    EXPECT_EQ(r.link.connects, 2);
    r.Tick(1);
    EXPECT_EQ(r.link.connects, 3);
    r.link.Accept();
    // 2 and 3 were in flight when the connection dropped: published again,
    // then the rest, in order; a consumer drops repeats by seq.
    EXPECT_EQ(r.Seqs(), (std::vector<int>{1, 2, 3, 2, 3, 4, 5, 6}));
    r.link.AcknowledgeAll();
    EXPECT_EQ(r.delivery.Waiting(), 0u);
    // Said once for the whole outage, and taken back when the broker is back.
    ASSERT_EQ(r.messages.shown.size(), 1u);
    EXPECT_NE(r.messages.shown[0].text.find("was lost. They wait in order in memory"),
              std::string::npos)
        << r.messages.shown[0].text;
    EXPECT_EQ(r.messages.shown[0].title, "Corvane - COM1");
    EXPECT_EQ(r.messages.retracted, r.messages.shown);
}

TEST(BrokerDelivery, PausesBetweenAttemptsDoubleUpToHalfAMinuteAndStartAgainAfterSuccess) {
    Rig r;
    r.delivery.Start();
    std::vector<int> pauses;
    for (int attempt = 0; attempt < 7; ++attempt) {
        r.link.Drop("connection refused");
        const int before = r.link.connects;
        int waited = 0;
        while (r.link.connects == before && waited < 60000) {
            r.Tick(500);
            waited += 500;
        }
        pauses.push_back(waited);
    }
    EXPECT_EQ(pauses, (std::vector<int>{1000, 2000, 4000, 8000, 16000, 30000, 30000}));
    r.link.Accept();
    r.link.Drop("connection lost");
    r.Tick(1000);
    EXPECT_EQ(r.link.connects, 9);
}

TEST(BrokerDelivery, AnAttemptWithoutAnAnswerIsGivenUp) {
    Rig r;
    r.delivery.Start();
    r.Tick(AttemptLimitMs - 50);
    EXPECT_EQ(r.link.disconnects, 0);
    r.Tick(50);
    EXPECT_EQ(r.link.disconnects, 1);
    ASSERT_EQ(r.messages.shown.size(), 1u);
    EXPECT_NE(r.messages.shown[0].text.find("did not answer within 20 seconds"), std::string::npos);
    r.Tick(FirstRetryMs);
    EXPECT_EQ(r.link.connects, 2);
}

TEST(BrokerDelivery, KeepsAtMostAWindowInFlightAndFollowsWithEachAcknowledgement) {
    Rig r;
    r.delivery.Start();
    r.link.Accept();
    for (int n = 1; n <= static_cast<int>(MaxInFlight) + 5; ++n)
        r.Deliver(n);
    EXPECT_EQ(r.Seqs().size(), MaxInFlight);
    r.link.Acknowledge(r.link.published[1].id);
    EXPECT_EQ(r.Seqs().size(), MaxInFlight + 1);
    r.link.AcknowledgeAll();
    EXPECT_EQ(r.Seqs(), Range(1, static_cast<int>(MaxInFlight) + 5));
    EXPECT_EQ(r.delivery.Waiting(), 0u);
}

TEST(BrokerDelivery, ARestartPublishesWhatAnEarlierRunLeftFirstWithItsOwnRunAndSeq) {
    MemoryQueueStorage storage;
    {
        Rig first;
        first.storage.files.clear();
        first.delivery.Start();
        first.Deliver(1);
        first.Deliver(2);
        first.delivery.Stop();
        storage = first.storage;
        ASSERT_EQ(first.messages.shown.size(), 1u);
        EXPECT_NE(first.messages.shown[0].text.find("2 records wait for the MQTT broker"),
                  std::string::npos)
            << first.messages.shown[0].text;
    }
    Rig second;
    second.storage = storage;
    second.delivery.Start();
    second.link.Accept();
    second.Deliver(1);
    ASSERT_EQ(second.link.published.size(), 4u);
    EXPECT_NE(second.link.published[1].payload.find("\"run\": \"run-1\", \"seq\": 1"),
              std::string::npos);
    EXPECT_EQ(second.Seqs(), (std::vector<int>{1, 2, 1}));
}

TEST(BrokerDelivery, AFullQueueIsSaidOnceAndDroppingIsCounted) {
    Rig r;
    r.storage.spaceLeft = 0; // the disk is full
    r.delivery.Start();
    for (int n = 1; n <= 3; ++n)
        r.Deliver(n);
    ASSERT_EQ(r.messages.shown.size(), 1u);
    EXPECT_NE(r.messages.shown[0].text.find("is full"), std::string::npos);
    r.link.Accept();
    r.link.AcknowledgeAll();
    EXPECT_EQ(r.Seqs(), Range(1, 3));
    r.delivery.Stop();
    EXPECT_EQ(r.messages.shown.size(), 1u) << "nothing waits, nothing is lost";
}

TEST(BrokerDelivery, ClosingPublishesOfflineAfterTheRecordsAndSaysWhatIsLostFromMemory) {
    Rig r;
    r.storage.spaceLeft = 0;
    r.delivery.Start();
    r.link.Accept();
    r.Deliver(1);
    r.delivery.BeginStop();
    EXPECT_FALSE(r.delivery.Stopped());
    ASSERT_EQ(r.link.published.back().payload, "offline");
    EXPECT_TRUE(r.link.published.back().retain);
    r.link.Acknowledge(r.link.published.back().id);
    EXPECT_TRUE(r.delivery.Stopped());
    r.delivery.Stop();
    EXPECT_EQ(r.link.disconnects, 1);
    ASSERT_EQ(r.messages.shown.size(), 2u);
    EXPECT_NE(r.messages.shown[1].text.find("1 record for the MQTT broker mqtt://broker.lab/"
                                            "corvane was waiting in memory only"),
              std::string::npos)
        << r.messages.shown[1].text;
}

TEST(BrokerDelivery, CommandsRunOnlyWhenEnabledAndTheirOutcomeIsPublished) {
    Rig off;
    off.delivery.Start();
    off.link.Accept();
    off.link.Deliver("corvane/COM1/execute", "{BEEP}");
    EXPECT_TRUE(off.commands.empty());
    ASSERT_EQ(off.link.published.back().topic, "corvane/COM1/execute/result");
    EXPECT_NE(off.link.published.back().payload.find("{\"ok\": false, \"message\": \"Commands "
                                                     "from the network are off"),
              std::string::npos);

    BrokerConnection c = Rig::Connection();
    c.commands = true;
    Rig on(c);
    on.delivery.Start();
    on.link.Accept();
    on.link.Deliver("corvane/COM1/execute", "{BEEP}");
    on.link.Deliver("corvane/COM1/execute", "{SEND(\xc2\xb5)}");
    on.link.Deliver("corvane/COM2/execute", "{BEEP}"); // not this runtime's
    EXPECT_EQ(on.commands, (std::vector<std::string>{"{BEEP}", "{SEND(\xb5)}"}));
    ASSERT_EQ(on.link.published.size(), 3u);
    EXPECT_EQ(on.link.published[1].payload, "{\"ok\": true, \"message\": \"done\"}");
    EXPECT_EQ(on.link.published[2].payload, "{\"ok\": false, \"message\": \"refused: unknown\"}");
    EXPECT_FALSE(on.link.published[2].retain);
}
