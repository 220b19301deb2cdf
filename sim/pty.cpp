#include "pty.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <termios.h>
#include <unistd.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace qelsim {

namespace {
// Read interval: short against the station's time budget of a few hundred ms.
constexpr int PollMs = 5;

void MakeRaw(int fd) {
    termios t{};
    if (tcgetattr(fd, &t) != 0) return;
    cfmakeraw(&t);
    tcsetattr(fd, TCSANOW, &t);
}
}  // namespace

PtyPort::PtyPort(QObject* parent) : QObject(parent) {
    timer_.setInterval(PollMs);
    connect(&timer_, &QTimer::timeout, this, &PtyPort::poll);
}

PtyPort::~PtyPort() {
    if (!link_.isEmpty()) QFile::remove(link_);
    if (closes_ >= 0) ::close(closes_);
    if (master_ >= 0) ::close(master_);
}

bool PtyPort::open(QString* error) {
    master_ = posix_openpt(O_RDWR | O_NOCTTY);
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) {
        if (error) *error = QString("cannot create a pseudo-terminal: %1").arg(strerror(errno));
        return false;
    }
    const char* name = ptsname(master_);
    if (!name) {
        if (error) *error = QString("no slave name: %1").arg(strerror(errno));
        return false;
    }
    slavePath_ = QString::fromLocal8Bit(name);
    // The slave's settings outlive its opening, as long as the master is held.
    const int slave = ::open(name, O_RDWR | O_NOCTTY);
    if (slave >= 0) {
        MakeRaw(slave);
        ::close(slave);
    }
    MakeRaw(master_);
    fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
    // Without the watch a quick close and reopen is missed, nothing worse.
    closes_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (closes_ >= 0 && inotify_add_watch(closes_, name, IN_CLOSE_WRITE | IN_CLOSE_NOWRITE) < 0) {
        ::close(closes_);
        closes_ = -1;
    }
    timer_.start();
    return true;
}

bool PtyPort::makeLink(const QString& path, QString* error) {
    const QFileInfo info(path);
    if (info.exists() || info.isSymLink()) {
        if (!info.isSymLink()) {
            if (error) *error = QString("%1 exists and is not a symbolic link; not replaced").arg(path);
            return false;
        }
        QFile::remove(path);
    }
    if (::symlink(slavePath_.toLocal8Bit().constData(), path.toLocal8Bit().constData()) != 0) {
        if (error) *error = QString("cannot link %1: %2").arg(path, strerror(errno));
        return false;
    }
    link_ = path;
    return true;
}

bool PtyPort::hangUp(QString* error) {
    if (closes_ >= 0) ::close(closes_);
    if (master_ >= 0) ::close(master_);
    closes_ = master_ = -1;
    out_.clear();
    peerPresent_ = false;
    emit hungUp();
    if (!open(error)) return false;
    const QString link = link_;
    link_.clear();
    return link.isEmpty() || makeLink(link, error);
}

void PtyPort::write(const QByteArray& bytes) {
    out_.append(bytes);
    flushOut();
}

void PtyPort::checkPeer() {
    if (closes_ < 0) return;
    alignas(inotify_event) char events[4096];
    bool closed = false;
    while (::read(closes_, events, sizeof events) > 0) closed = true;
    if (closed) peerAway();
}

void PtyPort::peerAway() {
    peerPresent_ = false;
    out_.clear();
    // What the kernel still holds for the line goes too: the next opener
    // must not read what was meant for the one who left. Only the slave's
    // side can drop its input queue; the close of our own look is no peer's.
    const int slave = ::open(slavePath_.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (slave >= 0) {
        ::tcflush(slave, TCIFLUSH);
        ::close(slave);
    }
    if (closes_ >= 0) {
        alignas(inotify_event) char events[4096];
        while (::read(closes_, events, sizeof events) > 0) {
        }
    }
    emit hungUp();
}

void PtyPort::poll() {
    checkPeer();
    char buf[512];
    for (;;) {
        const ssize_t n = ::read(master_, buf, sizeof buf);
        if (n > 0) {
            peerPresent_ = true;
            emit received(QByteArray(buf, static_cast<qsizetype>(n)));
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno == EIO) {
            // No slave open: the station is between two exchanges.
            if (peerPresent_) peerAway();
        } else if (n < 0 && errno == EAGAIN) {
            peerPresent_ = true;
        }
        break;
    }
    flushOut();
}

void PtyPort::flushOut() {
    if (out_.isEmpty()) {
        lastFlushMs_ = 0;
        return;
    }
    qsizetype allowed = out_.size();
    if (baud_ > 0) {
        const qint64 nowMs = QDateTime::currentMSecsSinceEpoch();
        if (lastFlushMs_ == 0)
            credit_ = 1;
        else
            credit_ += (nowMs - lastFlushMs_) * baud_ / 10000.0;
        lastFlushMs_ = nowMs;
        allowed = std::min<qsizetype>(out_.size(), static_cast<qsizetype>(credit_));
        if (allowed == 0) return;
    }
    const ssize_t n = ::write(master_, out_.constData(), static_cast<size_t>(allowed));
    if (n > 0) {
        out_.remove(0, n);
        credit_ -= static_cast<double>(n);
    } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
        out_.clear();  // EIO: no one on the line to hear it
    }
}

}  // namespace qelsim
