#include "trend_file.h"

#include "codepage.h"
#include "errorlog.h"
#include "runtime_error.h"
#include "state.h"
#include "vbtext.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <cmath>

namespace qel {

namespace {

std::array<TrendStore, kMaxChambers> g_trends;

QString PlainNumber(double v) { return QString::number(v, 'g', 15); }

// Reading 50000 lines with the general date parser costs a second; the
// lines the station writes are read by hand, with the start of each hour
// worked out once (local time changes only on the hour).
bool Digits(const char* p, int n, int& out) {
    out = 0;
    for (int i = 0; i < n; ++i) {
        if (p[i] < '0' || p[i] > '9') return false;
        out = out * 10 + (p[i] - '0');
    }
    return true;
}

int64_t TimeOf(const QByteArray& raw) {
    const QByteArray field = raw.trimmed();
    const char* p = field.constData();
    int y, mo, d, h, mi, sec;
    if (field.size() == 19 && p[4] == '-' && p[7] == '-' && p[10] == ' ' && p[13] == ':' && p[16] == ':' &&
        Digits(p, 4, y) && Digits(p + 5, 2, mo) && Digits(p + 8, 2, d) && Digits(p + 11, 2, h) &&
        Digits(p + 14, 2, mi) && Digits(p + 17, 2, sec) && mi < 60 && sec < 60) {
        static QByteArray lastHour;
        static int64_t lastHourStart = 0;
        const QByteArray hour = field.left(13);
        if (hour != lastHour) {
            const QDateTime start(QDate(y, mo, d), QTime(h, 0));
            if (!start.isValid()) return TrendRows::kNoTime;
            lastHour = hour;
            lastHourStart = start.toSecsSinceEpoch();
        }
        return lastHourStart + mi * 60 + sec;
    }
    const QDateTime t = ParseTimeText(QString::fromLatin1(field));
    return t.isValid() ? t.toSecsSinceEpoch() : TrendRows::kNoTime;
}

}  // namespace

QString TrendFilePath(int chamber) { return AppPath + QString::number(chamber) + QStringLiteral("OPData.csv"); }

int TrendFieldsOf(const QString& model) { return model == u"QEL2300" || model == u"QEL2400" ? 9 : 6; }

QString TrendLine(int16_t chamber, const QDateTime& now) {
    const int c = ChamberIndex(chamber);
    const ChamberRec& r = Chamber[c];
    QString line = FormatDate(now, QStringLiteral("yyyy-mm-dd hh:mm:ss"));
    for (int k = 0; k < TrendFieldsOf(ChamberModel[c]) / 3; ++k)
        line += u',' + PlainNumber(r.PV[k]) + u',' + PlainNumber(r.SP[k]) + u',' + PlainNumber(r.MV[k]);
    return line;
}

void TrendStore::addSample(int16_t chamber, const QDateTime& now) {
    const QString path = TrendFilePath(chamber);
    if (cacheValid_ && !fileAsLeft(path)) cacheValid_ = false;  // changed behind the station's back
    ++counter_;
    const QByteArray line = ToCodePage(TrendLine(chamber, now)) + "\r\n";
    QString why;
    if (!AppendWhole(path, line, why)) {
        cacheValid_ = false;
        throw RuntimeError(why);
    }
    if (cacheValid_) rememberFile(path);
    if (counter_ > kTrendRowsKept) rotate(path);
}

const TrendRows& TrendStore::rows(int16_t chamber) {
    const QString path = TrendFilePath(chamber);
    if (!cacheValid_ || !fileAsLeft(path))
        readFrom(path, true);
    else if (knownSize_ > readBytes_)
        readFrom(path, false);
    return all_;
}

void TrendStore::reset() { *this = TrendStore(); }

void TrendStore::readFrom(const QString& path, bool whole) {
    if (whole) {
        all_ = TrendRows();
        badLines_ = 0;
        readBytes_ = 0;
        ++generation_;
    }
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {  // no file: no rows, and that is as the station knows it
        cacheValid_ = !f.exists();
        rememberFile(path);
        return;
    }
    if (!whole) f.seek(readBytes_);
    const QByteArray bytes = f.readAll();
    f.close();
    const qsizetype end = bytes.lastIndexOf('\n') + 1;
    parse(bytes.left(end));
    readBytes_ += end;
    // A last line without its end is drawn, yet read again next time: the
    // next append would run on from it.
    if (end < bytes.size()) parse(bytes.mid(end));
    cacheValid_ = end == bytes.size();
    rememberFile(path);
}

void TrendStore::parse(const QByteArray& bytes) {
    qsizetype at = 0;
    while (at < bytes.size()) {
        qsizetype nl = bytes.indexOf('\n', at);
        if (nl < 0) nl = bytes.size();
        const QByteArray line = bytes.mid(at, nl - at);
        at = nl + 1;
        const QList<QByteArray> fields = line.split(',');
        const int64_t t = TimeOf(fields[0]);
        if (t == TrendRows::kNoTime) ++badLines_;
        all_.time.push_back(t);
        for (int p = 0; p < kTrendPlots; ++p) {
            bool ok = false;
            const double v = p + 1 < fields.size() ? fields[p + 1].trimmed().toDouble(&ok) : 0;
            all_.value[p].push_back(ok ? static_cast<float>(v) : std::nanf(""));
        }
    }
}

void TrendStore::rememberFile(const QString& path) {
    const QFileInfo fi(path);
    knownSize_ = fi.exists() ? fi.size() : -1;
    knownTime_ = fi.exists() ? fi.lastModified() : QDateTime();
}

bool TrendStore::fileAsLeft(const QString& path) const {
    const QFileInfo fi(path);
    if (!fi.exists()) return knownSize_ == -1;
    return fi.size() == knownSize_ && fi.lastModified() == knownTime_;
}

// Past the limit the file keeps its lines from the 1001st to the counter's,
// written anew, and the counter drops by 1000.
void TrendStore::rotate(const QString& path) {
    QFile in(path);
    if (!in.open(QIODevice::ReadOnly)) throw RuntimeError(err::FileNotFound);
    const QByteArray bytes = in.readAll();
    in.close();
    if (cacheValid_ && fileAsLeft(path) && knownSize_ > readBytes_) readFrom(path, false);
    QList<qsizetype> starts{0};
    for (qsizetype at = bytes.indexOf('\n'); at >= 0 && at + 1 < bytes.size(); at = bytes.indexOf('\n', at + 1))
        starts.append(at + 1);
    const qsizetype lines = starts.size();
    const qsizetype last = std::min<qsizetype>(counter_, lines);
    QByteArray kept;
    if (last > kTrendRowsDropped) {
        const qsizetype from = starts[kTrendRowsDropped];
        const qsizetype to = last < lines ? starts[last] : bytes.size();
        kept = bytes.mid(from, to - from);
    }
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(kept) != kept.size() || !out.commit())
        throw RuntimeError(err::DiskFull);
    counter_ -= kTrendRowsDropped;
    ++generation_;
    if (cacheValid_ && all_.size() >= last) {
        // What was read stays: the lines that left go, the rest keep their place.
        all_.time.erase(all_.time.begin() + last, all_.time.end());
        all_.time.erase(all_.time.begin(), all_.time.begin() + std::min<qsizetype>(kTrendRowsDropped, last));
        for (auto& column : all_.value) {
            column.erase(column.begin() + last, column.end());
            column.erase(column.begin(), column.begin() + std::min<qsizetype>(kTrendRowsDropped, last));
        }
        badLines_ = 0;
        for (int64_t t : all_.time) badLines_ += t == TrendRows::kNoTime;
        readBytes_ = kept.size();
        cacheValid_ = kept.isEmpty() || kept.endsWith('\n');
    } else {
        cacheValid_ = false;
    }
    rememberFile(path);
}

TrendStore& Trend(int chamber) {
    if (chamber < 1 || chamber > kMaxChambers) throw RuntimeError(err::SubscriptOutOfRange);
    return g_trends[static_cast<size_t>(chamber - 1)];
}

void ResetTrends() {
    for (TrendStore& t : g_trends) t.reset();
}

}  // namespace qel
