#include "dec2hex.h"

#include "errorlog.h"
#include "runtime_error.h"
#include "state.h"
#include "vbtext.h"

#include <cfenv>
#include <cmath>

namespace qel {

namespace {

QString Hex16(double v) {
    const double r = std::nearbyint(v);  // the default rounding mode: half to even
    if (!(r >= -32768.0 && r <= 32767.0)) throw RuntimeError(err::Overflow);
    const auto word = static_cast<uint16_t>(static_cast<int16_t>(r));
    return QString::number(word, 16).toUpper().rightJustified(4, u'0');
}

QString Scaled(float value, int scale, int16_t chamber, int channel) {
    try {
        const ChamberRec& rec = Chamber[ChamberIndex(chamber)];
        if (scale != -1) return Hex16(value);
        switch (rec.DP[ChannelIndex(channel)].size()) {
            case 0:
                return Hex16(value);
            case 1:
                return Hex16(static_cast<double>(value) * 10.0);
            case 2:
                return Hex16(static_cast<double>(value) * 100.0);
            default:
                return QString();
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modSubFunc.Dec2Hex"));
        return QString();
    }
}

}  // namespace

QString Dec2Hex(float value, int scale, int16_t chamber) {
    return Scaled(value, scale, chamber, static_cast<int>(Val(StatusPanel3)));
}

QString Dec2Hex2(float value, int scale, int16_t chamber) { return Scaled(value, scale, chamber, 2); }

QString Dec2HexOfChannel(float value, int scale, int16_t chamber, int channel) {
    return Scaled(value, scale, chamber, channel);
}

}  // namespace qel
