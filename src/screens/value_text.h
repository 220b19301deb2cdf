// How a channel's values read on the screens.
#pragma once

#include "controls.h"
#include "state.h"

#include <QString>

namespace qel {

// A value as the pages and overview cells print it: the plain number when
// the decimal places `dp` ("", "0", "00") are empty after trimming, else
// Format(value, "###0." & dp).
QString ScreenValue(double value, const QString& dp);

// A process value as the pages and cells print it, first match wins: input
// status bit 2 "B.OUT" in yellow, 8 "+OVER" in red, 16 "-OVER" in blue,
// else the value with `dp` in white. With `humidityRule` (the second channel
// of a QEL2200) bit 16 prints "----" in cyan, and so does a sensor break of
// the first channel: humidity cannot be measured without its temperature.
struct ShownValue {
    QString text;
    Color fore;
};
ShownValue PVLook(const ChamberRec& r, int channel, const QString& dp, bool humidityRule);

// The page's and cell's output picture: every channel, every model.
inline constexpr const char* kMvPicture = "###0.0";

// The process value of a channel (1-based chamber and channel): "-.-" while
// the chamber is lost; "B.OUT", "+OVER" or "-OVER" by the input status (bit
// values 2, 8, 16, tested in this order); else the value with the channel's
// decimal places.
QString PVText(int chamber, int channel);

// Any other value of the channel: "-.-" while lost or not polled, else with
// its places.
QString ValueText(int chamber, int channel, double value);

// Whether a chamber page counts the chamber's slot as in use: switched on
// and with an address. A slot switched off must never look alive. (The
// overview cells go by the switch alone.)
bool SlotInUse(int chamber);

// Why a chamber shows no live values, or "" when it does: "OFF" for a slot
// switched off, "NOT POLLED" for a model the station has no poll block for
// (a name outside the five, or a model not served yet), "LOST" after failed
// reads.
QString DeadWord(int chamber);

// The key of the run-state word in the "PublicForm" language section, by the
// controller's status word of a channel: 1 program run (2), 65 wait run (3),
// 2 fixed run (4), 5 hold (5), 17 program wait (6), 18 fixed wait (7); the
// stopped states 0, 64, 128, 192, 256 give end (8) for 128 and 192 in
// program operation, else fixed stop (9) or stop (10) by the fixed-mode
// word. 0 for any other value: the page leaves its word as it was.
int StateKey(int status, int fixMode);

// The run state of a channel in a word: the dead word, else the language
// table's word for StateKey ("PROGRAM RUN", "FIX RUN", ... in English), or
// the status value as a number where no word is named.
QString StateWord(int chamber, int channel);

}  // namespace qel
