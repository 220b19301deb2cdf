#include "pattern_transfer_2200.h"

#include "errorlog.h"
#include "language.h"
#include "reply_text.h"
#include "runtime_error.h"
#include "state.h"
#include "transfer_steps.h"
#include "vbtext.h"

namespace qel {

namespace {

constexpr int kHeader = 0x001D;   // segment count, start type, StartSP, StartSP2
constexpr int kTail = 0x0021;     // repeats, end mode, loop rows array by array
constexpr int kSegment = 0x0530;  // SegSP, SegSP2, hours, rest, 8 signals, SegUse
constexpr int kChannel1 = 1;
constexpr int kChannel2 = 2;

// How a read ended, for the download to tell an empty pattern from the rest.
enum class ReadEnd { Done, Stopped, NoPattern, Failed };

void ReadSegment(const TransferSteps& t, const QString& r, PatternRec& rec, int i) {
    rec.SegSP[i] = t.scaled(r, kSegment, 0x0530, kChannel1);
    rec.SegSP2[i] = t.scaled(r, kSegment, 0x0531, kChannel2);
    rec.SegTime[i] = t.seconds(r, kSegment, 0x0532);
    for (int k = 0; k < 8; ++k) (*SegSignals(rec)[k])[i] = t.plain(r, kSegment, 0x0534 + k);
    rec.SegUse[i] = t.plain(r, kSegment, 0x053C);
}

void ReadTail(const TransferSteps& t, const QString& r, PatternRec& rec) {
    rec.PatternRepeat = t.plain(r, kTail, 0x0021);
    rec.ChannelRepeat = t.plain(r, kTail, 0x0022);
    rec.EndMode = t.plain(r, kTail, 0x0023);
    for (int k = 0; k < 4; ++k) {
        rec.LoopStart[k] = t.plain(r, kTail, 0x0024 + k);
        rec.LoopEnd[k] = t.plain(r, kTail, 0x0028 + k);
        rec.LoopCount[k] = t.plain(r, kTail, 0x002C + k);
    }
}

// The pattern level with its tail loaded into the window (range 1 to 1,
// command 2).
QString SelectPatternLevel(const TransferSteps& t, int patternNo) {
    return QStringLiteral("10051900070E") + t.hex(patternNo) + QStringLiteral("000000010001000100010002");
}

ReadEnd Read(int16_t chamber, int patternNo, const TransferUi& ui, PatternRec& rec) {
    const TransferSteps t(chamber, kChannel1, ui);
    try {
        t.write(QStringLiteral("060519") + t.hex(patternNo));
        t.write(QStringLiteral("06051F0002"));
        if (t.stopped()) return ReadEnd::Stopped;
        const QString header = t.read(QStringLiteral("03001D0052"));
        if (header.isEmpty()) throw CommFailure();
        const int count = RegisterAt(header, kHeader, kHeader);
        if (count == 0) {
            t.message(QStringLiteral("Pattern information"), Lang(QStringLiteral("Pattern"), 44));
            return ReadEnd::NoPattern;
        }
        t.progress(1, count);
        rec.StartType = t.plain(header, kHeader, 0x001E);
        rec.StartSP = t.scaled(header, kHeader, 0x001F, kChannel1);
        // Channel 2's start set point, yet the controller scales it by channel 1.
        rec.StartSP2 = t.scaled(header, kHeader, 0x0020, kChannel1);
        // The stop key leaves the segment loop; the count and the tail are read all the same.
        ReadSegments(t, count, {QStringLiteral("06051A"), 2, QStringLiteral("06051F0002"), QStringLiteral("0305300052")},
                     [&](const QString& seg, int i) { ReadSegment(t, seg, rec, i); });
        rec.SegmentCount = QString::number(count);
        rec.PatternNo = QString::number(patternNo);
        t.write(SelectPatternLevel(t, patternNo));
        const QString tail = t.read(QStringLiteral("0300210052"));
        if (tail.isEmpty()) throw CommFailure();
        ReadTail(t, tail, rec);
    } catch (const CommFailure&) {
        t.message(QStringLiteral("Error"), Lang(QStringLiteral("QELMessage"), 14));
        return ReadEnd::Failed;
    } catch (const RuntimeError& e) {
        TryWriteErrorLog(QStringLiteral("Pattern read error") + e.description());
        return ReadEnd::Failed;
    }
    return ReadEnd::Done;
}

}  // namespace

PatternRec QEL2200_PatternRead(int16_t chamber, int patternNo, const TransferUi& ui) {
    PatternRec rec;
    Read(chamber, patternNo, ui, rec);
    return rec;
}

void QEL2200_ProgramDownload(int16_t chamber, const TransferUi& ui, const std::function<void()>& showInForm) {
    PatternRec rec;
    const ReadEnd end = Read(chamber, static_cast<int>(Val(Pattern.PatternNo)), ui, rec);
    if (end == ReadEnd::NoPattern) return;
    Pattern = rec;
    if (end != ReadEnd::Stopped && !(ui.stopped && ui.stopped()) && showInForm) showInForm();
}

int QEL2200_PatternSegmentsOnController(int16_t chamber, int patternNo) {
    const TransferUi none;
    const TransferSteps t(chamber, kChannel1, none);
    try {
        t.write(SelectPatternLevel(t, patternNo));
        const QString header = t.read(QStringLiteral("03001D0052"));
        return header.isEmpty() ? -1 : RegisterAt(header, kHeader, kHeader);
    } catch (const RuntimeError& e) {
        TryWriteErrorLog(QStringLiteral("Pattern read error") + e.description());
        return -1;
    }
}

int16_t QEL2200_PatternSave(int16_t chamber, PatternRec& rec, int patternNo, const TransferUi& ui) {
    const TransferSteps t(chamber, kChannel1, ui);
    try {
        const int count = SaveSegmentCount(rec);
        t.progress(1, count);
        const QString pattern = t.hex(patternNo);
        t.write(QStringLiteral("10051D000306") + pattern + pattern + QStringLiteral("0005"));
        t.write(QStringLiteral("100519000204") + pattern + QStringLiteral("0000"));
        if (t.stopped()) return -1;
        t.write(QStringLiteral("10001E000306") + t.hex(rec.StartType) + t.setPoint(rec.StartSP) +
                t.setPoint(rec.StartSP2));
        t.write(QStringLiteral("06051F0003"));
        // Writes leave the chamber's health alone: this sees a chamber the
        // poll or an earlier read already found lost.
        if (CommError[ChamberIndex(chamber)] == -1) throw CommFailure();
        t.pause(2);
        int32_t total = 0;
        for (int i = 0; i < count; ++i) {
            if (t.stopped()) return -1;
            const int32_t secs = static_cast<int32_t>(Val(rec.SegTime[i]));
            total += secs;
            t.write(QStringLiteral("06051A") + t.hex(i + 1));
            t.pause(1);
            const HoursAndRest time = SplitSeconds(secs);
            if (rec.SegSP2[i].isEmpty()) rec.SegSP2[i] = QStringLiteral("0000");
            // Hours one higher, never taken off by a read: as on the QEL2000.
            t.write(QStringLiteral("100530000D1A") + t.setPoint(rec.SegSP[i], kChannel1) +
                    t.setPoint(rec.SegSP2[i], kChannel2) + t.hex(time.hours + 1) + t.hex(time.rest) +
                    t.wordsOf(SegSignals(rec), i) + t.wordsOf(std::array<SegmentTexts*, 1>{&rec.SegUse}, i));
            if (t.stopped()) return -1;
            t.write(QStringLiteral("06051F0003"));
            t.pause(2);
            t.progress(i + 1, count);
        }
        rec.SegmentCount = QString::number(count);
        rec.TotalTime = total;
        if (TailDirty == 0) return -1;

        t.write(QStringLiteral("100519000204") + pattern + QStringLiteral("0000"));
        QString tail = QStringLiteral("100021000F1E") + t.repeatOrOne(rec.PatternRepeat) +
                       t.repeatOrOne(rec.ChannelRepeat) + t.hexOrZero(rec.EndMode);
        for (const LoopTexts* row : {&rec.LoopStart, &rec.LoopEnd, &rec.LoopCount})
            for (int k = 0; k < 4; ++k) tail += t.hexOrZero((*row)[k]);
        t.write(tail);
        t.write(QStringLiteral("06051F0003"));
        t.pause(2);
    } catch (const CommFailure&) {
        t.message(QStringLiteral("Error"), Lang(QStringLiteral("QELMessage"), 14));
        return 0;
    } catch (const RuntimeError& e) {
        t.message(QStringLiteral("Pattern save"), QStringLiteral("Pattern save error"));
        TryWriteErrorLog(QStringLiteral("Pattern save error") + e.description());
        return 0;
    }
    return -1;
}

}  // namespace qel
