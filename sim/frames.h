// Modbus framing as the controllers speak it: RTU with CRC-16, ASCII with
// LRC, and the MBAP header of Modbus/TCP. Pure functions on byte arrays; no
// I/O and no state, so each can be checked against the protocol's own tables.
#pragma once

#include <QByteArray>
#include <cstdint>
#include <optional>

namespace qelsim {

// Modbus CRC-16 (polynomial 0xA001 reflected, start 0xFFFF). On the wire the
// low byte goes first.
uint16_t Crc16(const QByteArray& bytes);

// Modbus LRC: the two's complement of the 8-bit sum of the bytes.
uint8_t Lrc(const QByteArray& bytes);

// Bytes needed for the RTU request that starts buf: 8 for functions 03 and
// 06, 9 + byte count for 16. 0 while too few bytes have arrived to know;
// -1 for any other function, whose end only a pause on the line can tell.
int RtuRequestLength(const QByteArray& buf);

// address + pdu + CRC (low byte first).
QByteArray RtuFrame(uint8_t address, const QByteArray& pdu);

// True when the last two bytes of frame are the CRC of the rest.
bool RtuCrcOk(const QByteArray& frame);

// ":" + upper-case hex of address, pdu and LRC + CR LF.
QByteArray AsciiFrame(uint8_t address, const QByteArray& pdu);

// The binary content (address, pdu, LRC) of one ASCII frame given without
// its ":" and CR LF; empty when a character is not a hex digit, the count of
// digits is odd, the frame is shorter than address + function + LRC, or the
// LRC does not match. The LRC is removed from the result.
QByteArray AsciiDecode(const QByteArray& hexText);

// One Modbus/TCP application data unit: transaction id, protocol id 0,
// length, unit id, pdu.
QByteArray TcpFrame(uint16_t transaction, uint8_t unit, const QByteArray& pdu);

struct TcpRequest {
    uint16_t transaction = 0;
    uint16_t protocol = 0;
    uint8_t unit = 0;
    QByteArray pdu;
};

// What TcpTake found at the start of a stream buffer.
enum class TcpTakeResult { NeedMore, Frame, Broken };

// Takes one complete ADU off the front of buf into out. Broken: the header
// can never be valid (length field below 2 or above 254), so the stream
// cannot be resynchronised and should be dropped.
TcpTakeResult TcpTake(QByteArray& buf, TcpRequest& out);

// Exception reply pdu: function | 0x80, code.
QByteArray ExceptionPdu(uint8_t function, uint8_t code);

// Upper-case hex without separators ("0103...").
QByteArray Hex(const QByteArray& bytes);

}  // namespace qelsim
