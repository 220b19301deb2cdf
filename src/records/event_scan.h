// Event detection: after each good poll the signal and relay words of a
// chamber are compared with those of the last poll; a changed word lets its
// selected items log ON and OFF rows to the page's history and the chamber's
// message log, and the page's lamps show every selected item's state.
#pragma once

#include <QString>
#include <cstdint>

namespace qel {

// One pass for a channel (1 to 3) of a QEL2000, QEL2100 or QEL2400; for a
// QEL2200 or QEL2300 the channel is not looked at and the first element of
// each word is scanned. A failure ends the pass without a log line.
void EventScan(int16_t chamber, int16_t channel);

// Whether a lamp-table entry ("DI 3=1") takes part: its last character is 1.
bool LampSelected(const QString& entry);

}  // namespace qel
