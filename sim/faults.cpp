#include "faults.h"

#include "frames.h"

namespace qelsim {

namespace {
struct Name {
    FaultMode mode;
    const char* text;
};
// The first name of a mode is the one FaultName gives.
constexpr Name Names[] = {
    {FaultMode::Normal, "normal"},       {FaultMode::Silent, "silent"},     {FaultMode::BadCrc, "badcrc"},
    {FaultMode::BadCrc, "badlrc"},       {FaultMode::Short, "short"},       {FaultMode::Exception, "exception"},
    {FaultMode::Delay, "delay"},         {FaultMode::Garbage, "garbage"},   {FaultMode::Twice, "twice"},
    {FaultMode::WrongAddr, "wrongaddr"}, {FaultMode::WrongTid, "wrongtid"}, {FaultMode::WrongPid, "wrongpid"},
    {FaultMode::WrongFunc, "wrongfunc"}, {FaultMode::BadCount, "badcount"}, {FaultMode::Header, "header"},
    {FaultMode::Huge, "huge"},           {FaultMode::Noise, "noise"},       {FaultMode::Babble, "babble"},
    {FaultMode::Drop, "drop"},
    {FaultMode::Mixed, "mixed"},
};

constexpr int MaxDelayMs = 600000;
constexpr int MixedDelayMs = 500;

// Sizes of a huge reply: 64 KiB on a serial line (an ASCII frame of odd
// length one character more), the most a 16-bit MBAP length can hold on TCP.
constexpr qsizetype HugeRtuBytes = 65536;
constexpr qsizetype HugeAsciiPdu = 32765;  // 2 * (1 + pdu + 1) + 3 = 65537 characters
constexpr qsizetype HugeTcpPdu = 0xFFFF - 1;

bool ToInt(const QString& text, int low, int high, int* out) {
    bool ok = false;
    const int v = text.toInt(&ok, 10);
    if (!ok || v < low || v > high) return false;
    *out = v;
    return true;
}

QByteArray Frame(Framing framing, ReplyHead head, const QByteArray& pdu) {
    switch (framing) {
        case Framing::Rtu:
            return RtuFrame(head.address, pdu);
        case Framing::Ascii:
            return AsciiFrame(head.address, pdu);
        case Framing::Tcp:
            return TcpFrame(head.transaction, head.address, pdu);
    }
    return {};
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

bool ParseFault(const QString& name, const QStringList& args, const QString& rate, Fault* fault, QString* error) {
    const auto mode = ParseFaultMode(name);
    if (!mode) {
        *error = QString("unknown fault \"%1\"").arg(name);
        return false;
    }
    Fault f{*mode, 0, 100};
    if (*mode == FaultMode::Delay) {
        if (args.size() != 1 || !ToInt(args[0], 0, MaxDelayMs, &f.delayMs)) {
            *error = QString("delay wants MS, 0..%1").arg(MaxDelayMs);
            return false;
        }
    } else if (*mode == FaultMode::Mixed) {
        f.delayMs = MixedDelayMs;
        if (args.size() > 1 || (args.size() == 1 && !ToInt(args[0], 0, MaxDelayMs, &f.delayMs))) {
            *error = QString("mixed takes at most MS, 0..%1").arg(MaxDelayMs);
            return false;
        }
    } else if (!args.isEmpty()) {
        *error = QString("%1 takes no argument").arg(FaultName(*mode));
        return false;
    }
    if (!rate.isEmpty() && (!rate.startsWith('@') || !ToInt(rate.mid(1), 0, 100, &f.percent))) {
        *error = "a rate is @P with P 0..100";
        return false;
    }
    *fault = f;
    return true;
}

uint32_t NextRandom(uint64_t& s) {
    if (s == 0) s = 0x9E3779B97F4A7C15ULL;
    // xorshift64*
    s ^= s >> 12;
    s ^= s << 25;
    s ^= s >> 27;
    return static_cast<uint32_t>((s * 0x2545F4914F6CDD1DULL) >> 32);
}

uint8_t OtherAddress(uint8_t address) { return static_cast<uint8_t>(address % 247 + 1); }

QByteArray WireReply(Framing framing, ReplyHead head, QByteArray pdu, FaultMode mode, uint64_t& rng) {
    const bool tcp = framing == Framing::Tcp;
    // On a serial line a wrong transaction or protocol id can only show as a wrong address.
    if (mode == FaultMode::WrongAddr || (!tcp && (mode == FaultMode::WrongTid || mode == FaultMode::WrongPid)))
        head.address = OtherAddress(head.address);
    if (tcp && mode == FaultMode::WrongTid) head.transaction = static_cast<uint16_t>(head.transaction + 1);
    if (mode == FaultMode::WrongFunc && !pdu.isEmpty()) {
        const auto f = static_cast<uint8_t>(pdu[0]);
        pdu[0] = static_cast<char>((f & 0x80) | ((f & 0x7F) == 0x04 ? 0x03 : 0x04));
    }
    if (mode == FaultMode::BadCount && pdu.size() >= 2) pdu[1] = static_cast<char>(pdu[1] - 1);
    if (mode == FaultMode::Header) pdu = pdu.left(2);
    if (mode == FaultMode::Huge) {
        const qsizetype size = framing == Framing::Rtu ? HugeRtuBytes - 3 : tcp ? HugeTcpPdu : HugeAsciiPdu;
        if (pdu.size() < size) pdu.append(QByteArray(size - pdu.size(), '\0'));
    }

    QByteArray out = Frame(framing, head, pdu);
    switch (mode) {
        case FaultMode::WrongPid:
            if (tcp) out[3] = 1;
            return out;
        case FaultMode::BadCrc:
            if (framing == Framing::Rtu && out.size() >= 2) {
                out[out.size() - 1] = static_cast<char>(out[out.size() - 1] ^ 0xFF);
                out[out.size() - 2] = static_cast<char>(out[out.size() - 2] ^ 0xFF);
            } else if (framing == Framing::Ascii && out.size() >= 5) {
                // The two hex digits before CR LF are the LRC; one more than right is wrong.
                const qsizetype at = out.size() - 4;
                const int lrc = out.mid(at, 2).toInt(nullptr, 16);
                out.replace(at, 2, Hex(QByteArray(1, static_cast<char>((lrc + 1) & 0xFF))));
            } else if (tcp && out.size() >= 6) {
                out[5] = static_cast<char>(out[5] + 1);
            }
            return out;
        case FaultMode::Short:
        case FaultMode::Drop:
            return out.left(out.size() / 2);
        case FaultMode::Garbage:
            for (char& c : out) c = static_cast<char>(NextRandom(rng));
            return out;
        case FaultMode::Twice:
            return out + out;
        case FaultMode::Noise:
            return BabbleBytes(framing, 1 + static_cast<int>(NextRandom(rng) % 8), rng) + out;
        default:
            return out;
    }
}

QByteArray BabbleBytes(Framing framing, int n, uint64_t& rng) {
    static const char digits[] = "0123456789ABCDEF";
    QByteArray out(n, Qt::Uninitialized);
    for (char& c : out) {
        const uint32_t r = NextRandom(rng);
        c = framing == Framing::Ascii ? digits[r & 0x0F] : static_cast<char>(r);
    }
    return out;
}

}  // namespace qelsim
