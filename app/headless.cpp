#include "headless.h"

#include "clock.h"
#include "config_report.h"
#include "data_log.h"
#include "end_signals.h"
#include "link.h"
#include "main_frame.h"
#include "poll_walk.h"
#include "record_json.h"
#include "state.h"
#include "value_text.h"
#include "vbtext.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>
#include <cstdio>

namespace qel {

namespace {

void Err(const QString& text) {
    std::fprintf(stderr, "qelstation: %s\n", text.toLocal8Bit().constData());
    std::fflush(stderr);
}

// No operator sits at a headless station: messages go to stderr, questions
// are not put (exit comes from a signal or the cycle count).
class StderrOperator final : public Operator {
public:
    void message(const QString& title, const QString& text) override { Err(title + QStringLiteral(": ") + text); }
    bool confirm(const QString&, const QString&) override { return true; }
    QString input(const QString&, const QString&, const QString&) override { return QString(); }
    void progress(int, int) override {}
};

class HeadlessHost final : public FrameHost {
public:
    bool needsSetUp = false;
    void showOverview(int) override {}
    void showPage(int) override {}
    bool openModal(FrameForm form) override {
        if (form == FrameForm::CommSet) {
            needsSetUp = true;
            Err(
                QStringLiteral("no chambers are set up (MAX_CHAMBER_NO is 0 in SetUserTag.ini); "
                               "run the station with a display to set up the line"));
        }
        return false;
    }
    bool startProgram(const QString&) override { return false; }
    bool openFile(const QString&) override { return false; }
    QString chooseFile(const QString&, const QString&) override { return QString(); }
    void closeFrame() override {}
};

// The record as the poll left it, and whether the walk polls the chamber at
// all: a chamber it passes over keeps the zeros of its empty record.
QJsonObject ShownJson(int16_t chamber) {
    QJsonObject o = ChamberRecJson(chamber);
    const int i = chamber - 1;
    o[QStringLiteral("Polled")] = Val(ChamberUse[i]) != 0 && HasPollBlock(ChamberModel[i]);
    o[QStringLiteral("State")] = StateWord(chamber, 1);
    // The data log each channel is writing, "" while it stands; a chamber
    // with one file for all channels names it on each.
    QJsonArray logs;
    for (int k = 1; k <= std::max<int>(1, Chamber[i].ChannelCount); ++k) logs.append(CurrentDataLog(chamber, k));
    o[QStringLiteral("DataLog")] = logs;
    return o;
}

void PrintTable(int tick) {
    std::printf("tick %d\n", tick);
    for (int c = 0; c < std::min<int>(MaxChamberNo, kMaxChambers); ++c) {
        const ChamberRec& r = Chamber[c];
        QString line = QStringLiteral("%1 %2 %3 %4")
                           .arg(c + 1, 2)
                           .arg(ChamberName[c].left(12), -12)
                           .arg(ChamberModel[c], -7)
                           .arg(StateWord(c + 1, 1), -12);
        for (int k = 0; k < std::max<int>(1, r.ChannelCount); ++k)
            line += QStringLiteral("  CH%1 PV %2 SP %3")
                        .arg(k + 1)
                        .arg(PVText(c + 1, k + 1), 7)
                        .arg(ValueText(c + 1, k + 1, r.SP[k]), 7);
        line += QStringLiteral("  fail %1").arg(FailCount[c]);
        std::printf("%s\n", line.toLocal8Bit().constData());
    }
    std::fflush(stdout);
}

}  // namespace

int RunHeadless(const HeadlessOptions& options) {
    StderrOperator op;
    HeadlessHost host;
    MainFrame frame(op, host);

    int ticks = 0;
    int exitCode = 0;
    bool ended = false;
    int64_t lastTable = -1000000;
    auto finish = [&](int code) {
        if (ended) return;
        ended = true;
        frame.queryUnload(false);  // no question without an operator; nothing is written after it
        exitCode = code;
        QCoreApplication::exit(code);
    };
    QObject::connect(&frame, &MainFrame::tickDone, [&] {
        if (ended) return;
        ++ticks;
        if (options.json) {
            for (int c = 1; c <= std::min<int>(MaxChamberNo, kMaxChambers); ++c)
                std::printf("%s\n", QJsonDocument(ShownJson(static_cast<int16_t>(c))).toJson(QJsonDocument::Compact).constData());
            std::fflush(stdout);
        } else if (CurrentClock().elapsedMs() - lastTable >= 1000) {
            lastTable = CurrentClock().elapsedMs();
            PrintTable(ticks);
        }
        if (options.cycles > 0 && ticks >= options.cycles) finish(0);
    });
    EndOnSignal onSignal([&] { finish(0); });

    frame.load();
    for (const QString& problem : ConfigProblems()) Err(problem);
    if (host.needsSetUp) {
        frame.readComm().stop();
        return 2;
    }
    const int rc = QCoreApplication::exec();
    RemoveLink();
    return rc != 0 ? rc : exitCode;
}

}  // namespace qel
