#include "tcp_server.h"

#include <QTcpSocket>
#include <QTimer>

#include "babble.h"
#include "frames.h"

namespace qelsim {

namespace {
const char* BufferProperty = "qelsimBuffer";
// What a babbling chamber adds to a connection per tick.
constexpr int BabbleChunk = 16384;
}  // namespace

TcpServer::TcpServer(Bus& bus, QHostAddress hostBase, quint16 port, bool sameHost, QObject* parent)
    : QObject(parent), bus_(bus) {
    for (Chamber* c : bus_.chambers()) {
        const int offset = c->address() - 1;
        Listener l;
        l.at.address = c->address();
        l.at.host = sameHost ? hostBase : QHostAddress(hostBase.toIPv4Address() + offset);
        l.at.port = (sameHost && port != 0) ? static_cast<quint16>(port + offset) : port;
        listeners_[c->address()] = l;
    }
    connect(&bus_, &Bus::onlineChanged, this, &TcpServer::onOnlineChanged);
}

TcpServer::~TcpServer() {
    for (auto& [address, l] : listeners_) stopListening(l);
}

bool TcpServer::start(QString* error) {
    for (auto& [address, l] : listeners_) {
        if (bus_.online(address) && !listen(l, error)) return false;
    }
    return true;
}

QList<TcpServer::Endpoint> TcpServer::endpoints() const {
    QList<Endpoint> list;
    for (const auto& [address, l] : listeners_) list << l.at;
    return list;
}

bool TcpServer::listen(Listener& l, QString* error) {
    if (l.server) return true;
    auto* server = new QTcpServer(this);
    if (!server->listen(l.at.host, l.at.port)) {
        if (error) {
            *error = QString("chamber %1 cannot listen on %2:%3: %4")
                         .arg(l.at.address)
                         .arg(l.at.host.toString())
                         .arg(l.at.port)
                         .arg(server->errorString());
        }
        delete server;
        return false;
    }
    l.at.port = server->serverPort();  // keeps a port chosen by the system for "start" after "stop"
    l.server = server;
    const int address = l.at.address;
    connect(server, &QTcpServer::newConnection, this, [this, address] { onConnection(address); });
    return true;
}

void TcpServer::stopListening(Listener& l) {
    for (const QPointer<QTcpSocket>& s : l.clients) {
        if (s) {
            s->abort();
            s->deleteLater();
        }
    }
    l.clients.clear();
    if (l.server) {
        l.server->close();
        l.server->deleteLater();
        l.server = nullptr;
    }
}

void TcpServer::onOnlineChanged(int address, bool online) {
    auto it = listeners_.find(address);
    if (it == listeners_.end()) return;
    if (online) {
        QString error;
        if (!listen(it->second, &error)) bus_.trace(error);
    } else {
        stopListening(it->second);
    }
}

void TcpServer::onConnection(int address) {
    Listener& l = listeners_[address];
    while (l.server && l.server->hasPendingConnections()) {
        QTcpSocket* s = l.server->nextPendingConnection();
        s->setParent(this);
        s->setSocketOption(QAbstractSocket::LowDelayOption, 1);  // a reply goes out at once, as a controller's does
        l.clients << QPointer<QTcpSocket>(s);
        connect(s, &QTcpSocket::readyRead, this, [this, address, s] { onReadyRead(address, s); });
        connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
        bus_.trace(QString("connect %1 from %2:%3").arg(address).arg(s->peerAddress().toString()).arg(s->peerPort()));
    }
    l.clients.removeAll(QPointer<QTcpSocket>());
}

void TcpServer::onReadyRead(int address, QTcpSocket* socket) {
    if (socket->state() != QAbstractSocket::ConnectedState) return;  // closing after a dropped reply
    QByteArray buf = socket->property(BufferProperty).toByteArray() + socket->readAll();
    TcpRequest req;
    for (;;) {
        const TcpTakeResult r = TcpTake(buf, req);
        if (r == TcpTakeResult::NeedMore) break;
        if (r == TcpTakeResult::Broken) {
            bus_.trace(
                QString("drop connection %1: bad header %2").arg(address).arg(QString::fromLatin1(Hex(buf.left(7)))));
            socket->abort();
            return;
        }
        bus_.trace(QString("rx %1 unit %2 tid %3 %4")
                       .arg(address)
                       .arg(req.unit)
                       .arg(req.transaction)
                       .arg(QString::fromLatin1(Hex(req.pdu))));
        if (req.protocol != 0) continue;  // not Modbus
        if (req.unit != address && req.unit != 0 && req.unit != 255) continue;
        const Bus::Reply reply = bus_.request(address, req.pdu, Framing::Tcp, {req.unit, req.transaction});
        if (reply.mode == FaultMode::Babble) babble(address, socket);
        if (reply.bytes.isEmpty()) continue;
        bus_.trace(QString("tx %1").arg(TraceHex(reply.bytes)));
        if (reply.delayMs > 0) {
            // Late, but without holding up the other requests and chambers meanwhile.
            QPointer<QTcpSocket> guard(socket);
            QTimer::singleShot(reply.delayMs, this, [guard, out = reply.bytes] {
                if (guard && guard->state() == QAbstractSocket::ConnectedState) guard->write(out);
            });
            continue;
        }
        socket->write(reply.bytes);
        if (reply.mode == FaultMode::Drop) {
            // What was written still goes out before the close.
            bus_.trace(QString("drop connection %1").arg(address));
            socket->disconnectFromHost();
            return;
        }
    }
    socket->setProperty(BufferProperty, buf);
}

void TcpServer::babble(int address, QTcpSocket* socket) {
    for (const Babble* b : socket->findChildren<Babble*>()) {
        if (b->running()) return;
    }
    QPointer<QTcpSocket> guard(socket);
    new Babble(
        bus_, address, Framing::Tcp, BabbleChunk,
        [guard] {
            return guard && guard->state() == QAbstractSocket::ConnectedState ? guard->bytesToWrite() : qint64(-1);
        },
        [guard](const QByteArray& bytes) {
            if (guard) guard->write(bytes);
        },
        socket);
}

}  // namespace qelsim
