// Cost of the screens per poll tick: the 30 cells of overview screen 5 and
// a chamber page computed from their records, and their widgets repainted
// (offscreen), with values that change on every tick.
// Run: build/bench/bench_screens
#include "chamber_page.h"
#include "chamber_page_widget.h"
#include "overview_screen.h"
#include "overview_widget.h"
#include "page_controls.h"
#include "state.h"

#include <QApplication>
#include <benchmark/benchmark.h>

using namespace qel;

namespace {

void Line(int chambers) {
    MaxChamberNo = static_cast<int16_t>(chambers);
    for (int c = 0; c < chambers; ++c) {
        ChamberModel[c] = c % 2 ? "QEL2100" : "QEL2000";
        ChamberName[c] = QString("Chamber %1").arg(c + 1);
        ChamberAddress[c] = QString::number(c + 1);
        ChamberUse[c] = "1";
        Chamber[c].ChannelCount = ChannelCountOf(ChamberModel[c]);
        Chamber[c].DP = {"0", "0", "0"};
        Chamber[c].Status = {1, 0, 0};
    }
}

void Tick(int chambers, int n) {
    for (int c = 0; c < chambers; ++c) Chamber[c].PV[0] = 20 + (n + c) % 100 / 10.0;
}

}  // namespace

// The overview logic and its 30-cell view, every value new on each tick.
static void BM_OverviewTickOf30Cells(benchmark::State& state) {
    Line(30);
    OverviewScreen screen(5);
    screen.Form_Load();
    OverviewWidget view(screen);
    view.resize(1920, 1000);
    view.show();
    int n = 0;
    for (auto _ : state) {
        Tick(30, ++n);
        for (int16_t c = 1; c <= 30; ++c) screen.ReadComm(c);
        if (state.range(0)) view.refresh();
        QApplication::processEvents();  // the paint
    }
}
BENCHMARK(BM_OverviewTickOf30Cells)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The page of a running chamber and its view.
static void BM_PageTick(benchmark::State& state) {
    Line(1);
    ClearPageControls();
    ScriptedOperator op;
    ChamberPage page(1, op);
    page.load();
    ChamberPageWidget view(page);
    view.resize(1920, 1000);
    view.show();
    int n = 0;
    for (auto _ : state) {
        Tick(1, ++n);
        page.refresh();
        if (state.range(0)) view.refresh();
        QApplication::processEvents();
    }
}
BENCHMARK(BM_PageTick)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
