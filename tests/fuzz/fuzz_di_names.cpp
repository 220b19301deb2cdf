// SetDIErrorName.ini as an installation may hold it: the loader reads the
// names of all chambers, frmDIErrName shows and stores chamber 1's, and the
// loader reads back exactly the names stored (chamber 1 is read first, so
// nothing else in the file can stop it before them).
#include "fuzz_support.h"

#include "config_report.h"
#include "di_names.h"
#include "settings_state.h"
#include "state.h"

using namespace qel;
using qelfuzz::Expect;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::Input in(data, size);
    ChamberBoard[0] = (in.byte() & 1) ? QStringLiteral("1") : QStringLiteral("0");
    qelfuzz::WriteAppFile(QStringLiteral("SetDIErrorName.ini"), in.rest());
    ReadDIErrorName();
    (void)ConfigProblems();

    QStringList rows = LoadDINames(1);
    Expect(rows.size() == DINameRowCount(1), "one row per DI of the board");
    for (int n = 0; n < rows.size(); ++n) rows[n] = (n % 2 ? QStringLiteral("도어 열림 %1") : QStringLiteral("Door %1")).arg(n + 1);
    try {
        StoreDINames(1, rows);
    } catch (const std::exception&) {
        qelfuzz::Fail("the folder is writable: the store cannot fail");
    }

    ResetSettingsState();
    ReadDIErrorName();
    const QStringList back = LoadDINames(1);
    Expect(back == rows, "the names read back as stored", back.join(u'|'));
    return 0;
}
