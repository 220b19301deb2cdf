// Misbehaviour on purpose: how a chamber can answer badly, so that the
// station's handling of a bad line or a hostile peer can be tried against it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
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
    Twice,      // the reply is sent two times, back to back
    WrongAddr,  // another slave address (TCP: unit id), checksum valid
    WrongTid,   // TCP: another transaction id; serial: as WrongAddr
    WrongPid,   // TCP: protocol id 1; serial: as WrongAddr
    WrongFunc,  // another function code, checksum valid
    BadCount,   // the byte after the function code (a read's byte count) one less, checksum valid
    Header,     // only address, function and byte count, checksum valid (TCP: MBAP header, unit, both)
    Huge,       // a 64 KiB reply: the reply's bytes, zero filler and a valid checksum (TCP: length 0xFFFF)
    Noise,      // junk on the line first (a few bytes; ASCII: without ':'), then the proper frame
    Babble,     // no reply, but an endless stream of junk until the fault ends or the peer goes away
    Drop,       // the first half of the reply, then TCP closes the connection (serial: as Short)
    Mixed,      // each request draws one of the modes above but Babble, Normal included
};

struct Fault {
    FaultMode mode = FaultMode::Normal;
    int delayMs = 0;    // Delay: how late; Mixed: how late its delayed replies are
    int percent = 100;  // share of requests that get the fault; the others are answered properly
};

enum class Framing { Rtu, Ascii, Tcp };

// Names as the command line and stdin use them: normal, silent, badcrc
// (also badlrc), short, exception, delay, garbage, twice, wrongaddr,
// wrongtid, wrongpid, wrongfunc, badcount, header, huge, noise, babble, drop,
// mixed.
std::optional<FaultMode> ParseFaultMode(const QString& name);
QString FaultName(FaultMode mode);

// A fault from its name, its arguments (delay: MS, required; mixed: MS of
// its delayed replies, default 500; none for the others) and a rate, "@P"
// with P 0..100, or empty for 100. False and a reason when any part does
// not fit.
bool ParseFault(const QString& name, const QStringList& args, const QString& rate, Fault* fault, QString* error);

// The next number of a small deterministic generator whose state is rng.
uint32_t NextRandom(uint64_t& rng);

// Where a reply goes and what it answers.
struct ReplyHead {
    uint8_t address = 0;       // the slave address, or on TCP the unit id of the request
    uint16_t transaction = 0;  // TCP only
};

// The bytes that carry reply pdu on the line, framed for framing and spoiled
// as mode says. Modes that are not about the frame (Silent, Exception,
// Delay, Babble, Mixed) give the proper frame; Drop gives its first half,
// closing the connection is the transport's part.
QByteArray WireReply(Framing framing, ReplyHead head, QByteArray pdu, FaultMode mode, uint64_t& rng);

// n bytes of junk for a babbling chamber: on an ASCII line hex digits and
// never an end of frame, elsewhere any bytes.
QByteArray BabbleBytes(Framing framing, int n, uint64_t& rng);

// Another slave address than address: the next one, 247 wrapping to 1,
// never 0 (which every chamber would take as its own broadcast).
uint8_t OtherAddress(uint8_t address);

}  // namespace qelsim
