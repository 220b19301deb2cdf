#include "link.h"
#include "serial_port.h"

#include "runtime_error.h"

#include <QSerialPort>
#include <QStringList>

namespace qel {

namespace {

class QtSerialPort final : public SerialPort {
public:
    bool portOpen() const override { return port_.isOpen(); }

    void setCommPort(int number) override {
        if (port_.isOpen()) throw RuntimeError(err::PortAlreadyOpen);
        number_ = number;
    }

    void setSettings(const QString& settings) override {
        const LineSettings l = ParseLineSettings(settings);
        baud_ = l.baud;
        parity_ = l.parity == 'e' ? QSerialPort::EvenParity : l.parity == 'o' ? QSerialPort::OddParity : QSerialPort::NoParity;
        dataBits_ = l.dataBits == 7 ? QSerialPort::Data7 : QSerialPort::Data8;
        stopBits_ = l.stopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop;
        if (port_.isOpen()) Apply();
    }

    void setPortOpen(bool open) override {
        if (!open) {
            if (port_.isOpen()) port_.close();
            return;
        }
        if (port_.isOpen()) throw RuntimeError(err::PortAlreadyOpen);
        port_.setPortName(SerialDeviceName(number_));
        if (!port_.open(QIODevice::ReadWrite)) {
            const QString why = port_.errorString();
            port_.clearError();
            throw RuntimeError(why.isEmpty() ? QString::fromUtf8(err::DeviceUnavailable) : why);
        }
        Apply();
    }

    int inBufferCount() override {
        if (!port_.isOpen()) throw RuntimeError(err::PortNotOpen);
        port_.waitForReadyRead(0);  // takes in what the device holds without blocking
        return static_cast<int>(port_.bytesAvailable());
    }

    void clearInBuffer() override {
        if (!port_.isOpen()) return;
        port_.clear(QSerialPort::Input);
        port_.readAll();
    }

    void clearOutBuffer() override {
        if (port_.isOpen()) port_.clear(QSerialPort::Output);
    }

    void output(const QByteArray& bytes) override {
        if (!port_.isOpen()) throw RuntimeError(err::PortNotOpen);
        port_.write(bytes);
        port_.waitForBytesWritten(100);
    }

    QByteArray input() override {
        if (!port_.isOpen()) throw RuntimeError(err::PortNotOpen);
        return port_.readAll();
    }

private:
    void Apply() {
        // A pseudo-terminal refuses some of these; the line still works.
        port_.setBaudRate(baud_);
        port_.setParity(parity_);
        port_.setDataBits(dataBits_);
        port_.setStopBits(stopBits_);
        port_.setFlowControl(QSerialPort::NoFlowControl);
        port_.clearError();
    }

    QSerialPort port_;
    int number_ = 1;
    qint32 baud_ = 9600;
    QSerialPort::Parity parity_ = QSerialPort::NoParity;
    QSerialPort::DataBits dataBits_ = QSerialPort::Data8;
    QSerialPort::StopBits stopBits_ = QSerialPort::OneStop;
};

}  // namespace

LineSettings ParseLineSettings(const QString& settings) {
    const QStringList f = settings.split(u',');
    if (f.size() != 4) throw RuntimeError(err::InvalidArgument);
    bool ok = false;
    LineSettings l;
    l.baud = f[0].trimmed().toInt(&ok);
    if (!ok || l.baud <= 0) throw RuntimeError(err::InvalidArgument);
    const QString p = f[1].trimmed().toLower();
    l.parity = p == u"e" ? 'e' : p == u"o" ? 'o' : 'n';
    l.dataBits = f[2].trimmed() == u"7" ? 7 : 8;
    l.stopBits = f[3].trimmed() == u"2" ? 2 : 1;
    return l;
}

std::unique_ptr<SerialPort> MakeQtSerialPort() { return std::make_unique<QtSerialPort>(); }

std::unique_ptr<SerialPort> MakeSerialPort() {
#ifdef Q_OS_UNIX
    return MakePosixSerialPort();
#else
    return MakeQtSerialPort();
#endif
}

}  // namespace qel
