#include "line_fixture.h"

#include "app_folder.h"
#include "codepage.h"
#include "profile.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>

namespace qeltest {

void SimLine::describe(const QString& protocol, const QList<SimChamber>& chambers) {
    protocol_ = protocol;
    chambers_ = chambers;
    // A loopback network and port of its own, so parallel tests never meet.
    const quint32 net = QRandomGenerator::global()->bounded(2, 250);
    hostBase_ = QStringLiteral("127.%1.%2.1").arg(net).arg(QRandomGenerator::global()->bounded(1, 250));
    port_ = static_cast<int>(QRandomGenerator::global()->bounded(20000, 30000));
}

bool SimLine::start(const QString& protocol, const QList<SimChamber>& chambers, const QStringList& extra) {
    describe(protocol, chambers);
    QStringList args;
    if (protocol == "ETH") {
        args << "--tcp" << "--host-base" << hostBase_ << "--port" << QString::number(port_);
    } else {
        args << (protocol == "RTU" ? "--rtu" : "--asc");
    }
    for (const SimChamber& c : chambers)
        args << "--chamber" << QStringLiteral("%1:%2:%3").arg(c.address).arg(c.model, c.model == "QEL2000" ? "1" : "1,1");
    args << extra;
    if (!sim_.start(QStringLiteral(QELSIM_PATH), args)) return false;
    if (protocol != "ETH") {
        pty_ = sim_.waitForLine("pty");
        if (pty_.isEmpty()) return false;
    }
    return !sim_.waitForLine("ready").isNull();
}

QString SimLine::command(const QString& line) {
    sim_.writeLine(line);
    const QString ok = sim_.waitForLine("ok", 3000);
    return ok;
}

bool StationFolder::prepare(const SimLine& line, int pcSpeed) {
    const QString d = dir_.path();
    if (!qel::FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), d)) return false;
    auto comm = [&](const char* s, const char* k, const QString& v) {
        return qel::WriteProfileString(s, k, v, d + "/SetComm.ini");
    };
    auto tag = [&](const QString& s, const QString& k, const QString& v) {
        return qel::WriteProfileString(s, k, v, d + "/SetUserTag.ini");
    };
    bool ok = comm("CommSet", "Protocol", line.protocol() + "/") && comm("CommSet", "PCSpeed", QString::number(pcSpeed));
    if (line.protocol() == "ETH") {
        ok = ok && comm("CommSet", "RemotePort", QString::number(line.port()));
    } else {
        ok = ok && comm("CommSet", "Port Number", "1") && comm("Ports", "COM1", line.pty());
    }
    const QStringList base = line.hostBase().split('.');
    for (int i = 0; i < line.chambers().size(); ++i) {
        const SimChamber& c = line.chambers()[i];
        const QString n = QString::number(i + 1);
        const QString nn = n.rightJustified(2, '0');
        ok = ok && tag("Set", "Chamber " + nn, n) && tag("AddNo", "AddressNo " + nn, QString::number(c.address)) &&
             tag("Model", n, c.model + "/") && tag("Name", n, "Sim " + n + "/");
        if (line.protocol() == "ETH") {
            const QString ip = QStringLiteral("%1.%2.%3.%4").arg(base[0], base[1], base[2]).arg(base[3].toInt() + c.address - 1);
            ok = ok && tag("IPAddNo", n, ip + "E");
        }
    }
    return ok && tag("Set", "MAX_CHAMBER_NO", QString::number(line.chambers().size()));
}

QString StationFolder::errorLog() const {
    QString all;
    for (const QFileInfo& f : QDir(dir_.path() + "/Error").entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(f.absoluteFilePath());
        if (file.open(QIODevice::ReadOnly)) all += qel::FromCodePage(file.readAll());
    }
    return all;
}

QMap<int, QJsonObject> LastByChamber(const QString& out) {
    QMap<int, QJsonObject> last;
    for (const QString& line : out.split('\n', Qt::SkipEmptyParts)) {
        const QJsonObject o = QJsonDocument::fromJson(line.toUtf8()).object();
        if (o.contains("Chamber")) last[o["Chamber"].toInt()] = o;
    }
    return last;
}

}  // namespace qeltest
