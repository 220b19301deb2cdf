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

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

// The far end of the line: a TCP listener on loopback or the master side of
// a pseudo-terminal whose slave qelpoll is given.
class Peer {
public:
    explicit Peer(const QString& protocol) : eth_(protocol == u"ETH") {
        if (eth_) {
            // A port above 32767, which does not fit a signed 16-bit number:
            // the good command line shows that it still reaches the socket.
            server_.listen(QHostAddress::LocalHost, 0);
            for (quint16 p = 40000; server_.serverPort() <= 32767 && p < 40100; ++p) {
                server_.close();
                server_.listen(QHostAddress::LocalHost, p);
            }
            return;
        }
        master_ = posix_openpt(O_RDWR | O_NOCTTY);
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) return;
        slavePath_ = QString::fromLocal8Bit(ptsname(master_));
        // Held open here too, so that what qelpoll writes stays readable after it has closed its end.
        slave_ = ::open(slavePath_.toLocal8Bit().constData(), O_RDWR | O_NOCTTY);
        fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
    }
    ~Peer() {
        if (slave_ >= 0) ::close(slave_);
        if (master_ >= 0) ::close(master_);
    }

    bool ready() const { return eth_ ? server_.isListening() : slave_ >= 0; }
    quint16 port() const { return server_.serverPort(); }

    // The options that put qelpoll on this peer.
    QStringList link() const {
        if (eth_) return {"--protocol", "ETH", "--ip", "127.0.0.1", "--remote-port", QString::number(port())};
        return {"--protocol", "RTU", "--device", slavePath_};
    }

    // Connections made and bytes received since the start; qelpoll has ended
    // by the time this is asked, so what it sent is already waiting here.
    struct Seen { int connections = 0; QByteArray bytes; };
    Seen seen() {
        Seen s;
        while (eth_ && server_.waitForNewConnection(50)) {
            while (QTcpSocket* c = server_.nextPendingConnection()) {
                ++s.connections;
                c->waitForReadyRead(50);
                s.bytes += c->readAll();
                delete c;
            }
        }
        pollfd p{master_, POLLIN, 0};
        char buf[512];
        for (ssize_t n; !eth_ && ::poll(&p, 1, 50) > 0 && (n = ::read(master_, buf, sizeof buf)) > 0;)
            s.bytes.append(buf, n);
        return s;
    }

private:
    bool eth_;
    QTcpServer server_;
    int master_ = -1;
    int slave_ = -1;
    QString slavePath_;
};

// One refusal family: its option, what the option takes, and one or two
// malformed values, those just outside its range and, where an empty value
// could pass for no option, the empty one; each appended (with `more`) to a
// good command line, where the last value of an option counts.
struct Family {
    const char* protocols;  // the lines it applies to: "ETH", "RTU" or both
    const char* option;
    const char* takes;
    QStringList values;
    QStringList more = {};
};
// A port that, cut to 16 bits, would be the listener's own: a wrong parse
// lands on the peer and the test sees it.
constexpr const char* kWrappedPort = "WRAPPED";
const Family kFamilies[] = {
    // With a key, a bad address that came through as 0 would send it to every controller; 256 is 0 in a byte.
    {"ETH RTU", "address", "a slave address 1 to 247", {"x1", "1x", "", "0", "248", "256"}, {"--key", "stop"}},
    {"ETH", "remote-port", "a TCP port 1 to 65535", {"502x", "0", kWrappedPort}},
    {"ETH RTU", "pcspeed", "a reply time of 10 to 30000 milliseconds", {"1.5", "0", "30001"}},
    {"ETH RTU", "baud", "a line speed (1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200)", {"fast", "9601"}},
    {"ETH RTU", "count", "a whole number of polls (0 polls until interrupted)", {"-1", "99999999999"}},
    {"ETH RTU", "channel", "1, 2 or 3", {"0", "4"}, {"--key", "run"}},
    {"ETH RTU", "dp", "0, 1 or 2 places per channel, comma separated", {"3", "1,", ""}, {"--model", "QEL2100"}},
    {"ETH RTU", "protocol", "RTU, ASC or ETH", {"XYZ"}},
    {"ETH RTU", "model", "QEL2000 or QEL2100", {"QEL9999"}},
    {"ETH RTU", "parity", "None, Even or Odd", {"even"}},  // in capitals only
    {"ETH RTU", "key", "run, stop, hold, step or user", {"jump", ""}},
};
// The refusals of their own wording: arguments and the line on stderr, without "qelpoll: ".
const struct { const char* protocols; QStringList args; const char* message; } kOthers[] = {
    {"ETH RTU", {"--dp", "1,1"}, "--dp gives 2 channels, but a QEL2000 has 1"},
    {"ETH RTU", {"--dp", "1,1,1", "--model", "QEL2100"}, "--dp gives 3 channels, but a QEL2100 has 2"},
    {"ETH", {"--ip", "  "}, "--ip is needed for ETH"},
    {"RTU", {"--device", ""}, "--device is needed for RTU and ASC"},
    {"ETH RTU", {"--adress", "5"}, "Unknown option 'adress'."},
    {"ETH RTU", {"stop"}, R"(unexpected argument "stop")"},
};

class QelPollRefuses : public ::testing::TestWithParam<const char*> {};

}  // namespace

// First the same peer sees a good command line: the refusals are not an
// artefact of a peer that cannot hear. On ETH the listener's port is above
// 32767 and still reached.
TEST_P(QelPollRefuses, EveryBadOptionWithStatusTwoAndNothingOnTheLine) {
    const QString protocol = GetParam();
    // A run otherwise good (one poll, short waits) with `args` appended.
    const auto run = [](Peer& peer, const QStringList& args) {
        QTemporaryDir logs;
        const QStringList good = {"--address", "1", "--model", "QEL2000", "--pcspeed", "50",
                                  "--count", "1", "--app-dir", logs.path()};
        const qeltest::RunResult r = qeltest::Run(QStringLiteral(QELPOLL_PATH), peer.link() + good + args);
        EXPECT_EQ(QDir(logs.path() + "/Error").exists(), r.exitCode != 2) << "a refusal comes before anything is made";
        return r;
    };
    {
        Peer peer(protocol);
        ASSERT_TRUE(peer.ready());
        EXPECT_EQ(run(peer, {}).exitCode, 1);  // nobody answers: the poll failed
        const Peer::Seen seen = peer.seen();
        EXPECT_FALSE(seen.bytes.isEmpty());
        if (protocol == u"ETH") {
            EXPECT_GT(peer.port(), 32767);
            EXPECT_EQ(seen.connections, 1);
        }
    }

    std::vector<std::pair<QStringList, QString>> rows;  // arguments, message
    for (const Family& f : kFamilies) {
        if (!QString(f.protocols).contains(protocol)) continue;
        for (const QString& v : f.values)
            rows.push_back({QStringList{QString("--") + f.option, v} + f.more,
                            QString(R"(--%1 takes %2, not "%3")").arg(f.option, f.takes, v)});
    }
    for (const auto& o : kOthers)
        if (QString(o.protocols).contains(protocol)) rows.push_back({o.args, o.message});

    for (auto [args, message] : rows) {
        Peer peer(protocol);
        ASSERT_TRUE(peer.ready());
        if (args.value(1) == kWrappedPort) {
            args[1] = QString::number(peer.port() + 65536);
            message.replace(kWrappedPort, args[1]);
        }
        SCOPED_TRACE(args.join(' ').toStdString());
        const qeltest::RunResult r = run(peer, args);
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_EQ(r.err, "qelpoll: " + message + u'\n');
        EXPECT_EQ(r.out, QString());
        const Peer::Seen seen = peer.seen();
        EXPECT_EQ(seen.connections, 0);
        EXPECT_EQ(seen.bytes, QByteArray());
    }
}

INSTANTIATE_TEST_SUITE_P(Lines, QelPollRefuses, ::testing::Values("ETH", "RTU"));
