// qelstation as a user starts it, against qelsim: the window station polls
// by itself, a hostile line never puts a value into a record that the
// simulator did not serve, one babbling device does not hold the line, and
// the exit writes its line once and nothing after it.
#include "line_fixture.h"
#include "profile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcessEnvironment>
#include <csignal>
#include <gtest/gtest.h>
#include <signal.h>

using namespace qeltest;

namespace {

// Frozen registers: chamber 1 in a program run with PV -20.0, SP 30.0 and an
// end date of 2024-05-06 07:08; chamber 2 stopped with PV 25.3 and -1.0.
const QStringList kServed = {"--frozen", "--no-noise",
                             "--set", "1:0x0004:1", "--set", "1:0x0009:-200", "--set", "1:0x000B:300",
                             "--set", "1:0x039C:2024", "--set", "1:0x039D:5", "--set", "1:0x039E:6",
                             "--set", "1:0x039F:7", "--set", "1:0x03A0:8",
                             "--set", "2:0x0009:253", "--set", "2:0x000A:-10"};

QList<QJsonObject> JsonLines(const QString& out) {
    QList<QJsonObject> all;
    for (const QString& line : out.split('\n', Qt::SkipEmptyParts)) {
        const QJsonObject o = QJsonDocument::fromJson(line.toUtf8()).object();
        if (o.contains("Chamber")) all << o;
    }
    return all;
}

int Requests(SimLine& line, const QString& address) {
    const QString ok = line.command("count " + address);
    return ok.isNull() ? -1 : ok.toInt();
}

QStringList Lines(const QString& log) { return log.split("\r\n", Qt::SkipEmptyParts); }

class WindowStation : public ::testing::TestWithParam<const char*> {};

}  // namespace

// The station with a window (offscreen) opens the link itself: requests
// reach the simulator and the screen shows its values.
TEST_P(WindowStation, PollsAndShowsWhatTheSimulatorServes) {
    SimLine line;
    ASSERT_TRUE(line.start(GetParam(), {{1, "QEL2000"}, {2, "QEL2100"}}, kServed))
        << line.process().stderrText().toStdString();
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line));
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    ChildProcess station;
    station.process().setProcessEnvironment(env);
    QElapsedTimer started;
    started.start();
    ASSERT_TRUE(station.start(QStringLiteral(QELSTATION_PATH), {"--app-dir", folder.path(), "--json"}));

    // Rows of the overview: No, Name, Model, State, CH1 PV, CH1 SP, CH2 PV, CH2 SP, Failures.
    QJsonArray one, two;
    while ((one.isEmpty() || two.isEmpty() || one[4].toString() == "-.-" || two[4].toString() == "-.-") &&
           started.elapsed() < 20000) {
        const QJsonObject o = QJsonDocument::fromJson(("{" + station.waitForLine("{", 1000)).toUtf8()).object();
        if (o["Chamber"].toInt() == 1) one = o["Shown"].toArray();
        if (o["Chamber"].toInt() == 2) two = o["Shown"].toArray();
    }
    std::printf("live values of both chambers shown %lld ms after the start\n",
                static_cast<long long>(started.elapsed()));
    ASSERT_EQ(one.size(), 9);
    auto text = [](const QJsonValue& v) { return v.toString().toStdString(); };
    EXPECT_EQ(text(one[2]), "QEL2000");
    EXPECT_EQ(text(one[3]), "PROGRAM RUN");
    EXPECT_EQ(text(one[4]), "-20.0");
    EXPECT_EQ(text(one[5]), "30.0");
    ASSERT_EQ(two.size(), 9);
    EXPECT_EQ(text(two[3]), "STOP");
    EXPECT_EQ(text(two[4]), "25.3");
    EXPECT_EQ(text(two[6]), "-1.0");
    EXPECT_GT(Requests(line, "1"), 0);
    EXPECT_GT(Requests(line, "2"), 0);

    station.process().terminate();
    EXPECT_TRUE(station.process().waitForFinished(5000));
    const QStringList log = Lines(folder.errorLog());
    ASSERT_FALSE(log.isEmpty());
    EXPECT_EQ(log.filter("User End Program").size(), 1);
    EXPECT_TRUE(log.last().endsWith("  User End Program"));
}

INSTANTIATE_TEST_SUITE_P(Protocols, WindowStation, ::testing::Values("ETH", "RTU"));

namespace {

class HostileLine : public ::testing::TestWithParam<const char*> {};

// What the simulator serves, and 0 before the first good read: nothing else
// may ever show in a record.
void ExpectOnlyServedValues(const QList<QJsonObject>& records) {
    for (const QJsonObject& o : records) {
        const int c = o["Chamber"].toInt();
        const double pv = o["PV"].toArray()[0].toDouble();
        const double sp = o["SP"].toArray()[0].toDouble();
        const int status = o["Status"].toArray()[0].toInt();
        const QJsonValue end = o["EndDate"].toArray()[0];
        if (c == 1) {
            EXPECT_TRUE(pv == 0 || pv == -20.0) << pv;
            EXPECT_TRUE(sp == 0 || sp == 30.0) << sp;
            EXPECT_TRUE(status == 0 || status == 1) << status;
            EXPECT_TRUE(end == QJsonValue(0) || end.toString() == "2024-05-06 07:08:00") << end.toString().toStdString();
        } else {
            EXPECT_TRUE(pv == 0 || pv == 25.3) << pv;
            EXPECT_EQ(status, 0);
        }
        EXPECT_LE(o["FailCount"].toInt(), 32767);
    }
}

}  // namespace

// Chamber 1 answers each request with a misbehaviour drawn at random (late
// by 1.2 to 2 times PCSpeed among them); chamber 2 answers properly and is
// polled on every tick all the same. QEL_SOAK_SECONDS makes the run longer.
TEST_P(HostileLine, NoValueThatTheSimulatorDidNotServe) {
    const int seconds = qEnvironmentVariableIntValue("QEL_SOAK_SECONDS");
    SimLine line;
    QStringList args = kServed;
    args << "--fault" << "1:mixed:150" << "--seed" << "7";
    ASSERT_TRUE(line.start(GetParam(), {{1, "QEL2000"}, {2, "QEL2100"}}, args))
        << line.process().stderrText().toStdString();
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line, 100));
    const int cycles = seconds > 0 ? seconds * 3 : 40;
    const RunResult r = qeltest::Run(QStringLiteral(QELSTATION_PATH),
                            {"--headless", "--app-dir", folder.path(), "--cycles", QString::number(cycles), "--json"},
                            (seconds > 0 ? seconds * 3 : 120) * 1000);
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QList<QJsonObject> records = JsonLines(r.out);
    ASSERT_EQ(records.size(), 2 * cycles);
    ExpectOnlyServedValues(records);
    int healthy = 0;
    for (const QJsonObject& o : records)
        if (o["Chamber"].toInt() == 2 && o["FailCount"].toInt() == 0) ++healthy;
    std::printf("healthy chamber read well on %d of %d ticks\n", healthy, cycles);
    if (QLatin1String(GetParam()) == "ETH") {
        EXPECT_EQ(healthy, cycles) << "the healthy chamber was read on every tick";
    } else {
        // On a shared serial line a late reply of chamber 1 runs into the
        // next exchange, as it would on a real bus: that read fails too.
        EXPECT_GE(healthy, cycles * 3 / 4);
    }
}

INSTANTIATE_TEST_SUITE_P(Protocols, HostileLine, ::testing::Values("ETH", "RTU", "ASC"));

// One device that never stops sending: the walk goes on, the healthy
// chamber is read, and SIGTERM ends the station in order.
TEST(BabblingLine, TheOtherChambersArePolledAndTheStationEndsOnSigterm) {
    SimLine line;
    ASSERT_TRUE(line.start("RTU", {{1, "QEL2000"}, {2, "QEL2100"}}, kServed));
    ASSERT_FALSE(line.command("babble 1").isNull());
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line, 100));
    ChildProcess station;
    ASSERT_TRUE(station.start(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", folder.path(), "--json"}));
    int goodReadsOfTwo = 0;
    for (int i = 0; i < 60 && goodReadsOfTwo < 5; ++i) {
        const QJsonObject o = QJsonDocument::fromJson(("{" + station.waitForLine("{", 3000)).toUtf8()).object();
        if (o["Chamber"].toInt() == 2 && o["FailCount"].toInt() == 0 && o["PV"].toArray()[0].toDouble() == 25.3)
            ++goodReadsOfTwo;
    }
    EXPECT_EQ(goodReadsOfTwo, 5);
    station.process().terminate();
    ASSERT_TRUE(station.process().waitForFinished(5000)) << "SIGTERM honoured";
    EXPECT_EQ(station.process().exitCode(), 0);
    const QStringList log = Lines(folder.errorLog());
    ASSERT_FALSE(log.isEmpty());
    EXPECT_EQ(log.filter("User End Program").size(), 1);
    EXPECT_TRUE(log.last().endsWith("  User End Program"));
}

// A signal in the middle of a slow walk, with every exchange traced: the
// end line comes once and is the last line of the log.
TEST(StationExit, SignalDuringAWalkWritesTheEndLineOnceAndNothingAfterIt) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}, {2, "QEL2000"}, {3, "QEL2000"}, {4, "QEL2000"}},
                           {"--fault", "*:silent"}));
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line, 300));
    ASSERT_TRUE(qel::WriteProfileString("CommSet", "CommDataSave", "1", folder.path() + "/SetComm.ini"));
    for (int signal : {SIGTERM, SIGINT}) {
        QDir(folder.path() + "/Error").removeRecursively();
        ChildProcess station;
        ASSERT_TRUE(station.start(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", folder.path()}));
        QElapsedTimer t;
        t.start();
        while (!folder.errorLog().contains("Communication state check") && t.elapsed() < 10000)
            station.process().waitForFinished(50);
        ::kill(static_cast<pid_t>(station.process().processId()), signal);
        ASSERT_TRUE(station.process().waitForFinished(5000));
        const QStringList log = Lines(folder.errorLog());
        ASSERT_FALSE(log.isEmpty());
        EXPECT_EQ(log.filter("User End Program").size(), 1) << signal;
        EXPECT_TRUE(log.last().endsWith("  User End Program")) << log.last().toStdString();
    }
}

// A chamber whose model has no poll block yet is never read; it says so
// instead of showing the zeros of an empty record as a stopped chamber.
TEST(StationLine, AChamberThatIsNotPolledSaysSo) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}, {2, "QEL2100"}}, kServed));
    StationFolder folder;
    ASSERT_TRUE(folder.prepare(line));
    ASSERT_TRUE(qel::WriteProfileString("Model", "2", "QEL2300/", folder.path() + "/SetUserTag.ini"));
    const RunResult r = qeltest::Run(QStringLiteral(QELSTATION_PATH),
                                     {"--headless", "--app-dir", folder.path(), "--cycles", "5", "--json"});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    for (const QJsonObject& o : JsonLines(r.out)) {
        const bool two = o["Chamber"].toInt() == 2;
        EXPECT_EQ(o["Polled"].toBool(), !two);
        if (two) {
            EXPECT_EQ(o["State"].toString(), "NOT POLLED");
        }
    }
    EXPECT_EQ(Requests(line, "2"), 0);
    EXPECT_GT(Requests(line, "1"), 0);
}

// A headless station says once on stderr what it found wrong in its
// settings, and goes on as the settings' fallbacks say (each problem's
// wording is tabled with the loaders).
TEST(StationSettings, ProblemsAreSaidOnceOnStderr) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}}));
    const struct {
        const char* what;
        std::function<bool(const QString&)> spoil;
        const char* said;
    } rows[] = {
        {"protocol", [](const QString& d) { return qel::WriteProfileString("CommSet", "Protocol", "XYZ/", d + "/SetComm.ini"); },
         "Protocol \"XYZ\" in SetComm.ini is not RTU, ASC or ETH: no chamber can be polled"},
        {"model", [](const QString& d) { return qel::WriteProfileString("Model", "1", "QEL9999/", d + "/SetUserTag.ini"); },
         "Chamber 1 has model \"QEL9999\" in SetUserTag.ini: it is not polled"},
        {"missing", [](const QString& d) { return QFile::remove(d + "/SetComm.ini"); }, "SetComm.ini is missing"},
    };
    for (const auto& r : rows) {
        StationFolder folder;
        ASSERT_TRUE(folder.prepare(line));
        ASSERT_TRUE(r.spoil(folder.path())) << r.what;
        const RunResult run = qeltest::Run(QStringLiteral(QELSTATION_PATH),
                                           {"--headless", "--app-dir", folder.path(), "--cycles", "3"});
        EXPECT_EQ(run.err.count(QString::fromUtf8(r.said)), 1) << r.what << ": " << run.err.toStdString();
    }
}
