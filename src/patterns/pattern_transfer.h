// Moving a pattern between the working record and a QEL2000 or QEL2100
// controller through its command window: channel (0x044B), pattern (0x044C),
// segment (0x044D), range (0x0450/0x0451) and command (0x0452: 2 load into
// the data window, 3 store it, 5 clear the range). The caller has stopped
// the poll; every wait yields, so the editor's stop key can end a transfer
// at its check points.
#pragma once

#include "pattern_rec.h"

#include <QString>
#include <cstdint>
#include <functional>

namespace qel {

// Set by the editor when the operator changes a repeat, end-mode or loop
// field; a save writes the pattern's tail only then.
extern int16_t TailDirty;

// What a transfer asks of the editor: whether its stop key reads "STOP",
// the progress bar ("3 of 12"), and a message box. Unset parts do nothing.
struct TransferUi {
    std::function<bool()> stopped;
    std::function<void(int value, int maximum, const QString& caption)> progress;
    std::function<void(const QString& title, const QString& text)> message;
};

// Reads pattern `patternNo` of channel index 0 or 1 from the controller.
// Stopped or failed, the record holds what was read by then; a read the
// chamber did not answer shows "Communication error." under "Error".
PatternRec PatternRead(int16_t chamber, int patternNo, int channelIndex, const TransferUi& ui = {});

// Reads the working record's pattern (its PatternNo) of channel index 0 or 1
// from the controller into the working record; unless the operator stopped
// the read, `showInForm` then puts it into the editor.
void ProgramDownload(int16_t chamber, int channelIndex, const TransferUi& ui, const std::function<void()>& showInForm);

// The number of segments the controller holds for a pattern (its header
// read through the window); -1 when the chamber did not answer.
int PatternSegmentsOnController(int16_t chamber, int patternNo, int channelIndex);

// Clears pattern `patternNo` on the controller and writes the record into
// it, segment by segment, and its tail when TailDirty is set. Sets
// SegmentCount and TotalTime of the record. -1 when it ran to its end.
int16_t PatternSave(int16_t chamber, PatternRec& record, int patternNo, int channelIndex, const TransferUi& ui = {});

}  // namespace qel
