// What the exchange needs of a serial port: the operations of the classic
// communications control, in the program's order of use. The Qt one drives a
// real device (a pseudo-terminal in the tests); a test may supply its own.
#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <memory>

namespace qel {

// The settings text "9600,n,8,1" taken apart: baud, parity letter ('n',
// 'e' or 'o'), data bits (7 or 8), stop bits (1 or 2). A text without four
// fields or with a baud that is not a positive number raises RuntimeError.
struct LineSettings {
    int baud = 9600;
    char parity = 'n';
    int dataBits = 8;
    int stopBits = 1;
};
LineSettings ParseLineSettings(const QString& settings);

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

#ifdef Q_OS_UNIX
// The same on a POSIX terminal device directly, without the lock file
// QSerialPort writes and syncs on every open (about 0.5 to 6 ms each, and
// the exchange reopens the port for every request).
std::unique_ptr<SerialPort> MakePosixSerialPort();
#endif

// The port the station uses: the POSIX one where there is one.
std::unique_ptr<SerialPort> MakeSerialPort();

}  // namespace qel
