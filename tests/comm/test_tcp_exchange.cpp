// The TCP exchange against a real listening socket on loopback.
#include "app_dir.h"
#include "clock.h"
#include "codepage.h"
#include "errorlog.h"
#include "fake_serial.h"
#include "link.h"
#include "modbus.h"
#include "state.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <gtest/gtest.h>

using namespace qel;

namespace {

// A loopback peer that answers each request through `answer`; an empty
// answer is silence. `split` sends a reply in two pieces 5 ms apart.
class Peer {
public:
    std::function<QByteArray(const QByteArray&)> answer;
    int delayMs = 0;
    int againAfterMs = -1;  // >= 0: the same reply once more, this long after the first
    bool split = false;
    QList<QByteArray> requests;

    Peer() {
        server_.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server_, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* s = server_.nextPendingConnection()) {
                QObject::connect(s, &QTcpSocket::readyRead, s, [this, s] {
                    const QByteArray req = s->readAll();
                    requests.append(req);
                    const QByteArray rep = answer ? answer(req) : QByteArray();
                    if (rep.isEmpty()) return;
                    auto send = [this, s, rep] {
                        if (!split) {
                            s->write(rep);
                            return;
                        }
                        s->write(rep.left(9));
                        s->flush();
                        QTimer::singleShot(5, s, [s, rep] { s->write(rep.mid(9)); });
                    };
                    if (delayMs == 0) send();
                    else QTimer::singleShot(delayMs, s, send);
                    if (againAfterMs >= 0) QTimer::singleShot(delayMs + againAfterMs, s, [s, rep] { s->write(rep); });
                });
            }
        });
    }
    quint16 port() const { return server_.serverPort(); }

private:
    QTcpServer server_;
};

QByteArray Mbap(const QByteArray& request, const QByteArray& pdu) {
    QByteArray out = request.left(4);
    out.append(static_cast<char>(0));
    out.append(static_cast<char>(pdu.size()));
    out.append(pdu);
    return out;
}

QByteArray ReadPdu(uint16_t first) {
    return qeltest::ReadReplyBody(1, 2, 120, [first](int r) { return static_cast<uint16_t>(first + r); });
}

class TcpExchange : public ::testing::Test {
protected:
    void SetUp() override {
        Protocol = "ETH";
        PCSpeed = 150;  // this peer shares our event loop, so give it rounds
        MaxChamberNo = 1;
        ChamberIP[0] = "127.0.0.1";
        RemotePort = static_cast<int16_t>(peer.port());
        InstallQtLink();
        OpenLink();
        WaitSec(0.05);
    }
    void TearDown() override { RemoveLink(); }
    QString Read() {
        int16_t minLen = 490;
        return ModbusTransact("&H3F0", minLen, 1, 1, "0300020078");
    }
    QString ErrorLog() const { return dir.errorLog(); }
    static QString Hex(const QByteArray& b) { return QString::fromLatin1(b.toHex().toUpper()); }

    qeltest::AppDir dir;
    Peer peer;
};

}  // namespace

TEST_F(TcpExchange, GoodReadDropsTheHeaderAndClearsCounters) {
    peer.answer = [](const QByteArray& req) { return Mbap(req, ReadPdu(0)); };
    FailCount[0] = 3;
    StatusPanel1 = "old";
    const QString r = Read();
    ASSERT_EQ(peer.requests.size(), 1);
    EXPECT_EQ(peer.requests[0], qeltest::FromHex("123400000006010300020078"));
    EXPECT_EQ(r, Hex(ReadPdu(0)));
    EXPECT_EQ(FailCount[0], 0);
    EXPECT_EQ(CommError[0], 0);
    EXPECT_EQ(StatusPanel1, "");
}

TEST_F(TcpExchange, ReplyInPiecesIsJoined) {
    peer.split = true;
    peer.answer = [](const QByteArray& req) { return Mbap(req, ReadPdu(0)); };
    EXPECT_EQ(Read(), Hex(ReadPdu(0)));
}

TEST_F(TcpExchange, SilenceIsCountedAndLostAtTheFourth) {
    for (int n = 1; n <= 3; ++n) EXPECT_EQ(Read(), "");
    EXPECT_EQ(FailCount[0], 3);
    EXPECT_EQ(CommError[0], 0);
    Read();
    EXPECT_EQ(CommError[0], -1);
    EXPECT_EQ(StatusPanel1, "Address number. 1     Communication status check");
    EXPECT_EQ(ErrorLog().count("  1   Communication state check\r\n"), 4);
}

TEST_F(TcpExchange, LateReplyIsNotTakenForTheNextRequest) {
    int n = 0;
    peer.answer = [&](const QByteArray& req) { return Mbap(req, ReadPdu(static_cast<uint16_t>(100 * ++n))); };
    peer.delayMs = 200;  // past PCSpeed: the first exchange gives up
    EXPECT_EQ(Read(), "");
    WaitSec(0.15);  // the late reply lands meanwhile
    peer.delayMs = 0;
    EXPECT_EQ(Read(), Hex(ReadPdu(200)));
}

TEST_F(TcpExchange, WriteNeverTouchesCountersNorWritesTheCheckLine) {
    FailCount[0] = 2;
    int16_t minLen = 4;
    EXPECT_EQ(ModbusTransact("", minLen, 1, 1, "0600650004"), "");
    EXPECT_EQ(FailCount[0], 2);
    EXPECT_EQ(CommError[0], 0);
    EXPECT_FALSE(ErrorLog().contains("Communication state check"));
    ASSERT_EQ(peer.requests.size(), 1);
    EXPECT_EQ(peer.requests[0], qeltest::FromHex("123400000006010600650004"));
}

// Misbehaviours of a Modbus/TCP peer: each is a failed read that gives
// nothing back, with the check line in the error log. The frame checks
// themselves are tabled in test_reply_check.
TEST_F(TcpExchange, EveryAbnormalReplyIsAFailedRead) {
    auto with = [](int at, char value) {
        return [at, value](const QByteArray& req) {
            QByteArray r = Mbap(req, ReadPdu(0));
            r[at] = value;
            return r;
        };
    };
    const struct {
        const char* what;
        std::function<QByteArray(const QByteArray&)> answer;
    } rows[] = {
        {"another transaction id", with(1, 0x35)},
        {"another unit id", with(6, 0x02)},
        {"exception", [](const QByteArray& req) { return Mbap(req, qeltest::FromHex("018304")); }},
        {"half", [](const QByteArray& req) { return Mbap(req, ReadPdu(0)).left(120); }},
        {"64 KB", [](const QByteArray& req) { return Mbap(req, ReadPdu(0)) + QByteArray(65536, '\x5A'); }},
        {"random bytes", [](const QByteArray&) { return QByteArray::fromHex("9F01C2773A00004455AA019283"); }},
        {"twice", [](const QByteArray& req) { return Mbap(req, ReadPdu(0)) + Mbap(req, ReadPdu(0)); }},
    };
    for (const auto& r : rows) {
        peer.answer = r.answer;
        FailCount[0] = 0;
        CommError[0] = 0;
        EXPECT_EQ(Read(), "") << r.what;
        EXPECT_EQ(FailCount[0], 1) << r.what;
    }
    EXPECT_EQ(ErrorLog().count("Communication state check"), static_cast<qsizetype>(std::size(rows)));
}

// A reply that comes 1.2 to 2 times PCSpeed late lands in the wait of the
// next request; it is never decoded as that request's reply.
TEST_F(TcpExchange, LateReplyInTheNextRequestsWaitIsDropped) {
    for (int late : {180, 225, 300}) {
        int n = 0;
        peer.answer = [&](const QByteArray& req) { return Mbap(req, ReadPdu(static_cast<uint16_t>(100 * ++n))); };
        peer.delayMs = late;
        EXPECT_EQ(Read(), "") << late;
        peer.delayMs = 0;
        const QString next = Read();
        EXPECT_NE(next, Hex(ReadPdu(100))) << late;
        EXPECT_TRUE(next.isEmpty() || next == Hex(ReadPdu(200))) << late;
        WaitSec(0.4);
    }
}

// A frame that arrives on one chamber's socket while another chamber's
// reply is awaited belongs to nobody.
TEST_F(TcpExchange, AFrameOnAnotherChambersSocketIsDropped) {
    MaxChamberNo = 2;
    ChamberIP[1] = "127.0.0.1";
    ChamberAddress[1] = "1";
    OpenLink();
    WaitSec(0.05);
    peer.answer = [](const QByteArray& req) { return Mbap(req, ReadPdu(7)); };
    peer.againAfterMs = 170;  // the repeat comes while chamber 1 is read
    int16_t minLen = 490;
    ModbusTransact("&H3F0", minLen, 2, 1, "0300020078");
    peer.againAfterMs = -1;
    peer.answer = [](const QByteArray& req) { return Mbap(req, ReadPdu(0)); };
    EXPECT_EQ(Read(), Hex(ReadPdu(0)));
    EXPECT_EQ(FailCount[0], 0);
}

TEST_F(TcpExchange, WritesAreTracedWhenAskedFor) {
    CommDataSave = 1;
    int16_t minLen = 4;
    ModbusTransact("", minLen, 1, 1, "0600650004");
    EXPECT_TRUE(ErrorLog().contains(" ADR:1 송:0600650004 수:")) << ErrorLog().toStdString();
    CommDataSave = 0;
}
