// .PTN files as they come from other stations, old versions and damaged
// disks: the input is the file. Besides never crashing:
//  - a record read from bytes and written again reads back to the same bytes;
//  - the file reader gives the record of the bytes, its segment count
//    made from the segment times;
//  - a record saved to a new file reads back as it was.
#include "fuzz_support.h"

#include "pattern_rec.h"
#include "ptn_file.h"

using namespace qel;
using qelfuzz::Expect;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    PatternRec fromBytes;
    (void)PatternFromBytes(bytes, fromBytes);
    const QByteArray again = PatternBytes(fromBytes);
    PatternRec second;
    Expect(PatternFromBytes(again, second), "a written record reads whole");
    Expect(PatternBytes(second) == again, "a written record reads back to its bytes");

    qelfuzz::WriteAppFile(QStringLiteral("07.PTN"), bytes);
    const PatternRec read = PC_ReadPattern(PatternRec{}, QStringLiteral("7"), qelfuzz::AppDir() + QStringLiteral("07.PTN"));
    fromBytes.SegmentCount = QString::number(SegmentsOf(fromBytes));
    Expect(PatternBytes(read) == PatternBytes(fromBytes), "the file reader gives the record of the bytes");

    const QString saved = qelfuzz::AppDir() + QStringLiteral("PTN/08.PTN");
    (void)PC_SavePattern(read, saved);  // no PTN folder: the save fails and logs
    const QString path = qelfuzz::AppDir() + QStringLiteral("08.PTN");
    Expect(PC_SavePattern(read, path) == -1, "a record is saved to a new file");
    const PatternRec back = PC_ReadPattern(PatternRec{}, QStringLiteral("8"), path);
    Expect(PatternBytes(back) == PatternBytes(read), "a saved record reads back as it was");
    return 0;
}
