// One tick of the main frame's poll timer: chambers 1 to MaxChamberNo in
// order, each through its model's poll block, then the overview cell and the
// page repaint whether or not the read succeeded, so that a lost chamber is
// painted as such. Modal forms run the same walk from their own timers.
#pragma once

#include <QString>
#include <cstdint>

namespace qel {

// A failure ends this tick's walk (logged "MDIfrmMenu.ReadComm_Timer_Err");
// the next tick starts again at chamber 1. A call while a walk is under way
// (from a yield inside it) returns at once.
void ReadCommTick();

// True while a walk is under way.
bool PollWalkRunning();

// True when the walk polls chambers of this model; a chamber of any other
// model is passed over and must not look healthy.
bool HasPollBlock(const QString& model);

// One poll of a chamber through its model's block; nothing for a model
// without one.
void PollChamber(int16_t chamber);

}  // namespace qel
