// What hangs on the drivers: data log, event detection, trend, the page's
// reaction to fresh values and the screens' refresh after each chamber of a
// poll walk. The drivers call these; records and screens install them.
// Unset hooks do nothing.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>

namespace qel {

struct StationHooks {
    std::function<void(int16_t chamber)> runProc;   // one file per channel
    std::function<void(int16_t chamber)> runProc2;  // linked run: one file for all channels
    std::function<void(int16_t chamber, int16_t channel)> eventScan;
    std::function<void(int16_t chamber)> operationGraph;  // trend sample and redraw
    // FixMode of a channel changed: non-zero hides the page's pattern fields.
    std::function<void(int16_t chamber, int channel, int16_t fixMode)> fixModeChanged;
    // The page's end-time caption of a channel: "yyyy/mm/dd hh:mm" or "".
    std::function<void(int16_t chamber, int channel, const QString& caption)> endTimeCaption;
    // A row of the page's history list: time "yyyy/mm/dd hh:mm:ss" and text.
    std::function<void(int16_t chamber, const QString& time, const QString& text)> historyRow;
    // The hold and wait checks of a channel, at the end of the page's refresh.
    std::function<void(int16_t chamber, int channel)> holdCheck;
    std::function<void(int16_t chamber, int channel)> waitCheck;
    // After each chamber of a walk, read or not: the overview cell and the page repaint.
    std::function<void(int16_t chamber)> overviewRefresh;
    std::function<void(int16_t chamber)> pageRefresh;
};

extern StationHooks Hooks;

// The main frame's poll timer. Key commands and modal forms switch it off
// around their own use of the line; unset, switching does nothing.
struct PollTimerSwitch {
    std::function<void(bool on)> setEnabled;
};
extern PollTimerSwitch ReadCommTimer;
void EnableReadComm(bool on);

}  // namespace qel
