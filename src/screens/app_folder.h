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
// station on the same folder fails to take it.
class InstanceLock {
public:
    explicit InstanceLock(const QString& appFolder);
    ~InstanceLock();
    bool acquired() const { return acquired_; }

private:
    std::unique_ptr<QLockFile> lock_;
    bool acquired_ = false;
};

}  // namespace qel
