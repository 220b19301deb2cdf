// qelsim as a program: driven on stdin, ended by SIGTERM, read by pymodbus
// (a Modbus implementation written elsewhere) over TCP and its pty.
#include <gtest/gtest.h>

#include <QFileInfo>
#include <QTemporaryDir>

#include "child_process.h"
#include "sim_test_util.h"

namespace {

// Starts qelsim with time standing and noise off; its lines up to "ready" go to banner.
::testing::AssertionResult Start(qeltest::ChildProcess& sim, const QStringList& args, QStringList* banner) {
    if (!sim.start(QELSIM_PATH, args + QStringList{"--speed", "0", "--no-noise", "--time", "2024-01-31 08:15:07"}))
        return ::testing::AssertionFailure() << "did not start";
    for (QString line; (line = sim.waitForLine("", 5000)) != "ready"; *banner << line) {
        if (line.isNull()) return ::testing::AssertionFailure() << sim.stderrText().toStdString();
    }
    return ::testing::AssertionSuccess();
}

// SIGTERM ends qelsim normally, with status 0.
bool Terminate(qeltest::ChildProcess& sim) {
    sim.process().terminate();
    return sim.process().waitForFinished(3000) && sim.process().exitStatus() == QProcess::NormalExit &&
           sim.process().exitCode() == 0;
}

// The pymodbus client's output lines; none when pymodbus is not installed.
std::optional<QStringList> PyModbus(const QStringList& args) {
    const qeltest::RunResult r = qeltest::Run("/usr/bin/python3", QStringList{SIM_CLIENT_PY} + args, 20000);
    if (r.exitCode == 3 || !QFileInfo::exists("/usr/bin/python3")) return std::nullopt;
    if (r.exitCode != 0) return QStringList{"error exit " + QString::number(r.exitCode) + ": " + r.err};
    return r.out.split('\n', Qt::SkipEmptyParts);
}
const char* const NoPymodbus = "pymodbus for /usr/bin/python3 is not installed";

}  // namespace

// Guards a refused option, --frozen with --set, and pymodbus reading and writing over TCP, RTU and ASCII.
TEST(QelsimProgram, FrozenChamberAndPymodbusOverTcpAndThePty) {
    const qeltest::RunResult bad = qeltest::Run(QELSIM_PATH, {"--chamber", "1:QEL9"}, 5000);
    EXPECT_EQ(bad.exitCode, 2);
    EXPECT_TRUE(bad.err.contains("unknown model")) << bad.err.toStdString();
    for (const QString framing : {"tcp", "rtu", "ascii"}) {
        SCOPED_TRACE(framing.toStdString());
        QTemporaryDir dir;
        const QString link = dir.filePath("line");
        const QStringList line = framing == "tcp" ? QStringList{"--tcp", "--port", "0", "--host-base", "127.0.3.1"}
                                                  : QStringList{framing == "rtu" ? "--rtu" : "--asc", "--link", link};
        qeltest::ChildProcess sim;
        QStringList banner;
        ASSERT_TRUE(Start(sim, line + QStringList{"--chamber", "1:QEL2000", "--chamber", "2:QEL2100", "--frozen",
                                                  "--set", "1:0x0004:65", "--set", "2:0x0009:-200"}, &banner));
        for (const auto& [command, reply] : {std::pair{"get 1 4", "ok 65"}, {"thaw 2", "ok"}}) {
            sim.writeLine(command);
            EXPECT_EQ(sim.waitForLine("", 3000), reply) << command;
        }
        // Chamber 2's "HOST PORT" from "listen 2 HOST:PORT", or the link.
        const QStringList two = framing == "tcp" ? banner.value(1).section(' ', 2).split(':') : QStringList{link};
        const QStringList ops = {"r:9:1", "w:0x66:1", "r:6:1", "r:0x3A6:1", "W:0x77:1,0,60", "r:0x77:3", "w:0x66:4",
                                 "r:0x3A6:5"};
        const auto py = PyModbus(QStringList{framing} + two + QStringList{"2"} + ops);
        if (py) {
            EXPECT_EQ(*py, (QStringList{"65336", "ok", "1", "2024", "ok", "1 0 60", "ok", "1970 1 1 0 0"}))
                << "PV -20.0 in two's complement; channel 2 runs and has an end date until stopped";
        }
        EXPECT_TRUE(Terminate(sim));
        EXPECT_FALSE(QFileInfo(link).isSymLink()) << "the link goes with qelsim";
        if (!py) GTEST_SKIP() << NoPymodbus;
    }
}
