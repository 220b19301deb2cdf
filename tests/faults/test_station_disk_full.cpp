// The headless station started as a user starts it, against qelsim with two
// running chambers, under a file-size limit from its start that is lifted
// while it runs: a disk that fills and gets room again.
#include "data_log_file.h"
#include "line_fixture.h"
#include "profile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace qeltest;

namespace {

constexpr rlim_t kRoom = 256;  // bytes a file may reach: the header and 6 rows of 28 bytes

// The gaps between successive times longer than `longest`.
QList<qint64> LongGaps(const QList<qint64>& times, qint64 longest) {
    QList<qint64> gaps;
    for (qsizetype i = 1; i < times.size(); ++i)
        if (times[i] - times[i - 1] > longest) gaps << times[i] - times[i - 1];
    return gaps;
}

}  // namespace

// Guards the station against a full disk: it polls on throughout (records of
// both chambers keep coming), a file-size limit does not end it (SIGXFSZ),
// the data logs fill to the last whole row and go on once there is room with
// no row lost outside that window, the trend files keep whole lines, the
// losses are said (the error log's lines whole, the rest on stderr), and the
// error log takes lines again afterwards. Then against a removed chamber folder.
TEST(StationDiskFull, PollsOnAndLosesRowsOnlyWhileTheDiskIsFull) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}, {2, "QEL2100"}}, {"--run", "1", "--run", "2"}));
    ASSERT_TRUE(qel::WriteProfileString("FileSaveSec", "FileSave", "1", line.folder() + "/SetComm.ini"));
    ChildProcess station;
    station.process().setChildProcessModifier([] {
        rlimit r{};
        getrlimit(RLIMIT_FSIZE, &r);
        r.rlim_cur = kRoom;
        setrlimit(RLIMIT_FSIZE, &r);
        std::signal(SIGXFSZ, SIG_DFL);  // the station has to ignore it by itself
    });
    ASSERT_TRUE(station.start(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", line.folder(), "--json"}));

    QElapsedTimer clock;
    clock.start();
    QMap<int, QList<qint64>> seen;  // when each chamber's records came
    QSet<QString> dataLogs;
    QString err;
    const auto said = [&](const QString& text) { return (line.errorLog() + err).contains(text); };
    const auto readUntil = [&](const std::function<bool()>& done) {
        return ReadUntil(station, [&](const QJsonObject& o) {
            seen[o["Chamber"].toInt()] << clock.elapsed();
            for (const QJsonValue v : o["DataLog"].toArray())
                if (!v.toString().isEmpty()) dataLogs << v.toString();
            err += station.stderrText();
            return done();
        }, 1000);
    };
    ASSERT_TRUE(readUntil([&] {
        return said("Disk fullmodFunc.FuncSetGraphBlkData") && said("Disk fullmodCommControl.Operation_Graph");
    })) << err.toStdString();
    const qint64 full = clock.elapsed();
    ASSERT_TRUE(readUntil([&] { return clock.elapsed() > full + 6000; }));
    const rlimit room{RLIM_INFINITY, RLIM_INFINITY};
    ASSERT_EQ(prlimit(static_cast<pid_t>(station.process().processId()), RLIMIT_FSIZE, &room, nullptr), 0);
    ASSERT_TRUE(readUntil([&] { return clock.elapsed() > full + 12000; }));

    for (int c : {1, 2}) EXPECT_TRUE(LongGaps(seen[c], 3000).isEmpty()) << "chamber " << c << " not polled";
    ASSERT_EQ(dataLogs.size(), 3);  // chamber 1 channel 1, chamber 2 channels 1 and 2
    for (const QString& file : dataLogs) {
        SCOPED_TRACE(file.toStdString());
        const qel::DataLogFile log = qel::ReadDataLog(file);
        ASSERT_TRUE(log.ok()) << log.error.toStdString();
        EXPECT_EQ(log.rowSize, 28);
        EXPECT_EQ(log.trailingBytes, 0);
        QList<qint64> seconds;
        for (const qel::DataLogRow& r : log.rows) seconds << r.seconds * 1000LL;
        // A row each second until the file is full to its last whole row, one
        // gap, then a row each second again.
        const QList<qint64> gaps = LongGaps(seconds, 2000);
        ASSERT_EQ(gaps.size(), 1) << log.rows.size() << " rows";
        EXPECT_GE(gaps[0], 6000);
        EXPECT_EQ(seconds[(kRoom - 80) / 28] - seconds[(kRoom - 80) / 28 - 1], gaps[0]);
        EXPECT_GE(log.rows.size(), (static_cast<int>(kRoom) - 80) / 28 + 4);
    }

    // A chamber folder removed under the running station is made again: the
    // run's file begins again with its header, and the error log says so once.
    const QString sim1 = *std::find_if(dataLogs.begin(), dataLogs.end(), [](const QString& f) { return f.contains("/Sim 1/"); });
    const int32_t lastRow = qel::ReadDataLog(sim1).rows.last().seconds;
    ASSERT_TRUE(QDir(line.folder() + "/DATA/Sim 1").removeRecursively());
    ASSERT_TRUE(readUntil([&] { return clock.elapsed() > full + 15000; }));
    const qel::DataLogFile again = qel::ReadDataLog(sim1);
    ASSERT_TRUE(again.ok()) << again.error.toStdString();
    EXPECT_TRUE(again.title.startsWith("[QEL2000] Programs RUN / PT NO.")) << again.title.toStdString();
    EXPECT_GE(again.rows.size(), 1);
    EXPECT_GT(again.rows.value(0).seconds, lastRow);  // the same run goes on
    station.process().terminate();
    ASSERT_TRUE(station.process().waitForFinished(5000));
    EXPECT_EQ(station.process().exitStatus(), QProcess::NormalExit);

    for (int c : {1, 2}) {
        SCOPED_TRACE(c);
        QFile f(line.folder() + QStringLiteral("/%1OPData.csv").arg(c));
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        const QByteArray all = f.readAll();
        ASSERT_TRUE(all.endsWith("\r\n"));
        QList<qint64> times;
        qint64 before = 0;  // bytes of the lines before the full window
        for (const QByteArray& l : all.trimmed().split('\n')) {
            const QList<QByteArray> fields = l.trimmed().split(',');
            ASSERT_EQ(fields.size(), 7) << l.toStdString();
            times << QDateTime::fromString(QString::fromLatin1(fields[0]), "yyyy-MM-dd hh:mm:ss").toMSecsSinceEpoch();
            if (LongGaps(times, 5000).isEmpty()) before += l.trimmed().size() + 2;
        }
        EXPECT_EQ(LongGaps(times, 5000).size(), 1);
        EXPECT_LE(before, static_cast<qint64>(kRoom));
        EXPECT_GT(before, static_cast<qint64>(kRoom) - 60) << "lines lost before the disk was full";
    }
    const QString log = line.errorLog();
    static const QRegularExpression whole(QStringLiteral("^\\d{8} \\d\\d:\\d\\d:\\d\\d  \\S.*$"));
    for (const QString& l : log.split("\r\n", Qt::SkipEmptyParts)) EXPECT_TRUE(whole.match(l).hasMatch()) << l.toStdString();
    EXPECT_TRUE(log.contains("Disk fullmodFunc.FuncSetGraphBlkData"));
    EXPECT_EQ(log.count("Path not foundmodFunc.FuncSetGraphBlkData"), 1);
    EXPECT_TRUE(EndsOnceAndLast(log)) << log.toStdString();
}
