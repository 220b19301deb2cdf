// Cost of the records per poll: a data-log row (open, append, close) on the
// disk under /tmp, and an event scan of a QEL2100 channel with every item
// selected, words that change on every call and words that do not.
// Run: build/bench/bench_records
#include "clock.h"
#include "data_log.h"
#include "event_scan.h"
#include "page_controls.h"
#include "state.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <string>
#include <vector>

using namespace qel;

namespace {

void Chamber1(const QString& folder) {
    ResetAllState();
    ResetRunState();
    AppPath = folder;
    ChamberModel[0] = "QEL2100";
    ChamberName[0] = "C1";
    Chamber[0].ChannelCount = 2;
    Chamber[0].Status = {1, 1, 0};
    QDir().mkpath(folder + "DATA/C1");
    QDir().mkpath(folder + "Message/C1");
    for (auto& table : Log[0].Lamp2000)
        for (int i = 1; i <= 104; ++i) table[i] = QString("E %1=1").arg(i);
}

}  // namespace

// One row per call on both channels (FileSave 1, the clock a second on), up
// to files of 50000 rows, with p50 and p99 of the single call over the last
// thousand rows before 1000, 10000 and 50000 rows.
static void BM_DataLogRowsOfTwoChannels(benchmark::State& state) {
    QTemporaryDir dir;
    Chamber1(dir.path() + '/');
    FileSave = 1;
    ManualClock clock;
    SetClock(&clock);
    std::vector<double> us;
    for (auto _ : state) {
        clock.advanceMs(1000);
        const auto t0 = std::chrono::steady_clock::now();
        RunProc(1);
        us.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - t0).count());
    }
    for (const size_t rows : {size_t{1000}, size_t{10000}, size_t{50000}}) {
        if (us.size() < rows) continue;
        std::vector<double> window(us.begin() + static_cast<std::ptrdiff_t>(rows - 1000),
                                   us.begin() + static_cast<std::ptrdiff_t>(rows));
        std::sort(window.begin(), window.end());
        const std::string at = std::to_string(rows / 1000) + "k";
        state.counters["p50_us@" + at] = window[window.size() / 2];
        state.counters["p99_us@" + at] = window[window.size() * 99 / 100];
    }
    SetClock(nullptr);
}
BENCHMARK(BM_DataLogRowsOfTwoChannels)->Iterations(50000);

// A scan whose words do not change: the paint pass of 104 lamps.
static void BM_EventScanPaintPass(benchmark::State& state) {
    QTemporaryDir dir;
    Chamber1(dir.path() + '/');
    for (auto _ : state) EventScan(1, 1);
}
BENCHMARK(BM_EventScanPaintPass);

// A scan in which one Inner bit toggles on every call: one row, one message-log line.
static void BM_EventScanOneEdge(benchmark::State& state) {
    QTemporaryDir dir;
    Chamber1(dir.path() + '/');
    ManualClock clock;
    SetClock(&clock);
    int16_t word = 0;
    for (auto _ : state) {
        Chamber[0].EvtWordD[0] = (word ^= 1);
        EventScan(1, 1);
    }
    SetClock(nullptr);
}
BENCHMARK(BM_EventScanOneEdge);

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
