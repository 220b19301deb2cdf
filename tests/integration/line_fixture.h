// A line of simulated chambers in a qelsim process with the station's folder
// set up for it, and the JSON records and error logs the programs write.
#pragma once

#include "child_process.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <functional>

namespace qeltest {

struct SimChamber {
    int address;
    QString model;  // "QEL2000", "QEL2100"
};

QString ErrorLog(const QString& folder);        // the folder's error logs, decoded
QString MessageLogs(const QString& folder, const QString& chamberName);  // the chamber's message logs, decoded
bool EndsOnceAndLast(const QString& errorLog);  // "User End Program" once, as the last line

struct SimLine {
    // protocol "ETH", "RTU" or "ASC"; `extra` goes to qelsim as it is. Fills the folder from the shipped one.
    bool start(const QString& protocol, const QList<SimChamber>& chambers, const QStringList& extra = {},
               int pcSpeed = 100);
    QString command(const QString& line);  // one stdin command; what follows "ok", null on an error
    int requests(int address);             // what qelsim counted for the chamber, -1 unanswered
    QString ip(int address) const;         // the chamber's own loopback address (ETH)
    QStringList link(int address) const;   // qelpoll's options for that chamber
    QString folder() const { return dir.path(); }
    QString errorLog() const { return ErrorLog(folder()); }
    ChildProcess sim;
    QString protocol, pty, hostBase;
    int port = 0;
    QList<SimChamber> chambers;
    QTemporaryDir dir;

private:
    bool prepare(int pcSpeed);
};

QList<QJsonObject> Records(const QString& out);  // the JSON lines that name a chamber
QJsonObject LastRecord(const QString& out);
QJsonObject NextRecord(ChildProcess& program, int timeoutMs = 10000);  // empty after the timeout
// Reads records until `done` holds for one; false after `records` or when none comes in time.
bool ReadUntil(ChildProcess& program, const std::function<bool(const QJsonObject&)>& done, int records = 200);
inline double At(const QJsonObject& o, const char* field, int channel = 0) {
    return o[field].toArray()[channel].toDouble();
}

}  // namespace qeltest
