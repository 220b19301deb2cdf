// Data-log files as a viewer finds them: whole, growing, cut off by a power
// loss, renamed or from another program. The first input byte picks the
// file name (which decides a heat-cool row) and a row size to force (or
// none), the rest is the file. Besides never crashing, what is read
// accounts for every byte: the header, whole rows of the row size, and the
// bytes of a last row being written.
#include "fuzz_support.h"

#include "data_log_file.h"

using namespace qel;
using qelfuzz::Expect;

namespace {
const char* const kNames[] = {"20240131081507_1.log", "20240131081507_HC.log", "20240131081507.log",
                              "20240131081507_2_2.log"};
const int kRowSizes[] = {0, 0, 0, 0, 28, 36, 52, 76, 4, 12, -8, 3};
}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::Input in(data, size);
    const uint8_t pick = in.byte();
    const QString name = QString::fromLatin1(kNames[pick % 4]);
    const int rowSize = kRowSizes[(pick >> 2) % 12];
    const QByteArray bytes = in.rest();
    qelfuzz::WriteAppFile(name, bytes);

    const DataLogFile log = ReadDataLog(qelfuzz::AppDir() + name, rowSize);
    (void)DataLogRowSize(name, log.title, log.channelText);
    if (!log.ok()) return 0;
    Expect(bytes.size() >= 80, "a file read has its header");
    Expect(log.rowSize >= 4 && (log.rowSize - 4) % 8 == 0, "rows of a time and whole values");
    Expect(80 + log.rows.size() * log.rowSize + log.trailingBytes == bytes.size(), "every byte accounted for");
    Expect(log.trailingBytes < log.rowSize, "only a part row trails");
    for (const DataLogRow& row : log.rows)
        Expect(static_cast<int>(row.values.size()) == (log.rowSize - 4) / 8, "every row has its values");
    return 0;
}
