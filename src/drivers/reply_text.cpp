#include "reply_text.h"

#include "vbtext.h"

#include <algorithm>

namespace qel {

namespace {
int Pos(int first, int reg) { return 7 + 4 * (reg - first); }
}  // namespace

int16_t RegisterAt(const QString& reply, int first, int reg) {
    // The common case read straight off the text: up to four hex digits from
    // the position (fewer where the text ends), as Val("&H" + digits) reads
    // them. Anything else in the way goes the long way through Val.
    const qsizetype at = Pos(first, reg) - 1;
    uint16_t value = 0;
    for (qsizetype i = at; i < at + 4 && i < reply.size(); ++i) {
        const int digit = HexDigitValue(reply[i].unicode());
        if (digit < 0) return static_cast<int16_t>(Val(QStringLiteral("&H") + Mid(reply, Pos(first, reg), 4)));
        value = static_cast<uint16_t>(value << 4 | digit);
    }
    return static_cast<int16_t>(value);
}

int16_t LowByteAt(const QString& reply, int first, int reg) {
    return static_cast<int16_t>(Val(QStringLiteral("&H") + Mid(reply, Pos(first, reg) + 2, 2)));
}

double Scaled(int16_t raw, const QString& dp) {
    // Places given as zeros only (the form the settings make): the formatted
    // text holds raw's own digits, and reading them back gives the double
    // nearest raw / 10^places, which is what the division gives.
    if (dp.size() <= 9 && std::all_of(dp.begin(), dp.end(), [](QChar c) { return c == u'0'; })) {
        static constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
        return raw / kPowers[dp.size()];
    }
    const double divisor = Val(QStringLiteral("1") + dp);
    return Val(Format(raw / divisor, QStringLiteral("##0.") + dp));
}

int32_t TimeFormA(int16_t h, int16_t s) { return int32_t{h} * 3600 + s; }

int32_t TimeFormB(int16_t h, int16_t m, int16_t s) { return int32_t{h} * 3600 + (m / 60) * 60 + s; }

bool HoldsRegisters(const QString& reply, int first, int last) { return reply.size() >= Pos(first, last) + 3; }

}  // namespace qel
