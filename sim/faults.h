// Misbehaviour on purpose: how a chamber can answer badly, so that the
// station's handling of a bad line can be tried against it.
#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <optional>

namespace qelsim {

enum class FaultMode {
    Normal,
    Silent,     // the request is carried out, the reply is not sent
    BadCrc,     // the reply's checksum is wrong (on TCP: its MBAP length)
    Short,      // only the first half of the reply is sent
    Exception,  // exception 04 (device failure) instead of carrying the request out
    Delay,      // the reply is sent delayMs late
    Garbage,    // bytes of the reply's length that mean nothing
};

struct Fault {
    FaultMode mode = FaultMode::Normal;
    int delayMs = 0;
};

enum class Framing { Rtu, Ascii, Tcp };

// Names as the command line and stdin use them: normal, silent, badcrc,
// short, exception, delay, garbage.
std::optional<FaultMode> ParseFaultMode(const QString& name);
QString FaultName(FaultMode mode);

// Spoils a framed reply for BadCrc, Short and Garbage; other modes give the
// frame back unchanged. rng is the state of a small deterministic generator.
QByteArray Spoil(const QByteArray& frame, FaultMode mode, Framing framing, uint64_t& rng);

}  // namespace qelsim
