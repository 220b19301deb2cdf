// What the exchange needs of a TCP client socket: the operations of the
// classic socket control, with its state numbering. Events go to the handlers
// the link installs (data arrival, error, connect).
#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <memory>

namespace qel {

namespace sck {
inline constexpr int Closed = 0;
inline constexpr int ResolvingHost = 4;
inline constexpr int Connecting = 6;
inline constexpr int Connected = 7;
inline constexpr int Closing = 8;
inline constexpr int Error = 9;
inline constexpr int ConnectionRefused = 10061;
}  // namespace sck

class TcpSocket {
public:
    struct Handlers {
        std::function<void(int index, int bytesTotal)> dataArrival;
        std::function<void(int index, int number, const QString& description)> error;
        std::function<void(int index)> connected;
    };

    virtual ~TcpSocket() = default;
    virtual int state() const = 0;
    virtual void close() = 0;
    virtual void setRemoteHost(const QString& host) = 0;
    virtual void setRemotePort(int port) = 0;
    virtual void connectToPeer() = 0;
    virtual void sendData(const QByteArray& bytes) = 0;
    // The bytes that have arrived; called from the data event.
    virtual QByteArray getData() = 0;
};

// A socket on QTcpSocket; `index` is handed back with every event.
std::unique_ptr<TcpSocket> MakeQtTcpSocket(int index, TcpSocket::Handlers handlers);

}  // namespace qel
