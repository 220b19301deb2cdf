// Framing against byte tables taken from the Modbus documents (CRC and LRC
// examples of the serial line guide) and worked out by hand, never from our
// own writer.
#include <gtest/gtest.h>

#include "faults.h"
#include "frames.h"
#include "sim_test_util.h"

using namespace qelsim;

namespace {
QByteArray H(const char* hex) { return QByteArray::fromHex(hex); }
}  // namespace

struct CrcRow {
    const char* body;
    const char* wireCrc;  // as sent: low byte first
};
void PrintTo(const CrcRow& row, std::ostream* os) { *os << row.body; }

class RtuCrc : public ::testing::TestWithParam<CrcRow> {};

TEST_P(RtuCrc, MatchesPublishedValue) {
    const CrcRow row = GetParam();
    const uint16_t crc = Crc16(H(row.body));
    EXPECT_EQ(simtest::CrcBytes(crc).toHex().toUpper(), QByteArray(row.wireCrc));
    const QByteArray frame = H(row.body) + H(row.wireCrc);
    EXPECT_TRUE(RtuCrcOk(frame));
    QByteArray bad = frame;
    bad[2] = static_cast<char>(bad[2] ^ 0x01);
    EXPECT_FALSE(RtuCrcOk(bad));
}

INSTANTIATE_TEST_SUITE_P(Table, RtuCrc,
                         ::testing::Values(CrcRow{"01030000000A", "C5CD"}, CrcRow{"010300000001", "840A"},
                                           CrcRow{"1103006B0003", "7687"}, CrcRow{"010600010003", "980B"},
                                           CrcRow{"010300020078", "E428"}, CrcRow{"0203039C0052", "046E"},
                                           CrcRow{"01AB01", "9EF0"}, CrcRow{"018304", "40F3"}));

TEST(RtuFraming, FrameIsAddressPduAndCrcLowByteFirst) {
    EXPECT_EQ(RtuFrame(0x01, H("030000000A")), H("01030000000AC5CD"));
    EXPECT_EQ(RtuFrame(0x02, H("0302FF38")), H("020302FF38BC66"));
    EXPECT_FALSE(RtuCrcOk(H("0103")));  // too short to hold a CRC and a function
}

TEST(RtuFraming, RequestLengthComesFromTheFunctionCode) {
    EXPECT_EQ(RtuRequestLength(H("")), 0);
    EXPECT_EQ(RtuRequestLength(H("01")), 0);
    EXPECT_EQ(RtuRequestLength(H("0103")), 8);
    EXPECT_EQ(RtuRequestLength(H("0106")), 8);
    EXPECT_EQ(RtuRequestLength(H("0110007000")), 0);          // byte count not yet in
    EXPECT_EQ(RtuRequestLength(H("01100070000306")), 9 + 6);  // 1+1+2+2+1+6+2
    EXPECT_EQ(RtuRequestLength(H("012B")), -1);               // not served: ends at a pause
    EXPECT_EQ(RtuRequestLength(H("0104")), -1);
}

struct LrcRow {
    const char* body;
    const char* frame;  // the complete ASCII frame
};
void PrintTo(const LrcRow& row, std::ostream* os) { *os << row.body; }

class AsciiLrc : public ::testing::TestWithParam<LrcRow> {};

TEST_P(AsciiLrc, FrameAndDecodeAgreeWithTable) {
    const LrcRow row = GetParam();
    const QByteArray body = H(row.body);
    EXPECT_EQ(AsciiFrame(static_cast<uint8_t>(body[0]), body.mid(1)), QByteArray(row.frame));
    const QByteArray text = QByteArray(row.frame).mid(1, qstrlen(row.frame) - 3);
    EXPECT_EQ(AsciiDecode(text), body);
    EXPECT_EQ(AsciiDecode(text.toLower()), body) << "lower-case hex is accepted";
}

// Sum of the bytes, two's complement: 01+03+00+00+00+01 = 05 -> FB;
// 11+03+00+6B+00+03 = 82 -> 7E; 01+06+00+65+00+04 = 70 -> 90.
INSTANTIATE_TEST_SUITE_P(Table, AsciiLrc,
                         ::testing::Values(LrcRow{"010300000001", ":010300000001FB\r\n"},
                                           LrcRow{"1103006B0003", ":1103006B00037E\r\n"},
                                           LrcRow{"010600650004", ":01060065000490\r\n"},
                                           LrcRow{"01030000000A", ":01030000000AF2\r\n"}));

TEST(AsciiFraming, BadTextDecodesToNothing) {
    EXPECT_TRUE(AsciiDecode("010300000001FC").isEmpty()) << "LRC off by one";
    EXPECT_TRUE(AsciiDecode("010300000001F").isEmpty()) << "odd digit count";
    EXPECT_TRUE(AsciiDecode("01030000000GFB").isEmpty()) << "not hex";
    EXPECT_TRUE(AsciiDecode("01FF").isEmpty()) << "no room for a function";
    EXPECT_TRUE(AsciiDecode("").isEmpty());
    EXPECT_EQ(Lrc(H("010300000001")), 0xFB);
}

TEST(TcpFraming, MbapHeaderByTheBook) {
    // transaction 0x1234, protocol 0, length 6 (unit + 5 pdu bytes), unit 1
    EXPECT_EQ(TcpFrame(0x1234, 1, H("0300020078")), H("123400000006010300020078"));
    // A 130-register reply: 2 + 260 pdu bytes, length 263 = 0x0107.
    QByteArray pdu = H("0304") + QByteArray(260, '\0');
    EXPECT_EQ(TcpFrame(7, 9, pdu).left(7), H("00070000010709"));
}

TEST(TcpFraming, TakesWholeAdusOffAStream) {
    QByteArray stream = H("123400000006010300020078") + H("0001000000060206006500");
    TcpRequest r;
    ASSERT_EQ(TcpTake(stream, r), TcpTakeResult::Frame);
    EXPECT_EQ(r.transaction, 0x1234);
    EXPECT_EQ(r.protocol, 0);
    EXPECT_EQ(r.unit, 1);
    EXPECT_EQ(r.pdu, H("0300020078"));
    EXPECT_EQ(TcpTake(stream, r), TcpTakeResult::NeedMore) << "second ADU lacks its last byte";
    stream.append('\x01');
    ASSERT_EQ(TcpTake(stream, r), TcpTakeResult::Frame);
    EXPECT_EQ(r.unit, 2);
    EXPECT_EQ(r.pdu, H("0600650001"));
    EXPECT_TRUE(stream.isEmpty());

    QByteArray broken = H("12340000000101");  // length 1: no room for a function
    EXPECT_EQ(TcpTake(broken, r), TcpTakeResult::Broken);
    QByteArray huge = H("1234000001000103");  // length 256: beyond any request
    EXPECT_EQ(TcpTake(huge, r), TcpTakeResult::Broken);
}

TEST(Faults, SpoiledRepliesFailTheChecksOfTheirFraming) {
    uint64_t rng = 1;
    const QByteArray rtu = RtuFrame(1, H("03020102"));
    EXPECT_EQ(rtu, H("01030201023815"));
    const QByteArray badRtu = Spoil(rtu, FaultMode::BadCrc, Framing::Rtu, rng);
    EXPECT_EQ(badRtu.size(), rtu.size());
    EXPECT_EQ(badRtu.left(5), rtu.left(5));
    EXPECT_FALSE(RtuCrcOk(badRtu));

    const QByteArray asc = AsciiFrame(1, H("03020102"));
    EXPECT_EQ(asc, QByteArray(":0103020102F7\r\n"));
    EXPECT_EQ(Spoil(asc, FaultMode::BadCrc, Framing::Ascii, rng), QByteArray(":0103020102F8\r\n"));

    const QByteArray tcp = TcpFrame(1, 1, H("03020102"));
    EXPECT_EQ(Spoil(tcp, FaultMode::BadCrc, Framing::Tcp, rng), H("0001000000060103020102"));

    EXPECT_EQ(Spoil(rtu, FaultMode::Short, Framing::Rtu, rng), rtu.left(3));
    const QByteArray junk = Spoil(rtu, FaultMode::Garbage, Framing::Rtu, rng);
    EXPECT_EQ(junk.size(), rtu.size());
    EXPECT_NE(junk, rtu);
    EXPECT_EQ(Spoil(rtu, FaultMode::Delay, Framing::Rtu, rng), rtu);
}

TEST(Faults, NamesRoundTrip) {
    for (const char* n : {"normal", "silent", "badcrc", "short", "exception", "delay", "garbage"}) {
        const auto m = ParseFaultMode(n);
        ASSERT_TRUE(m.has_value()) << n;
        EXPECT_EQ(FaultName(*m), QString(n));
    }
    EXPECT_EQ(ParseFaultMode("BADCRC"), FaultMode::BadCrc);
    EXPECT_FALSE(ParseFaultMode("loud").has_value());
}
