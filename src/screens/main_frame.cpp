#include "main_frame.h"

#include "captions.h"
#include "clock.h"
#include "comm_settings.h"
#include "di_names.h"
#include "errorlog.h"
#include "folders.h"
#include "graph_settings.h"
#include "language.h"
#include "link.h"
#include "poll_walk.h"
#include "record_hooks.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"
#include "user_tag.h"
#include "vbtext.h"

#include <algorithm>

namespace qel {

namespace {
QString MainText(int key) { return Lang(QString::fromLatin1(captions::kMainSection), key); }
}  // namespace

int16_t ScreenNoFor(int maxChamberNo) {
    if (maxChamberNo >= 5 && maxChamberNo <= 9) return 2;
    if (maxChamberNo >= 10 && maxChamberNo <= 16) return 3;
    if (maxChamberNo >= 17 && maxChamberNo <= 25) return 4;
    if (maxChamberNo >= 26 && maxChamberNo <= 30) return 5;
    return 1;
}

MainFrame::MainFrame(Operator& op, FrameHost& host, QObject* parent)
    : QObject(parent), op_(op), host_(host), screens_(op) {
    readComm_.setInterval(100);  // never changed: it sets the gap between ticks
    connect(&readComm_, &QTimer::timeout, this, &MainFrame::tick);
    ReadCommTimer.setEnabled = [this](bool on) {
        if (on)
            readComm_.start();
        else
            readComm_.stop();
    };
}

MainFrame::~MainFrame() {
    ReadCommTimer = PollTimerSwitch{};
    RemoveRecordHooks();
}

QString MainFrame::toolTip(int index) {
    return MainText(index >= 1 && index <= kToolButtons ? captions::kToolTips[index - 1] : 0);
}

void MainFrame::loadSteps() {
    ReadUserTag();
    MakeFolders();
    DeleteTrendFiles();
    ReadCOMINI();
    ReadDIErrorName();
    ReadDataGraph(0);

    const int bar = std::max<int>(MaxChamberNo, 0) + 1;
    int step = 0;
    op_.progress(step, bar);
    WriteErrorLog(QStringLiteral("User Start Program"));
    FillBitTables();
    ScreenNo = ScreenNoFor(MaxChamberNo);
    screens_.load([&] { op_.progress(std::min(++step, bar), bar); });
    op_.progress(0, 0);  // the splash goes

    ResetRunState();
    InstallRecordHooks();
    if (MaxChamberNo == 0) host_.openModal(FrameForm::CommSet);
    if (MaxChamberNo != 1 && MaxChamberNo != 0) {
        buttons_[0] = {true, true};
        buttons_[1] = {true, true};
        StatusPanel2 = QStringLiteral("0");
        host_.showOverview(ScreenNo);
    } else {
        buttons_[0].enabled = false;
        buttons_[1].visible = false;
        StatusPanel2 = QStringLiteral("1");
        // The overview screens' load left panel 3 at "0"; the one page's
        // keys need the channel on display.
        StatusPanel3 = QStringLiteral("1");
        host_.showPage(1);
    }
}

void MainFrame::load() {
    // The frame owns the port and the sockets, with a window or without:
    // they exist before the settings open the link.
    InstallQtLink();
    try {
        loadSteps();
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("MDIfrmMenu.Form_Load_Err"));
    }
    readComm_.start();  // polling starts as soon as the load is over
    emit loaded();
    emit stateChanged();
}

void MainFrame::tick() {
    ReadCommTick();
    emit tickDone();
}

void MainFrame::toolbarClick(int index) {
    const int shown = static_cast<int>(Val(StatusPanel2));
    switch (index) {
        case 1:
            StatusPanel2 = QStringLiteral("0");
            StatusPanel3 = QStringLiteral("1");
            host_.showOverview(ScreenNo);
            break;
        case 2:
            if (shown != 0) {
                StatusPanel3 = QStringLiteral("1");
                host_.showPage(shown);
            } else {
                op_.message(QStringLiteral("Error"), MainText(captions::kNoChamberShown));
            }
            break;
        case 3:
            if (shown >= 1 && shown <= kMaxChambers && ChamberModel[shown - 1] == u"QEL2300")
                host_.openModal(FrameForm::Pattern2300);
            else
                host_.openModal(FrameForm::Pattern);
            break;
        case 4:
            if (!host_.startProgram(AppPath + QStringLiteral("QEL Data Viewer.exe")))
                op_.message(QStringLiteral("Error"), QStringLiteral("The data viewer could not be started."));
            break;
        case 5:
            readComm_.stop();
            if (!host_.openModal(FrameForm::CommSet)) readComm_.start();
            break;
        case 6:
            if (shown >= 1 && shown <= kMaxChambers && ChamberUse[shown - 1] != u"0" && CommError[shown - 1] == 0) {
                readComm_.stop();
                if (!host_.openModal(FrameForm::WaitOperSet)) readComm_.start();
            } else {
                op_.message(QStringLiteral("Error"), MainText(captions::kChamberNotReady));
            }
            break;
        case 7:
            if (shown != 0)
                host_.openModal(FrameForm::DIErrName);
            else
                op_.message(QStringLiteral("Error"), MainText(captions::kNoChamberShown));
            break;
        case 8:
            readComm_.stop();
            if (!host_.openModal(FrameForm::Display)) readComm_.start();
            break;
        case 9: {
            const QString file = host_.chooseFile(AppPath + QStringLiteral("Message/"),
                                                  QStringLiteral("All Files (*.*) |*.*|Data Files (*.log)|*.log"));
            if (!file.isEmpty() && !host_.openFile(file))
                op_.message(QStringLiteral("Error"), QStringLiteral("No viewer could open ") + file);
            break;
        }
        case 10:
            host_.openModal(FrameForm::About);
            break;
        case 11:
            host_.closeFrame();
            break;
        default:
            break;
    }
    emit stateChanged();
}

bool MainFrame::queryUnload(bool ask) {
    try {
        WriteErrorLog(QStringLiteral("User End Program"));
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("MDIfrmMenu.MDIForm_QueryUnload_Err"));
    }
    if (ask && !op_.confirm(QStringLiteral("Program Exit"), MainText(captions::kExitQuestion))) return false;
    // From here on nothing more is sent or written: the log line above is the last.
    readComm_.stop();
    EndProgram();
    return true;
}

}  // namespace qel
