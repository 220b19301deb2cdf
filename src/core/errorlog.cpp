#include "errorlog.h"

#include "clock.h"
#include "codepage.h"
#include "runtime_error.h"
#include "state.h"
#include "vbtext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdio>

namespace qel {

bool AppendWhole(const QString& filePath, const QByteArray& line, QString& why) {
    QFile f(filePath);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        why = f.error() == QFileDevice::OpenError && !QFileInfo(filePath).absoluteDir().exists()
                  ? QString::fromUtf8(err::PathNotFound)
                  : QString::fromUtf8(err::PathFileAccess);
        return false;
    }
    const qint64 before = f.size();
    const qint64 n = f.write(line);
    const bool flushed = f.flush();
    if (n != line.size() || !flushed) {
        // A line is written whole or not at all: what part of it reached the
        // disk is cut off again, so the next line does not run on from it.
        f.resize(before);
        f.close();
        why = QString::fromUtf8(err::DiskFull);
        return false;
    }
    f.close();
    return true;
}

void AppendLogLine(const QString& filePath, const QString& text) {
    const QString stamp = FormatDate(Now(), QStringLiteral("YYYYMMDD HH:MM:SS"));
    const QByteArray line = ToCodePage(stamp + QStringLiteral("  ") + text) + "\r\n";
    QString why;
    if (AppendWhole(filePath, line, why)) return;
    // A folder removed under a running station is made again, once.
    QDir().mkpath(QFileInfo(filePath).absolutePath());
    if (AppendWhole(filePath, line, why)) return;
    throw RuntimeError(why);
}

QString ErrorLogPath() {
    return AppPath + QStringLiteral("Error/") + FormatDate(Now(), QStringLiteral("YYYYMMDD")) +
           QStringLiteral("_E.log");
}

void WriteErrorLog(const QString& text) { AppendLogLine(ErrorLogPath(), text); }

bool TryWriteErrorLog(const QString& text) {
    try {
        WriteErrorLog(text);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void ErrorTail(const QString& description, const QString& logName) {
    const QString text = description + logName;
    try {
        WriteErrorLog(text);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "error log unwritable (%s): %s\n", e.what(), text.toLocal8Bit().constData());
    }
}

}  // namespace qel
