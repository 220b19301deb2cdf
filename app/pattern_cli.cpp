#include "pattern_cli.h"

#include "dec2hex.h"
#include "errorlog.h"
#include "pattern_transfer.h"
#include "pattern_transfer_2200.h"
#include "pattern_transfer_2300.h"
#include "pattern_transfer_2400.h"
#include "ptn_file.h"
#include "state.h"
#include "vbtext.h"

#include <QFile>
#include <QRegularExpression>
#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace qel {

namespace {

TransferUi Progress() {
    TransferUi ui;
    const bool terminal = isatty(fileno(stderr));
    ui.progress = [terminal](int value, int maximum, const QString& caption) {
        if (terminal) std::fprintf(stderr, "\rsegment %s   ", caption.toLocal8Bit().constData());
        if (terminal && value >= maximum) std::fprintf(stderr, "\n");
    };
    ui.message = [](const QString& title, const QString& text) {
        std::fprintf(stderr, "qelpoll: %s: %s\n", title.toLocal8Bit().constData(), text.toLocal8Bit().constData());
    };
    return ui;
}

bool Whole(const QString& text, double lo, double hi) {
    static const QRegularExpression number(QStringLiteral("^-?[0-9]{1,9}$"));
    return text.isEmpty() || (number.match(text.trimmed()).hasMatch() && Val(text) >= lo && Val(text) <= hi);
}

bool SetPoint(const QString& text, int channel) {
    static const QRegularExpression number(QStringLiteral("^-?[0-9]{1,6}(\\.[0-9]*)?$"));
    if (text.isEmpty()) return true;
    const double scaled = Val(text) * std::pow(10.0, Chamber[0].DP[static_cast<size_t>(channel - 1)].size());
    return number.match(text.trimmed()).hasMatch() && scaled >= -32768 && scaled <= 32767;
}

}  // namespace

namespace {

QString Quote(const QString& v) { return u'"' + v + u'"'; }

// The segment list of the QEL2000 family and the QEL2200 (which adds a
// second set point per segment and at the start, and has no aux values).
QString SegmentListProblem(PatternRec& r, const QString& path, int channel, bool qel2200) {
    const int segments = SegmentsOf(r);
    if (segments > 100) return path + QStringLiteral(" has more than 100 segments");
    for (int i = 0; i < segments; ++i) {
        const QString at = QStringLiteral(" of segment %1").arg(i + 1);
        if (!Whole(r.SegTime[i], 0, 32766.0 * 3600 + 3599)) return QStringLiteral("time ") + Quote(r.SegTime[i]) + at;
        if (!SetPoint(r.SegSP[i], qel2200 ? 1 : channel)) return QStringLiteral("set point ") + Quote(r.SegSP[i]) + at;
        if (qel2200 && !SetPoint(r.SegSP2[i], 2)) return QStringLiteral("set point ") + Quote(r.SegSP2[i]) + at;
        for (const SegmentTexts* t : SegSignals(r))
            if (!Whole((*t)[i], -32768, 32767)) return QStringLiteral("signal ") + Quote((*t)[i]) + at;
        for (const SegmentTexts* t : SegAuxes(r))
            if (!qel2200 && !Whole((*t)[i], -32768, 32767)) return QStringLiteral("value ") + Quote((*t)[i]) + at;
        if (!Whole(r.SegUse[i], 0, 1)) return QStringLiteral("use flag ") + Quote(r.SegUse[i]) + at;
    }
    if (!SetPoint(r.StartSP, qel2200 ? 1 : channel)) return QStringLiteral("start set point ") + Quote(r.StartSP);
    if (qel2200 && !SetPoint(r.StartSP2, 1)) return QStringLiteral("start set point ") + Quote(r.StartSP2);
    for (const QString* v : {&r.StartType, &r.PatternRepeat, &r.ChannelRepeat, &r.EndMode})
        if (!Whole(*v, -32768, 32767)) return Quote(*v) + QStringLiteral(" in the pattern's header or tail");
    for (int k = 0; k < 4; ++k)
        for (const QString* v : {&r.LoopStart[k], &r.LoopEnd[k], &r.LoopCount[k]})
            if (!Whole(*v, -32768, 32767)) return QStringLiteral("loop value ") + Quote(*v);
    return QString();
}

// The QEL2300's room program: three rooms of temperature, time, pre-heat
// temperature and eight time signals, and the defrost settings. Its
// temperatures go by the places of channel 1; its hours go as they are.
QString RoomProgramProblem(const PatternRec& r) {
    static const char* const rooms[] = {"Hi", "Ex", "Lo"};
    const SegmentTexts* timeSignals[] = {&r.SegSignal1, &r.SegSignal2, &r.SegSignal3};
    for (int k = 0; k < 3; ++k) {
        const QString at = QStringLiteral(" of the %1 room").arg(QLatin1String(rooms[k]));
        if (!Whole(r.SegTime[k], 0, 32767.0 * 3600 + 3599)) return QStringLiteral("time ") + Quote(r.SegTime[k]) + at;
        if (!SetPoint(r.SegSP[k], 1)) return QStringLiteral("temperature ") + Quote(r.SegSP[k]) + at;
        if (!SetPoint(r.SegSP2[k], 1)) return QStringLiteral("pre-heat temperature ") + Quote(r.SegSP2[k]) + at;
        for (int e = 0; e < 8; ++e)
            if (!Whole((*timeSignals[k])[e], -32768, 32767)) return QStringLiteral("time signal ") + Quote((*timeSignals[k])[e]) + at;
    }
    if (!SetPoint(r.DefrostTemp, 1)) return QStringLiteral("defrost temperature ") + Quote(r.DefrostTemp);
    for (const QString* v : {&r.PatternRepeat, &r.EndMode2300, &r.DefrostType, &r.HiRoomMode, &r.LoRoomMode,
                             &r.DefrostPeriod, &r.DefrostTime})
        if (!Whole(*v, -32768, 32767)) return Quote(*v) + QStringLiteral(" in the program's settings");
    return QString();
}

}  // namespace

QString PatternFileProblem(const QString& path, int channel, int* patternNo) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return QStringLiteral("cannot read ") + path;
    PatternRec r;
    if (!PatternFromBytes(f.readAll(), r)) return path + QStringLiteral(" is shorter than a pattern file");
    if (!Whole(r.PatternNo, 1, 999) || r.PatternNo.isEmpty())
        return QStringLiteral("pattern number %1 in %2 is not 1 to 999").arg(Quote(r.PatternNo), path);
    const QString& model = ChamberModel[0];
    const QString why = model == u"QEL2300" ? RoomProgramProblem(r) : SegmentListProblem(r, path, channel, model == u"QEL2200");
    if (!why.isEmpty()) return why;
    *patternNo = static_cast<int>(Val(r.PatternNo));
    return QString();
}

int ReadPatternToFile(int patternNo, int channel, const QString& path) {
    const QString& model = ChamberModel[0];
    PatternRec r = model == u"QEL2200"   ? QEL2200_PatternRead(1, patternNo, Progress())
                   : model == u"QEL2300" ? QEL2300_PTRead(1, patternNo, Progress())
                   : model == u"QEL2400" ? QEL2400_PatternRead(1, patternNo, channel - 1, Progress())
                                         : PatternRead(1, patternNo, channel - 1, Progress());
    if (CommError[0] != 0 || FailCount[0] > 0) return 1;
    if (model == u"QEL2300") {
        r.PatternNo = QString::number(patternNo);  // the block does not hold it; the file does
    } else if (r.PatternNo.isEmpty()) {
        return 1;
    }
    return PC_SavePattern(r, path) == -1 && QFile(path).size() > 0 ? 0 : 1;
}

namespace {

// Writes get no answer to judge by: what the controller holds afterwards
// says whether it took the pattern.
int Verified(int held, int want, int patternNo, const char* what) {
    if (held == want) return 0;
    std::fprintf(stderr, "qelpoll: the controller holds %d %s of pattern %d, not %d\n", held, what, patternNo, want);
    return 1;
}

// The room program read back: the rooms' temperatures and times and the
// repeat as written (the Ex room only where the defrost type uses it).
int VerifiedRooms(const PatternRec& written, int patternNo) {
    const PatternRec back = QEL2300_PTRead(1, patternNo);
    if (CommError[0] != 0 || FailCount[0] > 0) return 1;
    const bool ex = Val(written.DefrostType) >= 2;
    for (int k = 0; k < 3; ++k) {
        if (k == 1 && !ex) continue;
        if (Val(back.SegSP[k]) != Val(written.SegSP[k]) || Val(back.SegTime[k]) != Val(written.SegTime[k])) {
            std::fprintf(stderr, "qelpoll: room %d of pattern %d reads back as %s for %s s\n", k + 1, patternNo,
                         back.SegSP[k].toLocal8Bit().constData(), back.SegTime[k].toLocal8Bit().constData());
            return 1;
        }
    }
    return Val(back.PatternRepeat) == Val(written.PatternRepeat) ? 0 : 1;
}

}  // namespace

int WritePatternFile(const QString& path, int patternNo, int channel) {
    PatternRec r = PC_ReadPattern(PatternRec{}, QString(), path);
    TailDirty = -1;  // restored whole, tail included
    const QString& model = ChamberModel[0];
    if (model == u"QEL2300") {
        QEL2300_PTSave(1, r, patternNo, Progress());
        return VerifiedRooms(r, patternNo);
    }
    if (model == u"QEL2200") {
        QEL2200_PatternSave(1, r, patternNo, Progress());
        return Verified(QEL2200_PatternSegmentsOnController(1, patternNo), SegmentsOf(r), patternNo, "segments");
    }
    if (model == u"QEL2400") {
        QEL2400_PatternSave(1, r, patternNo, channel - 1, Progress());
        return Verified(QEL2400_PatternSegmentsOnController(1, patternNo, channel - 1), SegmentsOf(r), patternNo,
                        "segments");
    }
    PatternSave(1, r, patternNo, channel - 1, Progress());
    return Verified(PatternSegmentsOnController(1, patternNo, channel - 1), SegmentsOf(r), patternNo, "segments");
}

}  // namespace qel
