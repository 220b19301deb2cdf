// qelsim as a program: started from the test with QProcess, stopped by its
// own handle, and read with Modbus implementations written elsewhere
// (pymodbus through /usr/bin/python3, and libmodbus) over TCP and over its
// pseudo-terminal in RTU and ASCII.
#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSerialPort>
#include <QTcpSocket>
#include <QTemporaryDir>

#include "child_process.h"
#include "sim_test_util.h"

#ifdef HAVE_LIBMODBUS
#include <modbus/modbus.h>
#endif

namespace {

const QString Start = "2024-01-31 08:15:07";

// One qelsim process, stopped by its own handle when the test is done.
class SimProcess {
public:
    // Starts qelsim and keeps its stdout lines up to "ready".
    ::testing::AssertionResult start(const QStringList& args) {
        if (!child_.start(QELSIM_PATH, args)) return ::testing::AssertionFailure() << "qelsim did not start";
        for (;;) {
            const QString line = child_.waitForLine("", 5000);
            if (line.isNull())
                return ::testing::AssertionFailure() << "no \"ready\"; stderr: " << child_.stderrText().toStdString();
            if (line == "ready") return ::testing::AssertionSuccess();
            banner_ << line;
        }
    }

    // The address and port of chamber addr from its "listen" line.
    std::pair<QString, int> endpoint(int addr) const {
        const QRegularExpression re(QString("^listen %1 ([0-9.]+):(\\d+)$").arg(addr));
        for (const QString& l : banner_) {
            const auto m = re.match(l);
            if (m.hasMatch()) return {m.captured(1), m.captured(2).toInt()};
        }
        return {};
    }
    QString bannerValue(const QString& word) const {
        for (const QString& l : banner_) {
            if (l.startsWith(word + " ")) return l.mid(word.size() + 1);
        }
        return {};
    }

    // Sends one command line and returns qelsim's answer line.
    QString command(const QString& line) {
        child_.writeLine(line);
        return child_.waitForLine("", 3000);
    }

    QProcess& process() { return child_.process(); }

private:
    qeltest::ChildProcess child_;
    QStringList banner_;
};

// Runs the pymodbus client; an empty optional means pymodbus is not there.
std::optional<QStringList> PyModbus(const QStringList& args) {
    if (!QFileInfo::exists("/usr/bin/python3")) return std::nullopt;
    const qeltest::RunResult r = qeltest::Run("/usr/bin/python3", QStringList{SIM_CLIENT_PY} + args, 20000);
    if (r.exitCode == 3) return std::nullopt;
    if (r.exitCode != 0) return QStringList{"error exit " + QString::number(r.exitCode) + ": " + r.out + r.err};
    return r.out.split('\n', Qt::SkipEmptyParts);
}

#define PYMODBUS_OR_SKIP(out, args)                                                  \
    const auto out##Opt = PyModbus(args);                                            \
    if (!out##Opt) GTEST_SKIP() << "pymodbus for /usr/bin/python3 is not installed"; \
    const QStringList& out = *out##Opt

const QStringList Quiet = {"--speed", "0", "--no-noise", "--time", Start};

}  // namespace

TEST(QelsimProgram, HelpAndBadArguments) {
    const qeltest::RunResult help = qeltest::Run(QELSIM_PATH, {"--help"}, 5000);
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.contains("--chamber ADDR:MODEL"));
    EXPECT_TRUE(help.out.contains("Commands on stdin"));

    const qeltest::RunResult bad = qeltest::Run(QELSIM_PATH, {"--chamber", "1:QEL9"}, 5000);
    EXPECT_EQ(bad.exitCode, 2);
    EXPECT_TRUE(bad.err.contains("unknown model"));
}

TEST(QelsimProgram, PymodbusOverTcp) {
    SimProcess sim;
    ASSERT_TRUE(sim.start(QStringList{"--tcp", "--port", "0", "--chamber", "1:QEL2000", "--chamber", "2:QEL2100:1,0",
                                      "--set", "1:0x0009:-200"} +
                          Quiet));
    const auto [host1, port1] = sim.endpoint(1);
    const auto [host2, port2] = sim.endpoint(2);
    ASSERT_EQ(host1, "127.0.0.1");
    ASSERT_EQ(host2, "127.0.0.2");

    PYMODBUS_OR_SKIP(one, (QStringList{"tcp", host1, QString::number(port1), "1", "r:9:1", "r:0x39C:5", "r:2:120"}));
    ASSERT_EQ(one.size(), 3);
    EXPECT_EQ(one[0], "65336") << "PV -20.0 as two's complement";
    EXPECT_EQ(one[1], "1970 1 1 0 0") << "stopped: the unset end date";
    EXPECT_EQ(one[2].split(' ').size(), 120);

    PYMODBUS_OR_SKIP(two, (QStringList{"tcp", host2, QString::number(port2), "2", "r:0x0B:2", "w:0x66:1", "r:6:1",
                                       "r:0x3A6:1", "W:0x77:1,0,60", "r:0x77:3", "w:0x66:4", "r:6:1", "r:0x3A6:5"}));
    ASSERT_EQ(two.size(), 9);
    EXPECT_EQ(two[0], "250 60") << "set points at one and at no decimal place";
    EXPECT_EQ(two[1], "ok");
    EXPECT_EQ(two[2], "2") << "channel 2 runs its program";
    EXPECT_EQ(two[3], "2024") << "running: an end date";
    EXPECT_EQ(two[4], "ok");
    EXPECT_EQ(two[5], "1 0 60");
    EXPECT_EQ(two[7], "0") << "stopped again";
    EXPECT_EQ(two[8], "1970 1 1 0 0");
}

TEST(QelsimProgram, PymodbusOverRtuAndAsciiPseudoTerminals) {
    for (const char* framing : {"rtu", "ascii"}) {
        SCOPED_TRACE(framing);
        QTemporaryDir dir;
        const QString link = dir.filePath("line");
        SimProcess sim;
        ASSERT_TRUE(sim.start(QStringList{framing == QString("rtu") ? "--rtu" : "--asc", "--link", link, "--chamber",
                                          "1:QEL2000", "--chamber", "5:QEL2100", "--set", "5:0x000A:0xFF38"} +
                              Quiet));
        EXPECT_TRUE(sim.bannerValue("pty").startsWith("/dev/pts/"));
        EXPECT_EQ(QFileInfo(link).symLinkTarget(), sim.bannerValue("pty"));

        PYMODBUS_OR_SKIP(five, (QStringList{framing, link, "5", "r:9:2", "w:0x65:1", "r:4:3", "r:0:125"}));
        ASSERT_EQ(five.size(), 4);
        EXPECT_EQ(five[0], "230 65336");
        EXPECT_EQ(five[1], "ok");
        EXPECT_EQ(five[2], "2 0 0");
        EXPECT_EQ(five[3].split(' ').size(), 125);
        PYMODBUS_OR_SKIP(one, (QStringList{framing, link, "1", "r:4:1"}));
        EXPECT_EQ(one, QStringList{"0"}) << "another address on the same line";
    }
}

TEST(QelsimProgram, StdinCommandsChangeWhatTheLineSees) {
    SimProcess sim;
    ASSERT_TRUE(
        sim.start(QStringList{"--tcp", "--port", "0", "--host-base", "127.0.3.1", "--chamber", "1:QEL2000"} + Quiet));
    const auto [host, port] = sim.endpoint(1);
    EXPECT_EQ(host, "127.0.3.1");
    // Frozen, the status holds hold + wait as set, which no live chamber shows on its own.
    EXPECT_EQ(sim.command("freeze 1"), "ok");
    EXPECT_EQ(sim.command("set 1 0x0004 0x44"), "ok");
    EXPECT_EQ(sim.command("get 1 4"), "ok 68");
    EXPECT_EQ(sim.command("nonsense"), "error: unknown command \"nonsense\" (try help)");

    // One read of the status over a new connection; waits for `bytes` or ms.
    auto ask = [&](int bytes, int ms) {
        QTcpSocket s;
        s.connectToHost(host, static_cast<quint16>(port));
        if (!s.waitForConnected(2000)) return QByteArray("refused");
        s.write(QByteArray::fromHex("000100000006010300040001"));
        s.waitForBytesWritten(1000);
        QByteArray in;
        QElapsedTimer t;
        t.start();
        while (in.size() < bytes && t.elapsed() < ms) {
            if (s.waitForReadyRead(20)) in += s.readAll();
        }
        return in;
    };
    EXPECT_EQ(ask(11, 2000), QByteArray::fromHex("0001000000050103020044"));
    EXPECT_EQ(sim.command("silent 1"), "ok");
    EXPECT_TRUE(ask(1, 200).isEmpty());
    EXPECT_EQ(sim.command("exception 1"), "ok");
    EXPECT_EQ(ask(9, 2000), QByteArray::fromHex("000100000003018304"));
    EXPECT_EQ(sim.command("stop 1"), "ok");
    EXPECT_EQ(ask(1, 200), QByteArray("refused"));
    EXPECT_EQ(sim.command("start 1"), "ok");
    EXPECT_EQ(sim.command("normal 1"), "ok");
    EXPECT_EQ(ask(11, 2000), QByteArray::fromHex("0001000000050103020044"));
}

TEST(QelsimProgram, StationStyleSerialUseAndBadBytesDoNotUpsetIt) {
    SimProcess sim;
    ASSERT_TRUE(sim.start(QStringList{"--rtu", "--chamber", "1:QEL2000"} + Quiet));
    // As the station does it: a Qt serial port on the slave, closed and
    // opened again before every exchange; noise on the line first.
    QSerialPort port(sim.bannerValue("pty"));
    port.setBaudRate(9600);
    const QByteArray request = QByteArray::fromHex("010300040001C5CB");
    const QByteArray expected = QByteArray::fromHex("0103020000B844");
    ASSERT_TRUE(port.open(QIODevice::ReadWrite)) << port.errorString().toStdString();
    port.write(QByteArray::fromHex("FF00FF13370103"));
    port.waitForBytesWritten(1000);
    for (int round = 0; round < 4; ++round) {
        port.close();
        if (round % 2) QThread::msleep(30);  // long enough for qelsim to see the hang-up
        ASSERT_TRUE(port.open(QIODevice::ReadWrite)) << port.errorString().toStdString();
        port.clear();
        port.write(request);
        port.waitForBytesWritten(1000);
        QByteArray in;
        QElapsedTimer t;
        t.start();
        while (in.size() < expected.size() && t.elapsed() < 2000) {
            if (port.waitForReadyRead(50)) in += port.readAll();
        }
        EXPECT_EQ(in, expected) << "round " << round;
    }
    port.close();
    EXPECT_EQ(sim.process().state(), QProcess::Running);
}

TEST(QelsimProgram, TerminateRemovesTheLink) {
    QTemporaryDir dir;
    const QString link = dir.filePath("line");
    SimProcess sim;
    ASSERT_TRUE(sim.start(QStringList{"--asc", "--link", link, "--chamber", "1:QEL2000"} + Quiet));
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    sim.process().terminate();
    ASSERT_TRUE(sim.process().waitForFinished(3000));
    EXPECT_EQ(sim.process().exitStatus(), QProcess::NormalExit);
    EXPECT_FALSE(QFileInfo(link).isSymLink());
}

#ifdef HAVE_LIBMODBUS
namespace {
struct Ctx {
    modbus_t* m;
    explicit Ctx(modbus_t* ctx) : m(ctx) {}
    ~Ctx() {
        if (m) {
            modbus_close(m);
            modbus_free(m);
        }
    }
};
}  // namespace

TEST(QelsimProgram, LibmodbusOverTcpAndRtuWithFaults) {
    SimProcess tcp;
    ASSERT_TRUE(
        tcp.start(QStringList{"--tcp", "--port", "0", "--host-base", "127.0.4.1", "--chamber", "3:QEL2100"} + Quiet));
    const auto [host, port] = tcp.endpoint(3);
    Ctx t(modbus_new_tcp(host.toLatin1().constData(), port));
    ASSERT_NE(t.m, nullptr);
    modbus_set_slave(t.m, 3);
    modbus_set_response_timeout(t.m, 0, 300000);
    ASSERT_EQ(modbus_connect(t.m), 0);
    uint16_t regs[125] = {};
    ASSERT_EQ(modbus_read_registers(t.m, 0x0009, 2, regs), 2);
    EXPECT_EQ(regs[0], 230);
    EXPECT_EQ(regs[1], 450);
    ASSERT_EQ(modbus_write_register(t.m, 0x0065, 1), 1);
    ASSERT_EQ(modbus_read_registers(t.m, 0x0004, 1, regs), 1);
    EXPECT_EQ(regs[0], 2);
    const uint16_t op[3] = {1, 2, 0};
    ASSERT_EQ(modbus_write_registers(t.m, 0x0070, 3, op), 3);
    ASSERT_EQ(modbus_read_registers(t.m, 0x0070, 3, regs), 3);
    EXPECT_EQ(regs[1], 2);

    SimProcess rtu;
    ASSERT_TRUE(rtu.start(QStringList{"--rtu", "--chamber", "1:QEL2000", "--chamber", "2:QEL2000"} + Quiet));
    Ctx r(modbus_new_rtu(rtu.bannerValue("pty").toLatin1().constData(), 9600, 'N', 8, 1));
    ASSERT_NE(r.m, nullptr);
    modbus_set_response_timeout(r.m, 0, 300000);
    ASSERT_EQ(modbus_connect(r.m), 0);
    modbus_set_slave(r.m, 2);
    ASSERT_EQ(modbus_read_registers(r.m, 0x000B, 1, regs), 1);
    EXPECT_EQ(regs[0], 250);

    EXPECT_EQ(rtu.command("badcrc 2"), "ok");
    EXPECT_EQ(modbus_read_registers(r.m, 0x000B, 1, regs), -1);
    EXPECT_EQ(errno, EMBBADCRC);
    modbus_flush(r.m);
    EXPECT_EQ(rtu.command("exception 2"), "ok");
    EXPECT_EQ(modbus_read_registers(r.m, 0x000B, 1, regs), -1);
    EXPECT_EQ(errno, EMBXSFAIL) << "exception 04";
    EXPECT_EQ(rtu.command("silent 2"), "ok");
    EXPECT_EQ(modbus_read_registers(r.m, 0x000B, 1, regs), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(rtu.command("normal *"), "ok");
    modbus_flush(r.m);
    ASSERT_EQ(modbus_read_registers(r.m, 0x000B, 1, regs), 1);
    modbus_set_slave(r.m, 1);
    ASSERT_EQ(modbus_write_register(r.m, 0x0067, 0xFF9C), 1);
    ASSERT_EQ(modbus_read_registers(r.m, 0x000B, 1, regs), 1);
    EXPECT_EQ(regs[0], 0xFF9C) << "set point -10.0";
}
#else
TEST(QelsimProgram, LibmodbusOverTcpAndRtuWithFaults) { GTEST_SKIP() << "libmodbus (pkg-config libmodbus) not found"; }
#endif
