#include "fuzz_support.h"

#include "clock.h"
#include "config_report.h"
#include "data_log.h"
#include "language.h"
#include "link.h"
#include "mode_checks.h"
#include "settings_state.h"
#include "state.h"
#include "station_hooks.h"
#include "trend_file.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

namespace qelfuzz {

namespace {

struct Process {
    QCoreApplication* app = nullptr;  // lives to the end: Qt's own statics go after it
    std::unique_ptr<QTemporaryDir> dir;
    QString path;
    QSet<QString> kept;
    std::optional<qel::ManualClock> clock;
    int64_t writes = 0;
};

Process& P() {
    static Process p;
    return p;
}

}  // namespace

void Init(int* argc, char*** argv, std::initializer_list<const char*> keep, const std::function<void()>& prepare) {
    Process& p = P();
    if (p.app) return;
    p.app = new QCoreApplication(*argc, *argv);
    // The settings stores sync every file they save: in memory that costs
    // nothing, on a disk it would slow the fuzzing down tenfold.
    const QString shm = QStringLiteral("/dev/shm");
    p.dir = QFileInfo(shm).isWritable() ? std::make_unique<QTemporaryDir>(shm + QStringLiteral("/qelfuzz-XXXXXX"))
                                        : std::make_unique<QTemporaryDir>();
    if (!p.dir->isValid()) Fail("no temporary folder", p.dir->errorString());
    p.path = p.dir->path() + u'/';
    BeginRun();
    for (const char* name : keep) {
        const QString n = QString::fromLatin1(name);
        if (!QFile::copy(QStringLiteral(QEL_SHIPPED_APP "/") + n, p.path + n)) Fail("cannot copy", n);
    }
    if (prepare) prepare();
    for (const QString& n : QDir(p.path).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden))
        p.kept.insert(n);
    BeginRun();
}

void BeginRun() {
    Process& p = P();
    qel::SetClock(nullptr);
    p.clock.emplace();
    qel::SetClock(&*p.clock);
    qel::ResetProgramEnding();
    qel::RemoveLink();
    qel::Hooks = qel::StationHooks{};
    qel::ResetAllState();
    qel::ResetSettingsState();
    qel::ClearConfigProblems();
    qel::ClearLanguageTables();
    qel::ResetDataLog();
    qel::ResetModeChecks();
    qel::ResetTrends();
    qel::SerialPortDevices.clear();
    qel::AppPath = p.path;

    QDir dir(p.path);
    const QFileInfoList entries = dir.entryInfoList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden | QDir::System);
    for (const QFileInfo& e : entries) {
        if (p.kept.contains(e.fileName())) continue;
        if (e.isDir() && !e.isSymLink())
            QDir(e.filePath()).removeRecursively();
        else
            QFile::remove(e.filePath());
    }
}

const QString& AppDir() { return P().path; }

void WriteAppFile(const QString& name, const QByteArray& bytes) {
    Process& p = P();
    QFile f(p.path + name);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size())
        Fail("cannot write", name);
    // Seconds from a fixed start, one more for every write of the process.
    f.setFileTime(QDateTime::fromSecsSinceEpoch(1'000'000'000 + ++p.writes), QFileDevice::FileModificationTime);
}

QByteArray ReadAppFile(const QString& name) {
    QFile f(P().path + name);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QByteArray ShippedFile(const char* name) {
    QFile f(QStringLiteral(QEL_SHIPPED_APP "/") + QString::fromLatin1(name));
    if (!f.open(QIODevice::ReadOnly)) Fail("shipped file missing", QString::fromLatin1(name));
    return f.readAll();
}

void AdvanceClockMs(int64_t ms) { P().clock->advanceMs(ms); }

void Fail(const char* what, const QString& detail) {
    std::fprintf(stderr, "==qelfuzz== %s: %s\n", what, detail.toLocal8Bit().constData());
    std::fflush(stderr);
    std::abort();
}

QByteArray Input::take(size_t n) {
    if (n > size_ - at_) n = size_ - at_;
    const QByteArray out(reinterpret_cast<const char*>(data_ + at_), static_cast<qsizetype>(n));
    at_ += n;
    return out;
}

}  // namespace qelfuzz
