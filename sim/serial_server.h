// Modbus RTU or ASCII on one serial line (a pseudo-terminal), answering
// every address the bus holds. Frames come apart by their function code
// (RTU) or by ":" ... CR LF (ASCII); a frame with a bad CRC or LRC, or for an
// address no chamber has, gets no reply. A hang-up of the peer drops what
// was half received.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include "bus.h"
#include "pty.h"

namespace qelsim {

class SerialServer : public QObject {
    Q_OBJECT
public:
    // framing: Framing::Rtu or Framing::Ascii.
    SerialServer(Bus& bus, PtyPort& port, Framing framing, QObject* parent = nullptr);

private:
    void onReceived(const QByteArray& bytes);
    void onGap();
    void takeRtuFrames();
    void takeAsciiFrames();
    void answer(const QByteArray& frame);  // address + pdu, checksum already checked
    void send(const QByteArray& bytes, int delayMs);
    void babble(int address);  // starts the chamber's stream unless it runs

    Bus& bus_;
    PtyPort& port_;
    Framing framing_;
    QByteArray in_;
    QTimer gap_;  // a pause on the line ends a frame whose length the function does not tell
};

}  // namespace qelsim
