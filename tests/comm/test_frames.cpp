// CRC, LRC and frames against bytes worked out from the Modbus documents and
// an independent CRC routine, not from the station's own builders; and the
// serial port's settings text.
#include "app_dir.h"
#include "fake_serial.h"
#include "link.h"
#include "modbus.h"
#include "state.h"

#include <gtest/gtest.h>

using namespace qel;
using qeltest::FromHex;

// Guards a wrong polynomial, seed or byte order of the CRC.
TEST(Crc, MatchesTheModbusExamplesAndAnIndependentRoutine) {
    EXPECT_EQ(CrcText("010300000001"), "840A");
    EXPECT_EQ(CrcText("1103006B0003"), "7687");  // the serial line guide's example
    for (int a = 0; a < 256; a += 17) {
        for (const char* body : {"0300020078", "03039C0052", "100070000306000100020003"}) {
            const QString text = QString::asprintf("%02X%s", a, body);
            const uint16_t ref = qeltest::ReferenceCrc(FromHex(text));
            EXPECT_EQ(CrcText(text), QString::asprintf("%02X%02X", ref & 0xFF, ref >> 8)) << text.toStdString();
        }
    }
}

// Guards the LRC sum (address included, two's complement, two digits) and its 16-bit signed overflow.
TEST(Lrc, IsTheTwosComplementOfTheByteSum) {
    EXPECT_EQ(ModbusLRC(1, "0300020078"), "82");
    EXPECT_EQ(ModbusLRC(17, "03006B0003"), "7E");
    EXPECT_EQ(ModbusLRC(0, ""), "00");
    EXPECT_EQ(ModbusLRC(250, ""), "06");
    EXPECT_NO_THROW(ModbusLRC(1, QString("FF").repeated(128)));  // 32641
    EXPECT_THROW(ModbusLRC(1, QString("FF").repeated(129)), std::exception);  // 32896
}

// Guards the frames as they go on the wire, and the address digits taken from the chamber's address.
TEST(Frames, AsSent) {
    EXPECT_EQ(AsciiFrame(1, "01", "0300020078"), QByteArray(":01030002007882\r\n"));
    EXPECT_EQ(TcpFrame("05", "100070000306000100020003"), FromHex("12340000000D05100070000306000100020003"));
    qeltest::AppDir dir;
    for (const auto& [address, digits] : {std::pair{"17", "11"}, {"", "00"}, {"abc", "00"}, {"300", "2C"}}) {
        ChamberAddress[0] = address;
        EXPECT_EQ(AddressDigits(1), digits) << address;
    }
}

// Guards the settings text built from the settings, and a second open of an open port.
TEST(OpenLink, SerialOpensOnceWithTheSettingsText) {
    qeltest::AppDir dir;
    qeltest::FakeSerialPort* port = qeltest::InstallFakeSerialPort();
    std::tie(Protocol, BaudRate, Parity, DataLen, StopBit) = std::tuple("ASC", "19200", "Even", "7", "2");
    EXPECT_EQ(OpenLink(), -1);
    EXPECT_EQ(port->settings, "19200,e,7,2");
    EXPECT_EQ(OpenLink(), 0);
    EXPECT_EQ(port->opens, 1);
    RemoveLink();
}

