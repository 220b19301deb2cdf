#include "data_log.h"

#include "clock.h"
#include "codepage.h"
#include "errorlog.h"
#include "mode_checks.h"
#include "page_controls.h"
#include "page_layout.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "vbtext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <algorithm>
#include <limits>

namespace qel {

std::array<std::array<int32_t, 30>, 5> SampleCount{};

namespace {

constexpr int kTextBytes = 40;

enum class Variant { PerChannel, Linked, QEL2200, QEL2300 };

bool IsFamily(const QString& model) { return page::LayoutOf(model) == page::Layout::Family; }

// MODEL_ZZ as a number; a value no int holds (a damaged SetUserTag.ini can
// give "9e+99") saturates: it is neither 0 nor 1, as its text says.
int VariantNumber(int c) {
    const double v = Val(ChamberVariant[c]);
    return static_cast<int>(std::clamp<double>(v, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// The run-time keeps whole seconds: a start time and "now" both drop their
// milliseconds, so that the seconds of a row count seconds crossed.
QDateTime WholeSecondNow() {
    QDateTime now = Now();
    const QTime t = now.time();
    now.setTime(QTime(t.hour(), t.minute(), t.second()));
    return now;
}

QByteArray Padded(const QString& text) {
    QByteArray b = ToCodePage(text).left(kTextBytes);
    b.append(QByteArray(kTextBytes - b.size(), ' '));
    return b;
}

void PutSeconds(QByteArray& row, int32_t seconds) {
    const qint32 le = qToLittleEndian<qint32>(seconds);
    row.append(reinterpret_cast<const char*>(&le), sizeof le);
}

void PutDouble(QByteArray& row, double value) {
    const double le = qToLittleEndian(value);
    row.append(reinterpret_cast<const char*>(&le), sizeof le);
}

void PutTriples(QByteArray& row, const LogRec& log, int from, int to) {
    for (int k = from; k <= to; ++k) {
        PutDouble(row, log.SamplePV[k - 1]);
        PutDouble(row, log.SampleSP[k - 1]);
        PutDouble(row, log.SampleMV[k - 1]);
    }
}

// The row of a write by model first, then channel; empty for a model
// outside the five.
QByteArray BuildRow(int c, int16_t channel) {
    const QString& model = ChamberModel[c];
    const LogRec& log = Log[c];
    QByteArray row;
    if (model == u"QEL2200") {
        PutSeconds(row, log.Seconds[0]);
        PutTriples(row, log, 1, 2);
    } else if (model == u"QEL2300") {
        PutSeconds(row, log.Seconds[0]);
        PutTriples(row, log, 1, 3);
    } else if (IsFamily(model) && channel != 0) {
        const int k = ChannelIndex(channel) + 1;
        PutSeconds(row, log.Seconds[k - 1]);
        PutTriples(row, log, k, k);
        // The heat-cool row carries the field of channel 2, not SampleHC:
        // existing files have it so, and the viewer reads it so.
        if (k == 1 && VariantNumber(c) == 1) PutDouble(row, log.SampleMV[1]);
    } else if (IsFamily(model)) {
        PutSeconds(row, log.Seconds[0]);
        PutTriples(row, log, 1, model == u"QEL2400" ? 3 : 2);
    }
    return row;
}

// Writes the 80 header bytes from the start of the file, making it when
// absent; an existing file is overwritten in place, not cut.
bool PutHeader(const QString& fileName, const QByteArray& header, QString& why) {
    QFile f(fileName);
    if (!f.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        why = QString::fromUtf8(QFileInfo(fileName).absoluteDir().exists() ? err::PathFileAccess : err::PathNotFound);
        return false;
    }
    const bool ok = f.seek(0) && f.write(header) == header.size() && f.flush();
    if (!ok) why = QString::fromUtf8(err::DiskFull);
    f.close();
    // No file without its whole header stays: the next row would follow a
    // half header or none, and the viewer would misread the whole run. The
    // next row makes the file again, header first.
    if (!ok && QFileInfo(fileName).size() < header.size()) QFile::remove(fileName);
    return ok;
}

// The file with its title and channel text; a chamber folder removed under
// the running station is made again, once.
bool MakeDataLog(const QString& fileName, int16_t chamber, int16_t channel, QString& why) {
    const int c = ChamberIndex(chamber);
    const QString channelText = Chamber[c].LinkedRun == 0 ? QStringLiteral("CH") + QString::number(channel) : QString();
    const QByteArray header = Padded(DataLogTitle(chamber, channel)) + Padded(channelText);
    if (PutHeader(fileName, header, why)) return true;
    if (why != QLatin1String(err::PathNotFound)) return false;
    QDir().mkpath(QFileInfo(fileName).absolutePath());
    return PutHeader(fileName, header, why);
}

QString StampedName(int c, const QDateTime& start, const QString& tail) {
    const QString folder = AppPath + QStringLiteral("DATA/") + ChamberName[c] + u'/';
    const QString stem = folder + FormatDate(start, QStringLiteral("YYYYMMDDHHMMSS")) + tail;
    QString name = stem + QStringLiteral(".log");
    // Two runs in one second: the second run's file is not written over.
    for (int n = 2; QFileInfo::exists(name); ++n) name = stem + u'_' + QString::number(n) + QStringLiteral(".log");
    return name;
}

QString FileNameFor(Variant v, int c, int k, const QDateTime& start) {
    if (v != Variant::PerChannel) return StampedName(c, start, QString());
    if (k == 1 && VariantNumber(c) == 1) return StampedName(c, start, QStringLiteral("_HC"));
    return StampedName(c, start, u'_' + QString::number(k));
}

// The channels whose samples a step takes.
std::pair<int, int> SampledChannels(Variant v, int c, int k) {
    switch (v) {
        case Variant::PerChannel:
            return {k, k};
        case Variant::Linked:
            return {1, std::clamp<int>(Chamber[c].ChannelCount, 1, kMaxChannels)};
        case Variant::QEL2200:
            return {1, 2};
        case Variant::QEL2300:
            break;
    }
    return {1, 3};
}

int16_t RowChannel(Variant v, int k) {
    switch (v) {
        case Variant::PerChannel:
            return static_cast<int16_t>(k);
        case Variant::QEL2300:
            return 1;
        default:
            return 0;
    }
}

void BeginRun(Variant v, int16_t chamber, int k, const QDateTime& now) {
    const int c = ChamberIndex(chamber);
    ChamberRec& r = Chamber[c];
    r.StartTime[k - 1] = now;
    if (v == Variant::Linked)
        for (int ch = 2; ch <= kMaxChannels; ++ch) r.StartTime[ch - 1] = now;
    const auto [from, to] = SampledChannels(v, c, k);
    const QString shown = FormatDate(now, QStringLiteral("yyyy/mm/dd hh:mm"));
    for (int ch = from; ch <= to; ++ch) SetLayoutCaption(chamber, QStringLiteral("Start_Time"), ch, shown);
    QString& file = Log[c].FileName[k - 1];
    file = FileNameFor(v, c, k, now);
    FuncSetUserInfo(file, QString::number(r.PTNo[k - 1]), chamber, static_cast<int16_t>(k));
    SetLayoutCaption(chamber, QStringLiteral("lblFileName"), k, file + QStringLiteral("  "));
}

void TakeSamples(Variant v, int c, int k) {
    const ChamberRec& r = Chamber[c];
    LogRec& log = Log[c];
    const auto [from, to] = SampledChannels(v, c, k);
    // The QEL2300 logs the set point it runs on, whatever the graph setting.
    const bool target = v != Variant::QEL2300 && GraphInfo[c + 1].CurrentOrTargetSP != 0;
    for (int ch = from; ch <= to; ++ch) {
        const int i = ch - 1;
        log.SamplePV[i] = r.PV[i];
        log.SampleSP[i] = target ? r.TSP[i] : r.SP[i];
        log.SampleMV[i] = r.MV[i];
        log.SnapStatus[i] = r.Status[i];
        log.SnapInner[i] = r.EvtWordD[i];
        log.SnapTime[i] = r.EvtWordC[i];
        log.SnapAlarm[i] = r.EvtWordA[i];
        log.SnapSegAlarm[i] = r.EvtWordB[i];
    }
    log.SnapDO = r.RelayWordB;
    log.SnapDI = r.RelayWordA;
    if (v == Variant::PerChannel && k == 1 && VariantNumber(c) == 1) log.SampleHC = r.MV[1];
}

void StoppedSamples(Variant v, int c, int k) {
    const ChamberRec& r = Chamber[c];
    LogRec& log = Log[c];
    const auto [from, to] = SampledChannels(v, c, k);
    for (int ch = from; ch <= to; ++ch) {
        // Shown while stopped only, PV and SP the other way round; no row carries them.
        log.SampleSP[ch - 1] = r.PV[ch - 1];
        log.SamplePV[ch - 1] = r.SP[ch - 1];
        log.SampleMV[ch - 1] = r.MV[ch - 1];
    }
}

// One channel's step (k = 1 for the single-file variants).
void Step(Variant v, int16_t chamber, int k) {
    const int c = ChamberIndex(chamber);
    ChamberRec& r = Chamber[c];
    LogRec& log = Log[c];
    const auto channel = static_cast<int16_t>(k);

    if (IsStopMode(chamber, channel)) {  // it has cleared StartTime and the start-time caption
        StoppedSamples(v, c, k);
        const QDateTime& end = r.EndDate[k - 1];
        const int year = end.isValid() ? end.date().year() : 0;
        if (year != 0 && year != 1970)
            SetLayoutCaption(chamber, QStringLiteral("End_Time"), k, FormatDate(Now(), QStringLiteral("yyyy/mm/dd hh:mm")));
        return;
    }
    if (!IsRunMod(chamber, channel)) return;  // hold, wait and the rest keep the file and add no rows

    const QDateTime now = WholeSecondNow();
    if (!r.StartTime[k - 1].isValid()) BeginRun(v, chamber, k, now);

    const auto t = static_cast<int32_t>(r.StartTime[k - 1].secsTo(now));
    if (t == log.Seconds[k - 1]) return;  // at most one sample a second
    log.Seconds[k - 1] = t;
    TakeSamples(v, c, k);

    // "0" after program start reads as long past: the first sample is written at once.
    const QDateTime last = ParseTimeText(log.LastSave[k - 1]);
    if (!last.isValid() || last.secsTo(now) >= FileSave) {
        log.LastSave[k - 1] = FormatDate(now, QStringLiteral("yyyy-mm-dd hh:mm:ss"));
        FuncSetGraphBlkData(log.FileName[k - 1], chamber, RowChannel(v, k));
    }
}

void RunVariant(Variant v, int16_t chamber) {
    try {
        if (v != Variant::PerChannel) {
            Step(v, chamber, 1);
            return;
        }
        const int channels = Chamber[ChamberIndex(chamber)].ChannelCount;
        for (int k = 1; k <= channels; ++k) Step(v, chamber, k);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modCommControl.RunProc"));
    }
}

}  // namespace

void RunProc(int16_t chamber) { RunVariant(Variant::PerChannel, chamber); }
void RunProc2(int16_t chamber) { RunVariant(Variant::Linked, chamber); }
void RunProc2200(int16_t chamber) { RunVariant(Variant::QEL2200, chamber); }
void RunProc2300(int16_t chamber) { RunVariant(Variant::QEL2300, chamber); }

QString DataLogTitle(int16_t chamber, int16_t channel) {
    const int c = ChamberIndex(chamber);
    const int k = ChannelIndex(channel);
    const ChamberRec& r = Chamber[c];
    const bool variant = VariantNumber(c) != 0;
    const QString model = ChamberModel[c];
    if (r.FixMode[k] != 0) return u'[' + model + (variant ? QStringLiteral("-Z7") : QString()) + QStringLiteral("] FIX RUN");
    return u'[' + model + (variant ? QStringLiteral("-HC") : QString()) + QStringLiteral("] Programs RUN / PT NO. ") +
           QString::number(r.PTNo[k]);
}

void FuncSetUserInfo(const QString& fileName, const QString& /*ptNoText*/, int16_t chamber, int16_t channel) {
    try {
        QString why;
        if (!MakeDataLog(fileName, chamber, channel, why)) throw RuntimeError(why);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modFunc.FuncSetUserInfo"));
    }
}

void FuncSetGraphBlkData(const QString& fileName, int16_t chamber, int16_t channel) {
    const QString logName = QStringLiteral("modFunc.FuncSetGraphBlkData");
    try {
        const int c = ChamberIndex(chamber);
        if (channel < 0 || channel > 4) throw RuntimeError(err::SubscriptOutOfRange);
        const QByteArray row = BuildRow(c, channel);
        if (!row.isEmpty()) {
            QString why;
            const QFileInfo file(fileName);
            if (!file.exists() || file.size() < 2 * kTextBytes) {
                // The run's file went while it ran (folder or file removed), or
                // holds no whole header (a power loss as it was made): it begins
                // again with its header, and the error log says so.
                const bool folderGone = !file.absoluteDir().exists();
                if (!MakeDataLog(fileName, chamber, std::max<int16_t>(channel, 1), why)) throw RuntimeError(why);
                ErrorTail(QString::fromUtf8(folderGone ? err::PathNotFound : err::FileNotFound), logName);
            }
            if (!AppendWhole(fileName, row, why)) throw RuntimeError(why);
        }
        ++SampleCount[channel][c];
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), logName);
    }
}

QString CurrentDataLog(int16_t chamber, int channel) {
    if (chamber < 1 || chamber > kMaxChambers || channel < 1 || channel > kMaxChannels) return QString();
    const int c = chamber - 1;
    const ChamberRec& r = Chamber[c];
    const bool single = !IsFamily(ChamberModel[c]) || r.LinkedRun != 0;
    const int k = single ? 1 : channel;
    return r.StartTime[k - 1].isValid() ? Log[c].FileName[k - 1] : QString();
}

void ResetDataLog() {
    for (auto& row : SampleCount) row.fill(0);
}

}  // namespace qel
