#include "faults.h"

#include "frames.h"

namespace qelsim {

namespace {
struct Name {
    FaultMode mode;
    const char* text;
};
constexpr Name Names[] = {
    {FaultMode::Normal, "normal"},   {FaultMode::Silent, "silent"},       {FaultMode::BadCrc, "badcrc"},
    {FaultMode::Short, "short"},     {FaultMode::Exception, "exception"}, {FaultMode::Delay, "delay"},
    {FaultMode::Garbage, "garbage"},
};

uint8_t NextByte(uint64_t& s) {
    // xorshift64*
    s ^= s >> 12;
    s ^= s << 25;
    s ^= s >> 27;
    return static_cast<uint8_t>((s * 0x2545F4914F6CDD1DULL) >> 56);
}
}  // namespace

std::optional<FaultMode> ParseFaultMode(const QString& name) {
    for (const Name& n : Names) {
        if (name.compare(QLatin1String(n.text), Qt::CaseInsensitive) == 0) return n.mode;
    }
    return std::nullopt;
}

QString FaultName(FaultMode mode) {
    for (const Name& n : Names) {
        if (n.mode == mode) return n.text;
    }
    return {};
}

QByteArray Spoil(const QByteArray& frame, FaultMode mode, Framing framing, uint64_t& rng) {
    if (rng == 0) rng = 0x9E3779B97F4A7C15ULL;
    QByteArray out = frame;
    switch (mode) {
        case FaultMode::BadCrc:
            if (framing == Framing::Rtu && out.size() >= 2) {
                out[out.size() - 1] = static_cast<char>(out[out.size() - 1] ^ 0xFF);
                out[out.size() - 2] = static_cast<char>(out[out.size() - 2] ^ 0xFF);
            } else if (framing == Framing::Ascii && out.size() >= 5) {
                // The two hex digits before CR LF are the LRC; one more than right is wrong.
                const qsizetype at = out.size() - 4;
                const int lrc = out.mid(at, 2).toInt(nullptr, 16);
                out.replace(at, 2, Hex(QByteArray(1, static_cast<char>((lrc + 1) & 0xFF))));
            } else if (framing == Framing::Tcp && out.size() >= 6) {
                out[5] = static_cast<char>(out[5] + 1);
            }
            return out;
        case FaultMode::Short:
            return out.left(out.size() / 2);
        case FaultMode::Garbage:
            for (char& c : out) c = static_cast<char>(NextByte(rng));
            return out;
        default:
            return out;
    }
}

}  // namespace qelsim
