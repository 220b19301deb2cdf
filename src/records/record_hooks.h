// Puts the data log, event detection and the page's hold and wait checks on
// the poll's hooks. The station does so as it loads; the command-line poller
// does not, so that it records nothing.
#pragma once

namespace qel {

// Also resets what the records keep for one program life (counts, the hold
// flags, what the page checks saw, the trend counters).
void InstallRecordHooks();
void RemoveRecordHooks();

}  // namespace qel
