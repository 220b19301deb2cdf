#include "ptn_file.h"

#include "codepage.h"
#include "errorlog.h"
#include "runtime_error.h"
#include "vbtext.h"

#include <QDir>
#include <QFile>
#include <QtEndian>

namespace qel {

namespace {

// Every member in file order, for the writer and the reader alike.
template <typename Rec, typename Visit>
void EachMember(Rec& r, Visit&& v) {
    v(r.PatternNo);
    v(r.StartSP);
    v(r.StartSP2);
    v(r.StartType);
    v(r.HeaderSpare);
    v(r.SegSP);
    v(r.SegSP2);
    v(r.SegTime);
    v(r.SegSignal1);
    v(r.SegSignal2);
    v(r.SegSignal3);
    v(r.SegSignal4);
    v(r.SegSignal5);
    v(r.SegSignal6);
    v(r.SegSignal7);
    v(r.SegSignal8);
    v(r.SegAux1);
    v(r.SegAux2);
    v(r.SegAux3);
    v(r.SegAux4);
    v(r.SegUse);
    v(r.PatternRepeat);
    v(r.ChannelRepeat);
    v(r.EndMode);
    v(r.LoopStart);
    v(r.LoopEnd);
    v(r.LoopCount);
    v(r.SegmentCount);
    v(r.TotalTime);
    v(r.RoomConfig);
    v(r.EndMode2300);
    v(r.DefrostType);
    v(r.HiRoomMode);
    v(r.LoRoomMode);
    v(r.DefrostPeriod);
    v(r.DefrostTime);
    v(r.DefrostTemp);
}

struct Writer {
    QByteArray out;
    void operator()(const QString& text) {
        // The length counts bytes of the code page; more than 16 bits can say is cut.
        const QByteArray bytes = ToCodePage(text).left(0xFFFF);
        const quint16 n = qToLittleEndian<quint16>(static_cast<quint16>(bytes.size()));
        out.append(reinterpret_cast<const char*>(&n), 2);
        out.append(bytes);
    }
    template <size_t N>
    void operator()(const std::array<QString, N>& texts) {
        for (const QString& t : texts) (*this)(t);
    }
    void operator()(int32_t value) {
        const qint32 le = qToLittleEndian<qint32>(value);
        out.append(reinterpret_cast<const char*>(&le), 4);
    }
};

struct Reader {
    const QByteArray& in;
    qsizetype at = 0;
    bool whole = true;
    bool take(qsizetype n) {
        if (whole && at + n <= in.size()) return true;
        whole = false;
        return false;
    }
    void operator()(QString& text) {
        text.clear();
        if (!take(2)) return;
        const quint16 n = qFromLittleEndian<quint16>(in.constData() + at);
        at += 2;
        if (!take(n)) return;
        text = FromCodePage(in.mid(at, n));
        at += n;
    }
    template <size_t N>
    void operator()(std::array<QString, N>& texts) {
        for (QString& t : texts) (*this)(t);
    }
    void operator()(int32_t& value) {
        if (!take(4)) return;
        value = qFromLittleEndian<qint32>(in.constData() + at);
        at += 4;
    }
};

}  // namespace

QByteArray PatternBytes(const PatternRec& record) {
    Writer w;
    EachMember(record, w);
    return w.out;
}

bool PatternFromBytes(const QByteArray& bytes, PatternRec& record) {
    Reader r{bytes};
    EachMember(record, r);
    return r.whole;
}

int16_t PC_SavePattern(const PatternRec& record, const QString& path) {
    int16_t result = -1;
    try {
        QFile f(path);
        if (!f.open(QIODevice::ReadWrite)) throw RuntimeError(QFile::exists(path) ? err::PathFileAccess : err::PathNotFound);
        const QByteArray bytes = PatternBytes(record);
        if (f.write(bytes) != bytes.size() || !f.flush()) throw RuntimeError(err::DiskFull);
    } catch (const RuntimeError& e) {
        result = 0;
        ErrorTail(e.description(), QStringLiteral("modFunc.PC_SavePattern"));
    }
    return result;
}

PatternRec PC_ReadPattern(PatternRec record, const QString& patternNoText, const QString& path) {
    try {
        const QString file = path.isEmpty()
                                 ? QDir::current().filePath(Format(Val(patternNoText), QStringLiteral("00")) +
                                                            QStringLiteral(".PTN"))
                                 : path;
        QFile f(file);
        if (!f.open(QIODevice::ReadOnly)) throw RuntimeError(err::FileNotFound);
        const QByteArray bytes = f.readAll();
        f.close();
        const bool whole = PatternFromBytes(bytes, record);
        // The count follows from what was read, short file or not; the total
        // of the seconds is not made again here.
        record.SegmentCount = QString::number(SegmentsOf(record));
        if (!whole) throw RuntimeError("Input past end of file");
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modFunc.PC_ReadPattern"));
    }
    return record;
}

}  // namespace qel
