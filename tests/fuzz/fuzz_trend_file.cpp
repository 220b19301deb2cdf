// A trend file ("1OPData.csv") as the graph may find it: the station's own
// lines, lines of another program, a line cut by a crash, binary rubbish.
// The input's first byte picks the model and how many samples the station
// then appends; the next six bytes give the values it appends; the rest is
// the file. Besides never crashing, the rows kept by reading only what was
// appended are the rows of reading the whole file afresh.
#include "fuzz_support.h"

#include "clock.h"
#include "runtime_error.h"
#include "state.h"
#include "trend_file.h"

#include <cmath>
#include <cstring>

using namespace qel;
using qelfuzz::Expect;

namespace {

const char* const kModels[] = {"QEL2000", "QEL2100", "QEL2200", "QEL2300", "QEL2400"};

bool SameRows(const TrendRows& a, const TrendRows& b) {
    if (a.time != b.time) return false;
    for (int p = 0; p < kTrendPlots; ++p) {
        const auto& x = a.value[static_cast<size_t>(p)];
        const auto& y = b.value[static_cast<size_t>(p)];
        if (x.size() != y.size()) return false;
        // NaN marks a missing number: compared as bits, not as values.
        if (!x.empty() && std::memcmp(x.data(), y.data(), x.size() * sizeof(float)) != 0) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::Input in(data, size);
    const uint8_t pick = in.byte();
    ChamberModel[0] = QString::fromLatin1(kModels[pick % 5]);
    const int samples = (pick >> 3) % 4;
    ChamberRec& rec = Chamber[0];
    for (int k = 0; k < 3; ++k) {
        rec.PV[k] = static_cast<int8_t>(in.byte()) / 10.0;
        rec.SP[k] = static_cast<int8_t>(in.byte()) * 1.5;
        rec.MV[k] = rec.PV[k] + rec.SP[k];
    }
    qelfuzz::WriteAppFile(QStringLiteral("1OPData.csv"), in.rest());

    TrendStore& store = Trend(1);
    (void)store.rows(1);
    for (int i = 0; i < samples; ++i) {
        qelfuzz::AdvanceClockMs(2000);
        try {
            store.addSample(1, Now());
        } catch (const RuntimeError&) {
            qelfuzz::Fail("the folder is writable: a sample is appended");
        }
        rec.PV[0] += 0.5;
    }
    const TrendRows& kept = store.rows(1);
    Expect(store.shownRows() <= kept.size(), "the graph draws no row it has not read");

    TrendStore fresh;
    const TrendRows& whole = fresh.rows(1);
    Expect(SameRows(kept, whole), "rows read as appended are the rows of the whole file",
           QStringLiteral("%1 against %2 rows").arg(kept.size()).arg(whole.size()));
    Expect(store.badLines() == fresh.badLines(), "lines without a time counted alike");
    return 0;
}
