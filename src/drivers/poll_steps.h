// Steps every model's poll block shares: judging an exchange before its
// reply is decoded, the end date of a running channel, and the trend
// sample at most every 2 seconds.
#pragma once

#include <QString>
#include <cstdint>

namespace qel {

// True when the exchange just made may be decoded: no failure counted, the
// line open, and a reply that holds the registers first to last.
bool ExchangeGood(int16_t chamber, const QString& reply, int first, int last);

// Reads a block; "" when the exchange failed or the reply cannot be decoded
// (the exchange has counted it). `expect` as ModbusTransact takes it.
QString ReadBlock(int16_t chamber, const QString& expect, int16_t minLen, const QString& body, int first, int last);

// Stores the end date of channel `ch` (1-based) from its five registers,
// put together as a date from parts (a month of 13 rolls over), and sets the
// page's end-time caption: "yyyy/mm/dd hh:mm", or empty for the unset date.
// An impossible date raises "Invalid procedure call or argument".
void StoreEndDate(int16_t chamber, int ch, int16_t year, int16_t month, int16_t day, int16_t hour, int16_t minute);

// Hours, minutes and seconds as seconds, minutes counted in full.
inline int32_t HoursMinutesSeconds(int16_t h, int16_t m, int16_t s) {
    return int32_t{h} * 3600 + int32_t{m} * 60 + s;
}

// When 2 seconds have passed since the chamber's last trend sample: keeps
// the time and calls the trend.
void OperationGraphIfDue(int16_t chamber);

}  // namespace qel
