// The station without a window: the same start-up, poll walk and exit as
// the frame, for servers and tests.
#pragma once

#include <QString>

namespace qel {

struct HeadlessOptions {
    int cycles = 0;     // stop after this many ticks; 0 runs until a signal
    bool json = false;  // one JSON object per chamber per tick
};

// Runs with AppPath set; returns the process exit code.
int RunHeadless(const HeadlessOptions& options);

}  // namespace qel
