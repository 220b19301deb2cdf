// The headless station and qelpoll against qelsim in separate processes,
// over Modbus/TCP on loopback and RTU and ASCII on a pseudo-terminal.
#include "line_fixture.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QJsonArray>
#include <gtest/gtest.h>

using namespace qeltest;

namespace {

const QList<SimChamber> kLine = {{1, "QEL2000"}, {2, "QEL2100"}, {3, "QEL2000"}};

// Fixed registers (the simulator frozen): chamber 1 PV -20.0 and SP 30.0,
// chamber 2 PV 25.3 / -1.0 on its two channels.
const QStringList kFrozen = {"--frozen", "--no-noise", "--set", "1:0x0009:-200", "--set", "1:0x000B:300",
                             "--set", "2:0x0009:253", "--set", "2:0x000A:-10"};

class StationLine : public ::testing::TestWithParam<const char*> {};

RunResult RunStation(const StationFolder& folder, int cycles) {
    return qeltest::Run(QStringLiteral(QELSTATION_PATH),
               {"--headless", "--app-dir", folder.path(), "--cycles", QString::number(cycles), "--json"}, 120000);
}

}  // namespace

TEST_P(StationLine, PrintsWhatTheSimulatorServesAndMarksTheStoppedChamberLost) {
    const QString protocol = GetParam();
    SimLine line;
    ASSERT_TRUE(line.start(protocol, kLine, kFrozen)) << line.process().stderrText().toStdString();
    ASSERT_FALSE(line.command("stop 3").isNull());
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line));

    const RunResult r = RunStation(folder, 20);
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const auto last = LastByChamber(r.out);
    ASSERT_EQ(last.size(), 3) << r.out.left(2000).toStdString();

    EXPECT_EQ(last[1]["CommError"].toInt(), 0);
    EXPECT_DOUBLE_EQ(last[1]["PV"].toArray()[0].toDouble(), -20.0);
    EXPECT_DOUBLE_EQ(last[1]["SP"].toArray()[0].toDouble(), 30.0);
    EXPECT_EQ(last[2]["CommError"].toInt(), 0);
    EXPECT_EQ(last[2]["ChannelCount"].toInt(), 2);
    EXPECT_DOUBLE_EQ(last[2]["PV"].toArray()[0].toDouble(), 25.3);
    EXPECT_DOUBLE_EQ(last[2]["PV"].toArray()[1].toDouble(), -1.0);

    // Lost at the third failure on RTU, the fourth on ASCII and TCP; it keeps counting.
    EXPECT_EQ(last[3]["CommError"].toInt(), -1);
    EXPECT_GE(last[3]["FailCount"].toInt(), protocol == QLatin1String("RTU") ? 3 : 4);
    EXPECT_TRUE(folder.errorLog().contains("User Start Program"));
    EXPECT_TRUE(folder.errorLog().contains("User End Program"));
    if (protocol == QLatin1String("ETH")) {
        EXPECT_TRUE(folder.errorLog().contains("3   Communication state check"));
    }
}

INSTANTIATE_TEST_SUITE_P(Protocols, StationLine, ::testing::Values("ETH", "RTU", "ASC"));

TEST(StationLine, ChamberComesBackAfterItsSimulatorRestarts) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}}, {"--frozen"}));
    ASSERT_FALSE(line.command("stop 1").isNull());
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line));
    ChildProcess station;
    ASSERT_TRUE(station.start(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", folder.path(), "--json"}));
    // Lost first...
    bool lost = false;
    for (int i = 0; i < 40 && !lost; ++i) lost = station.waitForLine("{").contains("\"CommError\":-1");
    ASSERT_TRUE(lost);
    // ...then back once the controller answers again.
    ASSERT_FALSE(line.command("start 1").isNull());
    bool back = false;
    for (int i = 0; i < 60 && !back; ++i) back = station.waitForLine("{").contains("\"CommError\":0");
    EXPECT_TRUE(back);
    station.stop();  // SIGTERM: the exit order without a question
    EXPECT_TRUE(folder.errorLog().contains("User End Program"));
}

TEST(QelPollKey, RunKeyOnChannelTwoStartsThatChannelOnly) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2100"}}));
    QTemporaryDir logs;
    const QStringList link = {"--protocol", "ETH", "--ip", line.hostBase(), "--remote-port", QString::number(line.port()),
                              "--model", "QEL2100", "--pcspeed", "100", "--json", "--app-dir", logs.path()};
    const RunResult before = qeltest::Run(QStringLiteral(QELPOLL_PATH), link + QStringList{"--count", "1"});
    ASSERT_EQ(before.exitCode, 0) << before.err.toStdString();
    ASSERT_EQ(LastByChamber(before.out)[1]["Status"].toArray()[1].toInt() & 3, 0);

    const RunResult after = qeltest::Run(QStringLiteral(QELPOLL_PATH), link + QStringList{"--key", "run", "--channel", "2", "--count", "2"});
    ASSERT_EQ(after.exitCode, 0) << after.err.toStdString();
    const QJsonObject o = LastByChamber(after.out)[1];
    EXPECT_NE(o["Status"].toArray()[1].toInt() & 3, 0);
    EXPECT_EQ(o["Status"].toArray()[0].toInt() & 3, 0);
}

// Every way to the same folder meets the same lock: the path itself, a
// symbolic link, another temporary folder. A lock left by a station that
// was killed is taken over.
TEST(Station, SecondInstanceOnTheSameFolderIsRefused) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}}));
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line));
    QTemporaryDir elsewhere;
    const QString link = elsewhere.path() + "/via-link";
    ASSERT_TRUE(QFile::link(folder.path(), link));
    ChildProcess first;
    ASSERT_TRUE(first.start(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", folder.path(), "--json"}));
    ASSERT_FALSE(first.waitForLine("{").isNull());
    for (const QString& way : {folder.path(), link}) {
        QProcess second;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("TMPDIR", elsewhere.path());
        second.setProcessEnvironment(env);
        second.start(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", way, "--cycles", "1"});
        ASSERT_TRUE(second.waitForFinished(20000));
        EXPECT_NE(second.exitCode(), 0) << way.toStdString();
        EXPECT_TRUE(second.readAllStandardError().contains("another station")) << way.toStdString();
    }
    first.process().kill();  // a crash: the lock file stays behind
    first.process().waitForFinished(5000);
    const RunResult after = qeltest::Run(QStringLiteral(QELSTATION_PATH),
                                         {"--headless", "--app-dir", link, "--cycles", "1"});
    EXPECT_EQ(after.exitCode, 0) << after.err.toStdString();
}

TEST(Station, NoChambersSetUpExitsNonZeroHeadless) {
    SimLine line;
    line.describe("ETH", {});
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line));
    const RunResult r = qeltest::Run(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", folder.path(), "--cycles", "3"});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(r.err.contains("no chambers are set up")) << r.err.toStdString();
}

TEST(Station, PseudoTerminalGoingAwayMarksTheLineLostAndTheStationGoesOn) {
    SimLine line;
    ASSERT_TRUE(line.start("RTU", {{1, "QEL2000"}}));
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line));
    ChildProcess station;
    ASSERT_TRUE(station.start(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", folder.path(), "--json"}));
    bool good = false;
    for (int i = 0; i < 20 && !good; ++i) good = station.waitForLine("{").contains("\"CommError\":0");
    ASSERT_TRUE(good);
    line.process().stop();  // the line vanishes under the station
    bool lost = false;
    for (int i = 0; i < 40 && !lost; ++i) lost = station.waitForLine("{").contains("\"CommError\":-1");
    EXPECT_TRUE(lost);
    // Still polling: more ticks keep coming.
    EXPECT_FALSE(station.waitForLine("{").isNull());
    EXPECT_EQ(station.process().state(), QProcess::Running);
    station.stop();
    EXPECT_TRUE(folder.errorLog().contains("Serial port error(Open)")) << folder.errorLog().toStdString();
}

TEST(Station, UnusableApplicationFolderIsRefused) {
    QTemporaryDir tmp;
    QFile plain(tmp.path() + "/not-a-folder");
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    const RunResult r = qeltest::Run(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", plain.fileName(), "--cycles", "1"});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(r.err.contains("cannot read the folder")) << r.err.toStdString();
}

class QelPollLine : public ::testing::TestWithParam<const char*> {};

TEST_P(QelPollLine, PrintsWhatTheSimulatorServesIncludingNegativeValues) {
    const QString protocol = GetParam();
    SimLine line;
    ASSERT_TRUE(line.start(protocol, {{5, "QEL2100"}}, {"--frozen", "--no-noise", "--set", "5:0x0009:0xFF38", "--set", "5:0x000C:-1"}));
    QTemporaryDir logs;
    QStringList args = {"--protocol", protocol, "--address", "5", "--model", "QEL2100", "--dp", "1,2",
                        "--pcspeed", "100", "--count", "2", "--json", "--app-dir", logs.path()};
    if (protocol == QLatin1String("ETH"))
        args << "--ip" << QStringLiteral("%1.%2").arg(line.hostBase().section('.', 0, 2)).arg(line.hostBase().section('.', 3).toInt() + 4)
             << "--remote-port" << QString::number(line.port());
    else
        args << "--device" << line.pty();
    const RunResult r = qeltest::Run(QStringLiteral(QELPOLL_PATH), args);
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString() << r.out.toStdString();
    const QJsonObject o = LastByChamber(r.out)[1];
    EXPECT_DOUBLE_EQ(o["PV"].toArray()[0].toDouble(), -20.0);  // raw 0xFF38, one place
    EXPECT_DOUBLE_EQ(o["SP"].toArray()[1].toDouble(), -0.01);  // raw -1, two places
    EXPECT_EQ(o["CommError"].toInt(), 0);
    EXPECT_EQ(o["DP"].toArray()[1].toString(), "00");
}

// An exception, half a reply or a header alone is a failed poll: qelpoll
// says so by its exit status and prints no values from it.
TEST_P(QelPollLine, AnAbnormalReplyIsAFailedPoll) {
    const QString protocol = GetParam();
    SimLine line;
    ASSERT_TRUE(line.start(protocol, {{5, "QEL2000"}}, {"--frozen", "--no-noise", "--set", "5:0x0009:123"}));
    QTemporaryDir logs;
    QStringList args = {"--protocol", protocol, "--address", "5", "--pcspeed", "100", "--json", "--app-dir", logs.path()};
    if (protocol == QLatin1String("ETH"))
        args << "--ip" << QStringLiteral("%1.%2").arg(line.hostBase().section('.', 0, 2)).arg(line.hostBase().section('.', 3).toInt() + 4)
             << "--remote-port" << QString::number(line.port());
    else
        args << "--device" << line.pty();
    for (const char* fault : {"exception", "short", "header"}) {
        ASSERT_FALSE(line.command(QStringLiteral("%1 5").arg(fault)).isNull());
        const RunResult r = qeltest::Run(QStringLiteral(QELPOLL_PATH), args);
        EXPECT_EQ(r.exitCode, 1) << fault;
        const QJsonObject o = LastByChamber(r.out)[1];
        EXPECT_EQ(o["FailCount"].toInt(), 1) << fault;
        EXPECT_DOUBLE_EQ(o["PV"].toArray()[0].toDouble(), 0.0) << fault;
    }
}

INSTANTIATE_TEST_SUITE_P(Protocols, QelPollLine, ::testing::Values("ETH", "RTU", "ASC"));
