#include "line_fixture.h"

#include "app_folder.h"
#include "codepage.h"
#include "profile.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>

namespace qeltest {

bool SimLine::start(const QString& framing, const QList<SimChamber>& line, const QStringList& extra, int pcSpeed) {
    protocol = framing;
    chambers = line;
    // A loopback network and port of its own, so parallel tests never meet.
    auto* random = QRandomGenerator::global();
    hostBase = QStringLiteral("127.%1.%2.1").arg(random->bounded(2, 250)).arg(random->bounded(1, 250));
    port = static_cast<int>(random->bounded(20000, 30000));
    QStringList args = {protocol == "ETH" ? "--tcp" : protocol == "RTU" ? "--rtu" : "--asc"};
    if (protocol == "ETH") args << "--host-base" << hostBase << "--port" << QString::number(port);
    for (const SimChamber& c : chambers)
        args << "--chamber" << QStringLiteral("%1:%2").arg(c.address).arg(c.model);
    if (!sim.start(QStringLiteral(QELSIM_PATH), args + extra)) return false;
    if (protocol != "ETH" && (pty = sim.waitForLine("pty")).isEmpty()) return false;
    return !sim.waitForLine("ready").isNull() && prepare(pcSpeed);
}

QString SimLine::command(const QString& line) {
    sim.writeLine(line);
    return sim.waitForLine("ok", 3000);
}

int SimLine::requests(int address) {
    const QString n = command("count " + QString::number(address));
    return n.isNull() ? -1 : n.toInt();
}

QString SimLine::ip(int address) const {
    return hostBase.section('.', 0, 2) + '.' + QString::number(hostBase.section('.', 3).toInt() + address - 1);
}

QStringList SimLine::link(int address) const {
    if (protocol == "ETH") return {"--protocol", "ETH", "--ip", ip(address), "--remote-port", QString::number(port)};
    return {"--protocol", protocol, "--device", pty};
}

bool SimLine::prepare(int pcSpeed) {
    const QString d = dir.path();
    const auto comm = [&](const char* s, const char* k, const QString& v) {
        return qel::WriteProfileString(s, k, v, d + "/SetComm.ini");
    };
    const auto tag = [&](const QString& s, const QString& k, const QString& v) {
        return qel::WriteProfileString(s, k, v, d + "/SetUserTag.ini");
    };
    bool ok = qel::FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), d) &&
              comm("CommSet", "Protocol", protocol + "/") && comm("CommSet", "PCSpeed", QString::number(pcSpeed)) &&
              (protocol == "ETH" ? comm("CommSet", "RemotePort", QString::number(port))
                                 : comm("CommSet", "Port Number", "1") && comm("Ports", "COM1", pty));
    for (int i = 0; i < chambers.size(); ++i) {
        const SimChamber& c = chambers[i];
        const QString n = QString::number(i + 1), nn = n.rightJustified(2, '0');
        ok = ok && tag("Set", "Chamber " + nn, n) && tag("AddNo", "AddressNo " + nn, QString::number(c.address)) &&
             tag("Model", n, c.model + "/") && tag("Name", n, "Sim " + n + "/") &&
             (protocol != "ETH" || tag("IPAddNo", n, ip(c.address) + "E"));
    }
    return ok && tag("Set", "MAX_CHAMBER_NO", QString::number(chambers.size()));
}

namespace {
QString LogsIn(const QString& logFolder) {
    QString all;
    for (const QFileInfo& f : QDir(logFolder).entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(f.absoluteFilePath());
        if (file.open(QIODevice::ReadOnly)) all += qel::FromCodePage(file.readAll());
    }
    return all;
}
}  // namespace

QString ErrorLog(const QString& folder) { return LogsIn(folder + "/Error"); }

QString MessageLogs(const QString& folder, const QString& chamberName) {
    return LogsIn(folder + "/Message/" + chamberName);
}

QList<QJsonObject> Records(const QString& out) {
    QList<QJsonObject> all;
    for (const QString& line : out.split('\n', Qt::SkipEmptyParts))
        if (const QJsonObject o = QJsonDocument::fromJson(line.toUtf8()).object(); o.contains("Chamber")) all << o;
    return all;
}

QJsonObject LastRecord(const QString& out) {
    const QList<QJsonObject> all = Records(out);
    return all.value(all.size() - 1);
}

QJsonObject NextRecord(ChildProcess& program, int timeoutMs) {
    const QString rest = program.waitForLine("{", timeoutMs);
    return rest.isNull() ? QJsonObject() : QJsonDocument::fromJson(('{' + rest).toUtf8()).object();
}

bool ReadUntil(ChildProcess& program, const std::function<bool(const QJsonObject&)>& done, int records) {
    for (QJsonObject o; records-- > 0 && !(o = NextRecord(program)).isEmpty();)
        if (done(o)) return true;
    return false;
}

bool EndsOnceAndLast(const QString& errorLog) {
    const QStringList lines = errorLog.split("\r\n", Qt::SkipEmptyParts);
    return lines.filter("User End Program").size() == 1 && lines.last().endsWith("  User End Program");
}

}  // namespace qeltest
