// Where the station keeps its files, and the single-instance guard.
#pragma once

#include <QString>
#include <memory>

class QLockFile;

namespace qel {

// The application folder, in this order: `appDirOption` when given; the
// program's own folder when it holds "SetComm.ini"; otherwise a per-user data
// folder, which a first start fills from the shipped defaults. Always ends in
// "/". `error` says why when the result is empty (a folder that cannot be
// made or read).
QString ResolveAppFolder(const QString& appDirOption, const QString& programDir, QString* error);

// The folder of shipped defaults: next to an installed program
// (../share/qelstation/app), else the source tree's data/app.
QString DefaultsFolder(const QString& programDir);

// Copies every file of `defaults` that `target` lacks; existing files stay.
bool FillFromDefaults(const QString& defaults, const QString& target);

// Holds a lock for one application folder while the station runs; a second
// station on the same folder fails to take it. The lock is a file inside the
// folder itself, so every way to the folder (a symbolic link, a bind mount,
// another TMPDIR, a relative path) meets the same lock. A lock left behind by
// a station that is gone (a crash, a power cut) is taken over; a running
// station keeps its folder however long it runs.
class InstanceLock {
public:
    explicit InstanceLock(const QString& appFolder);
    ~InstanceLock();
    bool acquired() const { return acquired_; }
    // Why the lock was not taken, as a sentence for the operator; empty when
    // it was.
    const QString& reason() const { return reason_; }

    // The name of the lock file in the application folder. It starts with a
    // dot, so that copying a folder's files (FillFromDefaults) leaves it out.
    static const QString& FileName();

private:
    std::unique_ptr<QLockFile> lock_;
    bool acquired_ = false;
    QString reason_;
};

}  // namespace qel
