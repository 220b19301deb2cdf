// The one exchange with a controller, and the frames it is built from.
//
// Callers hand over a command body as hexadecimal text ("0300020078": read,
// address 0x0002, 0x78 registers) and get the reply back as hexadecimal text
// from the address field on: chars 1-2 address, 3-4 function, 5-6 byte count,
// register n of the block at chars 7 + 4n to 10 + 4n.
#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace qel {

// The frame being built with its CRC, and the last CRC bytes computed.
extern QByteArray FrameBytes;
extern int16_t CrcLo;
extern int16_t CrcHi;

// Turns each hex pair of `text` into a byte of FrameBytes and appends the
// Modbus CRC-16, low byte first. A failure logs "...Modbus CRC error".
void CalcCRC(const QString& text);

// The CRC of the hex pairs of `text` as four hex digits, low byte first.
QString CrcText(const QString& text);

// The Modbus LRC of a decimal address and a hex body, two hex digits. The
// sum is kept in 16 bits signed: a body heavy enough to pass 32767 raises
// the run-time error "Overflow", as the controllers' own software always did.
QString ModbusLRC(int address, const QString& body);

// The two address digits of a chamber: the last two of Dec2Hex of its
// ChamberAddress, so "" gives "00" and 300 gives "2C".
QString AddressDigits(int16_t chamber);

// Frames as sent, for the protocol named.
QByteArray AsciiFrame(int address, const QString& addressDigits, const QString& body);
QByteArray TcpFrame(const QString& addressDigits, const QString& body);

// Sends one request and brings back the reply.
//  expect: "" for a write; for a read the function code and byte count as one
//          number with "&H" ("&H3F0": function 03, 0xF0 bytes).
//  minLen: shortest acceptable reply in characters (serial protocols only).
//  chamber: 1 to 30. addrNo is not read.
// Waits PCSpeed (twice that for a serial write), yielding to the event loop,
// so timers and socket events run meanwhile. A serial read ends at the
// latest three PCSpeed after the send, however long the line keeps talking.
// A read is good only when the complete, normal reply to that very request
// came: right slave or unit, function, byte count, length and checksum (TCP:
// transaction and protocol id too); anything else is a failed read, and on
// TCP the connection is dropped so that nothing late of it is taken for a
// later reply. Keeps FailCount (stopping at 32767) and CommError of the
// chamber: RTU is lost at the third failed read, ASC and ETH at the fourth; a
// write never touches them. A write to a chamber whose address is not 1 to
// 247 (0 would be the broadcast) is not sent; an error-log line says so. A
// read for an address that is not a number or above 247 is not sent either
// and counts as failed: its low byte would name another controller.
// The result is "" after a failed RTU or ETH read and after any write; a bad
// ASC reply is still returned, so callers test FailCount. A run-time failure
// inside marks the chamber lost and logs; a trace or log line that cannot be
// written changes nothing. Once the program is ending it sends nothing and
// returns "" at once, counting nothing.
QString ModbusTransact(const QString& expect, int16_t& minLen, int16_t chamber, int16_t addrNo, const QString& body);

}  // namespace qel
