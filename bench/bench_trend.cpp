// Cost of the trend per sample for a line of 30 QEL2100s whose trend files
// already hold 1000, 10000 or 50000 rows: the sample of every chamber (line
// appended, counter, rotation when due) as the headless station does it, and
// the same with the page of chamber 1 on screen (offscreen), which reads
// what was appended and draws it. Flat across the sizes is the goal.
// Run: build/bench/bench_trend
#include "chamber_page.h"
#include "chamber_page_widget.h"
#include "clock.h"
#include "page_controls.h"
#include "settings_state.h"
#include "state.h"
#include "trend_graph_widget.h"

#include <QApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <memory>

using namespace qel;

namespace {

struct Line {
    QTemporaryDir dir;
    ManualClock clock;
    ScriptedOperator op;
    std::vector<std::unique_ptr<ChamberPage>> pages;

    explicit Line(int rows) {
        ResetAllState();
        ResetSettingsState();
        ClearPageControls();
        ResetTrends();
        AppPath = dir.path() + '/';
        SetClock(&clock);
        MaxChamberNo = 30;
        for (int c = 0; c < 30; ++c) {
            ChamberModel[c] = "QEL2100";
            ChamberName[c] = QString("C%1").arg(c + 1);
            Chamber[c].ChannelCount = 2;
            GraphInfo[c + 1].Max = {200, 200, 200};
            GraphInfo[c + 1].Min = {-50, -50, -50};
            pages.push_back(std::make_unique<ChamberPage>(static_cast<int16_t>(c + 1), op));
            pages.back()->load();
        }
        for (int r = 0; r < rows; ++r) sample();
    }
    ~Line() { SetClock(nullptr); }
    void sample() {
        clock.advanceMs(2000);
        for (auto& p : pages) {
            Chamber[p->chamber() - 1].PV[0] += 0.1;
            p->trend().OperationGraph();
        }
    }
};

}  // namespace

static void BM_TrendSampleOf30Chambers(benchmark::State& state) {
    Line line(static_cast<int>(state.range(0)));
    for (auto _ : state) line.sample();
    state.counters["us_per_chamber"] =
        benchmark::Counter(30.0 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_TrendSampleOf30Chambers)->Arg(1000)->Arg(10000)->Arg(49000)->Unit(benchmark::kMicrosecond);

static void BM_TrendSampleOf30ChambersWithAPageOnScreen(benchmark::State& state) {
    Line line(static_cast<int>(state.range(0)));
    ChamberPageWidget widget(*line.pages[0]);
    widget.resize(1600, 900);
    widget.show();
    widget.refresh();
    QApplication::processEvents();
    for (auto _ : state) {
        line.sample();
        widget.refresh();
        QApplication::processEvents();  // the queued replot
    }
}
BENCHMARK(BM_TrendSampleOf30ChambersWithAPageOnScreen)->Arg(1000)->Arg(10000)->Arg(49000)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
