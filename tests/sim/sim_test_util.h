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
#include <utility>

#include "faults.h"

// Readable failure messages for Qt strings and bytes (bytes as hex).
inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }
inline void PrintTo(const QByteArray& bytes, std::ostream* os) { *os << bytes.toHex(' ').toStdString(); }

namespace simtest {

inline const char* FramingName(qelsim::Framing f) {
    return f == qelsim::Framing::Rtu ? "Rtu" : f == qelsim::Framing::Ascii ? "Ascii" : "Tcp";
}

inline QByteArray H(const char* hex) { return QByteArray::fromHex(hex); }

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

// The station's side of a serial line: the pseudo-terminal's slave, opened
// raw and non-blocking, closed again as the station does after each exchange.
class Slave {
public:
    explicit Slave(const QString& path) : path_(path.toLocal8Bit()) {}
    ~Slave() { close(); }
    bool open() {
        fd_ = ::open(path_.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        termios t{};
        if (fd_ < 0 || tcgetattr(fd_, &t) != 0) return false;
        cfmakeraw(&t);
        return tcsetattr(fd_, TCSANOW, &t) == 0;
    }
    void close() {
        if (fd_ >= 0) ::close(std::exchange(fd_, -1));
    }
    bool write(const QByteArray& b) { return ::write(fd_, b.constData(), static_cast<size_t>(b.size())) == b.size(); }
    // Reads until n bytes are in (or, with n == 0, a CR LF ends the text),
    // at most ms, serving the event loop meanwhile.
    QByteArray read(int n, int ms) {
        QByteArray got;
        char buf[512];
        SpinUntil([&] {
            for (ssize_t k; (k = ::read(fd_, buf, sizeof buf)) > 0;) got.append(buf, static_cast<qsizetype>(k));
            return n > 0 ? got.size() >= n : got.endsWith("\r\n");
        }, ms);
        return got;
    }

private:
    QByteArray path_;
    int fd_ = -1;
};

}  // namespace simtest

namespace qelsim {
// Names the framing in the messages of parameterised tests.
inline void PrintTo(Framing framing, std::ostream* os) { *os << simtest::FramingName(framing); }
}  // namespace qelsim
