// A helper program run by a test (qelsim, a reference Modbus peer, qelpoll):
// read line by line, stopped by its own handle when the object goes.
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace qeltest {

class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess() { stop(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool start(const QString& program, const QStringList& args);
    // The rest of the next stdout line starting with `prefix`, or a null string after `timeoutMs`.
    QString waitForLine(const QString& prefix, int timeoutMs = 10000);
    void writeLine(const QString& line);
    void stop();
    QString stderrText() { return QString::fromUtf8(process_.readAllStandardError()); }
    QProcess& process() { return process_; }

private:
    QProcess process_;
    QByteArray pending_;
};

// Runs a program to its end ("timed out" in err and exitCode -1 when it does not end).
struct RunResult {
    int exitCode = -1;
    QString out;
    QString err;
};
RunResult Run(const QString& program, const QStringList& args, int timeoutMs = 60000);

// A TCP port on loopback that nobody listens on right now.
quint16 FreePort();

}  // namespace qeltest
