// Bringing up the link: the serial port's settings text, the sockets of the chambers in use.
#include "app_dir.h"
#include "fake_serial.h"
#include "link.h"
#include "state.h"

#include <gtest/gtest.h>

using namespace qel;

namespace {

// Records what the link asks of a socket.
class RecordingSocket : public TcpSocket {
public:
    int stateValue = sck::Closed, connects = 0, closes = 0;
    int state() const override { return stateValue; }
    void close() override { ++closes, stateValue = sck::Closed; }
    void setRemoteHost(const QString&) override {}
    void setRemotePort(int) override {}
    void connectToPeer() override { ++connects, stateValue = sck::Connecting; }
    void sendData(const QByteArray&) override {}
    QByteArray getData() override { return {}; }
};

RecordingSocket* InstallSocket(int index) {
    auto* s = new RecordingSocket;
    Winsock[index].reset(s);
    return s;
}

}  // namespace

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

// Guards connecting a chamber that is switched off, or only the chambers before it.
TEST(OpenLink, EthConnectsOnlyChambersInUse) {
    qeltest::AppDir dir;
    Protocol = "ETH";
    MaxChamberNo = 2;
    RecordingSocket* off = InstallSocket(0);
    RecordingSocket* on = InstallSocket(1);
    ChamberUse[0] = "0";
    EXPECT_EQ(OpenLink(), 0);
    EXPECT_EQ(off->connects + off->closes, 0);
    EXPECT_EQ(on->connects, 1);
    RemoveLink();
}

