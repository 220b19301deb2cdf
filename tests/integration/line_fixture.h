// A line of simulated chambers in a qelsim process, and an application
// folder for the station that points at it.
#pragma once

#include "child_process.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace qeltest {

struct SimChamber {
    int address;
    QString model;  // "QEL2000", "QEL2100"
};

class SimLine {
public:
    // protocol "ETH", "RTU" or "ASC"; extra arguments go to qelsim as they are.
    bool start(const QString& protocol, const QList<SimChamber>& chambers, const QStringList& extra = {});
    // The line's description only, no simulator (for a folder that names no chambers).
    void describe(const QString& protocol, const QList<SimChamber>& chambers);
    QString command(const QString& line);  // one stdin command, its answer line
    const QString& protocol() const { return protocol_; }
    const QString& pty() const { return pty_; }
    const QString& hostBase() const { return hostBase_; }
    int port() const { return port_; }
    const QList<SimChamber>& chambers() const { return chambers_; }
    ChildProcess& process() { return sim_; }

private:
    ChildProcess sim_;
    QString protocol_;
    QString pty_;
    QString hostBase_;
    int port_ = 0;
    QList<SimChamber> chambers_;
};

// The shipped application folder, set up for `line`: chamber table, link,
// PCSpeed.
class StationFolder {
public:
    bool prepare(const SimLine& line, int pcSpeed = 100);
    QString path() const { return dir_.path(); }
    QString errorLog() const;

private:
    QTemporaryDir dir_;
};

// The JSON lines of a run, by chamber: the last object seen for each.
QMap<int, QJsonObject> LastByChamber(const QString& out);

}  // namespace qeltest
