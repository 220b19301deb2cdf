// Poll block of the QEL2000 and QEL2100 (one register map, two channels).
#pragma once

#include <QString>
#include <cstdint>

namespace qel {

// Reads block 1 (120 registers from 0x0002) of the chamber into its record,
// block 2 (82 registers from 0x039C, the end dates) while a channel runs,
// then runs data log, event detection and, every 2 s at most, the trend.
// A failed or unusable read leaves the record as it was and returns; the
// exchange has already counted it. Yields inside every exchange.
void ReadCommBlock(int16_t chamber);

}  // namespace qel
