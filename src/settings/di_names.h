// DI error names: 32 per chamber (SetDIErrorName.ini, section
// "DIERRORNAME_<c>", keys "1" to "32", text with "/"), shown in the history
// and the DI banner, and edited on frmDIErrName.
#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>

namespace qel {

// Chambers 1 to 30, names 1 to 32, each with a 100-byte read. The first
// name without "/" (an absent one included) ends the loader with
// "<description>modFunc.ReadDIErrorName"; names read so far stay.
void ReadDIErrorName();

// frmDIErrName: 32 rows when the chamber's Board is "1", else 16.
int DINameRowCount(int16_t chamber);

// The names the form shows, one per row. Raises RuntimeError "Subscript out
// of range" for a chamber outside 1..30.
QStringList LoadDINames(int16_t chamber);

// The store key: each row's text becomes the name in memory and is written
// with "/" behind it. Rows past 32 are ignored. Raises as LoadDINames, and
// when the file cannot be written.
void StoreDINames(int16_t chamber, const QStringList& rows);

}  // namespace qel
