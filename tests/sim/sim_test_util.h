// Helpers shared by the qelsim tests.
#pragma once

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QString>
#include <QThread>
#include <functional>
#include <ostream>

// Readable failure messages for Qt strings and bytes (bytes as hex).
inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }
inline void PrintTo(const QByteArray& bytes, std::ostream* os) { *os << bytes.toHex(' ').toStdString(); }

namespace simtest {

// Serves the event loop until done() or ms have passed; true if done.
inline bool SpinUntil(const std::function<bool()>& done, int ms) {
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > ms) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(1);
    }
    return true;
}

// The two CRC bytes of crc in wire order, low byte first.
inline QByteArray CrcBytes(uint16_t crc) {
    QByteArray b;
    b.append(static_cast<char>(crc & 0xFF));
    b.append(static_cast<char>(crc >> 8));
    return b;
}

// Serves the event loop for ms.
inline void Spin(int ms) {
    SpinUntil([] { return false; }, ms);
}

// The station's side of a serial line: the pseudo-terminal's slave, opened
// raw and non-blocking, closed again as the station does after each exchange.
class Slave {
public:
    explicit Slave(const QString& path) : path_(path.toLocal8Bit()) {}
    ~Slave() { close(); }
    Slave(const Slave&) = delete;
    Slave& operator=(const Slave&) = delete;

    bool open() {
        fd_ = ::open(path_.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (fd_ < 0) return false;
        termios t{};
        tcgetattr(fd_, &t);
        cfmakeraw(&t);
        tcsetattr(fd_, TCSANOW, &t);
        return true;
    }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }
    bool write(const QByteArray& b) { return ::write(fd_, b.constData(), static_cast<size_t>(b.size())) == b.size(); }
    // Reads until n bytes are in (or, with ascii, a CR LF ends the text), at
    // most ms, serving the event loop meanwhile.
    QByteArray read(int n, int ms = 2000, bool ascii = false) {
        QByteArray got;
        SpinUntil(
            [&] {
                char buf[512];
                ssize_t k;
                while ((k = ::read(fd_, buf, sizeof buf)) > 0) got.append(buf, static_cast<qsizetype>(k));
                return (n > 0 && got.size() >= n) || (ascii && got.endsWith("\r\n"));
            },
            ms);
        return got;
    }

private:
    QByteArray path_;
    int fd_ = -1;
};

}  // namespace simtest
