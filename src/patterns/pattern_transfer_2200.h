// Moving a pattern between the working record and a QEL2200 controller. The
// QEL2200 runs one pattern for two channels, so a segment carries two set
// points and nothing selects a channel. Its command window: pattern
// (0x0519), segment (0x051A, 0 for the pattern level), range
// (0x051D/0x051E) and command (0x051F: 2 load, 3 store, 5 clear the range).
// Channel 1's set points are scaled by the DP of channel 1, SegSP2 by that of
// channel 2; StartSP2 goes by channel 1's DP both ways, as the controller
// has it. The caller has stopped the poll; every wait yields, so the
// editor's stop key ends a transfer at its check points.
#pragma once

#include "pattern_rec.h"
#include "pattern_transfer.h"

#include <cstdint>
#include <functional>

namespace qel {

// Reads pattern `patternNo`. A pattern of no segments shows "no pattern is
// stored" and gives an empty record; stopped or failed, the record holds
// what was read by then; a read the chamber did not answer shows
// "Communication error." under "Error".
PatternRec QEL2200_PatternRead(int16_t chamber, int patternNo, const TransferUi& ui = {});

// Reads the working record's pattern (its PatternNo) into the working record;
// unless the operator stopped the read, `showInForm` then puts it into the
// editor. A pattern of no segments changes nothing: the message alone shows.
void QEL2200_ProgramDownload(int16_t chamber, const TransferUi& ui, const std::function<void()>& showInForm);

// The number of segments the controller holds for a pattern; -1 when the
// chamber did not answer.
int QEL2200_PatternSegmentsOnController(int16_t chamber, int patternNo);

// Clears pattern `patternNo` on the controller and writes the record into
// it, segment by segment, and its tail when TailDirty is set. Sets
// SegmentCount and TotalTime. A chamber already lost when the header is
// stored ends the save with "Communication error." under "Error". -1 unless
// that or a run-time failure ended it (0 then).
int16_t QEL2200_PatternSave(int16_t chamber, PatternRec& record, int patternNo, const TransferUi& ui = {});

}  // namespace qel
