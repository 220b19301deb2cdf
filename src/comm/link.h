// The link to the controllers: one serial port for all chambers ("RTU",
// "ASC"), or one TCP socket per chamber ("ETH"). The port and the sockets
// belong to the main frame; here they are globals the exchange uses.
#pragma once

#include "serial_port.h"
#include "tcp_socket.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>

namespace qel {

// The main serial port, and the sockets by chamber number (index 0 = chamber 1).
extern std::unique_ptr<SerialPort> MSComm1;
extern std::array<std::unique_ptr<TcpSocket>, 30> Winsock;

// Where the sockets' data event leaves a reply as it came, transaction
// header included; pieces are joined. Only the socket whose reply an
// exchange awaits (RxSocket, a chamber index; -1 while none does) fills it:
// bytes on any other socket, or after the wait, are read and dropped, so
// that a late or unasked frame is never taken for the reply to a later one.
extern QByteArray RxBytes;
extern int RxSocket;

// True while the set-up form's line test holds the line: with the main port
// closed, an exchange then gives up at once.
extern bool CommTestRunning;

// Linux device of serial port n, from key "COMn" of section "Ports" of
// SetComm.ini when present (filled by the settings reader); else /dev/ttyS(n-1).
extern QMap<int, QString> SerialPortDevices;
QString SerialDeviceName(int portNumber);

// Creates the Qt port and the 30 sockets, once, before the first OpenLink.
// Tests may instead set MSComm1 or Winsock entries themselves.
void InstallQtLink();

// Takes down the port and sockets (at exit, and between tests).
void RemoveLink();

// Brings up the link that Protocol names. Returns -1 when this call opened
// the serial port, 0 in every other case (already open, ETH, unknown
// protocol, failure). A failure to open is logged "...Serial port error(Open)".
int16_t OpenLink();

// Closes the main serial port if it is open; the argument is not used.
void ClosePort(int16_t portNo);

// Event handlers of the sockets (the main frame's socket events).
void WinsockDataArrival(int chamberIndex, int bytesTotal);
void WinsockError(int chamberIndex, int number, const QString& description);
void WinsockConnect(int chamberIndex);

// Where messages for status panel 1 and the "Serial port error" box go.
extern std::function<void(const QString&)> ShowMessageBox;

}  // namespace qel
