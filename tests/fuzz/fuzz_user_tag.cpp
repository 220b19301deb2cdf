// SetUserTag.ini as an installation may hold it: the loader reads the
// chamber table, the graph form and the chamber page store chamber 1's
// decimal places and units into it, and a second read that gets as far as
// those keys must find what was stored.
#include "fuzz_support.h"

#include "config_report.h"
#include "state.h"
#include "user_tag.h"

using namespace qel;
using qelfuzz::Expect;

namespace {
const QString kUnread = QStringLiteral("\x01unread");
const QString kUnits[3] = {QStringLiteral("°C"), QStringLiteral("%RH"), QStringLiteral("온도")};
}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::WriteAppFile(QStringLiteral("SetUserTag.ini"),
                          QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    ReadUserTag();
    (void)ConfigProblems();

    try {
        for (int ch = 1; ch <= 3; ++ch) {
            StoreDecimalPlaces(1, ch, ch - 1);
            StoreUnit(1, ch, kUnits[ch - 1]);
        }
    } catch (const std::exception&) {
        qelfuzz::Fail("the folder is writable: the stores cannot fail");
    }

    ResetAllState();
    AppPath = qelfuzz::AppDir();
    for (int ch = 0; ch < 3; ++ch) Chamber[0].DP[ch] = ChamberUnit[ch][0] = kUnread;
    ReadUserTag();
    for (int ch = 0; ch < 3; ++ch) {
        const QString& dp = Chamber[0].DP[ch];
        Expect(dp == kUnread || dp == QString(ch, u'0'), "decimal places read back as stored", dp);
        const QString& unit = ChamberUnit[ch][0];
        Expect(unit == kUnread || unit == kUnits[ch], "unit read back as stored", unit);
    }
    return 0;
}
