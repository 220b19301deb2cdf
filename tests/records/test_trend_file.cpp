// The trend file: its lines, the counter and the rotation at 50000, and the
// rows a graph gets, checked against a plain reading of the file done here
// (the first `counter` lines, split at ",") after every kind of change the
// file can see while the station runs.
#include "records_fixture.h"
#include "trend_file.h"

#include <QFile>
#include <cmath>

using namespace qel;
using qeltest::RecordsTest;

namespace {

// What a graph must show: the first `counter` lines, time and nine fields.
struct Plain {
    QList<QString> time;
    QList<QList<QString>> fields;
};

Plain ReadPlain(const QString& path, int counter) {
    Plain p;
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return p;
    const QList<QByteArray> lines = f.readAll().split('\n');
    for (int i = 0; i < lines.size() && p.time.size() < counter; ++i) {
        if (i == lines.size() - 1 && lines[i].isEmpty()) break;  // after the last line end
        const QStringList f = QString::fromLatin1(lines[i]).trimmed().split(',');
        p.time.append(f[0]);
        p.fields.append(f.mid(1));
    }
    return p;
}

// The store's rows against the plain reading, row by row.
void ExpectSame(TrendStore& store, int16_t chamber) {
    const TrendRows& rows = store.rows(chamber);
    const Plain plain = ReadPlain(TrendFilePath(chamber), store.counter());
    ASSERT_EQ(store.shownRows(), plain.time.size());
    for (int r = 0; r < plain.time.size(); ++r) {
        SCOPED_TRACE(r);
        const QDateTime t = QDateTime::fromString(plain.time[r], "yyyy-MM-dd hh:mm:ss");
        EXPECT_EQ(rows.time[r], t.isValid() ? t.toSecsSinceEpoch() : TrendRows::kNoTime);
        for (int p = 0; p < kTrendPlots; ++p) {
            bool ok = false;
            const double v = p < plain.fields[r].size() ? plain.fields[r][p].toDouble(&ok) : 0;
            if (ok)
                EXPECT_EQ(rows.value[p][r], static_cast<float>(v)) << p;
            else
                EXPECT_TRUE(std::isnan(rows.value[p][r])) << p;
        }
    }
}

class TrendFile : public RecordsTest {
protected:
    void SetUp() override {
        RecordsTest::SetUp();
        ChamberModel[0] = "QEL2100";
        Chamber[0].PV = {23.5, -10, 0};
        Chamber[0].SP = {30, 45.25, 0};
        Chamber[0].MV = {100, 0.5, 0};
    }
    void samples(int n) {
        for (int i = 0; i < n; ++i, clock.advanceMs(2000)) store.addSample(1, Now());
    }
    void append(const QByteArray& bytes) {
        QFile f(TrendFilePath(1));
        ASSERT_TRUE(f.open(QIODevice::Append));
        f.write(bytes);
    }
    TrendStore store;
};

}  // namespace

// Guards the trend line of each model: time, then PV, SP, MV per channel; the third channel for QEL2300/2400 only.
TEST_F(TrendFile, LinesByModel) {
    samples(1);
    ChamberModel[0] = "QEL2400";
    Chamber[0].PV[2] = 7.125;
    samples(1);
    EXPECT_EQ(dir.read("1OPData.csv"), "2024-01-31 08:15:07,23.5,30,100,-10,45.25,0.5\r\n"
                                       "2024-01-31 08:15:09,23.5,30,100,-10,45.25,0.5,7.125,0,0\r\n");
    EXPECT_EQ(store.counter(), 2);
}

// Guards the rotation: at the 50001st sample lines 1001 to 50001 stay and the counter falls to 49001.
TEST_F(TrendFile, TheOldestThousandLinesLeaveAt50001) {
    samples(3);
    ExpectSame(store, 1);  // the rows were read before the rotation
    samples(49997);
    EXPECT_EQ(store.counter(), 50000);
    samples(1);
    EXPECT_EQ(store.counter(), 49001);
    const QList<QByteArray> lines = dir.read("1OPData.csv").split('\n');
    EXPECT_EQ(lines.size(), 49001 + 1);
    EXPECT_TRUE(lines.first().startsWith("2024-01-31 08:48:27,")) << lines.first().toStdString();  // sample 1001
    ExpectSame(store, 1);
    samples(5);
    ExpectSame(store, 1);
    EXPECT_EQ(store.shownRows(), 49006);
}

// Guards the rows kept in memory against every change of the file: after each they equal a plain reading of it.
TEST_F(TrendFile, WhatIsShownEqualsAFullReading) {
    samples(13);
    ExpectSame(store, 1);
    const uint32_t generation = store.generation();
    samples(2);
    ExpectSame(store, 1);
    EXPECT_EQ(store.generation(), generation);  // only the new lines were read

    append("2024-01-31 09:00:00,1,2,3,4,5,6\r\n");  // not the station's: read anew
    ExpectSame(store, 1);
    EXPECT_NE(store.generation(), generation);
    EXPECT_EQ(store.shownRows(), 15);  // the counter does not cover it
    samples(1);
    ExpectSame(store, 1);

    append("2024-01-31 09:00:02,abc,,3\r\nnot a time,1,2,3,4,5,6\r\n2024-01-31 09:00");  // the last line cut
    samples(3);
    ExpectSame(store, 1);
    EXPECT_EQ(store.badLines(), 2);  // "not a time" and the cut line the next sample ran on from

    QFile::resize(TrendFilePath(1), 200);  // truncated in the middle of a line
    samples(1);
    ExpectSame(store, 1);
    QFile::remove(TrendFilePath(1));
    ExpectSame(store, 1);
    EXPECT_EQ(store.shownRows(), 0);
    samples(2);  // the append makes it again
    ExpectSame(store, 1);
    EXPECT_EQ(store.shownRows(), 2);
}
