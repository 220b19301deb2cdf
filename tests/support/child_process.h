// A helper program run by a test (qelsim, a reference Modbus peer, qelpoll):
// started with its arguments, read line by line, stopped by its own handle
// when the object goes.
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace qeltest {

class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool start(const QString& program, const QStringList& args);
    // Waits for a line of stdout starting with `prefix`; returns the rest of
    // that line, or a null string after `timeoutMs`.
    QString waitForLine(const QString& prefix, int timeoutMs = 10000);
    void writeLine(const QString& line);
    void stop();
    QString stderrText();
    QProcess& process() { return process_; }

private:
    QProcess process_;
    QByteArray pending_;
};

// Runs a program to its end and gives its exit code and stdout.
struct RunResult {
    int exitCode = -1;
    QString out;
    QString err;
};
RunResult Run(const QString& program, const QStringList& args, int timeoutMs = 60000);

// A TCP port on loopback that nobody listens on right now.
quint16 FreePort();

}  // namespace qeltest
