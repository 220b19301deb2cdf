// Whether the bytes that came back are the complete, normal reply to the
// read that was sent, on each of the three framings. A reply that is not is
// a failed read: an exception, another function, another slave or unit, a
// byte count or length that does not fit, a bad checksum, too few or too
// many bytes. Nothing of such a reply may reach a chamber's record.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace qel {

// What a read asks for: the slave address byte, the function, and how many
// data bytes a complete reply carries (two per register asked for). The byte
// count field holds that number modulo 256: a 130-register block goes out
// with a count of 0x04 and 260 data bytes behind it.
struct ReadRequest {
    int address = 0;
    int function = 0;
    int dataBytes = 0;
};

// The read of a command body ("0300020078") for an address; nullopt for a
// body that is not a register read.
std::optional<ReadRequest> ReadRequestOf(int address, const QString& body);

enum class ReplyFault {
    None,
    Empty,          // nothing came
    Incomplete,     // fewer bytes than a complete reply
    TooLong,        // more bytes than one complete reply (a second frame, a babbling line)
    Framing,        // ASCII: no ':' ... CR LF, or characters that are not hexadecimal
    Checksum,       // CRC or LRC wrong
    Address,        // another slave address, or another unit id
    Exception,      // an exception reply
    Function,       // another function code
    ByteCount,      // a byte count that does not fit the request
    TransactionId,  // TCP: another transaction id
    ProtocolId,     // TCP: a protocol id other than 0
    Length,         // TCP: a length field that does not fit the bytes
};

// The Modbus CRC-16 of the first n bytes (all of them when n is -1): start
// 0xFFFF, polynomial 0xA001 on the reflected bits; sent low byte first.
uint16_t Crc16(const QByteArray& bytes, qsizetype n = -1);

// Why a reply was refused, for the exchange trace.
QString ReplyFaultText(ReplyFault fault);

// The whole wire length of a complete reply.
int RtuReplyBytes(const ReadRequest& r);
int AsciiReplyChars(const ReadRequest& r);
int TcpReplyBytes(const ReadRequest& r);

// RTU: address, function, count, data, CRC low byte first.
ReplyFault CheckRtuReply(const QByteArray& frame, const ReadRequest& r);
// ASCII: ':' and the hex of address, function, count, data and LRC, CR LF.
ReplyFault CheckAsciiReply(const QByteArray& frame, const ReadRequest& r);
// TCP: the transaction header (id 0x1234, protocol 0, length), unit, pdu.
ReplyFault CheckTcpReply(const QByteArray& frame, const ReadRequest& r);

// The transaction id the station puts in every TCP request.
inline constexpr int kTcpTransactionId = 0x1234;

}  // namespace qel
