// How a channel's values read on the screens.
#pragma once

#include <QString>

namespace qel {

// The process value of a channel (1-based chamber and channel): "-.-" while
// the chamber is lost; "B.OUT", "+OVER" or "-OVER" by the input status (bit
// values 2, 8, 16, tested in this order); else the value with the channel's
// decimal places.
QString PVText(int chamber, int channel);

// Any other value of the channel: "-.-" while lost, else with its places.
QString ValueText(int chamber, int channel, double value);

// The run state of a channel in a word: "STOP", "FIX RUN", "PROG RUN",
// "HOLD", "WAIT", or "LOST".
QString StateWord(int chamber, int channel);

}  // namespace qel
