// Both serial port layers against a real pseudo-terminal, to what the exchange asks of a port.
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

// Polls until `done` or 2 s pass.
template <typename Done>
void Await(Done done) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < 2000) QThread::msleep(1);
}

class SerialPorts : public ::testing::TestWithParam<Factory> {
protected:
    void SetUp() override {
        master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
        SerialPortDevices[7] = QString::fromLocal8Bit(ptsname(master));
    }
    void TearDown() override {
        if (master >= 0) close(master);
        SerialPortDevices.clear();
    }
    std::unique_ptr<SerialPort> Open() {
        auto port = GetParam()();
        port->setCommPort(7);
        port->setSettings("9600,e,7,2");
        port->setPortOpen(true);
        return port;
    }
    int master = -1;
};

}  // namespace

// Guards the exchange's use of a port: send, what is waiting, read it, drop it, close.
TEST_P(SerialPorts, SendsReceivesDropsAndCloses) {
    auto port = Open();
    port->output(QByteArray::fromHex("010300020078"));
    QByteArray line;
    Await([&] {
        char c;
        while (::read(master, &c, 1) == 1) line += c;
        return line.size() >= 6;
    });
    EXPECT_EQ(line, QByteArray::fromHex("010300020078"));
    ASSERT_EQ(::write(master, "\x01\x03\xF0", 3), 3);
    Await([&] { return port->inBufferCount() >= 3; });
    EXPECT_EQ(port->inBufferCount(), 3);
    EXPECT_EQ(port->input(), QByteArray("\x01\x03\xF0", 3));
    EXPECT_EQ(port->inBufferCount(), 0);
    ASSERT_EQ(::write(master, "stale", 5), 5);
    Await([&] { return port->inBufferCount() >= 5; });
    port->clearInBuffer();
    EXPECT_EQ(port->inBufferCount(), 0);
    port->setPortOpen(false);
    EXPECT_FALSE(port->portOpen());
    EXPECT_THROW(port->input(), RuntimeError);
}

INSTANTIATE_TEST_SUITE_P(Layers, SerialPorts, ::testing::Values(&MakeQtSerialPort, &MakePosixSerialPort),
                         [](const auto& info) { return info.index == 0 ? "Qt" : "Posix"; });
