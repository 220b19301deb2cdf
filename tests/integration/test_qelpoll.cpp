// qelpoll started as a user starts it: against qelsim and against a Modbus
// slave nobody here wrote (pymodbus), and with malformed options.
#include "line_fixture.h"

#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <gtest/gtest.h>

using namespace qeltest;

namespace {

const QString kQelPoll = QStringLiteral(QELPOLL_PATH);

class QelPollLine : public ::testing::TestWithParam<const char*> {};

}  // namespace

// Guards a channel 2 run key reaching another register, and an exception, half reply or header alone taken as values.
TEST_P(QelPollLine, KeysAndAbnormalReplies) {
    SimLine line;
    ASSERT_TRUE(line.start(GetParam(), {{5, "QEL2100"}}, {"--frozen", "--no-noise"}));
    const QStringList args = line.link(5) + QStringList{"--address", "5", "--model", "QEL2100", "--pcspeed", "100",
                                                        "--json", "--app-dir", line.folder()};
    const RunResult r = qeltest::Run(kQelPoll, args + QStringList{"--key", "run", "--channel", "2"});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(line.command("get 5 0x0065 2"), "0 1");
    for (const char* fault : {"exception", "short", "header"}) {
        ASSERT_FALSE(line.command(QStringLiteral("%1 5").arg(fault)).isNull());
        const RunResult failed = qeltest::Run(kQelPoll, args);
        EXPECT_EQ(failed.exitCode, 1) << fault;
        EXPECT_EQ(LastRecord(failed.out)["FailCount"].toInt(), 1) << fault;
        EXPECT_EQ(At(LastRecord(failed.out), "PV"), 0.0) << fault;
    }
}

// Guards qelpoll and qelsim sharing one misreading of the QEL2000 map: read against pymodbus holding the words.
TEST_P(QelPollLine, ReadsWhatAReferenceSlaveHolds) {
    const QString python = "/usr/bin/python3";
    if (qeltest::Run(python, {"-c", "import pymodbus.server, serial_asyncio"}, 20000).exitCode != 0)
        GTEST_SKIP() << "python3-pymodbus with serial-asyncio is not installed";
    const QString protocol = GetParam();
    QStringList peerArgs = {PYMODBUS_PEER, "0x0004=1", "0x0009=0xFF38", "0x000B=300", "0x000D=555", "0x001D=1",
                            "0x001E=2", "0x001F=3", "0x006E=1", "0x039C=2024", "0x039D=5", "0x039E=6", "0x039F=7",
                            "0x03A0=8", "0x03A6=1970", "0x03A7=1", "0x03A8=1"};
    QStringList link = {"--protocol", protocol};
    const quint16 port = FreePort();
    if (protocol == "ETH") link << "--ip" << "127.0.0.1" << "--remote-port" << QString::number(port);
    ChildProcess peer;
    ASSERT_TRUE(peer.start(python, peerArgs << "--mode" << (protocol == "ETH" ? QString::number(port) : protocol)));
    if (protocol != "ETH") link << "--device" << peer.waitForLine("pty");
    ASSERT_FALSE(peer.waitForLine("ready").isNull()) << peer.stderrText().toStdString();
    QTemporaryDir logs;
    const RunResult r = qeltest::Run(kQelPoll, link + QStringList{"--address", "1", "--model", "QEL2000", "--dp", "1",
                                                                  "--pcspeed", "150", "--count", "3", "--json",
                                                                  "--app-dir", logs.path()});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonObject o = LastRecord(r.out);
    std::vector<double> got;
    for (const char* f : {"PV", "SP", "MV", "Status", "FixMode", "RunTime"}) got.push_back(At(o, f));
    EXPECT_EQ(got, (std::vector<double>{-20.0, 30.0, 55.5, 1, 1, 3603}));
    EXPECT_EQ(o["EndDate"].toVariant().toStringList().mid(0, 2),
              (QStringList{"2024-05-06 07:08:00", "1970-01-01 00:00:00"}));
}

INSTANTIATE_TEST_SUITE_P(Protocols, QelPollLine, ::testing::Values("ETH", "RTU", "ASC"));

namespace {

// One row per refusal family: its option, what the option takes and a malformed
// value, appended (with `more`) to a good command line, where the last value of
// an option counts.
struct Family {
    const char *option, *takes, *value;
    QStringList more = {};
};
// A port that, cut to 16 bits, would be the listener's own.
const char* const kWrappedPort = "WRAPPED";
const Family kFamilies[] = {
    // With a key, an address that came through as 0 would reach every controller; 256 is 0 in a byte.
    {"address", "a slave address 1 to 247", "256", {"--key", "stop"}},
    {"remote-port", "a TCP port 1 to 65535", kWrappedPort},
    {"pcspeed", "a reply time of 10 to 30000 milliseconds", "1.5"},
    {"baud", "a line speed (1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200)", "9601"},
    {"count", "a whole number of polls (0 polls until interrupted)", "-1"},
    {"channel", "1, 2 or 3", "4", {"--key", "run"}},
    {"dp", "0, 1 or 2 places per channel, comma separated", "1,", {"--model", "QEL2100"}},
    {"protocol", "RTU, ASC or ETH", "XYZ"},
    {"model", "QEL2000, QEL2100, QEL2200, QEL2300 or QEL2400", "QEL9999"},
    {"parity", "None, Even or Odd", "even"},  // in capitals only
    {"key", "run, stop, hold, step or user", ""},
};
// The refusals of their own wording: arguments and the line on stderr, without "qelpoll: ".
const std::pair<QStringList, const char*> kOthers[] = {
    {{"--dp", "1,1"}, "--dp gives 2 channels, but a QEL2000 has 1"},
    {{"--ip", "  "}, "--ip is needed for ETH"},
    {{"--adress", "5"}, "Unknown option 'adress'."},
};

}  // namespace

// Guards a malformed option reaching the line: status 2 and its message, nothing sent (listener above port 32767).
TEST(QelPollRefuses, EveryBadOptionWithStatusTwoAndNothingOnTheLine) {
    QTcpServer server;
    for (quint16 p = 40000; !server.isListening() && p < 40100; ++p) server.listen(QHostAddress::LocalHost, p);
    ASSERT_GT(server.serverPort(), 32767);
    // Connections and bytes since the last look (qelpoll has ended by then).
    const auto seen = [&] {
        std::pair<int, QByteArray> got;
        while (server.hasPendingConnections() || server.waitForNewConnection(50)) {
            const std::unique_ptr<QTcpSocket> c(server.nextPendingConnection());
            c->waitForReadyRead(50);
            got = {got.first + 1, got.second + c->readAll()};
        }
        return got;
    };
    const auto run = [&](const QStringList& args) {
        QTemporaryDir logs;
        const QStringList good = {"--protocol", "ETH", "--ip", "127.0.0.1", "--remote-port",
                                  QString::number(server.serverPort()), "--address", "1", "--model", "QEL2000",
                                  "--pcspeed", "50", "--count", "1", "--app-dir", logs.path()};
        const RunResult r = qeltest::Run(kQelPoll, good + args);
        EXPECT_EQ(QDir(logs.path() + "/Error").exists(), r.exitCode != 2) << "a refusal comes before anything is made";
        return r;
    };
    EXPECT_EQ(run({}).exitCode, 1);  // nobody answers: the poll failed
    const auto [connections, bytes] = seen();
    EXPECT_EQ(connections, 1);
    EXPECT_FALSE(bytes.isEmpty());

    std::vector<std::pair<QStringList, QString>> rows(std::begin(kOthers), std::end(kOthers));
    for (const Family& f : kFamilies) {
        const QString v = f.value == kWrappedPort ? QString::number(server.serverPort() + 65536) : f.value;
        rows.push_back({QStringList{QString("--") + f.option, v} + f.more,
                        QString(R"(--%1 takes %2, not "%3")").arg(f.option, f.takes, v)});
    }
    for (const auto& [args, message] : rows) {
        SCOPED_TRACE(args.join(' ').toStdString());
        const RunResult r = run(args);
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_EQ(r.err, "qelpoll: " + message + u'\n');
        EXPECT_EQ(r.out, QString());
        EXPECT_EQ(seen(), (std::pair<int, QByteArray>{0, {}}));
    }
}
