// Numbers to the four hexadecimal digits of a command body.
#pragma once

#include <QString>
#include <cstdint>

namespace qel {

// With scale -1 the value is multiplied by 10 or 100 by the decimal places
// (DP) of the channel that status panel 3 names; with 0 it is taken as it is.
// The value is rounded to a 16-bit integer (half to even), negatives give
// their two's complement, and the digits are padded with "0" to four. A DP
// longer than two gives "". A value out of the 16-bit range, or a panel
// naming no channel, logs under "modSubFunc.Dec2Hex" and gives "".
QString Dec2Hex(float value, int scale, int16_t chamber);

// The same, scaled by the DP of channel 2 whatever the panel says.
QString Dec2Hex2(float value, int scale, int16_t chamber);

// The same, scaled by the DP of the channel given (1 to 3): the pattern
// transfers scale by the channel they transfer.
QString Dec2HexOfChannel(float value, int scale, int16_t chamber, int channel);

}  // namespace qel
