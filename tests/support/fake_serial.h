// A scripted serial port for unit tests of the exchange: each request the
// station sends is answered at once by `reply(request)`. Integration tests
// use a real pseudo-terminal instead.
#pragma once

#include "serial_port.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>

namespace qeltest {

class FakeSerialPort : public qel::SerialPort {
public:
    std::function<QByteArray(const QByteArray& request)> reply;
    // The reply arrives this many ms (of the current clock) after the request;
    // a late reply outlives closing the port, as bytes on the wire do.
    int replyAfterMs = 0;
    // A device that never stops: every look at the buffer finds this many more bytes.
    int babbleBytes = 0;
    bool failOpen = false;
    int opens = 0;
    int closes = 0;
    QString settings;
    QList<QByteArray> sent;

    bool portOpen() const override { return open_; }
    void setCommPort(int) override {}
    void setSettings(const QString& s) override { settings = s; }
    void setPortOpen(bool open) override;
    int inBufferCount() override;
    void clearInBuffer() override;
    void clearOutBuffer() override {}
    void output(const QByteArray& bytes) override;
    QByteArray input() override;

private:
    void arrive();
    bool open_ = false;
    QByteArray pending_;
    QList<QPair<int64_t, QByteArray>> inFlight_;
};

// Puts a scripted port in place of the main serial port; the link owns it.
FakeSerialPort* InstallFakeSerialPort();

// Hex text to bytes and a Modbus RTU frame with its CRC, computed here
// independently of the station's own routine.
QByteArray FromHex(const QString& hex);
uint16_t ReferenceCrc(const QByteArray& bytes);
QByteArray WithCrc(const QByteArray& bytes);

// The reply to a read of `count` registers from `first`, where `value(reg)`
// gives each register: address, 03, byte count, data, no checksum.
QByteArray ReadReplyBody(int address, int first, int count, const std::function<uint16_t(int)>& value);

}  // namespace qeltest
