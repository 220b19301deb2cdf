// What the exchange needs of a serial port: the operations of the classic
// communications control, in the program's order of use. The Qt one drives a
// real device (a pseudo-terminal in the tests); a test may supply its own.
#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

namespace qel {

class SerialPort {
public:
    virtual ~SerialPort() = default;
    virtual bool portOpen() const = 0;
    virtual void setCommPort(int number) = 0;
    // "9600,n,8,1": baud, parity letter, data bits, stop bits.
    virtual void setSettings(const QString& settings) = 0;
    // Opens or closes. Opening a port that cannot be opened raises RuntimeError.
    virtual void setPortOpen(bool open) = 0;
    virtual int inBufferCount() = 0;
    virtual void clearInBuffer() = 0;
    virtual void clearOutBuffer() = 0;
    // Raises RuntimeError when the port is closed.
    virtual void output(const QByteArray& bytes) = 0;
    virtual QByteArray input() = 0;
};

// A serial port on QSerialPort. Port number n opens the device that
// SerialDeviceName(n) names.
std::unique_ptr<SerialPort> MakeQtSerialPort();

}  // namespace qel
