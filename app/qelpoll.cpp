// qelpoll: polls one chamber from the command line, for the field and for
// scripts, through the same exchange and poll block as the station.
#include "clock.h"
#include "link.h"
#include "pattern_cli.h"
#include "poll_walk.h"
#include "record_json.h"
#include "remote_keys.h"
#include "state.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QStandardPaths>
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>

using namespace qel;

namespace {

// Everything the command line asks for, checked before any port is touched.
struct PollOptions {
    QString protocol;  // "RTU", "ASC", "ETH"
    QString device;
    QString ip;
    QString baud;
    QString parity;
    int remotePort = 502;
    int address = 1;
    QString model;
    std::array<int, 3> dp{1, 1, 1};
    int pcSpeed = 300;
    int count = 1;
    QString key;  // "" when no key is sent
    int channel = 1;
    bool json = false;
    QString appDir;
    int readPattern = 0;  // 0: no pattern is read
    QString ptn;          // the file it goes to
    QString writePattern; // a .PTN file to write into the controller
};

// The line speeds a controller's serial port is set to.
constexpr std::array<int, 8> kLineSpeeds{1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

// Decimal digits only (no sign, blank or "&H"), within [lo, hi].
bool WholeNumber(const QString& text, int lo, int hi, int* out) {
    static const QRegularExpression digits(QStringLiteral("^[0-9]{1,9}$"));
    if (!digits.match(text).hasMatch()) return false;
    const int v = text.toInt();
    if (v < lo || v > hi) return false;
    *out = v;
    return true;
}

// The channels a model has on the line. The record counts none for the
// QEL2200 and QEL2300, whose channels run together under one pattern.
int ChannelsOf(const QString& model) {
    if (model == u"QEL2200") return 2;
    if (model == u"QEL2300") return 3;
    return ChannelCountOf(model);
}

QString Quoted(const QString& text) { return u'"' + text + u'"'; }

QString Refusal(const char* option, const char* takes, const QString& value) {
    return QStringLiteral("--%1 takes %2, not %3").arg(QLatin1String(option), QLatin1String(takes), Quoted(value));
}

// Fills `o` from the parsed command line; returns why it cannot be run, or ""
// when every option is well-formed and in range. A malformed address must
// never reach the line as 0: every controller obeys address 0.
QString CheckOptions(const QCommandLineParser& p, PollOptions& o) {
    const auto value = [&p](const char* name) { return p.value(QLatin1String(name)); };
    o.protocol = value("protocol").toUpper();
    if (o.protocol != u"RTU" && o.protocol != u"ASC" && o.protocol != u"ETH")
        return Refusal("protocol", "RTU, ASC or ETH", value("protocol"));
    o.model = value("model").toUpper();
    if (!HasPollBlock(o.model)) return Refusal("model", "QEL2000, QEL2100, QEL2200, QEL2300 or QEL2400", value("model"));
    o.parity = value("parity");
    if (o.parity != u"None" && o.parity != u"Even" && o.parity != u"Odd")
        return Refusal("parity", "None, Even or Odd", o.parity);

    int baud = 0;
    if (!WholeNumber(value("baud"), 1, 1000000, &baud) ||
        std::find(kLineSpeeds.begin(), kLineSpeeds.end(), baud) == kLineSpeeds.end())
        return Refusal("baud", "a line speed (1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200)", value("baud"));
    o.baud = QString::number(baud);
    if (!WholeNumber(value("remote-port"), 1, 65535, &o.remotePort))
        return Refusal("remote-port", "a TCP port 1 to 65535", value("remote-port"));
    if (!WholeNumber(value("address"), 1, 247, &o.address))
        return Refusal("address", "a slave address 1 to 247", value("address"));
    if (!WholeNumber(value("pcspeed"), 10, 30000, &o.pcSpeed))
        return Refusal("pcspeed", "a reply time of 10 to 30000 milliseconds", value("pcspeed"));
    if (!WholeNumber(value("count"), 0, 1000000000, &o.count))
        return Refusal("count", "a whole number of polls (0 polls until interrupted)", value("count"));
    if (!WholeNumber(value("channel"), 1, 3, &o.channel)) return Refusal("channel", "1, 2 or 3", value("channel"));

    if (p.isSet(QStringLiteral("dp"))) {
        const QStringList places = value("dp").split(u',');
        const int channels = ChannelsOf(o.model);
        if (places.size() > channels)
            return QStringLiteral("--dp gives %1 channels, but a %2 has %3")
                .arg(places.size())
                .arg(o.model)
                .arg(channels);
        for (qsizetype k = 0; k < places.size(); ++k)
            if (!WholeNumber(places[k].trimmed(), 0, 2, &o.dp[static_cast<size_t>(k)]))
                return Refusal("dp", "0, 1 or 2 places per channel, comma separated", value("dp"));
    }

    if (p.isSet(QStringLiteral("key"))) {
        o.key = value("key").toLower();
        if (o.key != u"run" && o.key != u"stop" && o.key != u"hold" && o.key != u"step" && o.key != u"user")
            return Refusal("key", "run, stop, hold, step or user", value("key"));
    }

    o.device = value("device").trimmed();
    o.ip = value("ip").trimmed();
    if (o.protocol == u"ETH" && o.ip.isEmpty()) return QStringLiteral("--ip is needed for ETH");
    if (o.protocol != u"ETH" && o.device.isEmpty()) return QStringLiteral("--device is needed for RTU and ASC");

    if (!p.positionalArguments().isEmpty())
        return QStringLiteral("unexpected argument ") + Quoted(p.positionalArguments().constFirst());
    o.json = p.isSet(QStringLiteral("json"));
    o.appDir = value("app-dir");
    if (p.isSet(QStringLiteral("read-pattern")) &&
        !WholeNumber(value("read-pattern"), 1, 999, &o.readPattern))
        return Refusal("read-pattern", "a pattern number 1 to 999", value("read-pattern"));
    o.ptn = value("ptn");
    o.writePattern = value("write-pattern");
    if (o.readPattern && o.ptn.isEmpty()) return QStringLiteral("--read-pattern needs --ptn FILE");
    if (o.readPattern && !o.writePattern.isEmpty()) return QStringLiteral("--read-pattern and --write-pattern exclude each other");
    if ((o.readPattern || !o.writePattern.isEmpty()) && o.channel > ChannelsOf(o.model))
        return QStringLiteral("a %1 has no channel %2").arg(o.model).arg(o.channel);
    return QString();
}

int Refuse(const QString& why) {
    std::fprintf(stderr, "qelpoll: %s\n", why.toLocal8Bit().constData());
    return 2;
}

QString ChannelLine(int ch) {
    const ChamberRec& r = Chamber[0];
    // One run state for all channels where one pattern runs them.
    const int run = ChannelsOf(ChamberModel[0]) > std::max<int>(1, r.ChannelCount) ? 0 : ch;
    return QStringLiteral("CH%1 PV %2 SP %3 MV %4 status %5 run %6s")
        .arg(ch + 1)
        .arg(r.PV[ch])
        .arg(r.SP[ch])
        .arg(r.MV[ch])
        .arg(r.Status[run])
        .arg(r.RunTime[run]);
}

void PrintPoll(bool json, int count) {
    if (json) {
        std::printf("%s\n", QJsonDocument(ChamberRecJson(1)).toJson(QJsonDocument::Compact).constData());
    } else if (CommError[0] != 0 || FailCount[0] > 0) {
        std::printf("poll %d: no good reply (FailCount %d, CommError %d)\n", count, FailCount[0], CommError[0]);
    } else {
        QString line = QStringLiteral("poll %1:").arg(count);
        for (int ch = 0; ch < ChannelsOf(ChamberModel[0]); ++ch) line += u' ' + ChannelLine(ch);
        std::printf("%s\n", line.toLocal8Bit().constData());
    }
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    // A file-size limit then fails a log or pattern-file write as a full disk does, instead of ending the program.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("qelpoll"));

    QCommandLineParser p;
    p.setApplicationDescription(QStringLiteral(
        "Polls one QEL2000 or QEL2100 chamber controller over Modbus and prints what it reads.\n"
        "Serial: qelpoll --protocol RTU --device /dev/ttyUSB0 --baud 9600 --address 1 --model QEL2000\n"
        "Key:    qelpoll --protocol RTU --device /dev/ttyUSB0 --address 1 --key run --channel 1 --count 3\n"
        "TCP:    qelpoll --protocol ETH --ip 192.0.2.10 --remote-port 502 --address 1 --model QEL2100 --json\n"
        "A malformed or out-of-range option ends qelpoll with status 2 before anything is sent."));
    const QCommandLineOption help = p.addHelpOption();
    p.addOption({QStringLiteral("protocol"), QStringLiteral("RTU, ASC (Modbus ASCII) or ETH (Modbus/TCP)."),
                 QStringLiteral("name"), QStringLiteral("RTU")});
    p.addOption({QStringLiteral("device"), QStringLiteral("Serial device for RTU and ASC, e.g. /dev/ttyUSB0."),
                 QStringLiteral("path")});
    p.addOption({QStringLiteral("baud"),
                 QStringLiteral("Baud rate of the serial line: 1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200."),
                 QStringLiteral("n"), QStringLiteral("9600")});
    p.addOption({QStringLiteral("parity"), QStringLiteral("Parity of the serial line: None, Even or Odd."),
                 QStringLiteral("p"), QStringLiteral("None")});
    p.addOption({QStringLiteral("ip"), QStringLiteral("Controller address for ETH."), QStringLiteral("address")});
    p.addOption({QStringLiteral("remote-port"), QStringLiteral("TCP port for ETH, 1 to 65535."), QStringLiteral("port"),
                 QStringLiteral("502")});
    p.addOption({QStringLiteral("address"), QStringLiteral("Modbus slave address of the controller, 1 to 247."),
                 QStringLiteral("n"), QStringLiteral("1")});
    p.addOption({QStringLiteral("model"), QStringLiteral("QEL2000 (one channel), QEL2100 (two), QEL2200 (two under one pattern), QEL2300 (three rooms) or QEL2400 (three channels)."),
                 QStringLiteral("model"), QStringLiteral("QEL2000")});
    p.addOption({QStringLiteral("dp"),
                 QStringLiteral("Decimal places of each channel (0, 1 or 2), comma separated, at most one per "
                                "channel of the model, e.g. 1,1 (default: 1 for each channel)."),
                 QStringLiteral("d1,d2")});
    p.addOption({QStringLiteral("pcspeed"), QStringLiteral("Reply time budget in milliseconds, 10 to 30000."),
                 QStringLiteral("ms"), QStringLiteral("300")});
    p.addOption({QStringLiteral("count"), QStringLiteral("Number of polls; 0 polls until interrupted."),
                 QStringLiteral("n"), QStringLiteral("1")});
    p.addOption({QStringLiteral("json"),
                 QStringLiteral("Print one JSON object per poll: every record field, CommError, FailCount.")});
    p.addOption({QStringLiteral("key"),
                 QStringLiteral("Send an operator key before polling: run, stop, hold, step or user."),
                 QStringLiteral("key")});
    p.addOption({QStringLiteral("channel"), QStringLiteral("Channel the key goes to (1 to 3)."), QStringLiteral("k"),
                 QStringLiteral("1")});
    p.addOption({QStringLiteral("read-pattern"),
                 QStringLiteral("Read pattern n of --channel from the controller into the .PTN file --ptn."),
                 QStringLiteral("n")});
    p.addOption({QStringLiteral("ptn"), QStringLiteral("The .PTN file --read-pattern writes."), QStringLiteral("file")});
    p.addOption({QStringLiteral("write-pattern"),
                 QStringLiteral("Write a .PTN file into the controller (the pattern number it holds, channel "
                                "--channel): the pattern is cleared and written whole. A bad file is refused "
                                "before anything is sent."),
                 QStringLiteral("file")});
    p.addOption({QStringLiteral("app-dir"),
                 QStringLiteral("Folder whose Error/ subfolder takes the error log (default: a per-user data folder)."),
                 QStringLiteral("dir")});
    if (!p.parse(app.arguments())) return Refuse(p.errorText());
    if (p.isSet(help)) p.showHelp(0);

    ResetAllState();
    ResetRunState();
    FillBitTables();

    PollOptions o;
    if (const QString why = CheckOptions(p, o); !why.isEmpty()) return Refuse(why);

    QString dir = o.appDir;
    if (dir.isEmpty()) dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (dir.isEmpty() || !QDir().mkpath(dir) || !QDir(dir).mkpath(QStringLiteral("Error")))
        return Refuse(QStringLiteral("cannot make the folder ") + Quoted(QDir(dir).filePath(QStringLiteral("Error"))));
    AppPath = QDir(dir).absolutePath() + u'/';

    Protocol = o.protocol;
    PortNumber = 1;
    if (Protocol != u"ETH") SerialPortDevices[1] = o.device;
    BaudRate = o.baud;
    Parity = o.parity;
    // The setting is 16 bits wide, as in the settings file; a port above
    // 32767 keeps its bits and reaches the socket as the same number.
    RemotePort = static_cast<int16_t>(static_cast<uint16_t>(o.remotePort));
    PCSpeed = static_cast<int16_t>(o.pcSpeed);

    MaxChamberNo = 1;
    ChamberUse[0] = QStringLiteral("1");
    ChamberAddress[0] = QString::number(o.address);
    ChamberIP[0] = o.ip;
    ChamberModel[0] = o.model;
    Chamber[0].ChannelCount = ChannelCountOf(o.model);
    for (size_t k = 0; k < o.dp.size(); ++k) Chamber[0].DP[k] = QString(o.dp[k], u'0');

    int filePattern = 0;
    if (!o.writePattern.isEmpty())
        if (const QString why = PatternFileProblem(o.writePattern, o.channel, &filePattern); !why.isEmpty())
            return Refuse(why);

    InstallQtLink();
    OpenLink();
    if (Protocol == u"ETH") WaitSec(PCSpeed / 1000.0);

    if (o.readPattern || filePattern) {
        const int rc = o.readPattern ? ReadPatternToFile(o.readPattern, o.channel, o.ptn)
                                     : WritePatternFile(o.writePattern, filePattern, o.channel);
        ClosePort(PortNumber);
        RemoveLink();
        return rc;
    }

    if (!o.key.isEmpty()) {
        StatusPanel3 = QString::number(o.channel);  // the key routines take the channel from here
        if (o.key == u"run")
            SetStartPT(1);
        else if (o.key == u"stop")
            SetStopMode(1);
        else if (o.key == u"hold")
            SetHoldMode(1, 1);
        else if (o.key == u"step")
            SetAdvMode(1);
        else
            SetUserKey(1);
    }

    for (int n = 1; o.count == 0 || n <= o.count; ++n) {
        PollChamber(1);
        PrintPoll(o.json, n);
        if (o.count == 0 || n < o.count) WaitSec(0.1);
    }
    const bool failed = CommError[0] != 0 || FailCount[0] > 0;
    ClosePort(PortNumber);
    RemoveLink();
    return failed ? 1 : 0;
}
