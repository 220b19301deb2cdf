// The serial port on a POSIX terminal device: open, termios settings,
// non-blocking reads, close. The exchange closes and reopens the port on
// every request, so opening must cost next to nothing: no lock file is
// written (and synced to disk) on each open, as the generic port layer
// does; a flock on the device and exclusive mode keep a second program off
// the line while the port is open.
#include "link.h"
#include "serial_port.h"

#include "runtime_error.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace qel {

namespace {

speed_t SpeedOf(int baud) {
    switch (baud) {
        case 1200: return B1200;
        case 2400: return B2400;
        case 4800: return B4800;
        case 9600: return B9600;
        case 19200: return B19200;
        case 38400: return B38400;
        case 57600: return B57600;
        case 115200: return B115200;
        default: return 0;
    }
}

QString ErrnoText(int e) { return QString::fromLocal8Bit(std::strerror(e)); }

class PosixSerialPort final : public SerialPort {
public:
    ~PosixSerialPort() override { closeFd(); }

    bool portOpen() const override { return fd_ >= 0; }

    void setCommPort(int number) override {
        if (fd_ >= 0) throw RuntimeError(err::PortAlreadyOpen);
        number_ = number;
    }

    void setSettings(const QString& settings) override {
        const LineSettings l = ParseLineSettings(settings);
        if (SpeedOf(l.baud) == 0) throw RuntimeError(err::InvalidArgument);
        line_ = l;
        if (fd_ >= 0) apply();
    }

    void setPortOpen(bool open) override {
        if (!open) {
            closeFd();
            return;
        }
        if (fd_ >= 0) throw RuntimeError(err::PortAlreadyOpen);
        const QByteArray device = SerialDeviceName(number_).toLocal8Bit();
        const int fd = ::open(device.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) throw RuntimeError(ErrnoText(errno));
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            ::close(fd);
            throw RuntimeError(QStringLiteral("The port is in use by another program"));
        }
        ::ioctl(fd, TIOCEXCL);
        fd_ = fd;
        in_.clear();
        apply();
        // Bytes that arrive wake the event loop, so that a wait for a whole
        // reply sees it at once; they are taken into the buffer right away.
        if (QCoreApplication::instance()) {
            notifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
            QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
                // Readable with nothing to read: the other side is gone (end of
                // file, EIO). It would stay readable, so no more wake-ups from it.
                if (takeIn() == 0 && notifier_) notifier_->setEnabled(false);
            });
        }
    }

    int inBufferCount() override {
        if (fd_ < 0) throw RuntimeError(err::PortNotOpen);
        takeIn();
        return static_cast<int>(in_.size());
    }

    void clearInBuffer() override {
        if (fd_ < 0) return;
        ::tcflush(fd_, TCIFLUSH);
        takeIn();
        in_.clear();
    }

    void clearOutBuffer() override {
        if (fd_ >= 0) ::tcflush(fd_, TCOFLUSH);
    }

    void output(const QByteArray& bytes) override {
        if (fd_ < 0) throw RuntimeError(err::PortNotOpen);
        qsizetype done = 0;
        // Hands the bytes to the driver; a line that takes none for 100 ms gets no more.
        while (done < bytes.size()) {
            const ssize_t n = ::write(fd_, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
            if (n > 0) {
                done += n;
                continue;
            }
            if (n < 0 && errno == EINTR) continue;
            if (n < 0 && errno == EAGAIN) {
                pollfd p{fd_, POLLOUT, 0};
                if (::poll(&p, 1, 100) > 0) continue;
            }
            break;  // a peer that went away: the reply that never comes says so
        }
    }

    QByteArray input() override {
        if (fd_ < 0) throw RuntimeError(err::PortNotOpen);
        takeIn();
        QByteArray out;
        out.swap(in_);
        return out;
    }

private:
    // Moves what the driver holds into the buffer, at most 64 KiB a call so
    // that a line that never stops cannot hold the caller. Returns how many
    // bytes it took.
    qsizetype takeIn() {
        char chunk[4096];
        qsizetype taken = 0;
        for (int k = 0; k < 16; ++k) {
            const ssize_t n = ::read(fd_, chunk, sizeof chunk);
            if (n > 0) {
                in_.append(chunk, n);
                taken += n;
                continue;
            }
            if (n < 0 && errno == EINTR) continue;
            break;  // nothing waiting (EAGAIN, or 0 in raw mode), or a pseudo-terminal whose other side is away (EIO)
        }
        return taken;
    }

    void apply() {
        termios t{};
        if (::tcgetattr(fd_, &t) != 0) return;
        ::cfmakeraw(&t);
        ::cfsetispeed(&t, SpeedOf(line_.baud));
        ::cfsetospeed(&t, SpeedOf(line_.baud));
        t.c_cflag |= CLOCAL | CREAD;
        t.c_cflag &= ~(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
        t.c_cflag |= line_.dataBits == 7 ? CS7 : CS8;
        if (line_.parity != 'n') t.c_cflag |= PARENB;
        if (line_.parity == 'o') t.c_cflag |= PARODD;
        if (line_.stopBits == 2) t.c_cflag |= CSTOPB;
        t.c_iflag &= ~(IXON | IXOFF | IXANY);
        t.c_cc[VMIN] = 0;
        t.c_cc[VTIME] = 0;
        // A pseudo-terminal refuses some of these; the line still works.
        ::tcsetattr(fd_, TCSANOW, &t);
    }

    void closeFd() {
        notifier_.reset();
        if (fd_ < 0) return;
        ::close(fd_);  // the flock goes with the descriptor
        fd_ = -1;
        in_.clear();
    }

    int fd_ = -1;
    int number_ = 1;
    LineSettings line_;
    QByteArray in_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace

std::unique_ptr<SerialPort> MakePosixSerialPort() { return std::make_unique<PosixSerialPort>(); }

}  // namespace qel
