// Both serial port layers against a real pseudo-terminal, to one contract:
// what the exchange asks of a port (open by number, settings, send, what is
// waiting, drop it, close), a busy or missing device, a peer gone away.
#include "link.h"
#include "runtime_error.h"
#include "serial_port.h"

#include <QElapsedTimer>
#include <QThread>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

using namespace qel;

namespace {

using Factory = std::unique_ptr<SerialPort> (*)();

struct Pty {
    int master = -1;
    QString slave;
    Pty() {
        master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0) slave = QString::fromLocal8Bit(ptsname(master));
    }
    ~Pty() {
        if (master >= 0) close(master);
    }
    QByteArray read(int want) const {
        QByteArray got;
        QElapsedTimer t;
        t.start();
        char buf[256];
        while (got.size() < want && t.elapsed() < 2000) {
            const ssize_t n = ::read(master, buf, sizeof buf);
            if (n > 0) got.append(buf, n);
            else QThread::msleep(1);
        }
        return got;
    }
};

// Polls what the port holds until `want` bytes are in, or 2 s pass.
int Waiting(SerialPort& port, int want) {
    QElapsedTimer t;
    t.start();
    int n = 0;
    while ((n = port.inBufferCount()) < want && t.elapsed() < 2000) QThread::msleep(1);
    return n;
}

class SerialPorts : public ::testing::TestWithParam<Factory> {
protected:
    void SetUp() override {
        ASSERT_FALSE(pty.slave.isEmpty());
        SerialPortDevices[7] = pty.slave;
    }
    void TearDown() override { SerialPortDevices.clear(); }
    std::unique_ptr<SerialPort> Open() {
        auto port = GetParam()();
        port->setCommPort(7);
        port->setSettings("9600,e,7,2");
        port->setPortOpen(true);
        return port;
    }
    Pty pty;
};

}  // namespace

TEST_P(SerialPorts, SendsReceivesDropsAndCloses) {
    auto port = Open();
    ASSERT_TRUE(port->portOpen());
    port->output(QByteArray::fromHex("010300020078"));
    EXPECT_EQ(pty.read(6), QByteArray::fromHex("010300020078"));

    ASSERT_EQ(::write(pty.master, "\x01\x03\xF0", 3), 3);
    EXPECT_EQ(Waiting(*port, 3), 3);
    EXPECT_EQ(port->input(), QByteArray("\x01\x03\xF0", 3));
    EXPECT_EQ(port->inBufferCount(), 0);

    ASSERT_EQ(::write(pty.master, "stale", 5), 5);
    Waiting(*port, 5);
    port->clearInBuffer();
    EXPECT_EQ(port->inBufferCount(), 0);

    port->setPortOpen(false);
    EXPECT_FALSE(port->portOpen());
    EXPECT_THROW(port->input(), RuntimeError);
    port->setPortOpen(true);  // the exchange reopens for every request
    EXPECT_TRUE(port->portOpen());
}

TEST_P(SerialPorts, RefusesWhatCannotBe) {
    auto port = Open();
    EXPECT_THROW(port->setPortOpen(true), RuntimeError) << "already open";
    EXPECT_THROW(port->setCommPort(8), RuntimeError) << "number of an open port";
    auto second = GetParam()();
    second->setCommPort(7);
    EXPECT_THROW(second->setPortOpen(true), RuntimeError) << "a second program on the same line";
    port->setPortOpen(false);
    EXPECT_NO_THROW(second->setPortOpen(true)) << "free again once closed";

    SerialPortDevices[9] = "/dev/no-such-serial-device";
    auto missing = GetParam()();
    missing->setCommPort(9);
    EXPECT_THROW(missing->setPortOpen(true), RuntimeError);
    EXPECT_FALSE(missing->portOpen());
}

// The other side of a pseudo-terminal gone: nothing is waiting, nothing throws.
TEST_P(SerialPorts, APeerGoneAwayIsSilence) {
    auto port = Open();
    close(pty.master);
    pty.master = -1;
    EXPECT_EQ(port->inBufferCount(), 0);
    EXPECT_NO_THROW(port->output("x"));
    EXPECT_TRUE(port->input().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Layers, SerialPorts, ::testing::Values(&MakeQtSerialPort, &MakePosixSerialPort),
                         [](const auto& info) { return info.index == 0 ? "Qt" : "Posix"; });
