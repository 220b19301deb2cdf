#include "link.h"

#include "clock.h"
#include "errorlog.h"
#include "runtime_error.h"
#include "state.h"
#include "vbtext.h"

#include <cstdio>
#include <algorithm>
#include <cstdlib>

namespace qel {

std::unique_ptr<SerialPort> MSComm1;
std::array<std::unique_ptr<TcpSocket>, 30> Winsock;
QByteArray RxBytes;
int RxSocket = -1;
bool CommTestRunning = false;
QMap<int, QString> SerialPortDevices;
std::function<void(const QString&)> ShowMessageBox = [](const QString& text) {
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
};

QString SerialDeviceName(int portNumber) {
#ifdef Q_OS_WIN
    return QStringLiteral("COM%1").arg(portNumber);
#else
    const auto it = SerialPortDevices.constFind(portNumber);
    if (it != SerialPortDevices.constEnd() && !it->trimmed().isEmpty()) return it->trimmed();
    return QStringLiteral("/dev/ttyS%1").arg(portNumber - 1);
#endif
}

void InstallQtLink() {
    if (!MSComm1) MSComm1 = MakeSerialPort();
    TcpSocket::Handlers h;
    h.dataArrival = WinsockDataArrival;
    h.error = WinsockError;
    h.connected = WinsockConnect;
    for (int i = 0; i < kMaxChambers; ++i)
        if (!Winsock[i]) Winsock[i] = MakeQtTcpSocket(i, h);
}

void RemoveLink() {
    MSComm1.reset();
    for (auto& s : Winsock) s.reset();
    RxBytes.clear();
    RxSocket = -1;
}

int16_t OpenLink() {
    try {
        if (Protocol == u"RTU" || Protocol == u"ASC") {
            const QString letter = Parity == u"None"   ? QStringLiteral("n")
                                   : Parity == u"Even" ? QStringLiteral("e")
                                   : Parity == u"Odd"  ? QStringLiteral("o")
                                                       : QString();
            if (!MSComm1) throw RuntimeError(err::DeviceUnavailable);
            if (MSComm1->portOpen()) return 0;
            MSComm1->setCommPort(PortNumber);
            MSComm1->setSettings(BaudRate + u',' + letter + u',' + DataLen + u',' + StopBit);
            MSComm1->setPortOpen(true);
            return -1;
        }
        if (Protocol == u"ETH") {
            const int last = std::min<int>(MaxChamberNo, kMaxChambers);
            for (int c = 1; c <= last; ++c) {
                if (Val(ChamberUse[c - 1]) == 0) continue;
                TcpSocket* s = Winsock[c - 1].get();
                if (!s) continue;
                s->close();
                if (s->state() != sck::Connecting && s->state() != sck::Connected) {
                    s->setRemoteHost(ChamberIP[c - 1]);
                    s->setRemotePort(RemotePort);
                    s->connectToPeer();
                }
            }
        }
        return 0;
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("Serial port error(Open)"));
        return 0;
    }
}

void ClosePort(int16_t /*portNo: kept for the callers, not used*/) {
    try {
        if (MSComm1 && MSComm1->portOpen()) MSComm1->setPortOpen(false);
    } catch (const RuntimeError& e) {
        ShowMessageBox(e.description() + QStringLiteral("Serial port error"));
        ErrorTail(e.description(), QStringLiteral("Serial port error(Close)"));
    }
}

void WinsockDataArrival(int chamberIndex, int /*bytesTotal*/) {
    if (chamberIndex < 0 || chamberIndex >= kMaxChambers || !Winsock[chamberIndex]) return;
    // Replies are spaced by at least PCSpeed from the end of the last exchange
    // (not with FastReply, whose reads end as soon as their reply is whole).
    while (FastReply != 1 && !ProgramEnding() && std::abs(static_cast<int64_t>(AbsTickCount()) - LastTick) <= PCSpeed) {
        CurrentClock().sleepMs(1);
        DoEvents();
    }
    LastTick = AbsTickCount();
    if (!Winsock[chamberIndex]) return;  // the link was taken down during the wait
    const QByteArray data = Winsock[chamberIndex]->getData();
    if (chamberIndex != RxSocket) return;  // nobody asked: a late or repeated frame
    // A reply in several pieces is joined. Past the longest reply nothing more
    // is kept: the reply is refused as too long all the same.
    constexpr qsizetype kKeep = 1024;
    RxBytes += data.left(std::max<qsizetype>(0, kKeep - RxBytes.size()));
}

void WinsockError(int chamberIndex, int number, const QString& /*description*/) {
    if (chamberIndex < 0 || chamberIndex >= kMaxChambers) return;
    StatusPanel1 = ChamberIP[chamberIndex];
    if (number == sck::ConnectionRefused && Winsock[chamberIndex]) Winsock[chamberIndex]->close();
}

void WinsockConnect(int /*chamberIndex*/) {}

}  // namespace qel
