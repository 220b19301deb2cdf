// Moving a room program between the working record and a QEL2300
// controller. The QEL2300 keeps no list of segments but one fixed program
// for three rooms (Hi, Ex, Lo) that fits one register block at 0x0918, so a
// transfer has no segment loop and no stop check. Its command window:
// pattern (0x08FC), range (0x0900/0x0901) and command (0x0902: 2 load,
// 3 store, 5 clear the range). The record's members mean what pattern_rec.h
// notes for this model; temperatures are scaled by the DP of channel 1. The
// caller has stopped the poll; every wait yields.
#pragma once

#include "pattern_rec.h"
#include "pattern_transfer.h"

#include <cstdint>
#include <functional>

namespace qel {

// Reads pattern `patternNo`, trying the block read up to three times; each
// failed try logs "frmPattern2300 Pattern read error" behind its count.
// After the third the progress bar goes to 0, "The pattern could not be
// read." shows twice under "Error" and an empty record comes back.
PatternRec QEL2300_PTRead(int16_t chamber, int patternNo, const TransferUi& ui = {});

// Reads the working record's pattern (its PatternNo) into the working record
// and has `showInForm` put it into the editor. The record's RoomConfig, read
// when the editor opened, is kept: the form needs it to show the Ex room.
void QEL2300_ProgramDownload(int16_t chamber, const TransferUi& ui, const std::function<void()>& showInForm);

// Clears pattern `patternNo` on the controller, writes the record into the
// data block part by part and stores it. Empty pre-heat temperatures of the
// Hi and Lo rooms are set to "-200.0" in the record; the Ex room's is never
// sent (always 0), and with a DefrostType below 2 the Ex room's time signals
// go as zeros. A run-time failure is logged as
// "modQEL2300.QEL2300_PTSave_Err" and nothing is shown. -1, or 0 after such a
// failure.
int16_t QEL2300_PTSave(int16_t chamber, PatternRec& record, int patternNo, const TransferUi& ui = {});

}  // namespace qel
