// Modbus/TCP: one listening socket per chamber, on its own loopback address
// or its own port. A request is answered when its unit id is the chamber's
// address, 0 or 255; the reply echoes transaction id and unit id.
#pragma once

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <map>

#include "bus.h"

class QTcpSocket;

namespace qelsim {

class TcpServer : public QObject {
    Q_OBJECT
public:
    struct Endpoint {
        int address = 0;
        QHostAddress host;
        quint16 port = 0;
    };

    // Chamber at address A listens on hostBase + (A - 1) and port, or with
    // sameHost on hostBase and port + (A - 1). Port 0: any free port each.
    TcpServer(Bus& bus, QHostAddress hostBase, quint16 port, bool sameHost, QObject* parent = nullptr);
    ~TcpServer() override;

    // Listens for every chamber of the bus that is on the line.
    bool start(QString* error);
    // Where each chamber listens (the ports actually bound), by address.
    QList<Endpoint> endpoints() const;

private:
    struct Listener {
        Endpoint at;
        QTcpServer* server = nullptr;
        QList<QPointer<QTcpSocket>> clients;
    };

    bool listen(Listener& l, QString* error);
    void stopListening(Listener& l);
    void onOnlineChanged(int address, bool online);
    void onConnection(int address);
    void onReadyRead(int address, QTcpSocket* socket);
    void babble(int address, QTcpSocket* socket);  // starts the chamber's stream on socket unless it runs

    Bus& bus_;
    std::map<int, Listener> listeners_;
};

}  // namespace qelsim
