// What hangs on fresh values of a poll: data log, event detection, trend,
// and the page's reaction to a changed run form. The poll blocks call these;
// the records and screens install them. Unset hooks do nothing.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>

namespace qel {

struct PollHooks {
    std::function<void(int16_t chamber)> runProc;         // one file per channel
    std::function<void(int16_t chamber)> runProc2;        // linked run: one file for all channels
    std::function<void(int16_t chamber, int16_t channel)> eventScan;
    std::function<void(int16_t chamber)> operationGraph;  // trend sample and redraw
    // FixMode of a channel changed: non-zero hides the page's pattern fields.
    std::function<void(int16_t chamber, int channel, int16_t fixMode)> fixModeChanged;
    // The page's end-time caption of a channel: "yyyy/mm/dd hh:mm" or "".
    std::function<void(int16_t chamber, int channel, const QString& caption)> endTimeCaption;
};

extern PollHooks Hooks;

}  // namespace qel
