// Poll blocks of the QEL2200 (two channels run by one pattern) and the
// QEL2300 (three rooms run by one program).
#pragma once

#include <cstdint>

namespace qel {

// One read of 109 registers from 0x0000, decoded into the chamber's record;
// then data log, event detection and, every 2 s at most, the trend. A
// failed or unusable read leaves the record as it was.
void QEL2200_ReadCommBlock(int16_t chamber);

// Two reads of 82 registers, from 0x0002 and from 0x008C, both made every
// cycle; then data log, event detection and the trend. A failed second read
// leaves the first one's values in the record and skips the rest.
void QEL2300_ReadCommBlock(int16_t chamber);

}  // namespace qel
