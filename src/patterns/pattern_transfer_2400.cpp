#include "pattern_transfer_2400.h"

#include "errorlog.h"
#include "language.h"
#include "reply_text.h"
#include "runtime_error.h"
#include "state.h"
#include "transfer_steps.h"
#include "vbtext.h"

namespace qel {

namespace {

constexpr int kCount = 0x0221;    // segment count of the selected pattern, read-only
constexpr int kHeader = 0x0199;   // StartType, then StartSP of channel index 0, 1, 2
constexpr int kSegment = 0x019D;  // SegSP, hours, rest, signals, aux, SegUse
constexpr int kTail = 0x01B7;     // repeat, end mode, three channel repeats, loop rows
constexpr int kStartSP = 0x019A;
constexpr int kChannelRepeat = 0x01B9;
constexpr int kLoops = 0x01BC;
// A save writes the aux values to 0x01A8..0x01AB; the controller shows them
// back from the next four registers, and the station reads them there.
constexpr int kAuxRead = 0x01AC;
constexpr int kSegUse = 0x01B1;

// A channel index outside 0 to 2 or a chamber outside the table raises
// "Subscript out of range" before anything is sent.
void CheckTarget(int16_t chamber, int channelIndex) {
    (void)ChamberIndex(chamber);
    (void)ChannelIndex(channelIndex + 1);
}

QString Register(int reg) { return QString::number(reg, 16).toUpper().rightJustified(4, u'0'); }

void ReadSegment(const TransferSteps& t, const QString& r, PatternRec& rec, int i) {
    rec.SegSP[i] = t.scaled(r, kSegment, kSegment);
    rec.SegTime[i] = t.seconds(r, kSegment, kSegment + 1);
    for (int k = 0; k < 8; ++k) (*SegSignals(rec)[k])[i] = t.plain(r, kSegment, kSegment + 3 + k);
    for (int k = 0; k < 4; ++k) (*SegAuxes(rec)[k])[i] = t.plain(r, kSegment, kAuxRead + k);
    rec.SegUse[i] = t.plain(r, kSegment, kSegUse);
}

void ReadTail(const TransferSteps& t, const QString& r, PatternRec& rec, int channelIndex) {
    rec.PatternRepeat = t.plain(r, kTail, kTail);
    rec.EndMode = t.plain(r, kTail, kTail + 1);
    rec.ChannelRepeat = t.plain(r, kTail, kChannelRepeat + channelIndex);
    for (int k = 0; k < 4; ++k) {
        rec.LoopStart[k] = t.plain(r, kTail, kLoops + 3 * k);
        rec.LoopEnd[k] = t.plain(r, kTail, kLoops + 3 * k + 1);
        rec.LoopCount[k] = t.plain(r, kTail, kLoops + 3 * k + 2);
    }
}

// Channel, pattern and segment 0: the pattern level.
QString SelectPatternLevel(const TransferSteps& t, int channelIndex, int patternNo) {
    return QStringLiteral("10018F000306") + t.hex(channelIndex) + t.hex(patternNo) + QStringLiteral("0000");
}

}  // namespace

PatternRec QEL2400_PatternRead(int16_t chamber, int patternNo, int channelIndex, const TransferUi& ui) {
    PatternRec rec;
    const TransferSteps t(chamber, channelIndex + 1, ui);
    try {
        CheckTarget(chamber, channelIndex);
        // Channel and pattern only: the segment register keeps what the last
        // transfer left in it.
        t.write(QStringLiteral("10018F000204") + t.hex(channelIndex) + t.hex(patternNo));
        if (t.stopped()) return rec;
        t.write(QStringLiteral("0601960002"));
        t.pause(2);
        const QString countBlock = t.read(QStringLiteral("0302210052"));
        if (countBlock.isEmpty()) throw CommFailure();
        const int count = RegisterAt(countBlock, kCount, kCount);
        t.progress(1, count);
        const QString header = t.read(QStringLiteral("0301990052"));
        if (header.isEmpty()) throw CommFailure();
        rec.StartType = t.plain(header, kHeader, kHeader);
        rec.StartSP = t.scaled(header, kHeader, kStartSP + channelIndex);
        // The stop key leaves the segment loop; the count and the tail are read all the same.
        ReadSegments(t, count, {QStringLiteral("060191"), 2, QStringLiteral("0601960002"), QStringLiteral("03019D0052")},
                     [&](const QString& seg, int i) { ReadSegment(t, seg, rec, i); });
        rec.SegmentCount = QString::number(count);
        rec.PatternNo = QString::number(patternNo);
        // No load in front: the tail registers still hold what the pattern
        // level's load put there, and segment loads leave them alone.
        const QString tail = t.read(QStringLiteral("0301B70052"));
        if (tail.isEmpty()) throw CommFailure();
        ReadTail(t, tail, rec, channelIndex);
    } catch (const CommFailure&) {
        t.message(QStringLiteral("Error"), Lang(QStringLiteral("QELMessage"), 14));
    } catch (const RuntimeError& e) {
        TryWriteErrorLog(QStringLiteral("Pattern read error") + e.description());
    }
    return rec;
}

int QEL2400_PatternSegmentsOnController(int16_t chamber, int patternNo, int channelIndex) {
    const TransferUi none;
    const TransferSteps t(chamber, channelIndex + 1, none);
    try {
        CheckTarget(chamber, channelIndex);
        t.write(SelectPatternLevel(t, channelIndex, patternNo));
        t.write(QStringLiteral("0601960002"));
        t.pause(2);
        const QString block = t.read(QStringLiteral("0302210052"));
        return block.isEmpty() ? -1 : RegisterAt(block, kCount, kCount);
    } catch (const RuntimeError& e) {
        TryWriteErrorLog(QStringLiteral("Pattern read error") + e.description());
        return -1;
    }
}

int16_t QEL2400_PatternSave(int16_t chamber, PatternRec& rec, int patternNo, int channelIndex, const TransferUi& ui) {
    const TransferSteps t(chamber, channelIndex + 1, ui);
    try {
        CheckTarget(chamber, channelIndex);
        const int count = SaveSegmentCount(rec);
        t.progress(1, count);
        const QString pattern = t.hex(patternNo);
        t.write(QStringLiteral("06018F") + t.hex(channelIndex));
        t.write(QStringLiteral("100194000306") + pattern + pattern + QStringLiteral("0005"));
        t.write(SelectPatternLevel(t, channelIndex, patternNo));
        t.write(QStringLiteral("060199") + t.hex(rec.StartType));
        if (t.stopped()) return -1;
        t.write(QStringLiteral("06") + Register(kStartSP + channelIndex) + t.setPoint(rec.StartSP));
        t.write(QStringLiteral("0601960003"));
        t.pause(4);
        int32_t total = 0;
        for (int i = 0; i < count; ++i) {
            if (t.stopped()) return -1;
            const int32_t secs = static_cast<int32_t>(Val(rec.SegTime[i]));
            total += secs;
            t.write(QStringLiteral("060191") + t.hex(i + 1));
            t.pause(1);
            const HoursAndRest time = SplitSeconds(secs);
            // Hours one higher, never taken off by a read: as on the QEL2000.
            t.write(QStringLiteral("10019D000F1E") + t.setPoint(rec.SegSP[i]) + t.hex(time.hours + 1) +
                    t.hex(time.rest) + t.wordsOf(SegSignals(rec), i) + t.wordsOf(SegAuxes(rec), i));
            if (t.stopped()) return -1;
            t.write(QStringLiteral("0601B1") + t.hexOrZero(rec.SegUse[i]));
            t.write(QStringLiteral("0601960003"));
            t.pause(4);
            t.progress(i + 1, count);
        }
        rec.SegmentCount = QString::number(count);
        rec.TotalTime = total;
        if (TailDirty == 0) return -1;

        t.write(SelectPatternLevel(t, channelIndex, patternNo));
        QString tail = QStringLiteral("1001B700050A") + t.repeatOrOne(rec.PatternRepeat) + t.hexOrZero(rec.EndMode);
        // The other channels' repeats are set to 0 (the QEL2000 sets 1).
        for (int c = 0; c < 3; ++c) tail += c == channelIndex ? t.repeatOrOne(rec.ChannelRepeat) : QStringLiteral("0000");
        t.write(tail);
        t.write(QStringLiteral("1001BC000C18") + t.loopRows(rec));
        t.write(QStringLiteral("0601960003"));
        t.pause(4);
    } catch (const RuntimeError& e) {
        t.message(QStringLiteral("Pattern save"), QStringLiteral("Pattern save error"));
        TryWriteErrorLog(QStringLiteral("Pattern save error") + e.description());
    }
    return -1;
}

}  // namespace qel
