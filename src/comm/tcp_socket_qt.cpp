#include "tcp_socket.h"

#include <QTcpSocket>

namespace qel {

namespace {

// Socket errors in the numbering the station has always logged.
int WinsockErrorNumber(QAbstractSocket::SocketError e) {
    switch (e) {
        case QAbstractSocket::ConnectionRefusedError:
            return sck::ConnectionRefused;
        case QAbstractSocket::RemoteHostClosedError:
            return 10053;
        case QAbstractSocket::HostNotFoundError:
            return 11001;
        case QAbstractSocket::SocketTimeoutError:
            return 10060;
        case QAbstractSocket::NetworkError:
            return 10065;
        case QAbstractSocket::SocketAccessError:
            return 10013;
        case QAbstractSocket::SocketResourceError:
            return 10055;
        case QAbstractSocket::AddressInUseError:
            return 10048;
        default:
            return 10000 + static_cast<int>(e);
    }
}

class QtTcpSocket final : public TcpSocket {
public:
    QtTcpSocket(int index, Handlers handlers) : index_(index), handlers_(std::move(handlers)) {
        QObject::connect(&socket_, &QTcpSocket::readyRead, [this] {
            if (handlers_.dataArrival) handlers_.dataArrival(index_, static_cast<int>(socket_.bytesAvailable()));
        });
        QObject::connect(&socket_, &QTcpSocket::connected, [this] {
            // Requests are small and each waits for its reply: with Nagle's rule a
            // request behind an unanswered one would sit in the send queue until
            // the controller's delayed acknowledgement.
            socket_.setSocketOption(QAbstractSocket::LowDelayOption, 1);
            if (handlers_.connected) handlers_.connected(index_);
        });
        QObject::connect(&socket_, &QTcpSocket::errorOccurred, [this](QAbstractSocket::SocketError e) {
            errored_ = true;
            if (handlers_.error) handlers_.error(index_, WinsockErrorNumber(e), socket_.errorString());
        });
    }

    int state() const override {
        switch (socket_.state()) {
            case QAbstractSocket::HostLookupState:
                return sck::ResolvingHost;
            case QAbstractSocket::ConnectingState:
                return sck::Connecting;
            case QAbstractSocket::ConnectedState:
                return sck::Connected;
            case QAbstractSocket::ClosingState:
                return sck::Closing;
            default:
                return errored_ ? sck::Error : sck::Closed;
        }
    }

    void close() override {
        socket_.abort();
        errored_ = false;
    }

    void setRemoteHost(const QString& host) override { host_ = host; }
    void setRemotePort(int port) override { port_ = static_cast<quint16>(port); }

    void connectToPeer() override {
        errored_ = false;
        socket_.connectToHost(host_, port_);
    }

    void sendData(const QByteArray& bytes) override {
        socket_.write(bytes);
        socket_.flush();
    }

    QByteArray getData() override { return socket_.readAll(); }

private:
    int index_;
    Handlers handlers_;
    QTcpSocket socket_;
    QString host_;
    quint16 port_ = 502;
    bool errored_ = false;
};

}  // namespace

std::unique_ptr<TcpSocket> MakeQtTcpSocket(int index, TcpSocket::Handlers handlers) {
    return std::make_unique<QtTcpSocket>(index, std::move(handlers));
}

}  // namespace qel
