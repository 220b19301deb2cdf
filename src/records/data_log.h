// The data log: while a chamber runs, one binary file per run under
// "DATA/<chamber name>/", written row by row as the poll sees the run.
//
// File: a 40-byte title and a 40-byte channel text, ANSI padded with blanks,
// then fixed-size little-endian rows: the 32-bit seconds since run start and
// 64-bit floats PV, SP, MV per channel (see data_log_file.h for the sizes).
// Every row opens, appends and closes the file, so the viewer can read a
// growing log and a crash loses at most the row being written.
#pragma once

#include <QString>
#include <array>
#include <cstdint>

namespace qel {

// Rows written since program start, [channel argument 0..4][chamber - 1].
extern std::array<std::array<int32_t, 30>, 5> SampleCount;

// The four variants, one step per successful poll of the status block:
// RunProc: QEL2000, QEL2100, QEL2400 with LinkedRun 0, one file per channel;
// RunProc2: the same models with LinkedRun set, one file for all channels;
// RunProc2200 and RunProc2300: one file for the chamber.
void RunProc(int16_t chamber);
void RunProc2(int16_t chamber);
void RunProc2200(int16_t chamber);
void RunProc2300(int16_t chamber);

// Creates the file and writes the title and channel texts. The pattern
// number text is not used: the title takes PTNo of the channel itself.
void FuncSetUserInfo(const QString& fileName, const QString& ptNoText, int16_t chamber, int16_t channel);

// Appends one row. Channel 0 is a row of the whole chamber, 1 to 3 one of a
// channel; the model decides first (QEL2200 two channels, QEL2300 three,
// whatever the channel says). Counts in SampleCount even when a model
// outside the five writes nothing.
void FuncSetGraphBlkData(const QString& fileName, int16_t chamber, int16_t channel);

// The title of a run's file: "[QEL2000] FIX RUN", "[QEL2100-HC] Programs RUN / PT NO. 3".
QString DataLogTitle(int16_t chamber, int16_t channel);

// The data-log file of a channel while it runs ("" when it stands): for a
// single-file variant the one file, whatever the channel.
QString CurrentDataLog(int16_t chamber, int channel);

// Program start: no counts.
void ResetDataLog();

}  // namespace qel
