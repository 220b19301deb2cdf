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

// That read of register 0x0004, one register, as each framing sends it to
// chamber 1; TCP with transaction id 0x1234.
QByteArray ReadStatus(Framing framing) {
    if (framing == Framing::Rtu) return H("010300040001C5CB");
    if (framing == Framing::Ascii) return ":010300040001F7\r\n";
    return H("123400000006010300040001");
}

// The proper reply to it from chamber 1.
QByteArray GoodReply(Framing framing) {
    if (framing == Framing::Rtu) return H("0103020000B844");
    if (framing == Framing::Ascii) return ":0103020000FA\r\n";
    return H("1234000000050103020000");
}

// Chamber 2 asked for its channel 2 set point, 60.0, and its reply: what
// shows that a fault of chamber 1 is chamber 1's alone.
QByteArray AskChamberTwo(Framing framing) {
    if (framing == Framing::Rtu) return H("0203000C0001443A");
    if (framing == Framing::Ascii) return ":0203000C0001EE\r\n";
    return H("123400000006020300" "0C0001");
}
QByteArray ChamberTwoReply(Framing framing) {
    if (framing == Framing::Rtu) return H("0203020258FCDE");
    if (framing == Framing::Ascii) return ":02030202589F\r\n";
    return H("1234000000050203020258");
}

// The station's side of the transport: one connection per chamber on TCP,
// the one line on RTU and ASCII.
class Peer {
public:
    explicit Peer(Framing framing, uint64_t seed = 1) : bus(TwoChambers(seed)), framing_(framing) {}

    ::testing::AssertionResult start() {
        QString error;
        if (framing_ == Framing::Tcp) {
            tcp_ = std::make_unique<TcpServer>(*bus, QHostAddress("127.0.0.1"), 0, false);
            if (!tcp_->start(&error)) return ::testing::AssertionFailure() << error.toStdString();
            for (const TcpServer::Endpoint& e : tcp_->endpoints()) {
                auto& s = sockets_[e.address];
                s = std::make_unique<QTcpSocket>();
                s->connectToHost(e.host, e.port);
                if (!SpinUntil([&] { return s->state() == QAbstractSocket::ConnectedState; }, 2000))
                    return ::testing::AssertionFailure() << "no connection to chamber " << e.address;
            }
            return ::testing::AssertionSuccess();
        }
        if (!pty.open(&error)) return ::testing::AssertionFailure() << error.toStdString();
        serial_ = std::make_unique<SerialServer>(*bus, pty, framing_);
        slave_ = std::make_unique<simtest::Slave>(pty.slavePath());
        return slave_->open() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << "slave";
    }

    void send(int chamber, const QByteArray& bytes) {
        if (slave_) {
            slave_->write(bytes);
        } else {
            sockets_[chamber]->write(bytes);
            sockets_[chamber]->flush();
        }
    }

    // What chamber sent (on a serial line: anyone), once n bytes are in or ms have passed.
    QByteArray read(int chamber, qsizetype n, int ms) {
        if (slave_) return slave_->read(static_cast<int>(n), ms);
        QTcpSocket& s = *sockets_[chamber];
        QByteArray got;
        SpinUntil([&] {
            got += s.readAll();
            return got.size() >= n;
        }, ms);
        return got;
    }

    // Reads until nothing has come for quietMs; false if the line never fell quiet within ms.
    bool drain(int chamber, int quietMs, int ms) {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < ms) {
            if (read(chamber, 1, quietMs).isEmpty()) return true;
        }
        return false;
    }

    bool closedByChamber(int chamber) {
        return SpinUntil([&] { return sockets_[chamber]->state() == QAbstractSocket::UnconnectedState; }, 2000);
    }

    std::unique_ptr<Bus> bus;
    PtyPort pty;

private:
    Framing framing_;
    std::unique_ptr<TcpServer> tcp_;
    std::map<int, std::unique_ptr<QTcpSocket>> sockets_;
    std::unique_ptr<SerialServer> serial_;
    std::unique_ptr<simtest::Slave> slave_;
};

// One fault mode and the exact bytes chamber 1 then answers ReadStatus with:
// hex, or the text of an ASCII frame.
struct SpoilRow {
    Framing framing;
    const char* command;  // as typed on qelsim's stdin
    const char* reply;
};
void PrintTo(const SpoilRow& row, std::ostream* os) { *os << FramingName(row.framing) << " " << row.command; }

}  // namespace

class SpoiledReply : public ::testing::TestWithParam<SpoilRow> {};

TEST_P(SpoiledReply, BytesOnTheLineAreExactlyThese) {
    const SpoilRow row = GetParam();
    Peer peer(row.framing);
    ASSERT_TRUE(peer.start());
    ASSERT_EQ(RunCommand(*peer.bus, row.command).reply, "ok");
    const QByteArray want = row.framing == Framing::Ascii ? QByteArray(row.reply) : H(row.reply);

    peer.send(1, ReadStatus(row.framing));
    const QByteArray got = peer.read(1, qMax<qsizetype>(1, want.size()), want.isEmpty() ? 200 : 2000);
    EXPECT_EQ(got, want);
    EXPECT_TRUE(peer.read(1, 1, 80).isEmpty()) << "nothing follows";

    if (QByteArray(row.command).startsWith("drop") && row.framing == Framing::Tcp) {
        EXPECT_TRUE(peer.closedByChamber(1)) << "the connection goes after half a reply";
    }
    // The fault is the chamber's alone: chamber 2 answers properly meanwhile.
    peer.send(2, AskChamberTwo(row.framing));
    EXPECT_EQ(peer.read(2, ChamberTwoReply(row.framing).size(), 2000), ChamberTwoReply(row.framing));
}

// RTU: CRC-16 low byte first. ASCII: LRC = two's complement of the byte sum,
// e.g. 02+03+02+00+00 = 07 -> F9. TCP: transaction, protocol, length (unit +
// pdu), unit, pdu.
INSTANTIATE_TEST_SUITE_P(
    Modes, SpoiledReply,
    ::testing::Values(
        SpoilRow{Framing::Rtu, "normal 1", "0103020000B844"},
        SpoilRow{Framing::Rtu, "silent 1", ""},
        SpoilRow{Framing::Rtu, "badcrc 1", "010302000047BB"},  // both CRC bytes inverted
        SpoilRow{Framing::Rtu, "exception 1", "01830440F3"},
        SpoilRow{Framing::Rtu, "twice 1", "0103020000B8440103020000B844"},
        SpoilRow{Framing::Rtu, "wrongaddr 1", "0203020000FC44"},
        SpoilRow{Framing::Rtu, "wrongtid 1", "0203020000FC44"},  // no transaction id on a serial line
        SpoilRow{Framing::Rtu, "wrongpid 1", "0203020000FC44"},
        SpoilRow{Framing::Rtu, "wrongfunc 1", "0104020000B930"},
        SpoilRow{Framing::Rtu, "badcount 1", "01030100004844"},  // one byte counted, two follow
        SpoilRow{Framing::Rtu, "header 1", "010302A131"},
        SpoilRow{Framing::Rtu, "short 1", "010302"},
        SpoilRow{Framing::Rtu, "drop 1", "010302"},
        SpoilRow{Framing::Ascii, "normal *", ":0103020000FA\r\n"},
        SpoilRow{Framing::Ascii, "badlrc 1", ":0103020000FB\r\n"},
        SpoilRow{Framing::Ascii, "badcrc 1", ":0103020000FB\r\n"},
        SpoilRow{Framing::Ascii, "exception 1", ":01830478\r\n"},
        SpoilRow{Framing::Ascii, "twice 1", ":0103020000FA\r\n:0103020000FA\r\n"},
        SpoilRow{Framing::Ascii, "wrongaddr 1", ":0203020000F9\r\n"},
        SpoilRow{Framing::Ascii, "wrongpid 1", ":0203020000F9\r\n"},
        SpoilRow{Framing::Ascii, "wrongfunc 1", ":0104020000F9\r\n"},
        SpoilRow{Framing::Ascii, "badcount 1", ":0103010000FB\r\n"},
        SpoilRow{Framing::Ascii, "header 1", ":010302FA\r\n"},
        SpoilRow{Framing::Ascii, "drop 1", ":010302"},
        SpoilRow{Framing::Tcp, "normal 1", "1234000000050103020000"},
        SpoilRow{Framing::Tcp, "silent 1", ""},
        SpoilRow{Framing::Tcp, "badcrc 1", "1234000000060103020000"},  // MBAP length one too many
        SpoilRow{Framing::Tcp, "exception 1", "123400000003018304"},
        SpoilRow{Framing::Tcp, "twice 1", "12340000000501030200001234000000050103020000"},
        SpoilRow{Framing::Tcp, "wrongaddr 1", "1234000000050203020000"},  // unit 2
        SpoilRow{Framing::Tcp, "wrongtid 1", "1235000000050103020000"},
        SpoilRow{Framing::Tcp, "wrongpid 1", "1234000100050103020000"},
        SpoilRow{Framing::Tcp, "wrongfunc 1", "1234000000050104020000"},
        SpoilRow{Framing::Tcp, "badcount 1", "1234000000050103010000"},
        SpoilRow{Framing::Tcp, "header 1", "123400000003010302"},  // length: unit, function, count
        SpoilRow{Framing::Tcp, "short 1", "1234000000"},
        SpoilRow{Framing::Tcp, "drop 1", "1234000000"}),
    [](const ::testing::TestParamInfo<SpoilRow>& info) {
        return std::string(FramingName(info.param.framing)) + "_" +
               QString(info.param.command).section(' ', 0, 0).toStdString() + "_" + std::to_string(info.index);
    });

class EveryFraming : public ::testing::TestWithParam<Framing> {};
INSTANTIATE_TEST_SUITE_P(Framings, EveryFraming, ::testing::Values(Framing::Rtu, Framing::Ascii, Framing::Tcp),
                         [](const ::testing::TestParamInfo<Framing>& info) { return FramingName(info.param); });

TEST_P(EveryFraming, HugeReplyIsTheReplyThenZerosUpTo64KiB) {
    const Framing framing = GetParam();
    Peer peer(framing);
    ASSERT_TRUE(peer.start());
    ASSERT_EQ(RunCommand(*peer.bus, "huge 1").reply, "ok");
    // head, filler of '0' characters (ASCII) or zero bytes, tail; size in all.
    struct Want { QByteArray head; char filler; QByteArray tail; qsizetype size; };
    const Want want = framing == Framing::Rtu ? Want{H("0103020000"), '\0', H("F87C"), 65536}  // CRC over 65534 bytes
                      : framing == Framing::Ascii
                          ? Want{":0103020000", '0', "FA\r\n", 65537}  // zeros leave the LRC as it was
                          : Want{H("1234" "0000" "FFFF" "0103020000"), '\0', {}, 6 + 0xFFFF};
    peer.send(1, ReadStatus(framing));
    const QByteArray got = peer.read(1, want.size, 5000);
    ASSERT_EQ(got.size(), want.size);
    EXPECT_EQ(got.left(want.head.size()), want.head);
    EXPECT_EQ(got.right(want.tail.size()), want.tail);
    const QByteArray filler = got.mid(want.head.size(), got.size() - want.head.size() - want.tail.size());
    EXPECT_EQ(filler.count(want.filler), filler.size());

    ASSERT_EQ(RunCommand(*peer.bus, "normal 1").reply, "ok");
    peer.send(1, ReadStatus(framing));
    EXPECT_EQ(peer.read(1, GoodReply(framing).size(), 2000), GoodReply(framing));
}

TEST_P(EveryFraming, DelayedReplyComesLateWhileOtherChambersAnswer) {
    const Framing framing = GetParam();
    Peer peer(framing);
    ASSERT_TRUE(peer.start());
    ASSERT_EQ(RunCommand(*peer.bus, "delay 1 600").reply, "ok");
    QElapsedTimer clock;
    clock.start();
    peer.send(1, ReadStatus(framing));
    peer.send(2, AskChamberTwo(framing));
    const QByteArray fromTwo = ChamberTwoReply(framing);
    if (framing == Framing::Tcp) {
        EXPECT_EQ(peer.read(2, fromTwo.size(), 2000), fromTwo);
        EXPECT_TRUE(peer.read(1, 1, 0).isEmpty()) << "chamber 1's reply is still to come";
        const QByteArray late = peer.read(1, GoodReply(framing).size(), 3000);
        EXPECT_GE(clock.elapsed(), 600);
        EXPECT_EQ(late, GoodReply(framing));
    } else {
        // One line: chamber 2's reply comes first, chamber 1's behind it.
        const QByteArray both = peer.read(1, fromTwo.size() + GoodReply(framing).size(), 3000);
        EXPECT_GE(clock.elapsed(), 600);
        EXPECT_EQ(both, fromTwo + GoodReply(framing));
    }
}

TEST_P(EveryFraming, BabbleStreamsUntilNormalThenTheChamberAnswersAgain) {
    const Framing framing = GetParam();
    Peer peer(framing);
    ASSERT_TRUE(peer.start());
    ASSERT_EQ(RunCommand(*peer.bus, "babble 1").reply, "ok");
    EXPECT_TRUE(peer.read(1, 1, 100).isEmpty()) << "the stream starts with a request";

    peer.send(1, ReadStatus(framing));
    const qsizetype lots = framing == Framing::Tcp ? 256 * 1024 : 8 * 1024;  // far beyond any reply
    const QByteArray junk = peer.read(1, lots, 5000);
    EXPECT_GE(junk.size(), lots);
    if (framing == Framing::Ascii) {
        EXPECT_FALSE(junk.contains('\r') || junk.contains('\n')) << "a frame that never ends";
        EXPECT_EQ(std::count_if(junk.begin(), junk.end(), [](char c) { return QByteArray("0123456789ABCDEF").contains(c); }),
                  junk.size())
            << "hex digits only";
    }
    if (framing != Framing::Tcp) {
        // A line slower than the stream holds back only a little of it, not all that babbling would make.
        peer.pty.setBaud(1200);
        SpinUntil([] { return false; }, 200);
        EXPECT_LT(peer.pty.pending(), 1024);
        peer.pty.setBaud(0);
    }
    // Commands are served during the stream, and on TCP the other chambers too.
    EXPECT_EQ(RunCommand(*peer.bus, "count 1").reply, "ok 1");
    if (framing == Framing::Tcp) {
        peer.send(2, AskChamberTwo(framing));
        EXPECT_EQ(peer.read(2, ChamberTwoReply(framing).size(), 2000), ChamberTwoReply(framing));
    }

    ASSERT_EQ(RunCommand(*peer.bus, "normal 1").reply, "ok");
    EXPECT_TRUE(peer.drain(1, 100, 5000)) << "the stream ends";
    peer.send(1, ReadStatus(framing));
    EXPECT_EQ(peer.read(1, GoodReply(framing).size(), 2000), GoodReply(framing));
    EXPECT_TRUE(peer.read(1, 1, 80).isEmpty());
}

class SerialFraming : public ::testing::TestWithParam<Framing> {};
INSTANTIATE_TEST_SUITE_P(Framings, SerialFraming, ::testing::Values(Framing::Rtu, Framing::Ascii),
                         [](const ::testing::TestParamInfo<Framing>& info) { return FramingName(info.param); });

// The station closes its port after each exchange and opens it again at
// once for the next chamber: that exchange hears chamber 2 and no junk.
TEST_P(SerialFraming, BabbleEndsWithThePeersCloseHoweverSoonItReopens) {
    const Framing framing = GetParam();
    auto bus = TwoChambers();
    PtyPort pty;
    QString error;
    ASSERT_TRUE(pty.open(&error)) << error.toStdString();
    SerialServer server(*bus, pty, framing);
    ASSERT_EQ(RunCommand(*bus, "babble 1").reply, "ok");
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        simtest::Slave station(pty.slavePath());
        ASSERT_TRUE(station.open());
        station.write(ReadStatus(framing));
        EXPECT_GE(station.read(2048, 3000).size(), 2048);
        station.close();
        ASSERT_TRUE(station.open());
        station.write(AskChamberTwo(framing));
        EXPECT_EQ(station.read(ChamberTwoReply(framing).size(), 2000), ChamberTwoReply(framing));
        EXPECT_TRUE(station.read(1, 80).isEmpty());
    }
    EXPECT_EQ(RunCommand(*bus, "count *").reply, "ok 6");
}

TEST_P(EveryFraming, CountTakesEveryRequestOfTheChamber) {
    const Framing framing = GetParam();
    Peer peer(framing);
    ASSERT_TRUE(peer.start());
    EXPECT_EQ(RunCommand(*peer.bus, "count *").reply, "ok 0");
    // Another function (exception 01 back) and a write.
    const QByteArray others[] = {
        framing == Framing::Rtu     ? H("010400040001700B")
        : framing == Framing::Ascii ? QByteArray(":010400040001F6\r\n")
                                    : H("123500000006010400040001"),
        framing == Framing::Rtu     ? H("01060004000109CB")
        : framing == Framing::Ascii ? QByteArray(":010600040001F4\r\n")
                                    : H("123600000006010600040001"),
    };
    peer.send(1, ReadStatus(framing));
    EXPECT_EQ(peer.read(1, GoodReply(framing).size(), 2000), GoodReply(framing));
    ASSERT_EQ(RunCommand(*peer.bus, "silent 1").reply, "ok");
    peer.send(1, ReadStatus(framing));
    peer.drain(1, 60, 2000);
    ASSERT_EQ(RunCommand(*peer.bus, "normal 1").reply, "ok");
    for (const QByteArray& request : others) {
        peer.send(1, request);
        EXPECT_FALSE(peer.read(1, 1, 2000).isEmpty()) << "an answer";
        peer.drain(1, 60, 2000);
    }
    peer.send(2, AskChamberTwo(framing));
    EXPECT_FALSE(peer.read(2, 1, 2000).isEmpty());
    peer.drain(2, 60, 2000);
    const struct { const char* command; const char* reply; } rows[] = {
        {"count 1", "ok 4"}, {"count 2", "ok 1"}, {"count *", "ok 5"},
        {"count 9", "error: no chamber at address 9"}, {"count", "error: usage: count ADDR|*"},
    };
    for (const auto& [command, reply] : rows) EXPECT_EQ(RunCommand(*peer.bus, command).reply, reply) << command;
}

TEST(BusFaults, MixedDrawsEveryModeButBabbleAndRepeatsWithItsSeed) {
    auto draw = [](uint64_t seed, const char* command) {
        auto bus = TwoChambers(seed);
        EXPECT_EQ(RunCommand(*bus, command).reply, "ok");
        std::vector<Bus::Reply> replies;
        for (int i = 0; i < 400; ++i) replies.push_back(bus->request(1, H("0300040001"), Framing::Rtu, {1, 0}));
        return replies;
    };
    const auto a = draw(7, "mixed 1"), b = draw(7, "mixed 1"), c = draw(8, "mixed 1"), d = draw(7, "mixed 1 250");
    std::set<FaultMode> seen;
    int same = 0, differ = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        seen.insert(a[i].mode);
        EXPECT_TRUE(a[i].mode == b[i].mode && a[i].bytes == b[i].bytes) << "same seed, same run; request " << i;
        (a[i].mode == c[i].mode ? same : differ)++;
        EXPECT_EQ(a[i].delayMs, a[i].mode == FaultMode::Delay ? 500 : 0) << "the default";
        EXPECT_EQ(d[i].delayMs, d[i].mode == FaultMode::Delay ? 250 : 0);
        EXPECT_EQ(a[i].bytes == H("0103020000B844"), a[i].mode == FaultMode::Normal || a[i].mode == FaultMode::Delay);
    }
    EXPECT_GT(differ, 100) << "another seed, another run";
    const std::set<FaultMode> all = {
        FaultMode::Normal,    FaultMode::Silent,   FaultMode::BadCrc,    FaultMode::Short,    FaultMode::Exception,
        FaultMode::Delay,     FaultMode::Garbage,  FaultMode::Twice,     FaultMode::WrongAddr, FaultMode::WrongTid,
        FaultMode::WrongPid,  FaultMode::WrongFunc, FaultMode::BadCount, FaultMode::Header,   FaultMode::Huge,
        FaultMode::Drop};
    EXPECT_EQ(seen, all);
}

TEST(BusFaults, RateFaultsThatShareOfRequestsAndAddressesWrap) {
    const struct { const char* command; int low, high; } rows[] = {
        {"wrongaddr 1 @0", 0, 0}, {"wrongaddr 1 @25", 200, 300}, {"wrongaddr 1 @100", 1000, 1000},
        {"wrongaddr 1", 1000, 1000}, {"mixed 1 @50", 400, 540},  // mixed draws normal too, 1 in 16
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

TEST(BusFaults, GarbageIsNoiseOfTheReplysLength) {
    for (Framing framing : {Framing::Rtu, Framing::Ascii, Framing::Tcp}) {
        auto bus = TwoChambers();
        ASSERT_EQ(RunCommand(*bus, "garbage 1").reply, "ok");
        for (int i = 0; i < 4; ++i) {
            const QByteArray got = bus->request(1, H("0300040001"), framing, {1, 0x1234}).bytes;
            EXPECT_EQ(got.size(), GoodReply(framing).size()) << FramingName(framing);
            EXPECT_NE(got, GoodReply(framing)) << FramingName(framing);
        }
    }
}

TEST(BusFaults, CommandsAndTheirMistakes) {
    struct Row { const char* line; const char* reply; FaultMode mode; int delayMs, percent; };
    const Row rows[] = {
        {"delay 1 300", "ok", FaultMode::Delay, 300, 100},
        {"mixed 1", "ok", FaultMode::Mixed, 500, 100},
        {"MIXED 1 200 @30", "ok", FaultMode::Mixed, 200, 30},
        {"badlrc 1 @5", "ok", FaultMode::BadCrc, 0, 5},
        {"babble * @0", "ok", FaultMode::Babble, 0, 0},
        {"delay 1", "error: delay wants MS", FaultMode::Babble, 0, 0},  // a refused line changes nothing
        {"delay 1 @20", "error: delay wants MS", FaultMode::Babble, 0, 0},
        {"twice 1 5", "error: twice takes no argument", FaultMode::Babble, 0, 0},
        {"huge 1 @101", "error: a rate is @P", FaultMode::Babble, 0, 0},
        {"huge 1 @", "error: a rate is @P", FaultMode::Babble, 0, 0},
        {"drop 1 20%", "error: drop takes no argument", FaultMode::Babble, 0, 0},
        {"mixed 1 -4", "error: mixed takes at most MS", FaultMode::Babble, 0, 0},
        {"wrongtid 9", "error: no chamber at address 9", FaultMode::Babble, 0, 0},
        {"wrongfunc", "error: usage: wrongfunc ADDR|*", FaultMode::Babble, 0, 0},
        {"header 1 @50", "ok", FaultMode::Header, 0, 50},
        {"normal 1", "ok", FaultMode::Normal, 0, 100},
    };
    auto bus = TwoChambers();
    for (const Row& row : rows) {
        EXPECT_TRUE(RunCommand(*bus, row.line).reply.startsWith(row.reply)) << row.line;
        const Fault f = bus->fault(1);
        EXPECT_EQ(FaultName(f.mode), FaultName(row.mode)) << row.line;
        EXPECT_EQ(f.delayMs, row.delayMs) << row.line;
        EXPECT_EQ(f.percent, row.percent) << row.line;
    }
    for (const char* name : {"twice", "wrongaddr", "wrongtid", "wrongpid", "wrongfunc", "badcount", "header", "huge",
                             "babble", "drop", "mixed", "badlrc", "count"})
        EXPECT_TRUE(CommandHelp().contains(QRegularExpression(QString("\\b%1\\b").arg(name)))) << name << " in help";
}
