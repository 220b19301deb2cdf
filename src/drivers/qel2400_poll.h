// Poll block of the QEL2400: three independent channels.
#pragma once

#include <cstdint>

namespace qel {

// Three reads a cycle: the live values (115 registers from 0x0002), the end
// dates of the three channels (15 registers from 0x0087) and the pattern,
// fixed-run and time registers (130 from 0x00C8); then data log, event
// detection for each channel and, every 2 s at most, the trend. A failed or
// unusable read ends the cycle there; what earlier reads decoded stays.
void QEL2400_ReadCommBlock(int16_t chamber);

}  // namespace qel
