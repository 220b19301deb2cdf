// The transports on loopback sockets and a real pseudo-terminal; frames
// written out from the Modbus layout, never built by qelsim's framing.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <QTcpSocket>
#include <QtCore/qtestsupport_core.h>

#include "commands.h"
#include "serial_server.h"
#include "sim_test_util.h"
#include "tcp_server.h"

using namespace qelsim;
using simtest::H;

namespace {

// Per framing (TCP transaction 0x1234): chamber 1's status read and reply, chamber 2's set point
// read and reply (60.0), chamber 1's faults with the reply to the read; TCP's drop, last, hangs up.
struct Exchange {
    QByteArray readStatus, goodReply, askTwo, twoReply;
    std::vector<std::pair<const char*, QByteArray>> faults;
};
const Exchange& Wire(Framing framing) {
    static const Exchange rtu{H("010300040001C5CB"), H("0103020000B844"), H("0203000C0001443A"), H("0203020258FCDE"),
                              {{"badcrc 1", H("010302000047BB")},  // both CRC bytes inverted
                               {"header 1", H("010302A131")},
                               {"huge 1", H("0103020000") + QByteArray(65529, '\0') + H("F87C")}}};  // 64 KiB
    static const Exchange ascii{":010300040001F7\r\n", ":0103020000FA\r\n", ":0203000C0001EE\r\n", ":02030202589F\r\n",
                                {{"badlrc 1", ":0103020000FB\r\n"},
                                 {"huge 1", ":0103020000" + QByteArray(65522, '0') + "FA\r\n"}}};  // 64 KiB + 1
    static const Exchange tcp{H("123400000006010300040001"), H("1234000000050103020000"),
                              H("1234000000060203000C0001"), H("1234000000050203020258"),
                              {{"badcrc 1", H("1234000000060103020000")},  // MBAP length one too many
                               {"wrongtid 1", H("1235000000050103020000")},
                               {"header 1", H("123400000003010302")},  // length: unit, function, count
                               {"huge 1", H("12340000FFFF0103020000") + QByteArray(65530, '\0')},  // length 0xFFFF
                               {"drop 1", H("1234000000")}}};
    return framing == Framing::Rtu ? rtu : framing == Framing::Ascii ? ascii : tcp;
}

}  // namespace

// The station's side: one connection per chamber on TCP, the pty's raw slave on RTU and ASCII.
class EveryFraming : public ::testing::TestWithParam<Framing> {
protected:
    void SetUp() override {
        QString error;
        if (framing != Framing::Tcp) {
            serial = std::make_unique<SerialServer>(*bus, pty, framing);
            ASSERT_TRUE(pty.open(&error) && reopen()) << error.toStdString();
            return;
        }
        tcp = std::make_unique<TcpServer>(*bus, QHostAddress("127.0.0.1"), 0, false);
        ASSERT_TRUE(tcp->start(&error)) << error.toStdString();
        for (const TcpServer::Endpoint& e : tcp->endpoints()) {
            QTcpSocket& s = sockets[e.address];
            s.connectToHost(e.host, e.port);
            ASSERT_TRUE(QTest::qWaitFor([&] { return s.state() == QAbstractSocket::ConnectedState; }, 2000));
        }
    }
    void TearDown() override { ::close(fd); }
    void command(const char* line) { ASSERT_EQ(RunCommand(*bus, line).reply, "ok") << line; }
    // Closes the slave and opens it again at once, as the station does between exchanges.
    bool reopen() {
        if (fd >= 0) ::close(fd);
        fd = ::open(pty.slavePath().toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        termios t{};
        if (fd < 0 || tcgetattr(fd, &t) != 0) return false;
        cfmakeraw(&t);
        return tcsetattr(fd, TCSANOW, &t) == 0;
    }
    void send(int chamber, const QByteArray& b) {
        EXPECT_EQ(fd >= 0 ? ::write(fd, b.constData(), size_t(b.size())) : sockets[chamber].write(b), b.size());
    }
    // What chamber sent (on a serial line: anyone), once n bytes are in or ms have passed.
    QByteArray read(int chamber, qsizetype n, int ms) {
        QByteArray got;
        char buf[4096];
        (void)QTest::qWaitFor([&] {
            if (fd < 0) got += sockets[chamber].readAll();
            for (ssize_t k; fd >= 0 && (k = ::read(fd, buf, sizeof buf)) > 0;) got.append(buf, k);
            return got.size() >= n;
        }, ms);
        return got;
    }

    const Framing framing = GetParam();
    const Exchange& wire = Wire(framing);
    std::unique_ptr<Bus> bus = simtest::TwoChambers();
    PtyPort pty;
    std::unique_ptr<SerialServer> serial;
    int fd = -1;
    std::unique_ptr<TcpServer> tcp;
    QTcpSocket sockets[3];  // by address
};
INSTANTIATE_TEST_SUITE_P(Framings, EveryFraming, ::testing::Values(Framing::Rtu, Framing::Ascii, Framing::Tcp),
                         ([](const auto& i) { return std::vector<std::string>{"Rtu", "Ascii", "Tcp"}[i.index]; }));

// Guards each fault's bytes, and that a fault is chamber 1's alone.
TEST_P(EveryFraming, FaultRepliesAreTheseBytes) {
    for (const auto& [fault, reply] : wire.faults) {
        SCOPED_TRACE(fault);
        command(fault);
        send(1, wire.readStatus);
        EXPECT_EQ(read(1, reply.size(), 5000), reply);
        EXPECT_TRUE(read(1, 1, 80).isEmpty()) << "nothing follows";
        send(2, wire.askTwo);
        EXPECT_EQ(read(2, wire.twoReply.size(), 2000), wire.twoReply);
    }
    EXPECT_TRUE(framing != Framing::Tcp ||
                QTest::qWaitFor([&] { return sockets[1].state() == QAbstractSocket::UnconnectedState; }, 2000))
        << "the connection goes after half a reply";
}

