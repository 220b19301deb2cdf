// qelpoll: polls one chamber from the command line, for the field and for
// scripts, through the same exchange and poll block as the station.
#include "clock.h"
#include "link.h"
#include "qel2000_poll.h"
#include "record_json.h"
#include "remote_keys.h"
#include "state.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QStandardPaths>
#include <cstdio>

using namespace qel;

namespace {

void Fail(const QString& message) {
    std::fprintf(stderr, "qelpoll: %s\n", message.toLocal8Bit().constData());
    std::exit(2);
}

QString ChannelLine(int ch) {
    const ChamberRec& r = Chamber[0];
    return QStringLiteral("CH%1 PV %2 SP %3 MV %4 status %5 run %6s")
        .arg(ch + 1)
        .arg(r.PV[ch])
        .arg(r.SP[ch])
        .arg(r.MV[ch])
        .arg(r.Status[ch])
        .arg(r.RunTime[ch]);
}

void PrintPoll(bool json, int count) {
    if (json) {
        std::printf("%s\n", QJsonDocument(ChamberRecJson(1)).toJson(QJsonDocument::Compact).constData());
    } else if (CommError[0] != 0 || FailCount[0] > 0) {
        std::printf("poll %d: no good reply (FailCount %d, CommError %d)\n", count, FailCount[0], CommError[0]);
    } else {
        QString line = QStringLiteral("poll %1:").arg(count);
        for (int ch = 0; ch < std::max<int>(1, Chamber[0].ChannelCount); ++ch) line += u' ' + ChannelLine(ch);
        std::printf("%s\n", line.toLocal8Bit().constData());
    }
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("qelpoll"));

    QCommandLineParser p;
    p.setApplicationDescription(QStringLiteral(
        "Polls one QEL2000 or QEL2100 chamber controller over Modbus and prints what it reads.\n"
        "Serial: qelpoll --protocol RTU --device /dev/ttyUSB0 --baud 9600 --address 1 --model QEL2000\n"
        "Key:    qelpoll --protocol RTU --device /dev/ttyUSB0 --address 1 --key run --channel 1 --count 3\n"
        "TCP:    qelpoll --protocol ETH --ip 192.0.2.10 --remote-port 502 --address 1 --model QEL2100 --json"));
    p.addHelpOption();
    p.addOption({QStringLiteral("protocol"), QStringLiteral("RTU, ASC (Modbus ASCII) or ETH (Modbus/TCP)."),
                 QStringLiteral("name"), QStringLiteral("RTU")});
    p.addOption({QStringLiteral("device"), QStringLiteral("Serial device for RTU and ASC, e.g. /dev/ttyUSB0."),
                 QStringLiteral("path")});
    p.addOption({QStringLiteral("baud"), QStringLiteral("Baud rate of the serial line (9600, 19200, 38400)."),
                 QStringLiteral("n"), QStringLiteral("9600")});
    p.addOption({QStringLiteral("parity"), QStringLiteral("Parity of the serial line: None, Even or Odd."),
                 QStringLiteral("p"), QStringLiteral("None")});
    p.addOption({QStringLiteral("ip"), QStringLiteral("Controller address for ETH."), QStringLiteral("address")});
    p.addOption({QStringLiteral("remote-port"), QStringLiteral("TCP port for ETH."), QStringLiteral("port"),
                 QStringLiteral("502")});
    p.addOption({QStringLiteral("address"), QStringLiteral("Modbus slave address of the controller."),
                 QStringLiteral("n"), QStringLiteral("1")});
    p.addOption({QStringLiteral("model"), QStringLiteral("QEL2000 (one channel) or QEL2100 (two channels)."),
                 QStringLiteral("model"), QStringLiteral("QEL2000")});
    p.addOption({QStringLiteral("dp"),
                 QStringLiteral("Decimal places of each channel (0, 1 or 2), comma separated, e.g. 1,1."),
                 QStringLiteral("d1,d2"), QStringLiteral("1,1")});
    p.addOption({QStringLiteral("pcspeed"), QStringLiteral("Reply time budget in milliseconds."), QStringLiteral("ms"),
                 QStringLiteral("300")});
    p.addOption({QStringLiteral("count"), QStringLiteral("Number of polls; 0 polls until interrupted."),
                 QStringLiteral("n"), QStringLiteral("1")});
    p.addOption({QStringLiteral("json"),
                 QStringLiteral("Print one JSON object per poll: every record field, CommError, FailCount.")});
    p.addOption({QStringLiteral("key"),
                 QStringLiteral("Send an operator key before polling: run, stop, hold, step or user."),
                 QStringLiteral("key")});
    p.addOption({QStringLiteral("channel"), QStringLiteral("Channel the key goes to (1 to 3)."), QStringLiteral("k"),
                 QStringLiteral("1")});
    p.addOption({QStringLiteral("app-dir"),
                 QStringLiteral("Folder whose Error/ subfolder takes the error log (default: a per-user data folder)."),
                 QStringLiteral("dir")});
    p.process(app);

    ResetAllState();
    ResetRunState();
    FillBitTables();

    Protocol = p.value(QStringLiteral("protocol")).toUpper();
    if (Protocol != u"RTU" && Protocol != u"ASC" && Protocol != u"ETH")
        Fail(QStringLiteral("unknown protocol ") + Protocol);
    const QString model = p.value(QStringLiteral("model")).toUpper();
    if (model != u"QEL2000" && model != u"QEL2100") Fail(QStringLiteral("unknown model ") + model);
    const int channel = p.value(QStringLiteral("channel")).toInt();
    if (channel < 1 || channel > 3) Fail(QStringLiteral("--channel takes 1, 2 or 3"));

    QString dir = p.value(QStringLiteral("app-dir"));
    if (dir.isEmpty()) dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(dir);
    AppPath = QDir(dir).absolutePath() + u'/';
    QDir(AppPath).mkpath(QStringLiteral("Error"));

    PortNumber = 1;
    if (Protocol != u"ETH") {
        if (!p.isSet(QStringLiteral("device"))) Fail(QStringLiteral("--device is needed for RTU and ASC"));
        SerialPortDevices[1] = p.value(QStringLiteral("device"));
    } else if (!p.isSet(QStringLiteral("ip"))) {
        Fail(QStringLiteral("--ip is needed for ETH"));
    }
    BaudRate = p.value(QStringLiteral("baud"));
    Parity = p.value(QStringLiteral("parity"));
    if (Parity != u"None" && Parity != u"Even" && Parity != u"Odd")
        Fail(QStringLiteral("parity must be None, Even or Odd"));
    RemotePort = static_cast<int16_t>(p.value(QStringLiteral("remote-port")).toInt());
    PCSpeed = static_cast<int16_t>(std::clamp(p.value(QStringLiteral("pcspeed")).toInt(), 1, 30000));

    MaxChamberNo = 1;
    ChamberUse[0] = QStringLiteral("1");
    ChamberAddress[0] = p.value(QStringLiteral("address"));
    ChamberIP[0] = p.value(QStringLiteral("ip"));
    ChamberModel[0] = model;
    Chamber[0].ChannelCount = ChannelCountOf(model);
    const QStringList dps = p.value(QStringLiteral("dp")).split(u',');
    for (int k = 0; k < std::min<qsizetype>(dps.size(), 3); ++k) {
        const int places = dps[k].trimmed().toInt();
        if (places < 0 || places > 2) Fail(QStringLiteral("--dp takes 0, 1 or 2 places per channel"));
        Chamber[0].DP[k] = QString(places, u'0');
    }

    InstallQtLink();
    OpenLink();
    if (Protocol == u"ETH") WaitSec(PCSpeed / 1000.0);

    if (p.isSet(QStringLiteral("key"))) {
        const QString key = p.value(QStringLiteral("key")).toLower();
        StatusPanel3 = p.value(QStringLiteral("channel"));  // the key routines take the channel from here
        if (key == u"run")
            SetStartPT(1);
        else if (key == u"stop")
            SetStopMode(1);
        else if (key == u"hold")
            SetHoldMode(1, 1);
        else if (key == u"step")
            SetAdvMode(1);
        else if (key == u"user")
            SetUserKey(1);
        else
            Fail(QStringLiteral("--key takes run, stop, hold, step or user"));
    }

    const int count = p.value(QStringLiteral("count")).toInt();
    for (int n = 1; count <= 0 || n <= count; ++n) {
        ReadCommBlock(1);
        PrintPoll(p.isSet(QStringLiteral("json")), n);
        if (count <= 0 || n < count) WaitSec(0.1);
    }
    const bool failed = CommError[0] != 0 || FailCount[0] > 0;
    ClosePort(PortNumber);
    RemoveLink();
    return failed ? 1 : 0;
}
