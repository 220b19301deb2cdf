// The main frame's start-up, toolbar and exit, on a copy of the shipped
// application folder, with a scripted operator and a recording host.
#include "app_dir.h"
#include "app_folder.h"
#include "clock.h"
#include "link.h"
#include "main_frame.h"
#include "profile.h"
#include "state.h"
#include "station_hooks.h"

#include <QStringList>
#include <gtest/gtest.h>

using namespace qel;

namespace {

class RecordingHost : public FrameHost {
public:
    QStringList calls;
    bool modalResult = true;
    void showOverview(int n) override { calls << QString("overview %1").arg(n); }
    void showPage(int c) override { calls << QString("page %1").arg(c); }
    bool openModal(FrameForm f) override {
        calls << QString("modal %1").arg(static_cast<int>(f));
        return modalResult;
    }
    bool startProgram(const QString& p) override { calls << "start " + p; return true; }
    bool openFile(const QString& p) override { calls << "open " + p; return true; }
    QString chooseFile(const QString& folder, const QString&) override {
        calls << "choose " + folder;
        return QString();
    }
    void closeFrame() override { calls << "close"; }
};

class Frame : public ::testing::Test {
protected:
    void SetUp() override {
        FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
        InstallQtLink();
    }
    void TearDown() override { RemoveLink(); }
    void SetChambers(int n) {
        WriteProfileString("Set", "MAX_CHAMBER_NO", QString::number(n), dir.file("SetUserTag.ini"));
    }
    qeltest::AppDir dir;
    ScriptedOperator op;
    RecordingHost host;
};

}  // namespace

TEST(ScreenNo, ByChamberCount) {
    const int expect[32] = {1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 5, 5, 1};
    for (int n = 0; n <= 31; ++n) EXPECT_EQ(ScreenNoFor(n), expect[n]) << n;
    EXPECT_EQ(ScreenNoFor(-1), 1);
}

TEST_F(Frame, LoadOfALineShowsTheOverviewAndStartsPolling) {
    SetChambers(6);
    MainFrame frame(op, host);
    frame.load();
    EXPECT_EQ(MaxChamberNo, 6);
    EXPECT_EQ(ScreenNo, 2);
    EXPECT_EQ(host.calls, QStringList({"overview 2"}));
    EXPECT_EQ(StatusPanel2, "0");
    EXPECT_TRUE(frame.button(1).enabled);
    EXPECT_TRUE(frame.button(2).visible);
    EXPECT_TRUE(frame.readComm().isActive());
    EXPECT_EQ(frame.readComm().interval(), 100);
    EXPECT_EQ(op.progressMaximum, 0);  // the splash's bar is down again
    EXPECT_TRUE(dir.errorLog().endsWith("  User Start Program\r\n")) << dir.errorLog().toStdString();
    for (const char* d : {"DATA", "Message", "Error", "PTN", "FILE_TEXT", "FILE_EXCEL", "FILE_JPG"})
        EXPECT_TRUE(QDir(dir.file(d)).exists()) << d;
}

TEST_F(Frame, OneChamberGoesStraightToItsPage) {
    SetChambers(1);
    MainFrame frame(op, host);
    frame.load();
    EXPECT_EQ(host.calls, QStringList({"page 1"}));
    EXPECT_EQ(StatusPanel2, "1");
    EXPECT_FALSE(frame.button(1).enabled);
    EXPECT_FALSE(frame.button(2).visible);
}

TEST_F(Frame, NoChamberOpensTheSetUpBeforeAnythingPolls) {
    SetChambers(0);
    bool pollingWhenAsked = true;
    MainFrame* framePtr = nullptr;
    struct Host : RecordingHost {
        std::function<void()> onModal;
        bool openModal(FrameForm f) override {
            if (onModal) onModal();
            return RecordingHost::openModal(f);
        }
    } setUpHost;
    MainFrame frame(op, setUpHost);
    framePtr = &frame;
    setUpHost.onModal = [&] { pollingWhenAsked = framePtr->readComm().isActive(); };
    frame.load();
    EXPECT_EQ(setUpHost.calls.first(), QString("modal %1").arg(static_cast<int>(FrameForm::CommSet)));
    EXPECT_FALSE(pollingWhenAsked);
}

TEST_F(Frame, CancelAtExitKeepsRunningAndTheLogLine) {
    SetChambers(2);
    MainFrame frame(op, host);
    frame.load();
    op.confirmations = {false, true};
    EXPECT_FALSE(frame.queryUnload(true));
    EXPECT_TRUE(dir.errorLog().endsWith("  User End Program\r\n"));
    EXPECT_TRUE(frame.readComm().isActive());
    EXPECT_TRUE(frame.queryUnload(true));
    EXPECT_EQ(dir.errorLog().count("User End Program"), 2);
    ASSERT_EQ(op.asked.size(), 2);
    EXPECT_EQ(op.asked[0], "confirm|Program Exit|Do you want to exit the program?");
}

TEST_F(Frame, ToolbarGuardsAndTheTimerAroundModalForms) {
    SetChambers(3);
    MainFrame frame(op, host);
    frame.load();
    ChamberModel[2] = "QEL2300";
    host.calls.clear();

    frame.toolbarClick(2);  // no chamber on display
    EXPECT_EQ(op.asked.last(), "message|Error|Select a chamber first.");

    StatusPanel2 = "2";
    CommError[1] = -1;
    frame.toolbarClick(6);  // a lost chamber gets no wait settings
    EXPECT_EQ(op.asked.last(), "message|Error|The chamber is not in use or not communicating.");
    EXPECT_TRUE(frame.readComm().isActive());

    CommError[1] = 0;
    host.modalResult = false;  // the form could not be shown: polling goes on
    frame.toolbarClick(6);
    EXPECT_TRUE(frame.readComm().isActive());
    host.modalResult = true;   // a shown form stops the timer; its close starts it
    frame.toolbarClick(8);
    EXPECT_FALSE(frame.readComm().isActive());

    StatusPanel2 = "3";
    frame.toolbarClick(3);
    StatusPanel2 = "2";
    frame.toolbarClick(3);
    frame.toolbarClick(9);
    frame.toolbarClick(2);
    EXPECT_EQ(StatusPanel3, "1");
    frame.toolbarClick(1);
    EXPECT_EQ(StatusPanel2, "0");
    frame.toolbarClick(11);
    EXPECT_EQ(host.calls, QStringList({QString("modal %1").arg(int(FrameForm::WaitOperSet)),
                                       QString("modal %1").arg(int(FrameForm::Display)),
                                       QString("modal %1").arg(int(FrameForm::Pattern2300)),
                                       QString("modal %1").arg(int(FrameForm::Pattern)),
                                       "choose " + dir.path() + "Message/", "page 2", "overview 1", "close"}));
}

TEST_F(Frame, UnreadableSettingsLeaveALogLineAndTheStationUp) {
    dir.write("SetComm.ini", QByteArray("\x00\x01\x02 garbage", 11));
    SetChambers(2);
    MainFrame frame(op, host);
    frame.load();
    EXPECT_TRUE(dir.errorLog().contains("modFunc.ReadCOMINI\r\n")) << dir.errorLog().toStdString();
    EXPECT_TRUE(dir.errorLog().contains("User Start Program"));
    EXPECT_TRUE(frame.readComm().isActive());
}
