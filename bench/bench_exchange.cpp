// Cost of the text-based frame handling against a scripted line: CRC of a
// full reply, a whole block-1 poll with decode, and the number texts.
// Run: build/bench/bench_exchange
#include "clock.h"
#include "fake_serial.h"
#include "link.h"
#include "modbus.h"
#include "qel2000_poll.h"
#include "serial_port.h"
#include "state.h"
#include "vbtext.h"

#include <benchmark/benchmark.h>
#include <QCoreApplication>
#include <QTemporaryDir>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

using namespace qel;

static void BM_CrcOfAFullReply(benchmark::State& state) {
    const QString reply = QString("0103F0") + QString("00FA").repeated(120);
    for (auto _ : state) benchmark::DoNotOptimize(CrcText(reply));
}
BENCHMARK(BM_CrcOfAFullReply);

static void BM_ValOfARegister(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(Val(QStringLiteral("&HFF38")));
}
BENCHMARK(BM_ValOfARegister);

static void BM_FormatScaled(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(Format(-20.04, QStringLiteral("##0.0")));
}
BENCHMARK(BM_FormatScaled);

// One poll of a running QEL2100 (both blocks) on a line that answers at
// once, with time standing still: what the station spends besides the wire.
static void BM_PollOfARunningChamber(benchmark::State& state) {
    QTemporaryDir dir;
    ResetAllState();
    AppPath = dir.path() + "/";
    ManualClock clock;
    SetClock(&clock);
    auto port = std::make_unique<qeltest::FakeSerialPort>();
    port->reply = [](const QByteArray& req) {
        const int first = (static_cast<uint8_t>(req[2]) << 8) | static_cast<uint8_t>(req[3]);
        const int count = (static_cast<uint8_t>(req[4]) << 8) | static_cast<uint8_t>(req[5]);
        return qeltest::WithCrc(qeltest::ReadReplyBody(1, first, count, [](int r) {
            return static_cast<uint16_t>(r == 0x0004 ? 1 : r == 0x039C ? 2024 : r & 0xFF);
        }));
    };
    MSComm1 = std::move(port);
    Protocol = "RTU";
    PCSpeed = 0;
    ChamberModel[0] = "QEL2100";
    Chamber[0].DP = {"0", "0", "0"};
    OpenLink();
    for (auto _ : state) ReadCommBlock(1);
    RemoveLink();
    SetClock(nullptr);
}
BENCHMARK(BM_PollOfARunningChamber);

// The close and open of the serial port that every serial exchange makes,
// on a pseudo-terminal, by each port layer: what it adds to each exchange.
template <std::unique_ptr<SerialPort> (*Make)()>
static void BM_ReopenOfTheSerialPort(benchmark::State& state) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        state.SkipWithError("no pseudo-terminal");
        return;
    }
    SerialPortDevices[1] = QString::fromLocal8Bit(ptsname(master));
    auto port = Make();
    port->setCommPort(1);
    port->setSettings("9600,n,8,1");
    for (auto _ : state) {
        port->setPortOpen(true);
        port->setPortOpen(false);
    }
    port.reset();
    close(master);
}
BENCHMARK(BM_ReopenOfTheSerialPort<MakeQtSerialPort>)->Name("ReopenQtSerialPort")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ReopenOfTheSerialPort<MakePosixSerialPort>)->Name("ReopenPosixSerialPort")->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
