// A scripted serial port for unit tests of the exchange, and Modbus frames
// laid out here from the framings, independently of the station's builders.
#pragma once

#include "serial_port.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <functional>

namespace qeltest {

class FakeSerialPort : public qel::SerialPort {
public:
    std::function<QByteArray(const QByteArray& request)> reply;  // answers each request sent, at once
    int opens = 0;
    int closes = 0;
    QString settings;
    QList<QByteArray> sent;

    bool portOpen() const override { return open_; }
    void setCommPort(int) override {}
    void setSettings(const QString& s) override { settings = s; }
    void setPortOpen(bool open) override;
    int inBufferCount() override { return static_cast<int>(pending_.size()); }
    void clearInBuffer() override { input(); }
    void clearOutBuffer() override {}
    void output(const QByteArray& bytes) override;
    QByteArray input() override;

private:
    bool open_ = false;
    QByteArray pending_;
};

// Puts a scripted port in place of the main serial port; the link owns it.
FakeSerialPort* InstallFakeSerialPort();

QByteArray FromHex(const QString& hex);
// CRC-16/MODBUS by a bitwise MSB-first formulation on reflected data.
uint16_t ReferenceCrc(const QByteArray& bytes);
QByteArray WithCrc(const QByteArray& bytes);  // RTU: bytes, CRC low, CRC high
QByteArray WithLrc(const QByteArray& bytes);  // ASCII: ':', hex, LRC, CR LF
// Modbus/TCP: transaction, protocol, length (by default that of unitAndPdu), then unitAndPdu.
QByteArray WithMbap(const QByteArray& unitAndPdu, int tid = 0x1234, int pid = 0, int length = -1);

// The reply to a read of `count` registers from `first`: address, 03, byte
// count, `value(reg)` of each register; no checksum.
QByteArray ReadReplyBody(int address, int first, int count, const std::function<uint16_t(int)>& value);

}  // namespace qeltest
