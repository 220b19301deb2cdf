#include "app_dir.h"
#include "errorlog.h"
#include "fake_serial.h"
#include "link.h"
#include "state.h"

#include <gtest/gtest.h>

using namespace qel;

namespace {

// Records what the link asks of each socket.
class RecordingSocket : public TcpSocket {
public:
    int stateValue = sck::Closed;
    int connects = 0;
    int closes = 0;
    QString host;
    int port = 0;
    int state() const override { return stateValue; }
    void close() override { ++closes; stateValue = sck::Closed; }
    void setRemoteHost(const QString& h) override { host = h; }
    void setRemotePort(int p) override { port = p; }
    void connectToPeer() override { ++connects; stateValue = sck::Connecting; }
    void sendData(const QByteArray&) override {}
    QByteArray getData() override { return {}; }
};

}  // namespace

TEST(OpenLink, SerialOpensOnceWithTheSettingsText) {
    qeltest::AppDir dir;
    auto p = std::make_unique<qeltest::FakeSerialPort>();
    auto* port = p.get();
    MSComm1 = std::move(p);
    Protocol = "ASC";
    BaudRate = "19200";
    Parity = "Even";
    DataLen = "7";
    StopBit = "2";
    EXPECT_EQ(OpenLink(), -1);
    EXPECT_EQ(port->settings, "19200,e,7,2");
    EXPECT_EQ(OpenLink(), 0);  // already open: a silent no-op
    EXPECT_EQ(port->opens, 1);
    ClosePort(0);
    EXPECT_FALSE(port->portOpen());
    RemoveLink();
}

TEST(OpenLink, EthConnectsOnlyChambersInUse) {
    qeltest::AppDir dir;
    Protocol = "ETH";
    RemotePort = 1502;
    MaxChamberNo = 3;
    std::array<RecordingSocket*, 3> s{};
    for (int i = 0; i < 3; ++i) {
        auto sock = std::make_unique<RecordingSocket>();
        s[i] = sock.get();
        Winsock[i] = std::move(sock);
        ChamberIP[i] = QStringLiteral("127.0.0.%1").arg(11 + i);
    }
    ChamberUse[1] = "0";
    EXPECT_EQ(OpenLink(), 0);
    EXPECT_EQ(s[0]->connects, 1);
    EXPECT_EQ(s[0]->host, "127.0.0.11");
    EXPECT_EQ(s[0]->port, 1502);
    EXPECT_EQ(s[1]->connects, 0);
    EXPECT_EQ(s[1]->closes, 0);
    EXPECT_EQ(s[2]->connects, 1);
    RemoveLink();
}

TEST(OpenLink, SerialDeviceComesFromThePortsTableOrTheDefault) {
    SerialPortDevices = {{2, "/dev/ttyUSB0"}};
    EXPECT_EQ(SerialDeviceName(1), "/dev/ttyS0");
    EXPECT_EQ(SerialDeviceName(2), "/dev/ttyUSB0");
    SerialPortDevices.clear();
}

TEST(SocketEvents, RefusedConnectionClosesTheSocketAndShowsItsAddress) {
    qeltest::AppDir dir;
    auto sock = std::make_unique<RecordingSocket>();
    auto* s = sock.get();
    Winsock[4] = std::move(sock);
    ChamberIP[4] = "127.0.0.15";
    WinsockError(4, 10060, "timeout");
    EXPECT_EQ(s->closes, 0);
    EXPECT_EQ(StatusPanel1, "127.0.0.15");
    WinsockError(4, sck::ConnectionRefused, "refused");
    EXPECT_EQ(s->closes, 1);
    RemoveLink();
}
