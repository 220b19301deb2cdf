// Framing against byte tables taken from the Modbus documents (the CRC
// examples of the serial line guide, LRC sums and MBAP headers worked out by
// hand), never from our own writer.
#include <gtest/gtest.h>

#include "faults.h"
#include "frames.h"
#include "sim_test_util.h"

using namespace qelsim;
using simtest::H;

// address: the unit id on TCP; wire: hex, or the text of an ASCII frame.
struct WireRow { Framing framing; uint8_t address; const char *pdu, *wire; };
void PrintTo(const WireRow& row, std::ostream* os) { *os << row.wire; }

class Wire : public ::testing::TestWithParam<WireRow> {};

TEST_P(Wire, FrameMatchesTheTableAndReadsBack) {
    const WireRow row = GetParam();
    const QByteArray pdu = H(row.pdu);
    if (row.framing == Framing::Rtu) {
        const QByteArray wire = H(row.wire);
        EXPECT_EQ(RtuFrame(row.address, pdu), wire);
        EXPECT_TRUE(RtuCrcOk(wire));
        for (qsizetype i = 0; i < wire.size(); ++i) {
            QByteArray bad = wire;
            bad[i] = static_cast<char>(bad[i] ^ 0x01);
            EXPECT_FALSE(RtuCrcOk(bad)) << "bit flipped in byte " << i;
        }
    } else if (row.framing == Framing::Ascii) {
        EXPECT_EQ(AsciiFrame(row.address, pdu), QByteArray(row.wire));
        const QByteArray text = QByteArray(row.wire).mid(1, qstrlen(row.wire) - 3);
        EXPECT_EQ(AsciiDecode(text), char(row.address) + pdu);
        EXPECT_EQ(AsciiDecode(text.toLower()), char(row.address) + pdu) << "lower-case hex is accepted";
    } else {
        EXPECT_EQ(TcpFrame(0x1234, row.address, pdu), H(row.wire));
    }
}

// CRC low byte first. LRC: two's complement of the byte sum, e.g.
// 01+03+00+00+00+01 = 05 -> FB; 11+03+00+6B+00+03 = 82 -> 7E.
INSTANTIATE_TEST_SUITE_P(
    Table, Wire,
    ::testing::Values(WireRow{Framing::Rtu, 0x01, "030000000A", "01030000000AC5CD"},
                      WireRow{Framing::Rtu, 0x01, "0300000001", "010300000001840A"},
                      WireRow{Framing::Rtu, 0x11, "03006B0003", "1103006B00037687"},
                      WireRow{Framing::Rtu, 0x01, "0600010003", "010600010003980B"},
                      WireRow{Framing::Rtu, 0x02, "03039C0052", "0203039C0052046E"},
                      WireRow{Framing::Rtu, 0x01, "AB01", "01AB019EF0"},
                      WireRow{Framing::Rtu, 0x01, "8304", "01830440F3"},
                      WireRow{Framing::Ascii, 0x01, "0300000001", ":010300000001FB\r\n"},
                      WireRow{Framing::Ascii, 0x11, "03006B0003", ":1103006B00037E\r\n"},
                      WireRow{Framing::Ascii, 0x01, "0600650004", ":01060065000490\r\n"},
                      // transaction 1234, protocol 0, length = unit + pdu bytes, unit
                      WireRow{Framing::Tcp, 0x01, "0300020078", "123400000006010300020078"},
                      WireRow{Framing::Tcp, 0xFF, "8304", "123400000003FF8304"}));

TEST(Framing, RequestLengthByFunctionAndDamagedInput) {
    // 0: not known yet; -1: only a pause on the line ends the request.
    const struct { const char* head; int length; } lengths[] = {
        {"", 0},   {"01", 0},   {"0103", 8}, {"0106", 8}, {"0110007000", 0},
        {"01100070000306", 15},  // address, function, start, count, byte count, 6 data bytes, CRC
        {"012B", -1}, {"0104", -1}};
    for (const auto& row : lengths) EXPECT_EQ(RtuRequestLength(H(row.head)), row.length) << row.head;

    // Damaged ASCII decodes to nothing, so no reply can come of it.
    for (const char* text : {"010300000001FC", "010300000001F", "01030000000GFB", "01FF", ""})
        EXPECT_TRUE(AsciiDecode(text).isEmpty()) << text;

    // A TCP length field outside 2..254 breaks the stream beyond resynchronising.
    TcpRequest r;
    for (QByteArray b : {H("12340000000101"), H("1234000001000103")})
        EXPECT_EQ(TcpTake(b, r), TcpTakeResult::Broken) << b.toHex().toStdString();
}
