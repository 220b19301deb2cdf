// Reading a data-log file back: the header texts and the rows, for tests,
// tools and the viewer.
//
//   offset 0   40 bytes  title, ANSI, blank padded
//   offset 40  40 bytes  channel text ("CH1" or blanks for a linked run)
//   offset 80  rows to the end: int32 seconds, then float64 PV, SP, MV per
//              channel, little-endian, no padding
//
// Row sizes: 28 (one channel), 36 (heat-cool channel 1: one channel and the
// MV of channel 2), 52 (two channels), 76 (three channels).
#pragma once

#include <QList>
#include <QString>
#include <cstdint>
#include <vector>

namespace qel {

struct DataLogRow {
    int32_t seconds = 0;
    std::vector<double> values;  // PV, SP, MV of each channel in turn (and the heat-cool MV)
};

struct DataLogFile {
    QString title;        // decoded, trailing blanks removed
    QString channelText;  // the same
    int rowSize = 0;
    QList<DataLogRow> rows;
    int trailingBytes = 0;  // bytes after the last whole row (a row being written)
    QString error;          // why the file could not be read; empty when it was
    bool ok() const { return error.isEmpty(); }
};

// The row size a file of this name and header has: by the model in the
// title, the channel text and the "_HC" name; 0 when the header names no
// model of the five.
int DataLogRowSize(const QString& fileName, const QString& title, const QString& channelText);

// Reads the whole file. rowSize 0 takes it from DataLogRowSize. A file
// shorter than its header, or of no known row size, gives `error`.
DataLogFile ReadDataLog(const QString& fileName, int rowSize = 0);

}  // namespace qel
