// The stdin commands and the command line, as an operator types them.
#include <gtest/gtest.h>

#include "bus.h"
#include "commands.h"
#include "options.h"
#include "sim_test_util.h"

using namespace qelsim;

namespace {

struct BusFixture : ::testing::Test {
    QDateTime now{QDate(2024, 5, 1), QTime(12, 0)};
    Bus bus{[this] { return now; }};

    void SetUp() override {
        for (auto [address, model] : {std::pair{1, "QEL2000"}, std::pair{2, "QEL2100"}}) {
            ChamberConfig c;
            c.address = address;
            c.model = model;
            c.noise = false;
            ASSERT_TRUE(bus.add(MakeChamber(c)));
        }
    }
    QString Run(const QString& line) { return RunCommand(bus, line).reply; }
    QByteArray Ask(int address, const QByteArray& pdu) { return bus.request(address, pdu).pdu; }
};

const QByteArray ReadStatus = QByteArray::fromHex("0300040001");

}  // namespace

TEST_F(BusFixture, SetAndGetRegisters) {
    EXPECT_EQ(Run("set 1 0x0009 -200"), "ok");
    EXPECT_EQ(Run("get 1 9"), "ok 65336");
    EXPECT_EQ(Run("set 2 0x4000 0xBEEF"), "ok");
    EXPECT_EQ(Run("get 2 0x4000 2"), "ok 48879 0");
    EXPECT_EQ(Run("  set   1  0x10   7 "), "ok") << "blanks do not matter";
    EXPECT_EQ(Run("set * 0x5000 1"), "ok");
    EXPECT_EQ(Run("get 2 0x5000"), "ok 1");
}

TEST_F(BusFixture, KeysFreezeAndThaw) {
    EXPECT_EQ(Run("key 2 2 1"), "ok");
    EXPECT_EQ(Run("get 2 6"), "ok 2");
    EXPECT_EQ(Run("freeze 2"), "ok");
    EXPECT_EQ(Run("set 2 6 0x44"), "ok");
    now = now.addSecs(600);
    EXPECT_EQ(Run("get 2 6"), "ok 68");
    EXPECT_EQ(Run("thaw 2"), "ok");
    EXPECT_EQ(Run("get 2 6"), "ok 2");
}

TEST_F(BusFixture, BadCommandsSayWhyAndChangeNothing) {
    for (const char* line : {"set 1 9", "set 9 9 9", "set 1 70000 1", "set 1 9 70000", "set 1 9 -40000", "get 1",
                             "get * 9", "get 1 0xFFFF 2", "key 1 2 1", "key 1 1 6", "delay 1", "delay 1 x", "silent",
                             "silent 3", "frobnicate 1", "stop 99"}) {
        const QString reply = Run(line);
        EXPECT_TRUE(reply.startsWith("error: ")) << line << " -> " << reply.toStdString();
    }
    EXPECT_EQ(Run("get 1 9"), "ok 230");
    EXPECT_TRUE(Run("").isEmpty());
    EXPECT_TRUE(Run("# a remark").isEmpty());
    EXPECT_TRUE(Run("help").endsWith("ok"));
    EXPECT_TRUE(RunCommand(bus, "quit").quit);
}

TEST_F(BusFixture, FaultsShapeTheReply) {
    EXPECT_EQ(Ask(1, ReadStatus), QByteArray::fromHex("03020000"));

    EXPECT_EQ(Run("silent 1"), "ok");
    EXPECT_FALSE(bus.request(1, ReadStatus).send);
    EXPECT_EQ(Run("key 1 1 1"), "ok");
    EXPECT_FALSE(bus.request(1, QByteArray::fromHex("0600650004")).send);
    EXPECT_EQ(Run("get 1 4"), "ok 0") << "a silent chamber still carries a write out";

    EXPECT_EQ(Run("exception 1"), "ok");
    Bus::Reply r = bus.request(1, QByteArray::fromHex("0600650001"));
    EXPECT_TRUE(r.send);
    EXPECT_EQ(r.pdu, QByteArray::fromHex("8604"));
    EXPECT_EQ(Run("get 1 4"), "ok 0") << "an exception carries nothing out";

    EXPECT_EQ(Run("delay 1 250"), "ok");
    r = bus.request(1, ReadStatus);
    EXPECT_EQ(r.delayMs, 250);
    EXPECT_EQ(r.pdu, QByteArray::fromHex("03020000"));

    for (const char* mode : {"badcrc", "short", "garbage"}) {
        EXPECT_EQ(Run(QString("%1 *").arg(mode)), "ok");
        EXPECT_EQ(FaultName(bus.request(2, ReadStatus).spoil), QString(mode));
    }
    EXPECT_EQ(Run("normal *"), "ok");
    r = bus.request(1, ReadStatus);
    EXPECT_EQ(r.spoil, FaultMode::Normal);
    EXPECT_EQ(r.delayMs, 0);
}

TEST_F(BusFixture, StopTakesAChamberOffTheLine) {
    int changes = 0;
    QObject::connect(&bus, &Bus::onlineChanged, [&](int address, bool online) {
        EXPECT_EQ(address, 2);
        EXPECT_EQ(online, changes == 1);
        ++changes;
    });
    EXPECT_EQ(Run("stop 2"), "ok");
    EXPECT_FALSE(bus.request(2, ReadStatus).send);
    EXPECT_TRUE(bus.request(1, ReadStatus).send);
    EXPECT_EQ(Run("stop 2"), "ok");
    EXPECT_EQ(Run("start 2"), "ok");
    EXPECT_TRUE(bus.request(2, ReadStatus).send);
    EXPECT_EQ(changes, 2) << "stopping twice signals once";
    EXPECT_FALSE(bus.request(7, ReadStatus).send) << "no chamber at 7";
}

TEST_F(BusFixture, DuplicateAndOutOfRangeAddressesAreRefused) {
    ChamberConfig c;
    c.address = 1;
    QString why;
    EXPECT_FALSE(bus.add(MakeChamber(c), &why));
    EXPECT_TRUE(why.contains("twice"));
    c.address = 248;
    EXPECT_FALSE(bus.add(MakeChamber(c), &why));
}

TEST(Options, ChambersAndLine) {
    Options o;
    QString error;
    ASSERT_TRUE(ParseOptions({"--tcp", "--host-base", "127.0.1.1", "--port=0", "--chamber", "1:QEL2000", "--chamber",
                              "3:qel2100:1,0", "--set", "1:0x0009:-200", "--run", "3:2", "--fault", "*:delay:50",
                              "--speed", "10", "--seed", "7", "--no-noise"},
                             &o, &error))
        << error.toStdString();
    EXPECT_EQ(o.transport, Options::Transport::Tcp);
    EXPECT_EQ(o.hostBase, "127.0.1.1");
    EXPECT_EQ(o.port, 0);
    ASSERT_EQ(o.chambers.size(), 2u);
    EXPECT_EQ(o.chambers[1].address, 3);
    EXPECT_EQ(o.chambers[1].model, "QEL2100");
    EXPECT_EQ(o.chambers[1].decimals, (std::vector<int>{1, 0}));
    EXPECT_FALSE(o.chambers[0].noise);
    EXPECT_EQ(o.chambers[0].seed, 7u);
    ASSERT_EQ(o.sets.size(), 1u);
    EXPECT_EQ(o.sets[0].value, 0xFF38);
    ASSERT_EQ(o.runs.size(), 1u);
    EXPECT_EQ(o.runs[0].channel, 2);
    ASSERT_EQ(o.faults.size(), 1u);
    EXPECT_EQ(o.faults[0].address, 0);
    EXPECT_EQ(o.faults[0].fault.delayMs, 50);
    EXPECT_DOUBLE_EQ(o.speed, 10);

    Options s;
    ASSERT_TRUE(ParseOptions({"--asc", "--link", "/tmp/x", "--demo"}, &s, &error)) << error.toStdString();
    EXPECT_EQ(s.transport, Options::Transport::Ascii);
    EXPECT_EQ(s.chambers.size(), 4u);
    EXPECT_FALSE(s.runs.empty());
}

TEST(Options, MistakesAreNamed) {
    const QStringList bad[] = {
        {},                                                     // no chambers
        {"--chamber", "1"},                                     // no model
        {"--chamber", "0:QEL2000"},                             // address 0
        {"--chamber", "1:QEL2500"},                             // unknown model
        {"--chamber", "1:QEL2000:1,1"},                         // two places for one channel
        {"--chamber", "1:QEL2000:4"},                           // too many places
        {"--chamber", "1:QEL2000", "--chamber", "1:QEL2100"},   // address twice
        {"--chamber", "1:QEL2000", "--host-base", "10.0.0.1"},  // not loopback
        {"--chamber", "1:QEL2000", "--tcp", "--rtu"},
        {"--chamber", "1:QEL2000", "--port"},  // no value
        {"--chamber", "1:QEL2000", "--fault", "1:loud"},
        {"--chamber", "1:QEL2000", "--fault", "1:delay"},
        {"--chamber", "1:QEL2000", "--set", "1:9"},
        {"--chamber", "1:QEL2000", "--link", "/tmp/x"},  // a link without a serial line
        {"--chamber", "1:QEL2000", "--time", "yesterday"},
        {"--chamber", "1:QEL2000", "--wat"},
        {"--chamber", "200:QEL2000", "--host-base", "127.255.255.100"},  // would leave 127/8
    };
    for (const QStringList& args : bad) {
        Options o;
        QString error;
        EXPECT_FALSE(ParseOptions(args, &o, &error)) << args.join(' ').toStdString();
        EXPECT_FALSE(error.isEmpty()) << args.join(' ').toStdString();
    }
    Options o;
    QString error;
    EXPECT_TRUE(ParseOptions({"--help"}, &o, &error));
    EXPECT_TRUE(o.help);
    for (const char* word :
         {"--tcp",  "--rtu",      "--asc",     "--link",  "--host-base", "--port",  "--same-ip", "--chamber",
          "--demo", "--set",      "--run",     "--fault", "--frozen",    "--speed", "--seed",    "--time",
          "--baud", "--no-noise", "--verbose", "delay",   "garbage",     "quit"}) {
        EXPECT_TRUE(HelpText().contains(word)) << word;
    }
}
