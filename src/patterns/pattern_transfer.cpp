#include "pattern_transfer.h"

#include "errorlog.h"
#include "language.h"
#include "pattern_transfer_2400.h"
#include "reply_text.h"
#include "runtime_error.h"
#include "state.h"
#include "transfer_steps.h"
#include "vbtext.h"

namespace qel {

int16_t TailDirty = 0;

namespace {

constexpr int kHeader = 0x0474;
constexpr int kSegment = 0x0464;
constexpr int kTail = 0x047D;

void ReadSegment(const TransferSteps& t, const QString& r, PatternRec& rec, int i) {
    rec.SegSP[i] = t.scaled(r, kSegment, kSegment);
    rec.SegTime[i] = t.seconds(r, kSegment, kSegment + 1);
    for (int k = 0; k < 8; ++k) (*SegSignals(rec)[k])[i] = t.plain(r, kSegment, kSegment + 3 + k);
    for (int k = 0; k < 4; ++k) (*SegAuxes(rec)[k])[i] = t.plain(r, kSegment, kSegment + 11 + k);
    rec.SegUse[i] = t.plain(r, kSegment, 0x048E);
}

void ReadTail(const TransferSteps& t, const QString& r, PatternRec& rec, int channelIndex) {
    rec.PatternRepeat = t.plain(r, kTail, 0x047D);
    rec.EndMode = t.plain(r, kTail, 0x047E);
    rec.ChannelRepeat = t.plain(r, kTail, channelIndex == 0 ? 0x047F : 0x0480);
    for (int k = 0; k < 4; ++k) {
        rec.LoopStart[k] = t.plain(r, kTail, 0x0482 + 3 * k);
        rec.LoopEnd[k] = t.plain(r, kTail, 0x0483 + 3 * k);
        rec.LoopCount[k] = t.plain(r, kTail, 0x0484 + 3 * k);
    }
}

}  // namespace

PatternRec PatternRead(int16_t chamber, int patternNo, int channelIndex, const TransferUi& ui) {
    PatternRec rec;
    const TransferSteps t(chamber, channelIndex + 1, ui);
    try {
        t.write(QStringLiteral("06044B") + t.hex(channelIndex));
        t.write(QStringLiteral("06044C") + t.hex(patternNo));
        if (t.stopped()) return rec;
        t.write(QStringLiteral("0604520002"));
        const QString header = t.read(QStringLiteral("0304740052"));
        if (header.isEmpty()) throw CommFailure();
        const int count = RegisterAt(header, kHeader, kHeader);
        t.progress(1, count);
        rec.StartType = t.plain(header, kHeader, 0x0475);
        rec.StartSP = t.scaled(header, kHeader, channelIndex == 0 ? 0x0476 : 0x0477);
        // The stop key leaves the segment loop; the count and the tail are read all the same.
        ReadSegments(t, count, {QStringLiteral("06044D"), 1, QStringLiteral("0604520002"), QStringLiteral("0304640052")},
                     [&](const QString& seg, int i) { ReadSegment(t, seg, rec, i); });
        rec.SegmentCount = QString::number(count);
        rec.PatternNo = QString::number(patternNo);
        t.write(QStringLiteral("10044B000810") + t.hex(channelIndex) + t.hex(patternNo) +
                QStringLiteral("000000010001000100010002"));
        const QString tail = t.read(QStringLiteral("03047D0052"));
        if (tail.isEmpty()) throw CommFailure();
        ReadTail(t, tail, rec, channelIndex);
    } catch (const CommFailure&) {
        t.message(QStringLiteral("Error"), Lang(QStringLiteral("QELMessage"), 14));
    } catch (const RuntimeError& e) {
        TryWriteErrorLog(QStringLiteral("Pattern read error") + e.description());
    }
    return rec;
}

void ProgramDownload(int16_t chamber, int channelIndex, const TransferUi& ui, const std::function<void()>& showInForm) {
    const int patternNo = static_cast<int>(Val(Pattern.PatternNo));
    // The QEL2400 has a command window of its own, and a third channel.
    Pattern = ChamberModel[ChamberIndex(chamber)] == u"QEL2400"
                  ? QEL2400_PatternRead(chamber, patternNo, channelIndex, ui)
                  : PatternRead(chamber, patternNo, channelIndex, ui);
    if (!(ui.stopped && ui.stopped()) && showInForm) showInForm();
}

int PatternSegmentsOnController(int16_t chamber, int patternNo, int channelIndex) {
    const TransferUi none;
    const TransferSteps t(chamber, channelIndex + 1, none);
    t.write(QStringLiteral("10044B000810") + t.hex(channelIndex) + t.hex(patternNo) +
            QStringLiteral("000000010001000100010002"));
    const QString header = t.read(QStringLiteral("0304740052"));
    return header.isEmpty() ? -1 : RegisterAt(header, kHeader, kHeader);
}

int16_t PatternSave(int16_t chamber, PatternRec& rec, int patternNo, int channelIndex, const TransferUi& ui) {
    const TransferSteps t(chamber, channelIndex + 1, ui);
    try {
        const int count = SaveSegmentCount(rec);
        t.progress(1, count);
        const QString channel = t.hex(channelIndex), pattern = t.hex(patternNo);
        t.write(QStringLiteral("06044B") + channel);
        t.write(QStringLiteral("100450000306") + pattern + pattern + QStringLiteral("0005"));
        t.write(QStringLiteral("10044B000306") + channel + pattern + QStringLiteral("0000"));
        if (t.stopped()) return -1;
        t.write(QStringLiteral("060475") + t.hex(rec.StartType));
        t.write((channelIndex == 0 ? QStringLiteral("060476") : QStringLiteral("060477")) + t.setPoint(rec.StartSP));
        t.write(QStringLiteral("0604520003"));
        t.pause(4);
        int32_t total = 0;
        for (int i = 0; i < count; ++i) {
            if (t.stopped()) return -1;
            const int32_t secs = static_cast<int32_t>(Val(rec.SegTime[i]));
            total += secs;
            t.write(QStringLiteral("06044D") + t.hex(i + 1));
            t.pause(1);
            const HoursAndRest time = SplitSeconds(secs);
            // The hours register carries one more than the hours, and a read
            // does not take it off: read and saved again, every segment comes
            // back an hour longer, as the controllers have always had it.
            t.write(QStringLiteral("100464000B16") + t.setPoint(rec.SegSP[i]) + t.hex(time.hours + 1) +
                    t.hex(time.rest) + t.wordsOf(SegSignals(rec), i));
            t.write(QStringLiteral("10046F000408") + t.wordsOf(SegAuxes(rec), i));
            if (t.stopped()) return -1;
            t.write(QStringLiteral("06048E") + t.hexOrZero(rec.SegUse[i]));
            t.write(QStringLiteral("0604520003"));
            t.pause(4);
            t.progress(i + 1, count);
        }
        rec.SegmentCount = QString::number(count);
        rec.TotalTime = total;
        if (TailDirty == 0) return -1;

        t.write(QStringLiteral("10044B000306") + channel + pattern + QStringLiteral("0000"));
        const QString channelRepeat = t.repeatOrOne(rec.ChannelRepeat);
        // The other channel's repeat is set to 1.
        t.write(QStringLiteral("10047D000408") + t.repeatOrOne(rec.PatternRepeat) + t.hexOrZero(rec.EndMode) +
                (channelIndex == 0 ? channelRepeat + QStringLiteral("0001") : QStringLiteral("0001") + channelRepeat));
        t.write(QStringLiteral("100482000C18") + t.loopRows(rec));
        t.write(QStringLiteral("0604520003"));
        t.pause(4);
    } catch (const RuntimeError& e) {
        t.message(QStringLiteral("Pattern save"), QStringLiteral("Pattern save error"));
        TryWriteErrorLog(QStringLiteral("Pattern save error") + e.description());
    }
    return -1;
}

}  // namespace qel
