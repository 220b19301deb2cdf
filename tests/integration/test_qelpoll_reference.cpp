// qelpoll against a Modbus slave that nobody here wrote (pymodbus), over
// Modbus/TCP on loopback and RTU and ASCII on a pseudo-terminal, so that the
// station and our simulator cannot be wrong in the same way.
#include "child_process.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using qeltest::ChildProcess;

namespace {

bool PymodbusAvailable() {
    static const bool ok = [] {
        if (!QFile::exists(QStringLiteral(SYSTEM_PYTHON))) return false;
        return qeltest::Run(QStringLiteral(SYSTEM_PYTHON),
                            {"-c", "import pymodbus.server, serial_asyncio"}, 20000).exitCode == 0;
    }();
    return ok;
}

// Registers of a running QEL2000 channel 1: PV raw 0xFF38 (-20.0 with one
// place), SP 30.0, MV 55.5, fixed run, run time 1 h 2 min 3 s (form B: 3603),
// end date 2024-05-06 07:08.
const QStringList kRegisters = {
    "--set", "0x0004=0x0001", "--set", "0x0009=0xFF38", "--set", "0x000B=300", "--set", "0x000D=555",
    "--set", "0x001D=1", "--set", "0x001E=2", "--set", "0x001F=3", "--set", "0x006E=1",
    "--set", "0x039C=2024", "--set", "0x039D=5", "--set", "0x039E=6", "--set", "0x039F=7", "--set", "0x03A0=8",
    "--set", "0x03A6=1970", "--set", "0x03A7=1", "--set", "0x03A8=1"};

QJsonObject LastJson(const QString& out) {
    const QStringList lines = out.split('\n', Qt::SkipEmptyParts);
    if (lines.isEmpty()) return {};
    return QJsonDocument::fromJson(lines.last().toUtf8()).object();
}

void ExpectServedValues(const QJsonObject& o) {
    ASSERT_FALSE(o.isEmpty());
    EXPECT_EQ(o["CommError"].toInt(), 0);
    EXPECT_EQ(o["FailCount"].toInt(), 0);
    EXPECT_DOUBLE_EQ(o["PV"].toArray()[0].toDouble(), -20.0);
    EXPECT_DOUBLE_EQ(o["SP"].toArray()[0].toDouble(), 30.0);
    EXPECT_DOUBLE_EQ(o["MV"].toArray()[0].toDouble(), 55.5);
    EXPECT_EQ(o["Status"].toArray()[0].toInt(), 1);
    EXPECT_EQ(o["FixMode"].toArray()[0].toInt(), 1);
    EXPECT_EQ(o["RunTime"].toArray()[0].toInt(), 3603);
    EXPECT_EQ(o["EndDate"].toArray()[0].toString(), "2024-05-06 07:08:00");
    EXPECT_EQ(o["EndDate"].toArray()[1].toString(), "1970-01-01 00:00:00");
}

class AgainstPymodbus : public ::testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(AgainstPymodbus, ReadsWhatTheReferenceSlaveHolds) {
    if (!PymodbusAvailable()) GTEST_SKIP() << "python3-pymodbus with serial-asyncio is not installed";
    const QString protocol = GetParam();
    ChildProcess peer;
    QStringList link = {"--protocol", protocol};
    if (protocol == "ETH") {
        const quint16 port = qeltest::FreePort();
        ASSERT_TRUE(peer.start(SYSTEM_PYTHON, QStringList{PYMODBUS_PEER, "--tcp", QStringLiteral("127.0.0.1:%1").arg(port)} + kRegisters));
        link << "--ip" << "127.0.0.1" << "--remote-port" << QString::number(port);
    } else {
        ASSERT_TRUE(peer.start(SYSTEM_PYTHON, QStringList{PYMODBUS_PEER, protocol == "RTU" ? "--rtu" : "--ascii"} + kRegisters));
        const QString pty = peer.waitForLine("pty");
        ASSERT_FALSE(pty.isEmpty()) << peer.stderrText().toStdString();
        link << "--device" << pty;
    }
    ASSERT_FALSE(peer.waitForLine("ready").isNull()) << peer.stderrText().toStdString();
    QTemporaryDir logs;
    const auto r = qeltest::Run(QStringLiteral(QELPOLL_PATH),
                                link + QStringList{"--address", "1", "--model", "QEL2000", "--dp", "1", "--pcspeed", "150",
                                                   "--count", "3", "--json", "--app-dir", logs.path()});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    ExpectServedValues(LastJson(r.out));
}

INSTANTIATE_TEST_SUITE_P(Protocols, AgainstPymodbus, ::testing::Values("ETH", "RTU", "ASC"));

TEST(QelPoll, MissingSerialDeviceFailsWithALogLine) {
    QTemporaryDir logs;
    QTemporaryDir nowhere;
    const auto r = qeltest::Run(QStringLiteral(QELPOLL_PATH),
                                {"--protocol", "RTU", "--device", nowhere.path() + "/no-such-tty", "--count", "2",
                                 "--pcspeed", "50", "--json", "--app-dir", logs.path()});
    EXPECT_NE(r.exitCode, 0);
    const QJsonObject o = LastJson(r.out);
    EXPECT_EQ(o["CommError"].toInt(), -1);
    QFile log(QDir(logs.path() + "/Error").entryInfoList(QDir::Files).value(0).absoluteFilePath());
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_TRUE(log.readAll().contains("Serial port error(Open)"));
}
