// Which replies to a read are the complete, normal reply, on each framing; frames laid out here.
#include "fake_serial.h"
#include "reply_check.h"

#include <gtest/gtest.h>

using namespace qel;
using qeltest::FromHex;
using qeltest::WithCrc;
using qeltest::WithLrc;
using qeltest::WithMbap;

namespace {

const ReadRequest kFour{1, 3, 8};  // four registers from slave 1

// Address, function, count byte and `dataBytes` bytes of data.
QByteArray Pdu(int address, int function, int count, int dataBytes = 8) {
    QByteArray out(3 + dataBytes, '\xAB');  // hex letters, for the lower-case row
    out[0] = static_cast<char>(address), out[1] = static_cast<char>(function), out[2] = static_cast<char>(count);
    return out;
}

QByteArray Flip(QByteArray frame, qsizetype at, char to) { return frame.replace(at, 1, &to, 1); }

struct Row { const char* what; QByteArray frame; ReplyFault fault; };

// rows[0] is the good reply: its size is the whole reply the exchange waits for.
void ExpectFaults(ReplyFault (*check)(const QByteArray&, const ReadRequest&), int wholeSize,
                  std::initializer_list<Row> rows) {
    EXPECT_EQ(rows.begin()->frame.size(), wholeSize);
    for (const Row& r : rows) EXPECT_EQ(check(r.frame, kFour), r.fault) << r.what;
}

}  // namespace

// Guards RTU replies taken that are not the normal reply to this read.
TEST(ReplyCheck, Rtu) {
    const QByteArray good = WithCrc(Pdu(1, 3, 8));
    ExpectFaults(CheckRtuReply, RtuReplyBytes(kFour),
                 {{"good", good, ReplyFault::None},
                  {"nothing", {}, ReplyFault::Empty},
                  {"another slave", WithCrc(Pdu(2, 3, 8)), ReplyFault::Address},
                  {"exception", WithCrc(FromHex("018304")), ReplyFault::Exception},
                  {"another function", WithCrc(Pdu(1, 4, 8)), ReplyFault::Function},
                  {"byte count one short", WithCrc(Pdu(1, 3, 7)), ReplyFault::ByteCount},
                  {"header alone", WithCrc(FromHex("010308")), ReplyFault::Incomplete},
                  {"half", good.left(good.size() / 2), ReplyFault::Incomplete},
                  {"wrong CRC", Flip(good, good.size() - 1, good.back() ^ 0x5A), ReplyFault::Checksum},
                  {"twice", good + good, ReplyFault::TooLong}});
}

// Guards ASCII replies taken that are not the normal reply to this read.
TEST(ReplyCheck, Ascii) {
    const QByteArray good = WithLrc(Pdu(1, 3, 8));
    ExpectFaults(CheckAsciiReply, AsciiReplyChars(kFour),
                 {{"good", good, ReplyFault::None},
                  {"lower-case hex", good.toLower(), ReplyFault::None},
                  {"wrong LRC", Flip(good, good.size() - 3, good[good.size() - 3] == '0' ? '1' : '0'),
                   ReplyFault::Checksum},
                  {"exception", WithLrc(FromHex("018302")), ReplyFault::Exception},
                  {"no colon", good.mid(1), ReplyFault::Framing},
                  {"no CR LF", good.chopped(2), ReplyFault::Incomplete},
                  {"not hex", Flip(good, 5, 'G'), ReplyFault::Framing},
                  {"twice", good + good, ReplyFault::TooLong}});
}

// Guards TCP replies taken that are not the normal reply to this request (ids, length, body).
TEST(ReplyCheck, Tcp) {
    const QByteArray pdu = Pdu(1, 3, 8);
    const QByteArray good = WithMbap(pdu);
    ExpectFaults(CheckTcpReply, TcpReplyBytes(kFour),
                 {{"good", good, ReplyFault::None},
                  {"another transaction id", WithMbap(pdu, 0x1235), ReplyFault::TransactionId},
                  {"protocol id 1", WithMbap(pdu, 0x1234, 1), ReplyFault::ProtocolId},
                  {"another unit", WithMbap(Pdu(2, 3, 8)), ReplyFault::Address},
                  {"exception", WithMbap(FromHex("018304")), ReplyFault::Exception},
                  {"byte count that does not fit", WithMbap(Pdu(1, 3, 9)), ReplyFault::ByteCount},
                  {"length field past the bytes", WithMbap(pdu, 0x1234, 0, 12), ReplyFault::Incomplete},
                  {"header alone", WithMbap(FromHex("010308")), ReplyFault::Incomplete},
                  {"twice", good + good, ReplyFault::TooLong},
                  {"five bytes", good.left(5), ReplyFault::Incomplete}});
}

// Guards the count byte of a 130-register block, which holds 260 modulo 256.
TEST(ReplyCheck, CountByteOfALongBlockIsModulo256) {
    const ReadRequest long130{1, 3, 260};
    EXPECT_EQ(CheckRtuReply(WithCrc(Pdu(1, 3, 0x04, 260)), long130), ReplyFault::None);
    EXPECT_EQ(CheckTcpReply(WithMbap(Pdu(1, 3, 0x04, 260)), long130), ReplyFault::None);
}
