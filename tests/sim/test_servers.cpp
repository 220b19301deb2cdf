// The transports in this process: Modbus/TCP on loopback sockets and RTU /
// ASCII on a real pseudo-terminal, whose slave the test opens and closes as
// the station does. Expected frames are written out from the Modbus layout.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTcpSocket>

#include "bus.h"
#include "frames.h"
#include "pty.h"
#include "serial_server.h"
#include "sim_test_util.h"
#include "tcp_server.h"

using namespace qelsim;
using simtest::Slave;
using simtest::Spin;
using simtest::SpinUntil;

namespace {

QByteArray H(const char* hex) { return QByteArray::fromHex(hex); }

// Two chambers, noise off, at a fixed time.
struct TwoChambers {
    QDateTime now{QDate(2024, 5, 1), QTime(12, 0)};
    Bus bus{[this] { return now; }};
    TwoChambers() {
        for (auto [address, model] : {std::pair{1, "QEL2000"}, std::pair{2, "QEL2100"}}) {
            ChamberConfig c;
            c.address = address;
            c.model = model;
            c.noise = false;
            bus.add(MakeChamber(c));
        }
    }
};

// A client socket that collects what arrives.
struct Client {
    QTcpSocket socket;
    QByteArray in;
    Client() {
        QObject::connect(&socket, &QTcpSocket::readyRead, [this] { in += socket.readAll(); });
    }
    bool connectTo(const TcpServer::Endpoint& e) {
        socket.connectToHost(e.host, e.port);
        return SpinUntil([&] { return socket.state() == QAbstractSocket::ConnectedState; }, 2000);
    }
    QByteArray exchange(const QByteArray& out, int expectBytes, int ms = 2000) {
        in.clear();
        socket.write(out);
        SpinUntil([&] { return in.size() >= expectBytes; }, ms);
        return in;
    }
};

}  // namespace

TEST(TcpServerTest, AnswersWithMbapAndEchoesTransaction) {
    TwoChambers t;
    TcpServer server(t.bus, QHostAddress("127.0.0.1"), 0, false);
    QString error;
    ASSERT_TRUE(server.start(&error)) << error.toStdString();
    const auto eps = server.endpoints();
    ASSERT_EQ(eps.size(), 2);
    EXPECT_EQ(eps[0].host, QHostAddress("127.0.0.1"));
    EXPECT_EQ(eps[1].host, QHostAddress("127.0.0.2")) << "chamber 2 on the next loopback address";

    Client c;
    ASSERT_TRUE(c.connectTo(eps[1]));
    // Read 0x000B..0x000C (set points 25.0 and 60.0) with the station's transaction number.
    EXPECT_EQ(c.exchange(H("1234000000060203000B0002"), 13), H("12340000000702030400FA0258"));
    // Unit 255 is accepted too; the reply echoes it.
    EXPECT_EQ(c.exchange(H("000700000006FF03000B0001"), 11), H("000700000005FF030200FA"));
    // A write is echoed, and the next read shows the key taken (program run on channel 2).
    EXPECT_EQ(c.exchange(H("000100000006020600660001"), 12), H("000100000006020600660001"));
    EXPECT_EQ(c.exchange(H("000200000006020300060001"), 11), H("0002000000050203020002"));
    // Two requests in one segment, then one request in two pieces.
    EXPECT_EQ(c.exchange(H("000300000006020300040001"
                           "000400000006020300060001"),
                         22),
              H("0003000000050203020000"
                "0004000000050203020002"));
    c.in.clear();
    c.socket.write(H("00050000000602"));
    Spin(30);
    EXPECT_TRUE(c.in.isEmpty()) << "half a request gets no answer";
    EXPECT_EQ(c.exchange(H("0300040001"), 11), H("0005000000050203020000"));
    // 130 registers: byte count 0x04, then all 260 bytes; MBAP length 263.
    const QByteArray big = c.exchange(H("000600000006020300000082"), 7 + 262);
    ASSERT_EQ(big.size(), 7 + 262);
    EXPECT_EQ(big.left(9), H("000600000107020304"));
}

TEST(TcpServerTest, IgnoresStrangersAndDropsBrokenStreams) {
    TwoChambers t;
    TcpServer server(t.bus, QHostAddress("127.0.0.1"), 0, false);
    QString error;
    ASSERT_TRUE(server.start(&error));
    Client c;
    ASSERT_TRUE(c.connectTo(server.endpoints()[0]));
    EXPECT_TRUE(c.exchange(H("000100000006050300040001"), 1, 150).isEmpty()) << "unit 5 is not chamber 1";
    EXPECT_TRUE(c.exchange(H("000100010006010300040001"), 1, 150).isEmpty()) << "protocol 1 is not Modbus";
    EXPECT_EQ(c.exchange(H("00020000000200"
                           "2B"),
                         9),
              H("00020000000300AB01"))
        << "unit 0 is heard; function 2B is not served";
    EXPECT_TRUE(c.exchange(H("0003000000050103000400"), 1, 150).isEmpty()) << "a read one byte short is ignored";
    EXPECT_EQ(c.exchange(H("000400000006010300040001"), 11), H("0004000000050103020000")) << "and the stream goes on";
    // A length field of 1 leaves no room for a function: the stream is dropped.
    c.socket.write(H("00050000000101"));
    EXPECT_TRUE(SpinUntil([&] { return c.socket.state() == QAbstractSocket::UnconnectedState; }, 2000));
}

TEST(TcpServerTest, SameIpUsesConsecutivePorts) {
    TwoChambers t;
    // Find two free consecutive ports by asking for one and trying the next.
    QTcpServer probe;
    ASSERT_TRUE(probe.listen(QHostAddress("127.0.0.1"), 0));
    const quint16 base = probe.serverPort();
    probe.close();
    TcpServer server(t.bus, QHostAddress("127.0.0.1"), base, true);
    QString error;
    if (!server.start(&error)) GTEST_SKIP() << "ports taken meanwhile: " << error.toStdString();
    const auto eps = server.endpoints();
    EXPECT_EQ(eps[0].host, QHostAddress("127.0.0.1"));
    EXPECT_EQ(eps[1].host, QHostAddress("127.0.0.1"));
    EXPECT_EQ(eps[0].port, base);
    EXPECT_EQ(eps[1].port, base + 1);
    Client c;
    ASSERT_TRUE(c.connectTo(eps[1]));
    EXPECT_EQ(c.exchange(H("000100000006020300060001"), 11), H("0001000000050203020000"));
}

TEST(TcpServerTest, StopClosesTheChamberAndStartOpensItAgain) {
    TwoChambers t;
    TcpServer server(t.bus, QHostAddress("127.0.0.1"), 0, false);
    QString error;
    ASSERT_TRUE(server.start(&error));
    const TcpServer::Endpoint e = server.endpoints()[0];
    Client c;
    ASSERT_TRUE(c.connectTo(e));
    t.bus.setOnline(1, false);
    EXPECT_TRUE(SpinUntil([&] { return c.socket.state() == QAbstractSocket::UnconnectedState; }, 2000))
        << "an open connection is dropped";
    Client refused;
    refused.socket.connectToHost(e.host, e.port);
    EXPECT_TRUE(SpinUntil([&] { return refused.socket.error() == QAbstractSocket::ConnectionRefusedError; }, 2000));

    t.bus.setOnline(1, true);
    EXPECT_EQ(server.endpoints()[0].port, e.port) << "back on the same port";
    Client again;
    ASSERT_TRUE(again.connectTo(e));
    EXPECT_EQ(again.exchange(H("000100000006010300040001"), 11), H("0001000000050103020000"));
}

TEST(TcpServerTest, DelayedReplyComesLate) {
    TwoChambers t;
    TcpServer server(t.bus, QHostAddress("127.0.0.1"), 0, false);
    QString error;
    ASSERT_TRUE(server.start(&error));
    t.bus.setFault(1, {FaultMode::Delay, 150});
    Client c;
    ASSERT_TRUE(c.connectTo(server.endpoints()[0]));
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(c.exchange(H("000100000006010300040001"), 11), H("0001000000050103020000"));
    EXPECT_GE(clock.elapsed(), 140);
}

class SerialTest : public ::testing::Test {
protected:
    TwoChambers t;
    PtyPort pty;
    std::unique_ptr<SerialServer> server;

    void Start(Framing framing) {
        QString error;
        ASSERT_TRUE(pty.open(&error)) << error.toStdString();
        server = std::make_unique<SerialServer>(t.bus, pty, framing);
    }
};

TEST_F(SerialTest, RtuAnswersEveryAddressOnTheLine) {
    Start(Framing::Rtu);
    Slave s(pty.slavePath());
    ASSERT_TRUE(s.open());
    // 01 03 0004 0001 -> 01 03 02 0000 + CRC (B8 44)
    s.write(H("010300040001C5CB"));
    EXPECT_EQ(s.read(7), H("0103020000B844"));
    // Chamber 2, set point 60.0: 02 03 02 0258 + CRC.
    s.write(H("0203000C0001"));  // the frame in two writes
    s.write(simtest::CrcBytes(Crc16(H("0203000C0001"))));
    const QByteArray reply = s.read(7);
    ASSERT_EQ(reply.size(), 7);
    EXPECT_EQ(reply.left(5), H("0203020258"));
    EXPECT_TRUE(RtuCrcOk(reply));
}

TEST_F(SerialTest, RtuStaysSilentOnBadCrcAndUnknownAddress) {
    Start(Framing::Rtu);
    Slave s(pty.slavePath());
    ASSERT_TRUE(s.open());
    s.write(H("010300040001C5CC"));  // CRC off by one
    EXPECT_TRUE(s.read(1, 150).isEmpty());
    s.write(RtuFrame(9, H("0300040001")));  // no chamber 9
    EXPECT_TRUE(s.read(1, 150).isEmpty());
    // Function 2B is not served: exception 01, once the pause ends the frame.
    s.write(RtuFrame(1, H("2B0E0100")));
    EXPECT_EQ(s.read(5), H("01AB019EF0"));
    // A write of several registers, then the line is clean for the next.
    s.write(RtuFrame(1, H("100070000306000100020003")));
    EXPECT_EQ(s.read(8), RtuFrame(1, H("1000700003")));
    s.write(RtuFrame(1, H("0300700003")));
    EXPECT_EQ(s.read(11), RtuFrame(1, H("0306000100020003")));
}

TEST_F(SerialTest, RtuReadOf130RegistersSendsAllBytes) {
    Start(Framing::Rtu);
    Slave s(pty.slavePath());
    ASSERT_TRUE(s.open());
    s.write(RtuFrame(1, H("0300C80082")));
    const QByteArray reply = s.read(3 + 260 + 2);
    ASSERT_EQ(reply.size(), 265);
    EXPECT_EQ(reply.left(3), H("010304"));
    EXPECT_TRUE(RtuCrcOk(reply));
}

TEST_F(SerialTest, PeerClosingAndReopeningOnEveryExchangeIsServed) {
    Start(Framing::Rtu);
    Slave s(pty.slavePath());
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(s.open());
        s.write(H("010300040001C5CB"));
        EXPECT_EQ(s.read(7), H("0103020000B844")) << "round " << round;
        s.close();
        Spin(40);  // the master reads EIO meanwhile
    }
    // Half a frame, then the peer goes away: the rest of a later frame must
    // not be taken together with it.
    ASSERT_TRUE(s.open());
    s.write(H("01030004"));
    Spin(10);
    s.close();
    Spin(40);
    ASSERT_TRUE(s.open());
    s.write(H("010300040001C5CB"));
    EXPECT_EQ(s.read(7), H("0103020000B844"));
    EXPECT_TRUE(s.read(1, 100).isEmpty()) << "nothing more";
}

TEST_F(SerialTest, RtuFaultsReachTheLine) {
    Start(Framing::Rtu);
    Slave s(pty.slavePath());
    ASSERT_TRUE(s.open());
    t.bus.setFault(1, {FaultMode::BadCrc, 0});
    s.write(RtuFrame(1, H("0300040001")));
    const QByteArray bad = s.read(7);
    ASSERT_EQ(bad.size(), 7);
    EXPECT_EQ(bad.left(5), H("0103020000"));
    EXPECT_FALSE(RtuCrcOk(bad));
    t.bus.setFault(1, {FaultMode::Short, 0});
    s.write(RtuFrame(1, H("0300040001")));
    EXPECT_EQ(s.read(7, 150), H("010302"));
    t.bus.setFault(1, {FaultMode::Exception, 0});
    s.write(RtuFrame(1, H("0300040001")));
    EXPECT_EQ(s.read(5), H("01830440F3"));
}

TEST_F(SerialTest, AsciiFramesWithLrc) {
    Start(Framing::Ascii);
    Slave s(pty.slavePath());
    ASSERT_TRUE(s.open());
    // 01+03+00+04+00+01 = 09 -> LRC F7; reply 01 03 02 00 00 -> LRC FA.
    s.write(":010300040001F7\r\n");
    EXPECT_EQ(s.read(0, 2000, true), QByteArray(":0103020000FA\r\n"));
    s.write("noise:010300040001F6\r\n");  // wrong LRC
    EXPECT_TRUE(s.read(1, 150).isEmpty());
    s.write("xx:0103000");  // an unfinished frame, then a new one
    s.write(":020300060001F4\r\n");
    EXPECT_EQ(s.read(0, 2000, true), QByteArray(":0203020000F9\r\n"));
    s.write(":0106006500");  // a frame in two pieces
    Spin(20);
    s.write("0191\r\n");  // 01+06+65+01 = 6D -> 93 would be right; 91 is not
    EXPECT_TRUE(s.read(1, 150).isEmpty());
    s.write(":01060065000193\r\n");
    EXPECT_EQ(s.read(0, 2000, true), QByteArray(":01060065000193\r\n"));
    s.write(":010300040001F7\r\n");
    EXPECT_EQ(s.read(0, 2000, true), QByteArray(":0103020002F8\r\n")) << "the run key took";
}

TEST_F(SerialTest, BaudPacingSpreadsAReplyOverItsLineTime) {
    Start(Framing::Rtu);
    pty.setBaud(19200);  // 265 bytes of 10 bits: about 138 ms on the line
    Slave s(pty.slavePath());
    ASSERT_TRUE(s.open());
    QElapsedTimer clock;
    clock.start();
    s.write(RtuFrame(1, H("0300C80082")));
    const QByteArray reply = s.read(265, 3000);
    EXPECT_EQ(reply.size(), 265);
    EXPECT_TRUE(RtuCrcOk(reply));
    EXPECT_GE(clock.elapsed(), 100);
}
