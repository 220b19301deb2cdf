#include "pattern_cli.h"

#include "dec2hex.h"
#include "errorlog.h"
#include "pattern_transfer.h"
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

QString PatternFileProblem(const QString& path, int channel, int* patternNo) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return QStringLiteral("cannot read ") + path;
    PatternRec r;
    if (!PatternFromBytes(f.readAll(), r)) return path + QStringLiteral(" is shorter than a pattern file");
    if (!Whole(r.PatternNo, 1, 999) || r.PatternNo.isEmpty())
        return QStringLiteral("pattern number \"%1\" in %2 is not 1 to 999").arg(r.PatternNo, path);
    const int segments = SegmentsOf(r);
    if (segments > 100) return path + QStringLiteral(" has more than 100 segments");
    for (int i = 0; i < segments; ++i) {
        const QString at = QStringLiteral(" of segment %1").arg(i + 1);
        if (!Whole(r.SegTime[i], 0, 32766.0 * 3600 + 3599)) return QStringLiteral("time \"") + r.SegTime[i] + u'"' + at;
        if (!SetPoint(r.SegSP[i], channel)) return QStringLiteral("set point \"") + r.SegSP[i] + u'"' + at;
        for (const SegmentTexts* t : SegSignals(r))
            if (!Whole((*t)[i], -32768, 32767)) return QStringLiteral("signal \"") + (*t)[i] + u'"' + at;
        for (const SegmentTexts* t : SegAuxes(r))
            if (!Whole((*t)[i], -32768, 32767)) return QStringLiteral("value \"") + (*t)[i] + u'"' + at;
        if (!Whole(r.SegUse[i], 0, 1)) return QStringLiteral("use flag \"") + r.SegUse[i] + u'"' + at;
    }
    if (!SetPoint(r.StartSP, channel)) return QStringLiteral("start set point \"") + r.StartSP + u'"';
    for (const QString* v : {&r.StartType, &r.PatternRepeat, &r.ChannelRepeat, &r.EndMode})
        if (!Whole(*v, -32768, 32767)) return QStringLiteral("\"") + *v + QStringLiteral("\" in the pattern's header or tail");
    for (int k = 0; k < 4; ++k)
        for (const QString* v : {&r.LoopStart[k], &r.LoopEnd[k], &r.LoopCount[k]})
            if (!Whole(*v, -32768, 32767)) return QStringLiteral("loop value \"") + *v + u'"';
    *patternNo = static_cast<int>(Val(r.PatternNo));
    return QString();
}

int ReadPatternToFile(int patternNo, int channel, const QString& path) {
    const PatternRec r = PatternRead(1, patternNo, channel - 1, Progress());
    if (CommError[0] != 0 || r.PatternNo.isEmpty()) return 1;
    return PC_SavePattern(r, path) == -1 && QFile(path).size() > 0 ? 0 : 1;
}

int WritePatternFile(const QString& path, int patternNo, int channel) {
    PatternRec r = PC_ReadPattern(PatternRec{}, QString(), path);
    TailDirty = -1;  // restored whole, tail included
    PatternSave(1, r, patternNo, channel - 1, Progress());
    // Writes get no answer to judge by: the controller's own segment count says whether it took the pattern.
    const int held = PatternSegmentsOnController(1, patternNo, channel - 1);
    if (held != SegmentsOf(r)) {
        std::fprintf(stderr, "qelpoll: the controller holds %d segments of pattern %d, not %d\n", held, patternNo,
                     SegmentsOf(r));
        return 1;
    }
    return 0;
}

}  // namespace qel
