// The TCP exchange against a real listening socket on loopback.
#include "app_dir.h"
#include "clock.h"
#include "fake_serial.h"
#include "link.h"
#include "modbus.h"
#include "state.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <gtest/gtest.h>

using namespace qel;
using qeltest::WithMbap;

namespace {

// A loopback peer answering each request with the next of `replies` (the last one repeats; empty: silence).
class Peer {
public:
    QList<QByteArray> replies;
    int delayMs = 0;
    bool split = false;  // the reply in two pieces, 5 ms apart
    QList<QByteArray> requests;

    Peer() {
        server_.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server_, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* s = server_.nextPendingConnection())
                QObject::connect(s, &QTcpSocket::readyRead, s, [this, s] { respond(s); });
        });
    }
    quint16 port() const { return server_.serverPort(); }

private:
    void respond(QTcpSocket* s) {
        requests.append(s->readAll());
        const QByteArray rep = replies.size() > 1 ? replies.takeFirst() : replies.value(0);
        if (rep.isEmpty()) return;
        const qsizetype cut = split ? 9 : rep.size();
        QTimer::singleShot(delayMs, s, [s, rep, cut] {
            s->write(rep.left(cut));
            s->flush();
        });
        if (split) QTimer::singleShot(delayMs + 5, s, [s, rep, cut] { s->write(rep.mid(cut)); });
    }
    QTcpServer server_;
};

// The block-1 reply's unit and pdu, register r holding first + r.
QByteArray Block1(uint16_t first = 0) {
    return qeltest::ReadReplyBody(1, 2, 120, [first](int r) { return static_cast<uint16_t>(first + r); });
}

QString Hex(const QByteArray& b) { return QString::fromLatin1(b.toHex().toUpper()); }

class TcpExchange : public ::testing::Test {
protected:
    void SetUp() override {
        Protocol = "ETH";
        PCSpeed = 150;  // the peer shares our event loop: give it rounds
        MaxChamberNo = 1;
        ChamberIP[0] = "127.0.0.1";
        RemotePort = static_cast<int16_t>(peer.port());
        InstallQtLink();
        OpenLink();
        WaitSec(0.05);
    }
    void TearDown() override { RemoveLink(); }
    static QString Transact(const QString& expect, const QString& body) {
        int16_t minLen = 490;
        return ModbusTransact(expect, minLen, 1, 1, body);
    }
    static QString Read() { return Transact("&H3F0", "0300020078"); }

    qeltest::AppDir dir;
    Peer peer;
};

}  // namespace

// Guards the request as sent, the header dropped from a reply in pieces, the status panel cleared.
TEST_F(TcpExchange, GoodRead) {
    peer.replies = {WithMbap(Block1())};
    peer.split = true;
    StatusPanel1 = "old";
    EXPECT_EQ(Read(), Hex(Block1()));
    EXPECT_EQ(peer.requests, QList<QByteArray>{qeltest::FromHex("123400000006010300020078")});
    EXPECT_EQ(StatusPanel1, "");
}

// Guards a reply 1.2 x PCSpeed late being taken for the next request's (here: silence).
TEST_F(TcpExchange, LateReplyIsNeverTakenForTheNextRequest) {
    peer.replies = {WithMbap(Block1(100)), QByteArray()};
    peer.delayMs = 180;
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(Read(), "");
}

// Guards a write touching the counters; the request as framed.
TEST_F(TcpExchange, WriteNeverTouchesCounters) {
    FailCount[0] = 2;
    EXPECT_EQ(Transact("", "0600650004"), "");
    EXPECT_EQ(FailCount[0], 2);
    EXPECT_EQ(peer.requests, QList<QByteArray>{qeltest::FromHex("123400000006010600650004")});
}

// Guards another transaction's reply or 64 KiB behind one taken; lost at the 4th failure, in panel 1 and the log.
TEST_F(TcpExchange, EveryAbnormalReplyIsAFailedReadCountedUntilLost) {
    FailCount[0] = 2;
    peer.replies = {WithMbap(Block1(), 0x1235), WithMbap(Block1()) + QByteArray(65536, '\x5A')};
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(CommError[0], 0);  // the third failure in a row
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(CommError[0], -1);
    EXPECT_EQ(StatusPanel1, "Address number. 1     Communication status check");
    EXPECT_EQ(dir.errorLog().count("  1   Communication state check\r\n"), 2);
}
