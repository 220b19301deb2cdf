#include "pattern_transfer_2300.h"

#include "errorlog.h"
#include "language.h"
#include "runtime_error.h"
#include "state.h"
#include "transfer_steps.h"
#include "vbtext.h"

namespace qel {

namespace {

constexpr int kBlock = 0x0918;  // the room program, 44 registers to 0x0943
constexpr int kChannel1 = 1;
constexpr int kReadTries = 3;
constexpr int kReadProgressMax = 20;  // the editor's bar counts to 20 on a read

void Decode(const TransferSteps& t, const QString& r, PatternRec& rec) {
    rec.PatternRepeat = t.plain(r, kBlock, 0x0918);
    rec.EndMode2300 = t.plain(r, kBlock, 0x0919);
    rec.DefrostType = t.plain(r, kBlock, 0x091A);
    rec.HiRoomMode = t.plain(r, kBlock, 0x091B);
    rec.LoRoomMode = t.plain(r, kBlock, 0x091C);
    rec.DefrostPeriod = t.plain(r, kBlock, 0x091D);
    // Kept as the hex text of the register ("&h003C"): the editor and a save
    // take it through Val, which reads that form.
    rec.DefrostTime = QStringLiteral("&h") + Mid(r, 7 + 4 * (0x091E - kBlock), 4);
    rec.DefrostTemp = t.scaled(r, kBlock, 0x091F);
    for (int k = 0; k < 3; ++k) {
        rec.SegSP[k] = t.scaled(r, kBlock, 0x0920 + k);
        rec.SegTime[k] = t.seconds(r, kBlock, 0x0923 + 2 * k);
        rec.SegSP2[k] = t.scaled(r, kBlock, 0x0929 + k);
    }
    for (int j = 0; j < 8; ++j) {
        rec.SegSignal1[j] = t.plain(r, kBlock, 0x092C + j);
        rec.SegSignal2[j] = t.plain(r, kBlock, 0x0934 + j);
        rec.SegSignal3[j] = t.plain(r, kBlock, 0x093C + j);
    }
}

QString Signals(const TransferSteps& t, const SegmentTexts& row) {
    QString s;
    for (int j = 0; j < 8; ++j) s += t.hex(row[j]);
    return s;
}

}  // namespace

PatternRec QEL2300_PTRead(int16_t chamber, int patternNo, const TransferUi& ui) {
    PatternRec result;
    const TransferSteps t(chamber, kChannel1, ui);
    try {
        t.write(QStringLiteral("0608FC") + t.hex(patternNo));
        t.pause(2);
        t.write(QStringLiteral("0609020002"));
        t.pause(2);
        // A reply that was not a good one is never decoded, lost chamber or
        // not yet: it is a failed try.
        QString block;
        for (int attempt = 1; attempt <= kReadTries && block.isEmpty(); ++attempt) {
            block = t.readGood(QStringLiteral("0309180052"));
            if (block.isEmpty())
                TryWriteErrorLog(QString::number(attempt) + QStringLiteral("frmPattern2300 Pattern read error"));
        }
        if (block.isEmpty()) {
            t.progressValue(0, kReadProgressMax);
            const QString text = Lang(QStringLiteral("Pattern"), 45);
            t.message(QStringLiteral("Error"), text);
            t.message(QStringLiteral("Error"), text);
            TryWriteErrorLog(QStringLiteral("Pattern read error"));
            return result;
        }
        PatternRec copy;
        Decode(t, block, copy);
        result = copy;
    } catch (const RuntimeError& e) {
        TryWriteErrorLog(QStringLiteral("Pattern read error") + e.description());
    }
    return result;
}

void QEL2300_ProgramDownload(int16_t chamber, const TransferUi& ui, const std::function<void()>& showInForm) {
    // The block holds neither the number nor the room set-up: the working
    // record keeps both.
    const QString patternNo = Pattern.PatternNo, roomConfig = Pattern.RoomConfig;
    Pattern = QEL2300_PTRead(chamber, static_cast<int>(Val(patternNo)), ui);
    Pattern.PatternNo = patternNo;
    Pattern.RoomConfig = roomConfig;
    if (showInForm) showInForm();
}

int16_t QEL2300_PTSave(int16_t chamber, PatternRec& rec, int patternNo, const TransferUi& ui) {
    const TransferSteps t(chamber, kChannel1, ui);
    try {
        (void)ChamberIndex(chamber);  // no slot, no save: fails before anything is sent
        const QString pattern = t.hex(patternNo);
        t.write(QStringLiteral("100900000306") + pattern + pattern + QStringLiteral("0005"));
        t.pause(2);
        t.write(QStringLiteral("0608FC") + pattern);
        t.pause(2);
        t.write(QStringLiteral("10091800050A") + t.hex(rec.PatternRepeat) + t.hex(rec.EndMode2300) +
                t.hex(rec.DefrostType) + t.hex(rec.HiRoomMode) + t.hex(rec.LoRoomMode));
        t.pause(1);
        t.write(QStringLiteral("10091D000306") + t.hex(rec.DefrostPeriod) + t.hex(rec.DefrostTime) +
                t.setPoint(rec.DefrostTemp));
        t.pause(1);
        t.write(QStringLiteral("100920000306") + t.setPoint(rec.SegSP[0]) + t.setPoint(rec.SegSP[1]) +
                t.setPoint(rec.SegSP[2]));
        t.pause(1);
        // The Ex room is used from DefrostType 2 on; below that its time is
        // zeroed first and then written all the same, as the controller's
        // own software has always done.
        const bool exRoomOff = Val(rec.DefrostType) < 2;
        for (int k = 0; k < 3; ++k) {
            const QString reg = t.hex(0x0923 + 2 * k);
            const HoursAndRest time = SplitSeconds(static_cast<int32_t>(Val(rec.SegTime[k])));
            if (exRoomOff && k == 1) {
                t.write(QStringLiteral("10") + reg + QStringLiteral("00020400000000"));
                t.pause(1);
            }
            // Plain hours here: no hour added, unlike the segment models.
            t.write(QStringLiteral("10") + reg + QStringLiteral("000204") + t.hex(time.hours) + t.hex(time.rest));
            t.pause(1);
        }
        for (int k : {0, 2})
            if (rec.SegSP2[k].isEmpty()) rec.SegSP2[k] = QStringLiteral("-200.0");
        // The Ex room's pre-heat temperature is never sent: 0x092A gets 0.
        t.write(QStringLiteral("100929000306") + t.setPoint(rec.SegSP2[0]) + QStringLiteral("0000") +
                t.setPoint(rec.SegSP2[2]));
        t.pause(1);
        t.write(QStringLiteral("10092C000810") + Signals(t, rec.SegSignal1));
        t.pause(1);
        t.write(QStringLiteral("100934000810") + (exRoomOff ? QString(32, u'0') : Signals(t, rec.SegSignal2)));
        t.pause(1);
        t.write(QStringLiteral("10093C000810") + Signals(t, rec.SegSignal3));
        t.pause(1);
        t.write(QStringLiteral("0609020003"));
        t.pause(2);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modQEL2300.QEL2300_PTSave_Err"));
        return 0;
    }
    return -1;
}

}  // namespace qel
