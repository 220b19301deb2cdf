// Cutting a reply text: register r of a block read from `first` stands at
// char 7 + 4(r - first), four hex digits of a 16-bit two's complement value.
#pragma once

#include <QString>
#include <cstdint>

namespace qel {

int16_t RegisterAt(const QString& reply, int first, int reg);

// The low byte of a register as 0 to 255.
int16_t LowByteAt(const QString& reply, int first, int reg);

// A raw register value divided by 1, 10 or 100 by the channel's DP and
// rounded to its places ("##0." followed by DP), as a float again.
double Scaled(int16_t raw, const QString& dp);

// Run-time forms: A is h * 3600 + s; B is h * 3600 + (m \ 60) * 60 + s, so
// minutes below 60 add nothing (recorded data depend on it).
int32_t TimeFormA(int16_t h, int16_t s);
int32_t TimeFormB(int16_t h, int16_t m, int16_t s);

// True when the reply holds every char up to register `last`.
bool HoldsRegisters(const QString& reply, int first, int last);

}  // namespace qel
