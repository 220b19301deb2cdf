// The transports in this process: Modbus/TCP on loopback sockets, RTU and
// ASCII on a real pseudo-terminal whose slave the test opens and closes as
// the station does. Frames are written out byte by byte, CRC and LRC included.
#include <gtest/gtest.h>

#include <QTcpSocket>

#include "bus.h"
#include "pty.h"
#include "serial_server.h"
#include "sim_test_util.h"
#include "tcp_server.h"

using namespace qelsim;
using simtest::H;
using simtest::SpinUntil;

namespace {

// Chamber 1 a QEL2000, chamber 2 a QEL2100; noise off, time standing.
struct TwoChambers {
    Bus bus{[] { return QDateTime(QDate(2024, 5, 1), QTime(12, 0)); }};
    TwoChambers() {
        for (int a : {1, 2}) bus.add(MakeChamber({a, a == 1 ? "QEL2000" : "QEL2100", {}, false}));
    }
};

// One request and the start of its reply; no reply at all when reply is empty.
struct Exchange {
    const char* send;  // hex; on an ASCII line the text itself
    const char* reply;
};

}  // namespace

TEST(TcpServerTest, UnitIdRuleAndTransactionEcho) {
    TwoChambers t;
    TcpServer server(t.bus, QHostAddress("127.0.0.1"), 0, false);
    QString error;
    ASSERT_TRUE(server.start(&error)) << error.toStdString();
    const auto eps = server.endpoints();
    ASSERT_EQ(eps.size(), 2);
    EXPECT_EQ(eps[1].host, QHostAddress("127.0.0.2")) << "chamber 2 on the next loopback address";
    QTcpSocket socket;
    QByteArray in;
    QObject::connect(&socket, &QTcpSocket::readyRead, [&] { in += socket.readAll(); });
    socket.connectToHost(eps[1].host, eps[1].port);
    ASSERT_TRUE(SpinUntil([&] { return socket.state() == QAbstractSocket::ConnectedState; }, 2000));

    // Chamber 2 answers units 2, 0 and 255, echoing transaction and unit.
    const Exchange rows[] = {
        {"1234000000060203000B0002", "12340000000702030400FA0258"},  // set points 25.0 and 60.0
        {"ABCD00000006FF03000B0001", "ABCD00000005FF030200FA"},
        {"000200000002002B", "00020000000300AB01"},  // function 2B is not served
        {"000300000006010300040001", ""},            // unit 1 is another chamber
        {"000400010006020300040001", ""},            // protocol 1 is not Modbus
        {"0005000000050203000400", ""},              // a read one byte short
        {"00050000000602", ""},                      // half a request waits for the rest
        {"0300040001", "0005000000050203020000"},
        {"000600000006020600660001", "000600000006020600660001"},
        {"000700000006020300060001000800000006020300040001",  // two in one segment; the key took
         "00070000000502030200010008000000050203020000"},  // a program run
        {"000900000006020300000082", "00090000010702030400000000"},  // 130 registers: length 263
    };
    for (const auto& [send, reply] : rows) {
        in.clear();
        socket.write(H(send));
        SpinUntil([&] { return in.size() >= qMax<qsizetype>(1, qstrlen(reply) / 2); }, *reply ? 2000 : 150);
        EXPECT_EQ(*reply ? in.left(qstrlen(reply) / 2) : in, H(reply)) << send;
    }
    EXPECT_TRUE(SpinUntil([&] { return in.size() == 7 + 262; }, 2000)) << "all 260 data bytes follow";

    // A length field of 1 leaves no room for a function: the stream is dropped.
    socket.write(H("00050000000102"));
    EXPECT_TRUE(SpinUntil([&] { return socket.state() == QAbstractSocket::UnconnectedState; }, 2000));
}

class SerialLine : public ::testing::TestWithParam<Framing> {
protected:
    TwoChambers t;
    PtyPort pty;
    std::unique_ptr<SerialServer> server;
    std::unique_ptr<simtest::Slave> slave;

    void SetUp() override {
        QString error;
        ASSERT_TRUE(pty.open(&error)) << error.toStdString();
        server = std::make_unique<SerialServer>(t.bus, pty, GetParam());
        slave = std::make_unique<simtest::Slave>(pty.slavePath());
    }
};

TEST_P(SerialLine, AnswersWithTheSlaveReopenedForEachExchange) {
    const bool rtu = GetParam() == Framing::Rtu;
    const std::vector<Exchange> rows =
        rtu ? std::vector<Exchange>{
                  {"010300040001C5CB", "0103020000B844"},
                  {"0203000C0001443A", "0203020258FCDE"},  // chamber 2, set point 60.0
                  {"010300040001C5CC", ""},                // CRC off by one
                  {"090300040001C483", ""},                // no chamber 9
                  {"FF00FF1337010300040001C5CB", "0103020000B844"},  // noise before a good frame
                  {"012B0E01007077", "01AB019EF0"},  // ended by the pause: exception 01
                  {"0110007000030600010002000338AA", "01100070000381D3"},
                  {"0103007000030410", "010306000100020003FD74"},
              }
            : std::vector<Exchange>{
                  {":010300040001F7\r\n", ":0103020000FA\r\n"},
                  {":010300040001F6\r\n", ""},                               // wrong LRC
                  {"noise:0103000:020300060001F4\r\n", ":0203020000F9\r\n"},  // an unfinished frame, then a whole one
                  {":0106006500010\r\n", ""},                                // odd number of digits
                  {":01060065000193\r\n", ":01060065000193\r\n"},            // the run key
                  {":010300040001F7\r\n", ":0103020001F9\r\n"},              // took effect: a program run
              };
    for (const auto& [send, text] : rows) {
        const QByteArray reply = rtu ? H(text) : QByteArray(text);
        ASSERT_TRUE(slave->open());
        slave->write(rtu ? H(send) : QByteArray(send));
        EXPECT_EQ(slave->read(rtu ? qMax<int>(1, reply.size()) : 0, *text ? 2000 : 150), reply) << send;
        slave->close();
        SpinUntil([] { return false; }, 40);  // long enough for qelsim to see the line hang up
    }
}

INSTANTIATE_TEST_SUITE_P(Framings, SerialLine, ::testing::Values(Framing::Rtu, Framing::Ascii),
                         [](const ::testing::TestParamInfo<Framing>& info) { return simtest::FramingName(info.param); });
