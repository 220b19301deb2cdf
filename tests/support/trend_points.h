// The points a trend graph must show, read here from the trend file line by
// line: (time, value) of fields 1 to 9 of the first `counter` lines, each
// plot's points by time.
#pragma once

#include <QDateTime>
#include <QFile>
#include <QList>
#include <QPointF>
#include <algorithm>
#include <array>

namespace qeltest {

inline std::array<QList<QPointF>, 10> FilePoints(const QString& path, int counter) {
    QFile f(path);
    std::array<QList<QPointF>, 10> out;
    if (!f.open(QIODevice::ReadOnly)) return out;
    const QList<QByteArray> lines = f.readAll().split('\n');
    for (int i = 0; i < std::min<int>(counter, lines.size()); ++i) {
        const QList<QByteArray> fields = lines[i].trimmed().split(',');
        const QDate day = QDate::fromString(QString::fromLatin1(fields[0].left(10)), "yyyy-MM-dd");
        const QTime time = QTime::fromString(QString::fromLatin1(fields[0].mid(11)), "hh:mm:ss");
        const double t = static_cast<double>(QDateTime(day, time).toSecsSinceEpoch());
        for (int p = 1; p < fields.size() && p <= 9; ++p)
            out[p].append(QPointF(t, static_cast<float>(fields[p].toDouble())));
    }
    for (auto& points : out)
        std::stable_sort(points.begin(), points.end(), [](const QPointF& a, const QPointF& b) { return a.x() < b.x(); });
    return out;
}

}  // namespace qeltest
