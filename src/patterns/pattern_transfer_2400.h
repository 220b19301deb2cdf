// Moving a pattern between the working record and a QEL2400 controller. The
// QEL2400 has three independent channels, each with its own patterns, and
// the QEL2000's kind of command window at other addresses: channel (0x018F),
// pattern (0x0190), segment (0x0191, 0 for the pattern level), range
// (0x0194/0x0195) and command (0x0196: 2 load, 3 store, 5 clear the range).
// The segment count stands by itself at 0x0221. Set points are scaled by the
// DP of the channel transferred. The caller has stopped the poll; every wait
// yields, so the editor's stop key ends a transfer at its check points.
#pragma once

#include "pattern_rec.h"
#include "pattern_transfer.h"

#include <cstdint>

namespace qel {

// Reads pattern `patternNo` of channel index 0, 1 or 2. The stop key before
// the first load gives an empty record; inside the segment loop it leaves
// the loop, and the count and the tail are read all the same. The four aux
// values come from 0x01AC.., the registers after the ones a save writes. A
// read the chamber did not answer shows "Communication error." under
// "Error"; the record holds what was read by then. A channel index outside
// 0 to 2 or a chamber outside the table sends nothing and is logged as
// "Pattern read error" + description.
PatternRec QEL2400_PatternRead(int16_t chamber, int patternNo, int channelIndex, const TransferUi& ui = {});

// The number of segments the controller holds for a pattern of a channel
// (pattern level selected and loaded, then 0x0221 read); -1 when the chamber
// did not answer or the arguments name no chamber or channel.
int QEL2400_PatternSegmentsOnController(int16_t chamber, int patternNo, int channelIndex);

// Clears pattern `patternNo` of the channel on the controller and writes the
// record into it, segment by segment, and its tail when TailDirty is set;
// the tail sets the other channels' repeats to 0. Empty signals and aux
// values of the segments written become "0000" in the record; sets
// SegmentCount and TotalTime. The stop key leaves the controller with what
// was written by then. A run-time failure (a channel index outside 0 to 2
// among them) shows "Pattern save error" under "Pattern save" and is
// logged. Always -1, as the QEL2000's save.
int16_t QEL2400_PatternSave(int16_t chamber, PatternRec& record, int patternNo, int channelIndex,
                            const TransferUi& ui = {});

}  // namespace qel
