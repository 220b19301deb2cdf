// A full disk and removed folders under every file the station writes: the
// data log (rows of each size and the header), the message and error logs
// and the trend file with its rotation. Real files in a temporary folder,
// the manual clock; the expected bytes are built here from the file layouts.
#include "app_dir.h"
#include "clock.h"
#include "data_log.h"
#include "data_log_layout.h"
#include "errorlog.h"
#include "mode_checks.h"
#include "settings_state.h"
#include "state.h"
#include "trend_file.h"
#include "trend_view.h"
#include "vbtext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <bit>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace qel;

namespace {

using qeltest::Row;
using qeltest::Text40;
// Log lines: "YYYYMMDD HH:MM:SS", two blanks, the text, CR LF. Trend lines: time, then PV, SP, MV per channel.
QByteArray LogLine(const QString& text) { return (Now().toString("yyyyMMdd hh:mm:ss") + "  " + text + "\r\n").toLatin1(); }
QByteArray TrendLine2100() { return Now().toString("yyyy-MM-dd hh:mm:ss").toLatin1() + ",23.5,30,100,-10,45.25,0.5\r\n"; }

QByteArray Read(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Runs `f` with writes beyond `bytes` into any file failing (SIGXFSZ ignored,
// as the station does) and returns what it printed on stderr, caught through
// a pipe: a file would fall under the limit too.
QString UnderSizeLimit(qint64 bytes, const std::function<void()>& f) {
    int fds[2];
    if (pipe(fds) != 0) return "no pipe";
    const int saved = dup(2);
    dup2(fds[1], 2);
    close(fds[1]);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit tight = old;
    tight.rlim_cur = static_cast<rlim_t>(bytes);
    setrlimit(RLIMIT_FSIZE, &tight);
    f();
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, handler);
    dup2(saved, 2);
    close(saved);
    QByteArray text(4096, 0);
    text.resize(std::max<ssize_t>(0, read(fds[0], text.data(), 4096)));
    close(fds[0]);
    return QString::fromLocal8Bit(text);
}

enum class Kind { RunProcRow, HeatCoolRow, LinkedQEL2400Row, MessageLine, ErrorLine, TrendSample };

// One writer: its file, the bytes it holds before the first write, what the
// error log says of a lost write, and one write with the bytes it adds.
struct Writer {
    QString file;
    QByteArray start;
    QString said;
    std::function<void()> step;  // time and the record move on
    std::function<QByteArray()> bytes;
    std::function<void()> write;
};

class DiskFaults : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        ResetRunState();
        ResetTrends();
        SetClock(&clock);
        MaxChamberNo = 1;
        ChamberName[0] = "C1";
        FileSave = 1;
        for (const char* f : {"DATA/C1", "Message/C1", "Error"}) QDir().mkpath(dir.file(f));
        ChamberRec& r = Chamber[0];
        r.PV = {11, 12, 13};
        r.SP = {21, 22, 23};
        r.MV = {41, 42, 43};
        r.PTNo.fill(7);
        r.EndDate.fill(UnsetDate());
        Log[0].SamplePV = r.PV;
        Log[0].SampleSP = r.SP;
        Log[0].SampleMV = r.MV;
    }
    void seconds(int s) { clock.advanceMs(s * 1000LL); }
    bool said(const QString& text, const QString& err) const { return dir.errorLog().contains(text) || err.contains(text); }
    static QByteArray once(const Writer& w) {
        w.step();
        const QByteArray piece = w.bytes();
        w.write();
        return piece;
    }

    // A block row through FuncSetGraphBlkData into a file made by FuncSetUserInfo.
    Writer block(const char* model, int linked, const char* variant, int16_t channel, QByteArray header,
                 std::vector<double> fields) {
        ChamberModel[0] = model;
        Chamber[0].LinkedRun = static_cast<int16_t>(linked);
        Chamber[0].ChannelCount = ChannelCountOf(model);
        ChamberVariant[0] = variant;
        const QString file = dir.file("DATA/C1/block.log");
        FuncSetUserInfo(file, "7", 1, 1);
        const auto step = [this] {
            seconds(1);
            ++Log[0].Seconds[0];
        };
        return {file, header, "Disk fullmodFunc.FuncSetGraphBlkData", step,
                [fields] { return Row(Log[0].Seconds[0], fields); }, [file, channel] { FuncSetGraphBlkData(file, 1, channel); }};
    }

    Writer writer(Kind kind) {
        ChamberRec& r = Chamber[0];
        switch (kind) {
            case Kind::RunProcRow: {
                ChamberModel[0] = "QEL2000";
                r.ChannelCount = 1;
                r.Status[0] = 1;
                RunProc(1);  // the run begins: its file with the header, no row at 0 s
                const QDateTime begun = Now();
                return {dir.file("DATA/C1/20240131081507_1.log"),
                        Text40("[QEL2000] Programs RUN / PT NO. 7") + Text40("CH1"),
                        "Disk fullmodFunc.FuncSetGraphBlkData", [this] { seconds(1); },
                        [begun] { return Row(static_cast<int32_t>(begun.secsTo(Now())), {11, 21, 41}); },
                        [] { RunProc(1); }};
            }
            case Kind::HeatCoolRow:  // the last field is channel 2's MV
                return block("QEL2100", 0, "1", 1, Text40("[QEL2100-HC] Programs RUN / PT NO. 7") + Text40("CH1"),
                             {11, 21, 41, 42});
            case Kind::LinkedQEL2400Row:
                r.FixMode.fill(1);
                return block("QEL2400", 1, "2", 0, Text40("[QEL2400-Z7] FIX RUN") + Text40(""),
                             {11, 21, 41, 12, 22, 42, 13, 23, 43});
            case Kind::MessageLine:  // the hold edges of channel 1, each a line
                ChamberModel[0] = "QEL2000";
                return {dir.file("Message/C1/20240131_M.log"), {}, "Disk fullmodSubFunc.IsHoldMode",
                        [this] {
                            seconds(1);
                            Chamber[0].Status[0] ^= 4;
                        },
                        [] { return LogLine(Chamber[0].Status[0] & 4 ? "START HOLD" : "STOP HOLD"); },
                        [] { IsHoldMode(1, 1); }};
            case Kind::ErrorLine:
                return {dir.file("Error/20240131_E.log"), {}, "OverflowmodFunc.ReadCOMINI", [this] { seconds(1); },
                        [] { return LogLine("OverflowmodFunc.ReadCOMINI"); },
                        [] { ErrorTail("Overflow", "modFunc.ReadCOMINI"); }};
            case Kind::TrendSample:
                ChamberModel[0] = "QEL2100";
                r.PV = {23.5, -10, 0};
                r.SP = {30, 45.25, 0};
                r.MV = {100, 0.5, 0};
                return {dir.file("1OPData.csv"), {}, "Disk fullmodCommControl.Operation_Graph", [this] { seconds(2); },
                        TrendLine2100, [this] { view.OperationGraph(); }};
        }
        return {};
    }

    qeltest::AppDir dir;
    ManualClock clock;
    TrendView view{1};
};

void PrintTo(Kind k, std::ostream* os) {
    static const char* const names[] = {"RunProc row", "heat-cool row", "linked QEL2400 row",
                                        "message-log line", "error-log line", "trend sample"};
    *os << names[static_cast<int>(k)];
}

class DiskFull : public DiskFaults, public ::testing::WithParamInterface<Kind> {};

}  // namespace

// Guards a disk that fills in the middle of a row or line, at every byte of
// it: the write is lost whole (the file ends where it ended), the failure is
// said (in the error log where it has room, else on stderr), and once there
// is room the next write goes in behind every earlier one.
TEST_P(DiskFull, AtEveryByteTheWriteIsLostWholeAndTheNextGoesIn) {
    const Writer w = writer(GetParam());
    QByteArray expected = w.start;
    for (int i = 0; i < 2; ++i) expected += once(w);
    ASSERT_EQ(Read(w.file), expected);
    for (int cut = 0;; ++cut) {
        w.step();
        const QByteArray piece = w.bytes();
        if (cut >= piece.size()) {  // room again
            w.write();
            EXPECT_EQ(Read(w.file), expected += piece);
            break;
        }
        const bool ownLog = w.file == ErrorLogPath();  // the error log's own loss goes to stderr
        if (!ownLog) QFile::remove(ErrorLogPath());
        const QString err = UnderSizeLimit(expected.size() + cut, w.write);
        ASSERT_EQ(Read(w.file), expected) << "room for " << cut << " of " << piece.size() << " bytes";
        EXPECT_TRUE(ownLog ? err.contains(w.said) : said(w.said, err)) << cut << ": " << err.toStdString();
        const QString log = dir.errorLog();
        EXPECT_TRUE(log.isEmpty() || log.endsWith("\r\n")) << log.toStdString();
    }
    if (GetParam() == Kind::TrendSample) {
        EXPECT_EQ(view.rows().size(), expected.count('\n'));
    }
}
INSTANTIATE_TEST_SUITE_P(Writers, DiskFull,
                         ::testing::Values(Kind::RunProcRow, Kind::HeatCoolRow, Kind::LinkedQEL2400Row,
                                           Kind::MessageLine, Kind::ErrorLine, Kind::TrendSample));

// Guards a run's header that does not fit: no file is left behind (an empty
// one would take the next row without its header), and the next row, once
// there is room, begins the file with its header; so it does in a file that
// a power loss left empty.
TEST_F(DiskFaults, AHeaderThatDoesNotFitLeavesNoFileAndTheNextRowBeginsIt) {
    ChamberModel[0] = "QEL2000";
    Chamber[0].ChannelCount = 1;
    Log[0].Seconds[0] = 1;
    const QByteArray header = Text40("[QEL2000] Programs RUN / PT NO. 7") + Text40("CH1");
    for (int cut = 0; cut < header.size(); ++cut) {
        const QString file = dir.file(QStringLiteral("DATA/C1/run%1_1.log").arg(cut));
        QFile::remove(ErrorLogPath());
        const QString err = UnderSizeLimit(cut, [&] { FuncSetUserInfo(file, "7", 1, 1); });
        EXPECT_FALSE(QFileInfo::exists(file)) << cut;
        EXPECT_TRUE(said("Disk fullmodFunc.FuncSetUserInfo", err)) << cut;
        FuncSetGraphBlkData(file, 1, 1);
        EXPECT_EQ(Read(file), header + Row(1, {11, 21, 41})) << cut;
        EXPECT_TRUE(dir.errorLog().contains("File not foundmodFunc.FuncSetGraphBlkData")) << cut;
    }
    dir.write("DATA/C1/empty_1.log", "");  // as a power loss leaves a file being made
    FuncSetGraphBlkData(dir.file("DATA/C1/empty_1.log"), 1, 1);
    EXPECT_EQ(dir.read("DATA/C1/empty_1.log"), header + Row(1, {11, 21, 41}));
}

namespace {

struct Removal {
    const char* what;
    Kind kind;
    const char* folder;  // under the application folder ("" the folder itself)
    bool blocked;        // a file stands where the folder was
    bool lost;           // the first write after the removal is lost
    const char* said;    // "" for nothing in the error log
};
void PrintTo(const Removal& r, std::ostream* os) { *os << r.what; }

class FolderRemoved : public DiskFaults, public ::testing::WithParamInterface<Removal> {};

}  // namespace

// Guards folders removed under the running station: the data, message and
// error logs make theirs again (the data log's file begins again with its
// header, said once), the trend's sample is lost and said; where a file
// stands in the folder's place every write is lost and said. Nothing raises.
TEST_P(FolderRemoved, IsMadeAgainOrTheWriteIsLostAndSaid) {
    const Removal& c = GetParam();
    const Writer w = writer(c.kind);
    for (int i = 0; i < 2; ++i) once(w);
    QDir(dir.file(c.folder)).removeRecursively();
    if (c.blocked) dir.write(c.folder, "in the way");
    QByteArray after;  // what the file must hold: a file made anew begins as at the start
    for (int i = 0; i < 2; ++i) {
        const QByteArray piece = once(w);
        after = c.blocked || (c.lost && i == 0) ? QByteArray() : (after.isEmpty() ? w.start : after) + piece;
        EXPECT_EQ(Read(w.file), after) << i;
    }
    const QString log = dir.errorLog();
    if (*c.said)
        EXPECT_EQ(log.count(c.said), c.blocked ? 2 : 1) << log.toStdString();
    else
        EXPECT_FALSE(log.contains("Path not found")) << log.toStdString();
}
INSTANTIATE_TEST_SUITE_P(
    Folders, FolderRemoved,
    ::testing::Values(
        Removal{"chamber's data folder", Kind::RunProcRow, "DATA/C1", false, false, "Path not foundmodFunc.FuncSetGraphBlkData"},
        Removal{"file for the data folder", Kind::RunProcRow, "DATA/C1", true, true, "Path not foundmodFunc.FuncSetGraphBlkData"},
        Removal{"Message folder", Kind::MessageLine, "Message", false, false, ""},
        Removal{"file for the message folder", Kind::MessageLine, "Message/C1", true, true, "Path not foundmodSubFunc.IsHoldMode"},
        Removal{"Error folder", Kind::ErrorLine, "Error", false, false, ""},
        Removal{"application folder", Kind::TrendSample, "", false, true, "Path not foundmodCommControl.Operation_Graph"}));

namespace {

bool WriteProc(const char* file, const QByteArray& text) {
    QFile f(file);
    return f.open(QIODevice::WriteOnly) && f.write(text) == text.size();
}

// In a child process of its own mount namespace (and user namespace, where
// this test does not run as root), `folder` becomes a file system of `size`:
// a disk that really fills. The body's report comes back; "no small disk"
// where the system allows no such mount.
QString OnSmallDisk(const QString& folder, const char* size, const std::function<QString()>& body) {
    int fds[2];
    if (pipe(fds) != 0) return "no pipe";
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        const QByteArray uid = "0 " + QByteArray::number(getuid()) + " 1", gid = "0 " + QByteArray::number(getgid()) + " 1";
        bool ok = unshare(CLONE_NEWNS) == 0 ||
                  (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && WriteProc("/proc/self/setgroups", "deny") &&
                   WriteProc("/proc/self/uid_map", uid) && WriteProc("/proc/self/gid_map", gid));
        // Private mounts: nothing made here shows outside this process.
        ok = ok && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
             mount("tmpfs", folder.toLocal8Bit().constData(), "tmpfs", 0, QByteArray("size=") + size) == 0;
        const QByteArray report = ok ? body().toUtf8() : QByteArray("no small disk");
        [[maybe_unused]] const ssize_t n = ::write(fds[1], report.constData(), static_cast<size_t>(report.size()));
        _exit(0);
    }
    close(fds[1]);
    QByteArray report;
    char buf[4096];
    for (ssize_t n; (n = read(fds[0], buf, sizeof buf)) > 0;) report.append(buf, n);
    close(fds[0]);
    waitpid(pid, nullptr, 0);
    return QString::fromUtf8(report);
}

// The trend file read plainly: its lines, those not whole (a time and six
// numbers, CR LF), the first and last time.
QString TrendSummary(const QString& path) {
    QList<QByteArray> lines = Read(path).split('\n');
    int bad = lines.takeLast().isEmpty() ? 0 : 1;
    for (const QByteArray& l : lines)
        bad += !l.endsWith('\r') || l.count(',') != 6 || !QDateTime::fromString(l.left(19), "yyyy-MM-dd hh:mm:ss").isValid();
    return QStringLiteral("%1 lines, %2 not whole, %3 to %4")
        .arg(lines.size())
        .arg(bad)
        .arg(QString::fromLatin1(lines.value(0).left(19)), QString::fromLatin1(lines.value(lines.size() - 1).left(19)));
}

}  // namespace

// Guards the rewrite at the 50001st sample on a disk too full for it: the
// trend keeps all its lines whole (no half-written file, no stray temporary
// file), the failure is said, and once there is room the next sample rotates.
TEST_F(DiskFaults, ARotationThatDoesNotFitKeepsTheTrendWhole) {
    writer(Kind::TrendSample);
    const QString folder = dir.path();
    const QDateTime t0 = Now();
    const auto at = [&](int sample) { return t0.addSecs(2LL * (sample - 1)).toString("yyyy-MM-dd hh:mm:ss"); };
    // 50001 lines of 47 bytes take 2.35 MB; the rewrite needs 2.30 MB more.
    const QString report = OnSmallDisk(folder, "3m", [&] {
        QDir().mkpath(dir.file("Error"));
        for (int i = 0; i < kTrendRowsKept + 1; ++i, seconds(2)) view.OperationGraph();
        QString r = TrendSummary(TrendFilePath(1)) + "; " +
                    QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).join(' ') + "; said " +
                    QString::number(dir.errorLog().count("Disk fullmodCommControl.Operation_Graph"));
        if (mount(nullptr, folder.toLocal8Bit().constData(), nullptr, MS_REMOUNT, "size=8m") != 0) return r + "; no remount";
        view.OperationGraph();
        return r + "\n" + TrendSummary(TrendFilePath(1)) + "; counter " + QString::number(Trend(1).counter()) + "; said " +
               QString::number(dir.errorLog().count("Disk fullmodCommControl.Operation_Graph"));
    });
    if (report == "no small disk") GTEST_SKIP() << "no mount namespace for a small file system";
    EXPECT_EQ(report, QStringLiteral("50001 lines, 0 not whole, %1 to %2; 1OPData.csv Error; said 1\n"
                                     "49002 lines, 0 not whole, %3 to %4; counter 49002; said 1")
                          .arg(at(1), at(50001), at(1001), at(50002)));
}
