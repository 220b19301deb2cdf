// Frames against byte tables worked out from the Modbus documents, not from
// the station's own routines.
#include "app_dir.h"
#include "fake_serial.h"
#include "modbus.h"
#include "state.h"

#include <gtest/gtest.h>

using namespace qel;

TEST(Crc, MatchesTheModbusExamples) {
    struct Row { const char* text; const char* crc; } rows[] = {
        {"010300000001", "840A"},   // read 1 register at 0 from slave 1: 84 0A
        {"01030000000A", "C5CD"},   // C5 CD
        {"0103000A0001", "A408"},
    };
    for (const auto& r : rows) EXPECT_EQ(CrcText(r.text), r.crc) << r.text;
    // Slave 0x11 reading 3 registers from 0x006B: the classic example, CRC 76 87.
    EXPECT_EQ(CrcText("1103006B0003"), "7687");
}

TEST(Crc, AgreesWithAnIndependentReferenceOnManyFrames) {
    for (int a = 0; a < 256; a += 17) {
        for (const char* body : {"0300020078", "03039C0052", "0600650004", "100070000306000100020003"}) {
            const QString text = QString::number(a, 16).rightJustified(2, '0').toUpper() + body;
            const QByteArray bytes = qeltest::FromHex(text);
            const uint16_t ref = qeltest::ReferenceCrc(bytes);
            const QString expect = QString::asprintf("%02X%02X", ref & 0xFF, ref >> 8);
            EXPECT_EQ(CrcText(text), expect) << text.toStdString();
        }
    }
}

TEST(Lrc, IsTheTwosComplementOfTheByteSum) {
    // :01 03 00 02 00 78 -> sum 0x7E -> LRC 0x82
    EXPECT_EQ(ModbusLRC(1, "0300020078"), "82");
    // :11 03 00 6B 00 03 -> sum 0x82 -> LRC 0x7E (the serial line guide's example)
    EXPECT_EQ(ModbusLRC(17, "03006B0003"), "7E");
    EXPECT_EQ(ModbusLRC(0, ""), "00");
    EXPECT_EQ(ModbusLRC(1, ""), "FF");
    EXPECT_EQ(ModbusLRC(250, ""), "06");
}

TEST(Lrc, SumPastSixteenBitsIsARunTimeError) {
    const QString heavy = QString("FF").repeated(129);  // 129 * 255 = 32895
    EXPECT_THROW(ModbusLRC(1, heavy), std::exception);
    EXPECT_NO_THROW(ModbusLRC(1, QString("FF").repeated(128)));
}

TEST(Frames, AsciiAndTcpLayouts) {
    EXPECT_EQ(AsciiFrame(1, "01", "0300020078"), QByteArray(":01030002007882\r\n"));
    // transaction 0x1234, protocol 0, length 6, unit, body
    EXPECT_EQ(TcpFrame("01", "0300020078"), qeltest::FromHex("123400000006010300020078"));
    EXPECT_EQ(TcpFrame("05", "100070000306000100020003"), qeltest::FromHex("12340000000D05100070000306000100020003"));
}

TEST(Frames, AddressDigitsComeFromTheChamberAddress) {
    qeltest::AppDir dir;
    ChamberAddress[0] = "1";
    EXPECT_EQ(AddressDigits(1), "01");
    ChamberAddress[0] = "";
    EXPECT_EQ(AddressDigits(1), "00");
    ChamberAddress[0] = "abc";
    EXPECT_EQ(AddressDigits(1), "00");
    ChamberAddress[0] = "300";
    EXPECT_EQ(AddressDigits(1), "2C");
    ChamberAddress[0] = "17";
    EXPECT_EQ(AddressDigits(1), "11");
}
