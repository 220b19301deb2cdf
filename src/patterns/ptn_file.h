// .PTN files: one PatternRec as a plain sequence of items, little-endian, no
// header and no padding. A text is a 16-bit length in bytes and that many
// CP949 bytes; a text array is its elements in order, each so; TotalTime is
// a signed 32-bit number. Nothing in a file says for which model it was made.
#pragma once

#include "pattern_rec.h"

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace qel {

// Writes the record from the start of the file, making it when absent; a
// longer file keeps its tail (the write does not cut it). -1 when written;
// 0 after a failure, which is logged "<description>modFunc.PC_SavePattern".
int16_t PC_SavePattern(const PatternRec& record, const QString& path);

// Reads a record from the file; with an empty path from "<nn>.PTN" in the
// current folder, nn the pattern number in two digits. SegmentCount is set
// from SegTime; TotalTime keeps what the file holds. A missing file is
// logged "<description>modFunc.PC_ReadPattern" and gives `record` as it came;
// a file shorter than a record gives empty texts for what it lacks and the
// same line.
PatternRec PC_ReadPattern(PatternRec record, const QString& patternNoText, const QString& path);

// The bytes of a record, and a record from bytes (false when they end before
// the record does; the missing items are left empty).
QByteArray PatternBytes(const PatternRec& record);
bool PatternFromBytes(const QByteArray& bytes, PatternRec& record);

}  // namespace qel
