// SetScreensGraphInfo.ini and SetGraphInfo.ini as an installation may hold
// them (both files get the input: each reads its own sections). The loaders
// read them, frmGraphSet and the page's colour key store chamber 1's scales
// and colours and the pattern graph's scale, and a second read finds what
// was stored wherever it gets that far.
#include "fuzz_support.h"

#include "config_report.h"
#include "graph_settings.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"

using namespace qel;
using qelfuzz::Expect;

namespace {
constexpr int16_t kUnread = -12345;
}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv, {"SetUserTag.ini"});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    qelfuzz::WriteAppFile(QStringLiteral("SetScreensGraphInfo.ini"), bytes);
    qelfuzz::WriteAppFile(QStringLiteral("SetGraphInfo.ini"), bytes);
    ReadDataGraph(0);
    ReadDataGraph(99);
    try {
        ReadGraphLineColors();
    } catch (const RuntimeError&) {
        // The page's preparation logs it.
    }
    (void)ConfigProblems();

    GraphSetChoice choice;
    choice.max = {120, 95, 300};
    choice.min = {-40, 5, -100};
    choice.xMajor = 6;
    choice.yMajor = 4;
    choice.decimalPlaces = {1, 0, 2};
    choice.currentOrTargetSP = 1;
    choice.colors = {0x000000, 0xFFFFFF, 0x808080};
    StoreGraphSettings(1, choice);
    StoreTraceColor(1, 2, 0x00FF00);
    StorePatternGraphScale({150.5, -70, 10, 5});

    ResetSettingsState();
    GraphInfoRec& g = GraphInfo[1];
    g.Max.fill(kUnread);
    g.Min.fill(kUnread);
    g.XMajor = g.YMajor = g.CurrentOrTargetSP = kUnread;
    g.Color.fill(kUnread);
    ReadDataGraph(0);
    ReadDataGraph(99);
    for (size_t k = 0; k < 3; ++k) {
        Expect(g.Max[k] == kUnread || g.Max[k] == choice.max[k], "scale maximum read back as stored");
        Expect(g.Min[k] == kUnread || g.Min[k] == choice.min[k], "scale minimum read back as stored");
    }
    Expect(g.XMajor == kUnread || g.XMajor == 6, "time divisions read back as stored");
    Expect(g.YMajor == kUnread || g.YMajor == 4, "value divisions read back as stored");
    Expect(g.Color[1] == kUnread || g.Color[1] == 0x00FF00, "trace colour read back as stored");
    Expect(g.CurrentOrTargetSP == kUnread || g.CurrentOrTargetSP == 1, "set point choice read back as stored");
    Expect(PatternGraph.Max == 150.5 && PatternGraph.Min == -70 && PatternGraph.XMajor == 10 && PatternGraph.YMajor == 5,
           "pattern graph scale read back as stored");
    try {
        ReadGraphLineColors();
    } catch (const RuntimeError&) {
        qelfuzz::Fail("the stored colours read back");
    }
    Expect(GraphLine.BackColor == 0 && GraphLine.TimeColor == 0xFFFFFF && GraphLine.GridColor == 0x808080,
           "line colours read back as stored");
    return 0;
}
