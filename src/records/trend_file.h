// The trend of a chamber: "<n>OPData.csv" in the application folder, one
// sample a line, "yyyy-mm-dd hh:mm:ss,PV1,SP1,MV1,PV2,SP2,MV2[,PV3,SP3,MV3]"
// (the third channel for the QEL2300 and QEL2400). The file is the one store
// of the trend; start-up deletes it. A sample counter per chamber counts the
// lines written since start; past 50000 the oldest 1000 lines leave the file.
//
// What a graph shows is the first `counter` lines of the file (fewer when the
// file is shorter). Reading all of it for every sample would cost the poll
// thread dearly, so each chamber keeps what it read and reads only what was
// appended since, as long as the file is as the station left it (size and
// time stamp); any other change makes it read the file whole again.
#pragma once

#include <QDateTime>
#include <QString>
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace qel {

inline constexpr int32_t kTrendRowsKept = 50000;
inline constexpr int32_t kTrendRowsDropped = 1000;
inline constexpr int kTrendPlots = 9;

QString TrendFilePath(int chamber);

// Value fields a model writes: 9 for the QEL2300 and QEL2400, else 6.
int TrendFieldsOf(const QString& model);

// The line of the chamber's record at `now`, without the line end.
QString TrendLine(int16_t chamber, const QDateTime& now);

// The rows a graph draws: times in seconds since the epoch (kNoTime for a
// line whose first field is not a time) and one column per plot (NaN where
// a line has no number).
struct TrendRows {
    static constexpr int64_t kNoTime = INT64_MIN;
    std::vector<int64_t> time;
    std::array<std::vector<float>, kTrendPlots> value;
    int size() const { return static_cast<int>(time.size()); }
};

class TrendStore {
public:
    // One sample: the counter goes up, the line is appended (the file is made
    // when absent), and past 50000 the file keeps its lines from the 1001st on
    // and the counter drops by 1000. Raises RuntimeError when the file cannot
    // be written.
    void addSample(int16_t chamber, const QDateTime& now);

    // The lines of the file, read as little as the file allows; a graph
    // draws the first shownRows() of them. badLines() counts the lines whose
    // first field is not a time (left out of the graph).
    const TrendRows& rows(int16_t chamber);
    int shownRows() const { return std::min<int>(all_.size(), std::max<int32_t>(counter_, 0)); }

    int32_t counter() const { return counter_; }
    // Goes up whenever the rows were read anew or lost lines at their start,
    // so that a view knows it cannot only add what is new.
    uint32_t generation() const { return generation_; }
    int badLines() const { return badLines_; }

    void reset();

private:
    void readFrom(const QString& path, bool whole);
    void parse(const QByteArray& bytes);
    void rememberFile(const QString& path);
    bool fileAsLeft(const QString& path) const;
    void rotate(const QString& path);

    int32_t counter_ = 0;
    uint32_t generation_ = 0;
    TrendRows all_;  // every line read so far
    int badLines_ = 0;
    bool cacheValid_ = false;
    int64_t readBytes_ = 0;  // the cache holds the lines of the file up to here
    int64_t knownSize_ = -1;
    QDateTime knownTime_;
};

// The stores of chambers 1 to 30.
TrendStore& Trend(int chamber);
void ResetTrends();

}  // namespace qel
