// Which replies to a read are the complete, normal reply, on each framing.
// Frames are laid out here byte by byte from the Modbus framings, not by the
// station's own frame builder.
#include "fake_serial.h"
#include "reply_check.h"

#include <gtest/gtest.h>

using namespace qel;
using qeltest::FromHex;
using qeltest::WithCrc;

namespace {

// Reply pdu with the address in front: 01 03 <count> <data>.
QByteArray Pdu(int address, int function, int count, int dataBytes) {
    QByteArray out;
    out.append(static_cast<char>(address));
    out.append(static_cast<char>(function));
    out.append(static_cast<char>(count));
    for (int i = 0; i < dataBytes; ++i) out.append(static_cast<char>(i * 7));
    return out;
}

QByteArray Ascii(const QByteArray& bytes) {
    int sum = 0;
    for (char c : bytes) sum += static_cast<uint8_t>(c);
    return ":" + bytes.toHex().toUpper() + QByteArray::number((-sum) & 0xFF, 16).toUpper().rightJustified(2, '0') +
           "\r\n";
}

QByteArray Mbap(int tid, int pid, int length, const QByteArray& unitAndPdu) {
    QByteArray out;
    for (int v : {tid, pid, length}) {
        out.append(static_cast<char>((v >> 8) & 0xFF));
        out.append(static_cast<char>(v & 0xFF));
    }
    return out + unitAndPdu;
}

QByteArray Tcp(const QByteArray& unitAndPdu) { return Mbap(0x1234, 0, static_cast<int>(unitAndPdu.size()), unitAndPdu); }

const ReadRequest kFour{1, 3, 8};  // four registers from slave 1

}  // namespace

TEST(ReplyCheck, RequestFromACommandBody) {
    const auto r = ReadRequestOf(7, "0300020078");
    ASSERT_TRUE(r.has_value());
    EXPECT_EQ(r->address, 7);
    EXPECT_EQ(r->function, 3);
    EXPECT_EQ(r->dataBytes, 240);
    EXPECT_EQ(ReadRequestOf(7, "03039C0052")->dataBytes, 164);
    EXPECT_FALSE(ReadRequestOf(7, "0600650004").has_value());
    EXPECT_FALSE(ReadRequestOf(7, "03").has_value());
}

TEST(ReplyCheck, Rtu) {
    const QByteArray good = WithCrc(Pdu(1, 3, 8, 8));
    QByteArray badCrc = good;
    badCrc[badCrc.size() - 1] = static_cast<char>(badCrc[badCrc.size() - 1] ^ 0x5A);
    const struct {
        const char* what;
        QByteArray frame;
        ReplyFault fault;
    } rows[] = {
        {"good", good, ReplyFault::None},
        {"nothing", QByteArray(), ReplyFault::Empty},
        {"another slave, valid CRC", WithCrc(Pdu(2, 3, 8, 8)), ReplyFault::Address},
        {"exception", WithCrc(FromHex("018304")), ReplyFault::Exception},
        {"another function", WithCrc(Pdu(1, 4, 8, 8)), ReplyFault::Function},
        {"byte count one short", WithCrc(Pdu(1, 3, 7, 8)), ReplyFault::ByteCount},
        {"header alone", WithCrc(FromHex("010308")), ReplyFault::Incomplete},
        {"half", good.left(good.size() / 2), ReplyFault::Incomplete},
        {"wrong CRC", badCrc, ReplyFault::Checksum},
        {"twice", good + good, ReplyFault::TooLong},
        {"64 KB", QByteArray(65536, '\x01'), ReplyFault::TooLong},
    };
    for (const auto& r : rows) EXPECT_EQ(CheckRtuReply(r.frame, kFour), r.fault) << r.what;
    EXPECT_EQ(RtuReplyBytes(kFour), good.size());
}

// A block of 130 registers: the count byte holds 260 modulo 256.
TEST(ReplyCheck, CountByteOfALongBlockIsModulo256) {
    const ReadRequest long130{1, 3, 260};
    EXPECT_EQ(CheckRtuReply(WithCrc(Pdu(1, 3, 0x04, 260)), long130), ReplyFault::None);
    EXPECT_EQ(CheckTcpReply(Tcp(Pdu(1, 3, 0x04, 260)), long130), ReplyFault::None);
}

TEST(ReplyCheck, Ascii) {
    const QByteArray good = Ascii(Pdu(1, 3, 8, 8));
    QByteArray badLrc = good;
    badLrc[badLrc.size() - 3] = badLrc[badLrc.size() - 3] == '0' ? '1' : '0';
    QByteArray notHex = good;
    notHex[5] = 'G';
    const struct {
        const char* what;
        QByteArray frame;
        ReplyFault fault;
    } rows[] = {
        {"good", good, ReplyFault::None},
        {"lower-case hex", good.toLower().replace("\r\n", "\r\n"), ReplyFault::None},
        {"wrong LRC", badLrc, ReplyFault::Checksum},
        {"another slave", Ascii(Pdu(9, 3, 8, 8)), ReplyFault::Address},
        {"exception", Ascii(FromHex("018302")), ReplyFault::Exception},
        {"no colon", good.mid(1), ReplyFault::Framing},
        {"no CR LF", good.left(good.size() - 2), ReplyFault::Incomplete},
        {"not hex", notHex, ReplyFault::Framing},
        {"header alone", Ascii(FromHex("010308")), ReplyFault::Incomplete},
        {"twice", good + good, ReplyFault::TooLong},
    };
    for (const auto& r : rows) EXPECT_EQ(CheckAsciiReply(r.frame, kFour), r.fault) << r.what;
    EXPECT_EQ(AsciiReplyChars(kFour), good.size());
}

TEST(ReplyCheck, Tcp) {
    const QByteArray pdu = Pdu(1, 3, 8, 8);
    const QByteArray good = Tcp(pdu);
    const struct {
        const char* what;
        QByteArray frame;
        ReplyFault fault;
    } rows[] = {
        {"good", good, ReplyFault::None},
        {"another transaction id", Mbap(0x1235, 0, 11, pdu), ReplyFault::TransactionId},
        {"protocol id 1", Mbap(0x1234, 1, 11, pdu), ReplyFault::ProtocolId},
        {"another unit", Tcp(Pdu(2, 3, 8, 8)), ReplyFault::Address},
        {"another function", Tcp(Pdu(1, 4, 8, 8)), ReplyFault::Function},
        {"exception", Tcp(FromHex("018304")), ReplyFault::Exception},
        {"byte count that does not fit", Tcp(Pdu(1, 3, 9, 8)), ReplyFault::ByteCount},
        {"length field longer than the bytes", Mbap(0x1234, 0, 12, pdu), ReplyFault::Incomplete},
        {"length field shorter than the bytes", Mbap(0x1234, 0, 10, pdu), ReplyFault::TooLong},
        {"header alone", Tcp(FromHex("010308")), ReplyFault::Incomplete},
        {"half", good.left(good.size() / 2), ReplyFault::Incomplete},
        {"twice", good + good, ReplyFault::TooLong},
        {"64 KB", Mbap(0x1234, 0, 0xFFFF, QByteArray(65535, '\0')), ReplyFault::Address},
        {"five bytes", good.left(5), ReplyFault::Incomplete},
    };
    for (const auto& r : rows) EXPECT_EQ(CheckTcpReply(r.frame, kFour), r.fault) << r.what;
    EXPECT_EQ(TcpReplyBytes(kFour), good.size());
}
