#include "app_dir.h"
#include "clock.h"
#include "fake_serial.h"
#include "link.h"
#include "poll_walk.h"
#include "remote_keys.h"
#include "state.h"
#include "station_hooks.h"

#include <gtest/gtest.h>

using namespace qel;

namespace {

class Keys : public ::testing::Test {
protected:
    void SetUp() override {
        SetClock(&clock);
        port = qeltest::InstallFakeSerialPort();
        Protocol = "RTU";
        PCSpeed = 300;
        ChamberName[0] = "C1";
        ChamberModel[0] = "QEL2000";
        OpenLink();
        timerOn = true;
        ReadCommTimer.setEnabled = [this](bool on) {
            timerOn = on;
            switches << QString("%1@%2").arg(on ? "on" : "off").arg(clock.elapsedMs());
        };
        Hooks.historyRow = [this](int16_t, const QString& t, const QString& text) { history << t + " " + text; };
    }
    void TearDown() override {
        ReadCommTimer = PollTimerSwitch{};
        Hooks = StationHooks{};
        RemoveLink();
    }
    QStringList Sent() const {
        QStringList out;
        for (const QByteArray& b : port->sent) out << QString::fromLatin1(b.toHex().toUpper()).left(b.size() * 2 - 4);
        return out;
    }
    qeltest::AppDir dir;
    ManualClock clock;
    qeltest::FakeSerialPort* port = nullptr;
    bool timerOn = true;
    QStringList switches;
    QStringList history;
};

}  // namespace

TEST(KeyBody, RegistersByModelAndChannel) {
    struct Row { const char* model; int ch; Key key; const char* body; } rows[] = {
        {"QEL2000", 1, Key::Stop, "0600650004"}, {"QEL2000", 2, Key::Stop, "0600660004"},
        {"QEL2100", 3, Key::Start, "0600660001"}, {"QEL2400", 1, Key::Hold, "0600640002"},
        {"QEL2400", 2, Key::Step, "0600650003"}, {"QEL2400", 3, Key::User, "0600660005"},
        {"QEL2200", 1, Key::Stop, "0605160004"}, {"QEL2200", 2, Key::Stop, ""},
        {"QEL2300", 1, Key::Stop, "0600320004"}, {"QEL2300", 3, Key::Stop, ""},
        {"QEL2000", 0, Key::Stop, ""}, {"QEL2000", 4, Key::Stop, ""}, {"QEL9999", 1, Key::Stop, ""},
    };
    for (const auto& r : rows) EXPECT_EQ(KeyBody(r.model, r.ch, r.key), r.body) << r.model << " " << r.ch;
}

TEST_F(Keys, StopWritesWithThePollStoppedAndTheLineQuietAround) {
    StatusPanel3 = "1";
    SetStopMode(1);
    EXPECT_EQ(Sent(), QStringList({"010600650004"}));
    // off at once; on after PCSpeed, the write's 2 x PCSpeed and PCSpeed again
    EXPECT_EQ(switches, QStringList({"off@0", "on@1200"}));
    EXPECT_TRUE(timerOn);
}

TEST_F(Keys, ChannelComesFromPanelThree) {
    StatusPanel3 = "2";
    SetStopMode(1);
    ChamberModel[0] = "QEL2100";
    StatusPanel3 = "3";
    SetStartPT(1);
    SetHoldMode(1, 1);  // hold and release send the same key: the controller toggles
    SetHoldMode(1, 0);
    EXPECT_EQ(Sent(), QStringList({"010600660004", "010600660001", "010600660002", "010600660002"}));
}

TEST_F(Keys, StepIsWrittenToHistoryAndMessageLog) {
    SetAdvMode(1);
    EXPECT_EQ(Sent(), QStringList({"010600650003"}));
    ASSERT_EQ(history.size(), 1);
    EXPECT_EQ(history[0], "2024/01/31 08:15:07 START STEP");
    EXPECT_EQ(dir.read("Message/C1/20240131_M.log"), QByteArray("20240131 08:15:07  START STEP\r\n"));
}

TEST_F(Keys, LostChamberGetsItsKeyAllTheSame) {
    CommError[0] = -1;
    SetUserKey(1);
    EXPECT_EQ(Sent(), QStringList({"010600650005"}));
    EXPECT_EQ(CommError[0], -1);
}

TEST_F(Keys, NoRegisterMeansNoExchangeButTheWaitsAndTimerStillHappen) {
    ChamberModel[0] = "QEL2300";
    SetStartFix(1);  // the QEL2300 has no fixed-run key
    ChamberModel[0] = "QEL9999";
    SetStopMode(1);
    EXPECT_TRUE(Sent().isEmpty());
    EXPECT_EQ(switches, QStringList({"off@0", "on@600", "off@600", "on@1200"}));
}

TEST_F(Keys, AFailureIsLoggedAndThePollRunsAgain) {
    ChamberName[0] = "C1";
    dir.write("Message", "a file in the way of the message folder");
    SetAdvMode(1);
    EXPECT_TRUE(timerOn);
    EXPECT_TRUE(dir.errorLog().contains("modCommControl.SetAdvMode\r\n")) << dir.errorLog().toStdString();
}

TEST(PollWalk, WalksChambersInOrderAndRepaintsEvenAfterAFailedRead) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    Protocol = "ETH";  // no sockets: every read fails at once
    MaxChamberNo = 4;
    ChamberModel[0] = "QEL2000";
    ChamberModel[1] = "QEL2100";
    ChamberModel[2] = "Model X";  // passed over with no call at all
    ChamberModel[3] = "QEL2000";
    ChamberUse[3] = "0";          // off: silent, but still repainted
    QStringList calls;
    Hooks.overviewRefresh = [&](int16_t c) { calls << QString("overview %1").arg(c); };
    Hooks.pageRefresh = [&](int16_t c) { calls << QString("page %1").arg(c); };
    ReadCommTick();
    EXPECT_EQ(calls, QStringList({"overview 1", "page 1", "overview 2", "page 2", "overview 4", "page 4"}));
    EXPECT_EQ(CommError[0], -1);
    EXPECT_EQ(CommError[3], 0);
    Hooks = StationHooks{};
}

TEST(PollWalk, IsNotEnteredAgainFromInsideAndStopsAtThirty) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    Protocol = "ETH";
    MaxChamberNo = 31;  // stored as read; there is no slot 31
    for (auto& m : ChamberModel) m = "QEL2000";
    int pages = 0;
    int nested = 0;
    Hooks.pageRefresh = [&](int16_t) {
        ++pages;
        ReadCommTick();  // as a timer firing inside a yield would
        nested += PollWalkRunning() ? 1 : 0;
    };
    ReadCommTick();
    EXPECT_EQ(pages, 30);
    EXPECT_EQ(nested, 30);
    EXPECT_FALSE(PollWalkRunning());
    EXPECT_EQ(dir.errorLog().count("ReadComm_Timer_Err"), 0);
    Hooks = StationHooks{};
}

// Address 0 is the broadcast every controller on a serial line obeys, and an
// address outside 1 to 247 would reach another controller: no key goes out,
// a line in the error log says why, and the poll runs again.
TEST_F(Keys, NoKeyToABroadcastOrMalformedAddress) {
    for (const char* address : {"0", "", "x1", "abc", "256", "300", "-1"}) {
        ChamberAddress[0] = address;
        port->sent.clear();
        SetStopMode(1);
        EXPECT_TRUE(port->sent.isEmpty()) << address;
        EXPECT_TRUE(timerOn) << address;
    }
    EXPECT_EQ(dir.errorLog().count("is no slave address, not sent"), 7);
    ChamberAddress[0] = "247";
    SetStopMode(1);
    EXPECT_EQ(Sent(), QStringList({"F70600650004"}));
}
