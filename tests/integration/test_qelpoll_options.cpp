// qelpoll started as a user starts it, with a malformed or out-of-range
// option: it must say which option is wrong, end with status 2, and leave
// the line alone. A wrong address that slipped through would reach the line
// as 0, which every controller on it obeys. The peer is a listener on
// loopback (ETH) or a pseudo-terminal (RTU) held by the test, which notes
// whatever reaches it.
#include "app_dir.h"
#include "child_process.h"

#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

// The far end of the line: a TCP listener on loopback or the master side of
// a pseudo-terminal whose slave qelpoll is given.
class Peer {
public:
    explicit Peer(const QString& protocol) : protocol_(protocol) {
        if (protocol_ == u"ETH") {
            // A port above 32767, which does not fit a signed 16-bit number:
            // the good command line shows that it still reaches the socket.
            server_.listen(QHostAddress::LocalHost, 0);
            for (quint16 p = 40000; server_.serverPort() <= 32767 && p < 40100; ++p) {
                server_.close();
                server_.listen(QHostAddress::LocalHost, p);
            }
        } else {
            master_ = posix_openpt(O_RDWR | O_NOCTTY);
            if (master_ >= 0 && grantpt(master_) == 0 && unlockpt(master_) == 0) {
                slavePath_ = QString::fromLocal8Bit(ptsname(master_));
                // Held open here too, so that what qelpoll writes stays readable
                // after it has closed its end.
                slave_ = ::open(slavePath_.toLocal8Bit().constData(), O_RDWR | O_NOCTTY);
                termios t{};
                if (slave_ >= 0 && tcgetattr(slave_, &t) == 0) {
                    cfmakeraw(&t);
                    tcsetattr(slave_, TCSANOW, &t);
                }
                fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
            }
        }
    }
    ~Peer() {
        if (slave_ >= 0) ::close(slave_);
        if (master_ >= 0) ::close(master_);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    bool ready() const { return protocol_ == u"ETH" ? server_.isListening() : slave_ >= 0; }
    quint16 port() const { return server_.serverPort(); }

    // The options that put qelpoll on this peer.
    QStringList link() const {
        if (protocol_ == u"ETH")
            return {"--protocol", "ETH", "--ip", "127.0.0.1", "--remote-port", QString::number(port())};
        return {"--protocol", "RTU", "--device", slavePath_};
    }

    // Connections made and bytes received since the start; qelpoll has ended
    // by the time this is asked, so what it sent is already waiting here.
    struct Seen {
        int connections = 0;
        QByteArray bytes;
    };
    Seen seen() {
        Seen s;
        if (protocol_ == u"ETH") {
            while (server_.waitForNewConnection(50)) {
                while (QTcpSocket* c = server_.nextPendingConnection()) {
                    ++s.connections;
                    c->waitForReadyRead(50);
                    s.bytes += c->readAll();
                    delete c;
                }
            }
        } else {
            pollfd p{master_, POLLIN, 0};
            char buf[512];
            while (::poll(&p, 1, 50) > 0 && (p.revents & POLLIN)) {
                const ssize_t n = ::read(master_, buf, sizeof buf);
                if (n <= 0) break;
                s.bytes.append(buf, n);
            }
        }
        return s;
    }

private:
    QString protocol_;
    QTcpServer server_;
    int master_ = -1;
    int slave_ = -1;
    QString slavePath_;
};

// The options of a run that is otherwise good: one poll, short waits.
QStringList GoodOptions(const QString& logs) {
    return {"--address", "1", "--model", "QEL2000", "--pcspeed", "50", "--count", "1", "--app-dir", logs};
}

struct BadOption {
    const char* protocols;  // the lines the row applies to: "ETH", "RTU" or both
    QStringList args;       // appended to a good command line; the last value of an option counts
    const char* message;    // the line on stderr, without "qelpoll: "
};

// A port that, cut to 16 bits, would be the listener's own: a wrong parse
// lands on the peer and the test sees it.
constexpr const char* kWrappedPort = "WRAPPED";

const BadOption kBadOptions[] = {
    {"ETH RTU", {"--address", "x1", "--key", "stop"}, R"(--address takes a slave address 1 to 247, not "x1")"},
    {"ETH RTU", {"--address", "0", "--key", "stop"}, R"(--address takes a slave address 1 to 247, not "0")"},
    {"ETH RTU", {"--address", "256", "--key", "stop"}, R"(--address takes a slave address 1 to 247, not "256")"},
    {"ETH RTU", {"--address", "300"}, R"(--address takes a slave address 1 to 247, not "300")"},
    {"ETH RTU", {"--address", "abc"}, R"(--address takes a slave address 1 to 247, not "abc")"},
    {"ETH RTU", {"--address", "-1"}, R"(--address takes a slave address 1 to 247, not "-1")"},
    {"ETH RTU", {"--address", "1x"}, R"(--address takes a slave address 1 to 247, not "1x")"},
    {"ETH RTU", {"--address", " 1"}, R"(--address takes a slave address 1 to 247, not " 1")"},
    {"ETH RTU", {"--address", "&H1"}, R"(--address takes a slave address 1 to 247, not "&H1")"},
    {"ETH RTU", {"--address", ""}, R"(--address takes a slave address 1 to 247, not "")"},
    {"ETH", {"--remote-port", kWrappedPort}, nullptr},  // message built from the port
    {"ETH", {"--remote-port", "0"}, R"(--remote-port takes a TCP port 1 to 65535, not "0")"},
    {"ETH", {"--remote-port", "-502"}, R"(--remote-port takes a TCP port 1 to 65535, not "-502")"},
    {"ETH", {"--remote-port", "502x"}, R"(--remote-port takes a TCP port 1 to 65535, not "502x")"},
    {"ETH RTU", {"--pcspeed", "abc"}, R"(--pcspeed takes a reply time of 10 to 30000 milliseconds, not "abc")"},
    {"ETH RTU", {"--pcspeed", "0"}, R"(--pcspeed takes a reply time of 10 to 30000 milliseconds, not "0")"},
    {"ETH RTU", {"--pcspeed", "30001"}, R"(--pcspeed takes a reply time of 10 to 30000 milliseconds, not "30001")"},
    {"ETH RTU", {"--pcspeed", "1.5"}, R"(--pcspeed takes a reply time of 10 to 30000 milliseconds, not "1.5")"},
    {"ETH RTU", {"--baud", "fast"},
     R"(--baud takes a line speed (1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200), not "fast")"},
    {"ETH RTU", {"--baud", "0"},
     R"(--baud takes a line speed (1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200), not "0")"},
    {"ETH RTU", {"--baud", "9601"},
     R"(--baud takes a line speed (1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200), not "9601")"},
    {"ETH RTU", {"--count", "-1"}, R"(--count takes a whole number of polls (0 polls until interrupted), not "-1")"},
    {"ETH RTU", {"--count", "two"}, R"(--count takes a whole number of polls (0 polls until interrupted), not "two")"},
    {"ETH RTU", {"--count", "99999999999"},
     R"(--count takes a whole number of polls (0 polls until interrupted), not "99999999999")"},
    {"ETH RTU", {"--key", "run", "--channel", "0"}, R"(--channel takes 1, 2 or 3, not "0")"},
    {"ETH RTU", {"--key", "run", "--channel", "4"}, R"(--channel takes 1, 2 or 3, not "4")"},
    {"ETH RTU", {"--key", "run", "--channel", "1x"}, R"(--channel takes 1, 2 or 3, not "1x")"},
    {"ETH RTU", {"--dp", "3"}, R"(--dp takes 0, 1 or 2 places per channel, comma separated, not "3")"},
    {"ETH RTU", {"--dp", "-1"}, R"(--dp takes 0, 1 or 2 places per channel, comma separated, not "-1")"},
    {"ETH RTU", {"--dp", "x"}, R"(--dp takes 0, 1 or 2 places per channel, comma separated, not "x")"},
    {"ETH RTU", {"--dp", ""}, R"(--dp takes 0, 1 or 2 places per channel, comma separated, not "")"},
    {"ETH RTU", {"--model", "QEL2100", "--dp", "1,"}, R"(--dp takes 0, 1 or 2 places per channel, comma separated, not "1,")"},
    {"ETH RTU", {"--dp", "1,1"}, "--dp gives 2 channels, but a QEL2000 has 1"},
    {"ETH RTU", {"--model", "QEL2100", "--dp", "1,1,1"}, "--dp gives 3 channels, but a QEL2100 has 2"},
    {"ETH RTU", {"--protocol", "XYZ"}, R"(--protocol takes RTU, ASC or ETH, not "XYZ")"},
    {"ETH RTU", {"--model", "QEL9999"}, R"(--model takes QEL2000 or QEL2100, not "QEL9999")"},
    {"ETH RTU", {"--parity", "Mark"}, R"(--parity takes None, Even or Odd, not "Mark")"},
    {"ETH RTU", {"--parity", "even"}, R"(--parity takes None, Even or Odd, not "even")"},
    {"ETH RTU", {"--key", "jump"}, R"(--key takes run, stop, hold, step or user, not "jump")"},
    {"ETH RTU", {"--key", ""}, R"(--key takes run, stop, hold, step or user, not "")"},
    {"ETH", {"--ip", ""}, "--ip is needed for ETH"},
    {"ETH", {"--ip", "  "}, "--ip is needed for ETH"},
    {"RTU", {"--device", ""}, "--device is needed for RTU and ASC"},
    {"ETH RTU", {"--adress", "5"}, "Unknown option 'adress'."},
    {"ETH RTU", {"stop"}, R"(unexpected argument "stop")"},
};

class QelPollRefuses : public ::testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(QelPollRefuses, EveryBadOptionWithStatusTwoAndNothingOnTheLine) {
    const QString protocol = GetParam();
    for (const BadOption& row : kBadOptions) {
        if (!QString::fromLatin1(row.protocols).contains(protocol)) continue;
        Peer peer(protocol);
        ASSERT_TRUE(peer.ready());
        QTemporaryDir logs;
        QStringList args = row.args;
        QString message = QString::fromLatin1(row.message);
        if (args.contains(kWrappedPort)) {
            const QString wrapped = QString::number(peer.port() + 65536);
            args.replace(args.indexOf(kWrappedPort), wrapped);
            message = QStringLiteral(R"(--remote-port takes a TCP port 1 to 65535, not "%1")").arg(wrapped);
        }
        SCOPED_TRACE(args.join(' ').toStdString());

        const qeltest::RunResult r =
            qeltest::Run(QStringLiteral(QELPOLL_PATH), peer.link() + GoodOptions(logs.path()) + args);
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_EQ(r.err, QStringLiteral("qelpoll: ") + message + u'\n');
        EXPECT_EQ(r.out, QString());
        const Peer::Seen seen = peer.seen();
        EXPECT_EQ(seen.connections, 0);
        EXPECT_EQ(seen.bytes, QByteArray());
        EXPECT_FALSE(QDir(logs.path() + "/Error").exists());  // refused before anything was made
    }
}

// The same peer sees a good command line: the refusals above are not an
// artefact of a peer that cannot hear. On ETH the listener's port is above
// 32767 and still reached.
TEST_P(QelPollRefuses, NothingButAGoodCommandLineReachesThePeer) {
    const QString protocol = GetParam();
    Peer peer(protocol);
    ASSERT_TRUE(peer.ready());
    QTemporaryDir logs;
    const qeltest::RunResult r = qeltest::Run(QStringLiteral(QELPOLL_PATH), peer.link() + GoodOptions(logs.path()));
    EXPECT_EQ(r.exitCode, 1) << r.err.toStdString();  // nobody answers: the poll failed
    const Peer::Seen seen = peer.seen();
    if (protocol == u"ETH") {
        EXPECT_GT(peer.port(), 32767);
        EXPECT_EQ(seen.connections, 1);
    }
    EXPECT_FALSE(seen.bytes.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lines, QelPollRefuses, ::testing::Values("ETH", "RTU"));
