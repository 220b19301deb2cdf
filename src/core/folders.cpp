#include "folders.h"

#include "runtime_error.h"
#include "state.h"

#include <QDir>
#include <QFile>
#include <algorithm>

namespace qel {

namespace {

void MakeOne(const QString& relative) {
    QDir dir(AppPath);
    if (dir.exists(relative)) return;
    if (!dir.mkdir(relative)) throw RuntimeError(err::PathNotFound);
}

int LastChamber() { return std::clamp<int>(MaxChamberNo, 0, kMaxChambers); }

}  // namespace

void MakeFolders() {
    try {
        MakeOne(QStringLiteral("DATA"));
        for (int c = 1; c <= LastChamber(); ++c) MakeOne(QStringLiteral("DATA/") + ChamberName[c - 1]);
        MakeOne(QStringLiteral("Message"));
        for (int c = 1; c <= LastChamber(); ++c) MakeOne(QStringLiteral("Message/") + ChamberName[c - 1]);
        for (const char* f : {"Error", "PTN", "FILE_TEXT", "FILE_EXCEL", "FILE_JPG"}) MakeOne(QString::fromLatin1(f));
    } catch (const RuntimeError&) {
        // Leaves quietly; the logs make their own folder again when they write.
    }
}

void MakeChamberFolders(const QString& name) {
    QDir dir(AppPath);
    dir.mkpath(QStringLiteral("DATA/") + name);
    dir.mkpath(QStringLiteral("Message/") + name);
}

void DeleteTrendFiles() {
    for (int c = 1; c <= LastChamber(); ++c) {
        const QString f = AppPath + QString::number(c) + QStringLiteral("OPData.csv");
        if (QFile::exists(f)) QFile::remove(f);
    }
}

}  // namespace qel
