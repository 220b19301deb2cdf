// qelsim as a program: started with QProcess, driven on stdin, ended with
// SIGTERM, and read by pymodbus (a Modbus implementation written elsewhere,
// via /usr/bin/python3) over TCP and over its pseudo-terminal in RTU and ASCII.
#include <gtest/gtest.h>

#include <QFileInfo>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTemporaryDir>

#include "child_process.h"
#include "options.h"
#include "sim_test_util.h"

namespace {

class SimProcess {
public:
    // Starts qelsim and keeps its stdout lines up to "ready".
    ::testing::AssertionResult start(const QStringList& args) {
        const QStringList quiet = {"--speed", "0", "--no-noise", "--time", "2024-01-31 08:15:07"};
        if (!child_.start(QELSIM_PATH, args + quiet)) return ::testing::AssertionFailure() << "did not start";
        for (QString line; (line = child_.waitForLine("", 5000)) != "ready"; banner_ << line) {
            if (line.isNull()) return ::testing::AssertionFailure() << child_.stderrText().toStdString();
        }
        return ::testing::AssertionSuccess();
    }
    // The rest of the banner line that starts with word and a blank.
    QString banner(const QString& word) const {
        const QStringList found = banner_.filter(QRegularExpression("^" + word + " "));
        return found.isEmpty() ? QString() : found[0].mid(word.size() + 1);
    }
    QString command(const QString& line) {
        child_.writeLine(line);
        return child_.waitForLine("", 3000);
    }
    // SIGTERM ends qelsim normally, with status 0.
    bool terminate() {
        child_.process().terminate();
        return child_.process().waitForFinished(3000) && child_.process().exitStatus() == QProcess::NormalExit &&
               child_.process().exitCode() == 0;
    }

private:
    qeltest::ChildProcess child_;
    QStringList banner_;
};

// The pymodbus client's output lines; none when pymodbus is not installed.
std::optional<QStringList> PyModbus(const QStringList& args) {
    if (!QFileInfo::exists("/usr/bin/python3")) return std::nullopt;
    const qeltest::RunResult r = qeltest::Run("/usr/bin/python3", QStringList{SIM_CLIENT_PY} + args, 20000);
    if (r.exitCode == 3) return std::nullopt;
    if (r.exitCode != 0) return QStringList{"error exit " + QString::number(r.exitCode) + ": " + r.err};
    return r.out.split('\n', Qt::SkipEmptyParts);
}
const char* const NoPymodbus = "pymodbus for /usr/bin/python3 is not installed";

}  // namespace

TEST(QelsimProgram, CommandLinesGoodAndBad) {
    const std::pair<QStringList, bool> rows[] = {
        {{"--tcp", "--port=0", "--same-ip", "--chamber", "1:QEL2000"}, true},
        {{"--rtu", "--chamber", "3:qel2100:1,0", "--set", "3:0x9:-200", "--run", "3:2", "--fault", "*:delay:50"}, true},
        {{"--asc", "--link", "/tmp/x", "--demo"}, true},
        {{"--help"}, true},
        {{}, false},  // no chamber
        {{"--chamber", "1:QEL2500"}, false},
        {{"--chamber", "1:QEL2000:1,1"}, false},  // two decimal places for one channel
        {{"--chamber", "1:QEL2000", "--chamber", "1:QEL2100"}, false},
        {{"--chamber", "1:QEL2000", "--host-base", "10.0.0.1"}, false},  // not loopback
        {{"--chamber", "1:QEL2000", "--fault", "1:loud"}, false},
        {{"--chamber", "1:QEL2000", "--fault", "*:babble", "--fault", "1:huge@50", "--fault", "1:badlrc"}, true},
        {{"--chamber", "1:QEL2000", "--fault", "1:delay"}, false},  // delay wants its MS
        {{"--chamber", "1:QEL2000", "--fault", "1:twice:3"}, false},
        {{"--chamber", "1:QEL2000", "--fault", "1:drop@101"}, false},
        {{"--chamber", "1:QEL2000", "--fault", "1:drop@"}, false},
        {{"--chamber", "1:QEL2000", "--fault", "248:drop"}, false},
        {{"--chamber", "1:QEL2000", "--link", "/tmp/x"}, false},  // a link needs a serial line
        {{"--chamber", "1:QEL2000", "--time", "yesterday"}, false},
        {{"--chamber", "200:QEL2000", "--host-base", "127.255.255.100"}, false},  // would leave 127/8
    };
    for (const auto& [args, good] : rows) {
        qelsim::Options o;
        QString error;
        EXPECT_EQ(qelsim::ParseOptions(args, &o, &error), good) << args.join(' ').toStdString();
        EXPECT_EQ(error.isEmpty(), good) << args.join(' ').toStdString() << ": " << error.toStdString();
    }
    qelsim::Options o;
    QString error;
    ASSERT_TRUE(qelsim::ParseOptions({"--chamber", "2:QEL2000", "--fault", "2:mixed:300@20", "--fault", "*:mixed"}, &o,
                                     &error));
    ASSERT_EQ(o.faults.size(), 2u);
    EXPECT_EQ(o.faults[0].address, 2);
    EXPECT_EQ(o.faults[0].fault.mode, qelsim::FaultMode::Mixed);
    EXPECT_EQ(o.faults[0].fault.delayMs, 300);
    EXPECT_EQ(o.faults[0].fault.percent, 20);
    EXPECT_EQ(o.faults[1].address, 0) << "every chamber";
    EXPECT_EQ(o.faults[1].fault.delayMs, 500);
    EXPECT_EQ(o.faults[1].fault.percent, 100);

    const qeltest::RunResult bad = qeltest::Run(QELSIM_PATH, {"--chamber", "1:QEL9"}, 5000);
    EXPECT_EQ(bad.exitCode, 2);
    EXPECT_TRUE(bad.err.contains("unknown model")) << bad.err.toStdString();
}

TEST(QelsimProgram, TcpStdinCommandsAndPymodbus) {
    SimProcess sim;
    ASSERT_TRUE(sim.start({"--tcp", "--port", "0", "--host-base", "127.0.3.1", "--chamber", "1:QEL2000", "--chamber",
                           "2:QEL2100", "--set", "2:0x0009:-200"}));
    const QRegularExpression listen("^([0-9.]+):(\\d+)$");
    const auto one = listen.match(sim.banner("listen 1")), two = listen.match(sim.banner("listen 2"));
    ASSERT_TRUE(one.hasMatch() && two.hasMatch());
    EXPECT_EQ(one.captured(1), "127.0.3.1");
    EXPECT_EQ(two.captured(1), "127.0.3.2");

    // Reads the status of chamber 1 over a new connection.
    auto ask = [&](int bytes) {
        QTcpSocket s;
        s.connectToHost(one.captured(1), one.captured(2).toUShort());
        if (!s.waitForConnected(2000)) return QByteArray("refused");
        s.write(simtest::H("000100000006010300040001"));
        while (s.bytesAvailable() < bytes && s.waitForReadyRead(2000)) continue;
        return s.readAll();
    };
    // Frozen, the status holds hold + wait as set; bad lines say why and change nothing.
    const std::pair<const char*, const char*> commands[] = {
        {"freeze 1", "ok"},         {"set 1 0x0004 0x44", "ok"}, {"get 1 4", "ok 68"},       {"get 1", "error: "},
        {"get 1 0xFFFF 2", "error: "}, {"set 1 9 70000", "error: "}, {"set 9 9 9", "error: "}, {"stop 99", "error: "},
        {"key 1 2 1", "error: "},  {"delay 1 x", "error: "},   {"nonsense", "error: unknown command \"nonsense\""},
    };
    for (const auto& [line, reply] : commands) EXPECT_TRUE(sim.command(line).startsWith(reply)) << line;
    EXPECT_EQ(ask(11), simtest::H("0001000000050103020044"));
    EXPECT_EQ(sim.command("exception 1"), "ok");
    EXPECT_EQ(ask(9), simtest::H("000100000003018304"));
    EXPECT_EQ(sim.command("stop 1"), "ok");
    EXPECT_EQ(ask(0), "refused");
    EXPECT_EQ(sim.command("start 1"), "ok");
    EXPECT_EQ(sim.command("normal 1"), "ok");
    EXPECT_EQ(ask(11), simtest::H("0001000000050103020044"));

    const auto py = PyModbus({"tcp", two.captured(1), two.captured(2), "2", "r:9:1", "w:0x66:1", "r:6:1", "r:0x3A6:1",
                              "W:0x77:1,0,60", "r:0x77:3", "w:0x66:4", "r:0x3A6:5"});
    if (py) {
        EXPECT_EQ(*py, (QStringList{"65336", "ok", "1", "2024", "ok", "1 0 60", "ok", "1970 1 1 0 0"}))
            << "PV -20.0 in two's complement; channel 2 runs and has an end date until stopped";
    }
    EXPECT_TRUE(sim.terminate());
    if (!py) GTEST_SKIP() << NoPymodbus;
}

TEST(QelsimProgram, PtyRtuAndAsciiWithPymodbus) {
    for (const char* framing : {"rtu", "ascii"}) {
        SCOPED_TRACE(framing);
        QTemporaryDir dir;
        const QString link = dir.filePath("line");
        SimProcess sim;
        ASSERT_TRUE(sim.start({framing == QString("rtu") ? "--rtu" : "--asc", "--link", link, "--chamber", "1:QEL2000",
                               "--chamber", "5:QEL2100", "--set", "5:0x000A:0xFF38"}));
        EXPECT_TRUE(sim.banner("pty").startsWith("/dev/pts/"));
        EXPECT_EQ(QFileInfo(link).symLinkTarget(), sim.banner("pty"));
        const auto five = PyModbus({framing, link, "5", "r:9:2", "w:0x65:1", "r:4:3", "r:0:125"});
        const auto one = PyModbus({framing, link, "1", "r:4:1"});
        if (five && one) {
            EXPECT_EQ(five->mid(0, 3), (QStringList{"230 65336", "ok", "1 0 0"})) << "PV of channel 2 at -20.0";
            EXPECT_EQ(five->value(3).count(' '), 124) << five->join('\n').toStdString();
            EXPECT_EQ(*one, QStringList{"0"}) << "another address on the same line";
        }
        EXPECT_TRUE(sim.terminate());
        EXPECT_FALSE(QFileInfo(link).isSymLink()) << "the link goes with qelsim";
        if (!five) GTEST_SKIP() << NoPymodbus;
    }
}

TEST(QelsimProgram, BabbleLeavesStdinAnsweringAndEndsOnNormal) {
    SimProcess sim;
    ASSERT_TRUE(sim.start({"--tcp", "--port", "0", "--host-base", "127.0.4.1", "--chamber", "1:QEL2000", "--fault",
                           "1:babble"}));
    const auto at = QRegularExpression("^([0-9.]+):(\\d+)$").match(sim.banner("listen 1"));
    ASSERT_TRUE(at.hasMatch());
    QTcpSocket s;
    s.connectToHost(at.captured(1), at.captured(2).toUShort());
    ASSERT_TRUE(s.waitForConnected(2000));
    s.write(simtest::H("000100000006010300040001"));
    qsizetype junk = 0;
    while (junk < 1024 * 1024 && s.waitForReadyRead(2000)) junk += s.readAll().size();
    EXPECT_GE(junk, 1024 * 1024) << "a stream far beyond any reply";

    // Not read for a while, the stream stalls in the socket; qelsim still answers.
    EXPECT_EQ(sim.command("count 1"), "ok 1");
    EXPECT_EQ(sim.command("normal 1"), "ok");
    while (s.waitForReadyRead(300)) s.readAll();  // what was on its way
    s.write(simtest::H("000200000006010300040001"));
    QByteArray reply;
    while (reply.size() < 11 && s.waitForReadyRead(2000)) reply += s.readAll();
    EXPECT_EQ(reply, simtest::H("0002000000050103020000"));
    EXPECT_EQ(sim.command("count *"), "ok 2");
    EXPECT_TRUE(sim.terminate());
}

TEST(QelsimProgram, FrozenStartHoldsWhatIsSetEvenInLiveRegisters) {
    SimProcess sim;
    ASSERT_TRUE(sim.start({"--tcp", "--port", "0", "--host-base", "127.0.5.1", "--chamber", "1:QEL2000", "--frozen",
                           "--set", "1:0x0004:65", "--set", "1:0x0009:-200", "--set", "1:0x000D:555"}));
    EXPECT_EQ(sim.command("get 1 4"), "ok 65") << "a waiting program run, though nothing runs";
    EXPECT_EQ(sim.command("get 1 9"), "ok 65336");
    EXPECT_EQ(sim.command("get 1 0x000D"), "ok 555") << "an output while stopped";
    EXPECT_TRUE(sim.terminate());
}
