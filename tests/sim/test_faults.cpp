// Fault modes as a peer sees them: a real loopback socket per chamber for
// Modbus/TCP, the slave of a real pseudo-terminal for RTU and ASCII. The
// replies expected are written out from the Modbus layout (address or MBAP
// header, function, byte count, data, CRC low byte first or LRC), never
// built by qelsim's own framing.
#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QTcpSocket>
#include <algorithm>
#include <map>
#include <set>

#include "bus.h"
#include "commands.h"
#include "pty.h"
#include "serial_server.h"
#include "sim_test_util.h"
#include "tcp_server.h"

using namespace qelsim;
using simtest::FramingName;
using simtest::H;
using simtest::SpinUntil;

namespace {

const QDateTime Noon(QDate(2024, 5, 1), QTime(12, 0));

// Chambers 1 (QEL2000) and 2 (QEL2100), noise off, time standing, each
// status register 0: a read of register 0x0004 answers 03 02 00 00.
std::unique_ptr<Bus> TwoChambers(uint64_t seed = 1) {
    auto bus = std::make_unique<Bus>([] { return Noon; }, seed);
    for (int a : {1, 2}) bus->add(MakeChamber({a, a == 1 ? "QEL2000" : "QEL2100", {}, false}));
    return bus;
}

// As each framing carries them (TCP with transaction id 0x1234): the read of
// register 0x0004 of chamber 1 and its proper reply; chamber 2 asked for its
// channel 2 set point, 60.0, and its reply, which shows that a fault of
// chamber 1 is chamber 1's alone.
struct Exchange { QByteArray readStatus, goodReply, askTwo, twoReply; };
const Exchange& Wire(Framing framing) {
    static const Exchange rtu{H("010300040001C5CB"), H("0103020000B844"), H("0203000C0001443A"), H("0203020258FCDE")};
    static const Exchange ascii{":010300040001F7\r\n", ":0103020000FA\r\n", ":0203000C0001EE\r\n", ":02030202589F\r\n"};
    static const Exchange tcp{H("123400000006010300040001"), H("1234000000050103020000"),
                              H("1234000000060203000C0001"), H("1234000000050203020258")};
    return framing == Framing::Rtu ? rtu : framing == Framing::Ascii ? ascii : tcp;
}

// The station's side of the transport: one connection per chamber on TCP,
// the one line on RTU and ASCII.
struct Peer {
    ::testing::AssertionResult start() {
        QString error;
        if (framing != Framing::Tcp) {
            if (!pty.open(&error)) return ::testing::AssertionFailure() << error.toStdString();
            serial = std::make_unique<SerialServer>(*bus, pty, framing);
            slave = std::make_unique<simtest::Slave>(pty.slavePath());
            return slave->open() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << "slave";
        }
        tcp = std::make_unique<TcpServer>(*bus, QHostAddress("127.0.0.1"), 0, false);
        if (!tcp->start(&error)) return ::testing::AssertionFailure() << error.toStdString();
        for (const TcpServer::Endpoint& e : tcp->endpoints()) {
            auto& s = sockets[e.address] = std::make_unique<QTcpSocket>();
            s->connectToHost(e.host, e.port);
            if (!SpinUntil([&] { return s->state() == QAbstractSocket::ConnectedState; }, 2000))
                return ::testing::AssertionFailure() << "no connection to chamber " << e.address;
        }
        return ::testing::AssertionSuccess();
    }

    void send(int chamber, const QByteArray& bytes) {
        if (slave) return void(slave->write(bytes));
        sockets[chamber]->write(bytes);
        sockets[chamber]->flush();
    }

    // What chamber sent (on a serial line: anyone), once n bytes are in or ms have passed.
    QByteArray read(int chamber, qsizetype n, int ms) {
        if (slave) return slave->read(static_cast<int>(n), ms);
        QByteArray got;
        SpinUntil([&] { return (got += sockets[chamber]->readAll()).size() >= n; }, ms);
        return got;
    }

    // Reads until nothing has come for quietMs; false if the line never fell quiet within ms.
    bool drain(int chamber, int quietMs, int ms) {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < ms)
            if (read(chamber, 1, quietMs).isEmpty()) return true;
        return false;
    }

    explicit Peer(Framing f) : framing(f) {}

    Framing framing;
    std::unique_ptr<Bus> bus = TwoChambers();
    PtyPort pty;
    std::unique_ptr<SerialServer> serial;
    std::unique_ptr<simtest::Slave> slave;
    std::unique_ptr<TcpServer> tcp;
    std::map<int, std::unique_ptr<QTcpSocket>> sockets;
};

}  // namespace

class EveryFraming : public ::testing::TestWithParam<Framing> {
protected:
    void SetUp() override { ASSERT_TRUE(peer.start()); }
    void command(const char* line) { ASSERT_EQ(RunCommand(*peer.bus, line).reply, "ok") << line; }
    const Framing framing = GetParam();
    const Exchange& wire = Wire(framing);
    Peer peer{framing};
};
INSTANTIATE_TEST_SUITE_P(Framings, EveryFraming, ::testing::Values(Framing::Rtu, Framing::Ascii, Framing::Tcp),
                         [](const ::testing::TestParamInfo<Framing>& info) { return FramingName(info.param); });

// Each fault mode and the exact bytes chamber 1 then answers the status read
// with: hex, or the text of an ASCII frame. A mode that spoils a reply the
// same way on every framing has a row on one; a mode that differs by framing
// has a row on each. RTU: CRC-16 low byte first. ASCII: LRC = two's
// complement of the byte sum, e.g. 02+03+02+00+00 = 07 -> F9. TCP:
// transaction, protocol, length (unit + pdu), unit, pdu. Every request is
// counted, of any function, faulted or not.
TEST_P(EveryFraming, SpoiledRepliesAreTheseBytesAndEveryRequestIsCounted) {
    const std::multimap<Framing, std::pair<const char*, const char*>> rows = {
        {Framing::Rtu, {"silent 1", ""}},
        {Framing::Rtu, {"badcrc 1", "010302000047BB"}},  // both CRC bytes inverted
        {Framing::Rtu, {"exception 1", "01830440F3"}},
        {Framing::Rtu, {"wrongaddr 1", "0203020000FC44"}},
        {Framing::Rtu, {"wrongtid 1", "0203020000FC44"}},  // no transaction id on a serial line
        {Framing::Rtu, {"wrongfunc 1", "0104020000B930"}},
        {Framing::Rtu, {"header 1", "010302A131"}},
        {Framing::Ascii, {"badlrc 1", ":0103020000FB\r\n"}},
        {Framing::Ascii, {"wrongpid 1", ":0203020000F9\r\n"}},
        {Framing::Ascii, {"badcount 1", ":0103010000FB\r\n"}},  // one byte counted, two follow
        {Framing::Ascii, {"drop 1", ":010302"}},                   // serial: as short
        {Framing::Tcp, {"silent 1", ""}},
        {Framing::Tcp, {"badcrc 1", "1234000000060103020000"}},  // MBAP length one too many
        {Framing::Tcp, {"twice 1", "12340000000501030200001234000000050103020000"}},
        {Framing::Tcp, {"wrongtid 1", "1235000000050103020000"}},
        {Framing::Tcp, {"wrongpid 1", "1234000100050103020000"}},
        {Framing::Tcp, {"header 1", "123400000003010302"}},  // length: unit, function, count
        {Framing::Tcp, {"short 1", "1234000000"}},           // the connection stays
        {Framing::Tcp, {"drop 1", "1234000000"}},            // then it goes: the last row
    };
    EXPECT_EQ(RunCommand(*peer.bus, "count *").reply, "ok 0");
    // Another function (exception 01 back) and a write.
    const std::map<Framing, std::vector<QByteArray>> others = {
        {Framing::Rtu, {H("010400040001700B"), H("01060004000109CB")}},
        {Framing::Ascii, {":010400040001F6\r\n", ":010600040001F4\r\n"}},
        {Framing::Tcp, {H("123500000006010400040001"), H("123600000006010600040001")}}};
    for (const QByteArray& request : others.at(framing)) {
        peer.send(1, request);
        EXPECT_FALSE(peer.read(1, 1, 2000).isEmpty()) << "an answer";
        peer.drain(1, 60, 2000);
    }
    for (auto [it, end] = rows.equal_range(framing); it != end; ++it) {
        const auto [line, reply] = it->second;
        SCOPED_TRACE(line);
        command(line);
        const QByteArray want = framing == Framing::Ascii ? QByteArray(reply) : H(reply);
        peer.send(1, wire.readStatus);
        EXPECT_EQ(peer.read(1, std::max<qsizetype>(1, want.size()), want.isEmpty() ? 200 : 2000), want);
        EXPECT_TRUE(peer.read(1, 1, 80).isEmpty()) << "nothing follows";
        // The fault is the chamber's alone: chamber 2 answers properly meanwhile.
        peer.send(2, wire.askTwo);
        EXPECT_EQ(peer.read(2, wire.twoReply.size(), 2000), wire.twoReply);
    }
    if (framing == Framing::Tcp) {
        EXPECT_TRUE(SpinUntil([&] { return peer.sockets[1]->state() == QAbstractSocket::UnconnectedState; }, 2000))
            << "the connection goes after half a reply";
    }
    const auto n = rows.count(framing);
    const struct { const char* command; QString reply; } counts[] = {
        {"count 1", QString("ok %1").arg(n + 2)}, {"count 2", QString("ok %1").arg(n)},
        {"count *", QString("ok %1").arg(2 * n + 2)}, {"count 9", "error: no chamber at address 9"},
        {"count", "error: usage: count ADDR|*"}};
    for (const auto& [line, reply] : counts) EXPECT_EQ(RunCommand(*peer.bus, line).reply, reply) << line;
}

TEST_P(EveryFraming, HugeReplyIsTheReplyThenZerosUpTo64KiB) {
    command("huge 1");
    // head, filler of '0' characters (ASCII) or zero bytes, tail; size in all.
    struct Want { QByteArray head; char filler; QByteArray tail; qsizetype size; };
    const Want want = framing == Framing::Rtu ? Want{H("0103020000"), '\0', H("F87C"), 65536}  // CRC over 65534 bytes
                      : framing == Framing::Ascii
                          ? Want{":0103020000", '0', "FA\r\n", 65537}  // zeros leave the LRC as it was
                          : Want{H("1234" "0000" "FFFF" "0103020000"), '\0', {}, 6 + 0xFFFF};
    peer.send(1, wire.readStatus);
    const QByteArray got = peer.read(1, want.size, 5000);
    ASSERT_EQ(got.size(), want.size);
    EXPECT_TRUE(got.startsWith(want.head));
    EXPECT_TRUE(got.endsWith(want.tail));
    const QByteArray filler = got.mid(want.head.size(), got.size() - want.head.size() - want.tail.size());
    EXPECT_EQ(filler.count(want.filler), filler.size());

    command("normal 1");
    peer.send(1, wire.readStatus);
    EXPECT_EQ(peer.read(1, wire.goodReply.size(), 2000), wire.goodReply);
}

// On a serial line chamber 2's reply comes first, chamber 1's behind it.
TEST_P(EveryFraming, DelayedReplyComesLateWhileOtherChambersAnswer) {
    command("delay 1 600");
    QElapsedTimer clock;
    clock.start();
    peer.send(1, wire.readStatus);
    peer.send(2, wire.askTwo);
    EXPECT_EQ(peer.read(2, wire.twoReply.size(), 2000), wire.twoReply);
    EXPECT_TRUE(peer.read(1, 1, 0).isEmpty()) << "chamber 1's reply is still to come";
    const QByteArray late = peer.read(1, wire.goodReply.size(), 3000);
    EXPECT_GE(clock.elapsed(), 600);
    EXPECT_EQ(late, wire.goodReply);
}

// On a serial line the station closes its port after each exchange and
// opens it again at once for the next chamber: that exchange hears chamber 2
// and no junk, however soon the port reopens, and the next request to
// chamber 1 starts the stream again.
TEST_P(EveryFraming, BabbleStreamsUntilNormalOrThePeersCloseThenTheChamberAnswersAgain) {
    command("babble 1");
    EXPECT_TRUE(peer.read(1, 1, 100).isEmpty()) << "the stream starts with a request";
    const bool serial = framing != Framing::Tcp;
    const qsizetype lots = serial ? 8 * 1024 : 256 * 1024;  // far beyond any reply
    for (int round = 1; round <= (serial ? 3 : 1); ++round) {
        SCOPED_TRACE(round);
        peer.send(1, wire.readStatus);
        const QByteArray junk = peer.read(1, lots, 5000);
        EXPECT_GE(junk.size(), lots);
        if (framing == Framing::Ascii) {
            const QRegularExpression hexOnly("^[0-9A-F]+$");  // no end of frame
            EXPECT_TRUE(hexOnly.match(QString::fromLatin1(junk)).hasMatch());
        }
        // Commands are served during the stream, and on TCP the other chambers too.
        EXPECT_EQ(RunCommand(*peer.bus, "count 1").reply, QString("ok %1").arg(round));
        if (serial) {
            peer.slave->close();
            ASSERT_TRUE(peer.slave->open());
        }
        peer.send(2, wire.askTwo);
        EXPECT_EQ(peer.read(2, wire.twoReply.size(), 2000), wire.twoReply);
        if (serial) {
            EXPECT_TRUE(peer.read(1, 1, 80).isEmpty());
        }
    }
    if (serial) {
        peer.send(1, wire.readStatus);
        EXPECT_FALSE(peer.read(1, 1, 2000).isEmpty()) << "babbling again";
        // A line slower than the stream holds back only a little of it, not all that babbling would make.
        peer.pty.setBaud(1200);
        SpinUntil([] { return false; }, 200);
        EXPECT_LT(peer.pty.pending(), 1024);
        peer.pty.setBaud(0);
    }

    command("normal 1");
    EXPECT_TRUE(peer.drain(1, 100, 5000)) << "the stream ends";
    peer.send(1, wire.readStatus);
    EXPECT_EQ(peer.read(1, wire.goodReply.size(), 2000), wire.goodReply);
    EXPECT_TRUE(peer.read(1, 1, 80).isEmpty());
}

TEST(BusFaults, MixedDrawsEveryModeButBabbleAndRepeatsWithItsSeed) {
    auto draw = [](uint64_t seed, const char* command) {
        auto bus = TwoChambers(seed);
        EXPECT_EQ(RunCommand(*bus, command).reply, "ok");
        std::vector<Bus::Reply> replies;
        for (int i = 0; i < 400; ++i) replies.push_back(bus->request(1, H("0300040001"), Framing::Rtu, {1, 0}));
        return replies;
    };
    const auto a = draw(7, "mixed 1"), b = draw(7, "mixed 1"), c = draw(8, "mixed 1");
    std::set<FaultMode> seen;
    int differ = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        seen.insert(a[i].mode);
        EXPECT_TRUE(a[i].mode == b[i].mode && a[i].bytes == b[i].bytes) << "same seed, same run; request " << i;
        differ += a[i].mode != c[i].mode;
        EXPECT_EQ(a[i].delayMs, a[i].mode == FaultMode::Delay ? 500 : 0) << "the default";
        EXPECT_EQ(a[i].bytes == H("0103020000B844"), a[i].mode == FaultMode::Normal || a[i].mode == FaultMode::Delay);
        if (a[i].mode == FaultMode::Garbage) {
            EXPECT_EQ(a[i].bytes.size(), 7) << "noise of the reply's length";
        }
    }
    EXPECT_GT(differ, 100) << "another seed, another run";
    std::set<FaultMode> all;  // every mode from Normal to Drop, Babble left out
    for (int m = int(FaultMode::Normal); m <= int(FaultMode::Drop); ++m) all.insert(FaultMode(m));
    all.erase(FaultMode::Babble);
    EXPECT_EQ(seen, all);
}

TEST(BusFaults, RateFaultsThatShareOfRequestsAndAddressesWrap) {
    const struct { const char* command; int low, high; } rows[] = {
        {"wrongaddr 1 @0", 0, 0}, {"wrongaddr 1 @25", 200, 300}, {"wrongaddr 1 @100", 1000, 1000},
        {"mixed 1 @50", 400, 540},  // mixed draws normal too, 1 in 16
    };
    for (const auto& row : rows) {
        auto bus = TwoChambers(3);
        ASSERT_EQ(RunCommand(*bus, row.command).reply, "ok");
        int faulted = 0;
        for (int i = 0; i < 1000; ++i) {
            const Bus::Reply r = bus->request(1, H("0300040001"), Framing::Rtu, {1, 0});
            faulted += r.mode != FaultMode::Normal;
            if (r.mode == FaultMode::Normal) {
                EXPECT_EQ(r.bytes, H("0103020000B844")) << row.command;
            }
        }
        EXPECT_GE(faulted, row.low) << row.command;
        EXPECT_LE(faulted, row.high) << row.command;
    }

    // The next address after 247 is 1, never the broadcast address 0.
    Bus bus([] { return Noon; });
    bus.add(MakeChamber({247, "QEL2000", {}, false}));
    bus.setFault(247, {FaultMode::WrongAddr});
    EXPECT_EQ(bus.request(247, H("0300040001"), Framing::Rtu, {247, 0}).bytes, H("0103020000B844"));
    EXPECT_EQ(bus.request(247, H("0300040001"), Framing::Tcp, {255, 7}).bytes, H("0007000000050903020000"))
        << "unit 255 becomes 9";
}

TEST(BusFaults, CommandsAndTheirMistakes) {
    // Each line, the start of its answer, and chamber 1's fault after it: mode, delay, rate.
    const struct { const char* line; const char* reply; const char* fault; } rows[] = {
        {"delay 1 300", "ok", "delay 300 100"},
        {"mixed 1", "ok", "mixed 500 100"},
        {"MIXED 1 200 @30", "ok", "mixed 200 30"},
        {"badlrc 1 @5", "ok", "badcrc 0 5"},
        {"babble * @0", "ok", "babble 0 0"},
        {"delay 1", "error: delay wants MS", "babble 0 0"},  // a refused line changes nothing
        {"delay 1 @20", "error: delay wants MS", "babble 0 0"},  // the rate is no MS
        {"twice 1 5", "error: twice takes no argument", "babble 0 0"},
        {"huge 1 @101", "error: a rate is @P", "babble 0 0"},
        {"mixed 1 -4", "error: mixed takes at most MS", "babble 0 0"},
        {"wrongtid 9", "error: no chamber at address 9", "babble 0 0"},
        {"wrongfunc", "error: usage: wrongfunc ADDR|*", "babble 0 0"},
        {"header 1 @50", "ok", "header 0 50"},
        {"normal 1", "ok", "normal 0 100"},
    };
    auto bus = TwoChambers();
    for (const auto& row : rows) {
        EXPECT_TRUE(RunCommand(*bus, row.line).reply.startsWith(row.reply)) << row.line;
        const Fault f = bus->fault(1);
        EXPECT_EQ(QString("%1 %2 %3").arg(FaultName(f.mode)).arg(f.delayMs).arg(f.percent), row.fault) << row.line;
    }
    for (const char* name : {"twice", "wrongaddr", "wrongtid", "wrongpid", "wrongfunc", "badcount", "header", "huge",
                             "babble", "drop", "mixed", "badlrc", "count"})
        EXPECT_TRUE(CommandHelp().contains(QRegularExpression(QString("\\b%1\\b").arg(name)))) << name << " in help";
}
