// .PTN files built item by item from the pattern file's layout, never by our
// writer: 37 members, a text as a 16-bit little-endian byte count and its
// bytes, 101 texts for a segment array, 5 for a loop array, TotalTime as a
// signed 32-bit number.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

namespace qeltest {

// T a text, S 101 texts, L 5 texts, N the 32-bit number.
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

// The non-empty items of a file (TotalTime as hex).
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

// Sets the elements of a segment array from a list (empty entries stay empty).
inline void Fill(Texts& t, int member, const QList<QByteArray>& values) {
    for (int e = 0; e < values.size(); ++e)
        if (!values[e].isEmpty()) t[{member, e}] = values[e];
}

}  // namespace qeltest
