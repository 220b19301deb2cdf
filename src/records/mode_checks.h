// The run-state edges of a channel: run, stop, hold and wait, each found from
// the status word and written to the page's history and the chamber's
// message log when it begins (and, for hold and wait, when it ends).
#pragma once

#include <QString>
#include <array>
#include <cstdint>

namespace qel {

// Whether the chamber was last seen in hold (set and cleared by IsHoldMode).
extern std::array<int16_t, 30> HoldFlag;

// A row of the page's history list: the time now in "yyyy/mm/dd hh:mm:ss"
// and the text.
void AddHistoryRow(int16_t chamber, const QString& text);

// Status bit 0 or 1: running. On the rising edge (RunLatch clear) the latch
// pair turns and "START RUN" is logged.
bool IsRunMod(int16_t chamber, int16_t channel);
// Status 0: stopped. Each time it clears StartTime and the start-time caption
// of the channel; on the rising edge (StopLatch clear) "STOP RUN" is logged.
bool IsStopMode(int16_t chamber, int16_t channel);
// Status bit 2: hold; bit 6: wait. The latches are one for the whole
// station: the first chamber to enter the state logs its start, and a check
// that finds the state gone while the latch is set logs its end.
bool IsHoldMode(int16_t chamber, int16_t channel);
bool IsWaitMode(int16_t chamber, int16_t channel);

// The page's checks at the end of a channel's refresh: a channel is checked
// while it shows the state and once more when it has left it.
void HoldCheck(int16_t chamber, int channel);
void WaitCheck(int16_t chamber, int channel);

// Program start: latches as ResetRunState leaves them, no hold flags, no
// state seen by the page checks.
void ResetModeChecks();

}  // namespace qel
