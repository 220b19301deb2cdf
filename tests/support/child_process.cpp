#include "child_process.h"

#include <QElapsedTimer>
#include <QTcpServer>

namespace qeltest {

bool ChildProcess::start(const QString& program, const QStringList& args) {
    process_.start(program, args);
    return process_.waitForStarted(10000);
}

QString ChildProcess::waitForLine(const QString& prefix, int timeoutMs) {
    QElapsedTimer t;
    t.start();
    for (;;) {
        for (qsizetype nl; (nl = pending_.indexOf('\n')) >= 0;) {
            const QString line = QString::fromUtf8(pending_.left(nl)).trimmed();
            pending_.remove(0, nl + 1);
            if (line.startsWith(prefix)) return line.mid(prefix.size()).trimmed();
        }
        const int left = timeoutMs - static_cast<int>(t.elapsed());
        if (left <= 0 || process_.state() == QProcess::NotRunning) return QString();
        if (process_.waitForReadyRead(std::min(left, 200))) pending_ += process_.readAllStandardOutput();
    }
}

void ChildProcess::writeLine(const QString& line) {
    process_.write((line + u'\n').toUtf8());
    process_.waitForBytesWritten(1000);
}

void ChildProcess::stop() {
    if (process_.state() == QProcess::NotRunning) return;
    process_.terminate();
    if (!process_.waitForFinished(3000)) {
        process_.kill();
        process_.waitForFinished(3000);
    }
}

RunResult Run(const QString& program, const QStringList& args, int timeoutMs) {
    QProcess p;
    p.start(program, args);
    RunResult r;
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished(2000);
        r.err = QStringLiteral("timed out");
        return r;
    }
    r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

quint16 FreePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

}  // namespace qeltest
