// What the process tests of the controller models share: qelsim options for a
// frozen chamber, the fields of qelpoll's and the station's JSON records, and
// .PTN files built item by item from the pattern file layout (never by our
// writer), written into a controller through qelpoll and read back.
#pragma once

#include "line_fixture.h"

#include <QFile>
#include <QJsonArray>
#include <QMap>
#include <algorithm>
#include <gtest/gtest.h>

namespace qeltest {

inline const QString kQelPoll = QStringLiteral(QELPOLL_PATH);
inline const QString kStation = QStringLiteral(QELSTATION_PATH);

// One register a frozen chamber serves: address and the raw word (as written
// with --set; negative words are two's complement).
struct Served {
    int reg;
    int raw;
};

// A field of a JSON record: its name, the channel (element), and the value.
struct Field {
    const char* name;
    int channel;
    double value;
};

// qelsim's options for a frozen chamber that serves `regs` and nothing live.
inline QStringList Frozen(const QList<std::pair<int, QList<Served>>>& chambers) {
    QStringList args = {"--frozen", "--no-noise"};
    for (const auto& [address, regs] : chambers)
        for (const Served& s : regs)
            args << "--set" << QStringLiteral("%1:0x%2:%3").arg(address).arg(s.reg, 4, 16, QChar('0')).arg(s.raw);
    return args;
}

// A record field whether it is one number per chamber or one per channel.
inline double Value(const QJsonObject& o, const Field& f) {
    const QJsonValue v = o[f.name];
    return v.isArray() ? v.toArray()[f.channel].toDouble() : v.toDouble();
}

inline void ExpectFields(const QJsonObject& o, const QList<Field>& want) {
    for (const Field& f : want) EXPECT_DOUBLE_EQ(Value(o, f), f.value) << f.name << "[" << f.channel << "]";
}

inline QString EndDate(const QJsonObject& o, int channel = 0) {
    return o["EndDate"].toArray()[channel].toVariant().toString();
}

// qelpoll's command line for the chamber at `address` of the line, its model and more options.
inline QStringList PollArgs(const SimLine& line, int address, const char* model, const QStringList& more) {
    return line.link(address) + QStringList{"--address", QString::number(address), "--model", model,
                                            "--app-dir", line.folder()} + more;
}

// The members of a pattern file in their order: T a text (16-bit byte count,
// then the bytes), S 101 texts, L 5 texts, N a signed 32-bit number.
inline constexpr char kMembers[] = "TTTTTSSSSSSSSSSSSSSSSTTTLLLTNTTTTTTTT";
enum Member {
    PatternNo, StartSP, StartSP2, StartType, HeaderSpare, SegSP, SegSP2, SegTime, SegSignal1,
    SegAux1 = SegSignal1 + 8, SegUse = SegAux1 + 4, PatternRepeat, ChannelRepeat, EndMode, LoopStart, LoopEnd,
    LoopCount, SegmentCount, TotalTime, RoomConfig, EndMode2300, DefrostType, HiRoomMode, LoRoomMode,
    DefrostPeriod, DefrostTime, DefrostTemp
};
// Texts by member and element; those not given are empty.
using Texts = QMap<std::pair<int, int>, QByteArray>;

inline int Elements(char kind) { return kind == 'S' ? 101 : kind == 'L' ? 5 : 1; }

inline QByteArray PtnFile(const Texts& texts, qint32 total = 0) {
    QByteArray file;
    for (int m = 0; kMembers[m]; ++m) {
        if (kMembers[m] == 'N') {
            for (int b = 0; b < 4; ++b) file.append(char(quint32(total) >> (8 * b) & 0xFF));
            continue;
        }
        for (int e = 0; e < Elements(kMembers[m]); ++e) {
            const QByteArray t = texts.value({m, e});
            file.append(char(t.size() & 0xFF)).append(char(t.size() >> 8)).append(t);
        }
    }
    return file;
}

// The items of a file, to say which differ when two files do.
inline Texts Items(const QByteArray& file) {
    Texts items;
    int at = 0;
    for (int m = 0; kMembers[m] && at < file.size(); ++m) {
        if (kMembers[m] == 'N') {
            items[{m, 0}] = file.mid(at, 4).toHex();
            at += 4;
            continue;
        }
        for (int e = 0; e < Elements(kMembers[m]) && at + 1 < file.size(); ++e) {
            const int n = uint8_t(file[at]) | uint8_t(file[at + 1]) << 8;
            if (!file.mid(at + 2, n).isEmpty()) items[{m, e}] = file.mid(at + 2, n);
            at += 2 + n;
        }
    }
    return items;
}

inline QString Differences(const QByteArray& got, const QByteArray& want) {
    const Texts g = Items(got), w = Items(want);
    QString out;
    QList<std::pair<int, int>> keys = g.keys() + w.keys();
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    for (const auto& k : keys)
        if (g.value(k) != w.value(k))
            out += QStringLiteral("member %1[%2]: got \"%3\", want \"%4\"\n")
                       .arg(k.first + 1)
                       .arg(k.second)
                       .arg(QString::fromLatin1(g.value(k)), QString::fromLatin1(w.value(k)));
    return out;
}

// Sets every element of a segment array from a list (empty entries stay empty).
inline void Fill(Texts& t, int member, const QList<QByteArray>& values) {
    for (int e = 0; e < values.size(); ++e)
        if (!values[e].isEmpty()) t[{member, e}] = values[e];
}

class PatternLine : public ::testing::TestWithParam<const char*> {
protected:
    // A file of the line's folder with these bytes.
    QString Write(const QString& name, const QByteArray& bytes) {
        const QString path = line.folder() + "/" + name;
        QFile f(path);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(bytes);
        return path;
    }
    // Files that a value beyond its register makes unfit: refused with status 2,
    // and the controller has not heard a word.
    void ExpectRefused(const QStringList& args, const Texts& good, const Texts& bad) {
        for (auto b = bad.begin(); b != bad.end(); ++b) {
            SCOPED_TRACE(QStringLiteral("member %1[%2] \"%3\"")
                             .arg(b.key().first + 1)
                             .arg(b.key().second)
                             .arg(QString::fromLatin1(b.value()))
                             .toStdString());
            Texts t = good;
            t[b.key()] = b.value();
            const RunResult r =
                qeltest::Run(kQelPoll, args + QStringList{"--write-pattern", Write("bad.PTN", PtnFile(t))});
            EXPECT_EQ(r.exitCode, 2) << r.err.toStdString();
            EXPECT_TRUE(r.err.startsWith("qelpoll: ")) << r.err.toStdString();
            EXPECT_EQ(r.out, QString());
            EXPECT_EQ(line.requests(address), 0);
        }
    }
    // Writes `in`, reads the pattern back and compares the file with `want` byte for byte.
    void ExpectRoundTrip(const QStringList& args, const Texts& in, const QString& patternNo, const QByteArray& want) {
        const RunResult w = qeltest::Run(kQelPoll, args + QStringList{"--write-pattern", Write("in.PTN", PtnFile(in))});
        ASSERT_EQ(w.exitCode, 0) << w.err.toStdString();
        const QString out = line.folder() + "/out.PTN";
        const RunResult r = qeltest::Run(kQelPoll, args + QStringList{"--read-pattern", patternNo, "--ptn", out});
        ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
        QFile back(out);
        ASSERT_TRUE(back.open(QIODevice::ReadOnly));
        const QByteArray got = back.readAll();
        EXPECT_EQ(got.size(), want.size());
        EXPECT_TRUE(got == want) << Differences(got, want).toStdString();
    }
    SimLine line;
    int address = 4;
};

}  // namespace qeltest
