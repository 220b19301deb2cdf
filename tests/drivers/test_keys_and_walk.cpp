// The operator's keys and the poll walk, on a scripted RTU line with a manual clock.
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
        ChamberName[0] = "C1";
        ChamberModel[0] = "QEL2000";
        OpenLink();
        ReadCommTimer.setEnabled = [this](bool on) {
            timerOn = on;
            switches << QString("%1@%2").arg(on ? "on" : "off").arg(clock.elapsedMs());
        };
    }
    void TearDown() override {
        ReadCommTimer = PollTimerSwitch{};
        Hooks = StationHooks{};
        RemoveLink();
    }
    // The frames sent, without their CRC.
    QStringList Sent() const {
        QStringList out;
        for (const QByteArray& b : port->sent) out << QString::fromLatin1(b.chopped(2).toHex().toUpper());
        return out;
    }
    qeltest::AppDir dir;
    ManualClock clock;
    qeltest::FakeSerialPort* port = nullptr;
    bool timerOn = true;
    QStringList switches;
};

using PollWalk = Keys;  // the walk on the same line, where every read meets silence

}  // namespace

// Guards a key sent while the poll runs or without the line quiet (PCSpeed) around it, and a model without the key.
TEST_F(Keys, SentWithThePollStoppedAndTheLineQuietAround) {
    SetStopMode(1);
    ChamberModel[0] = "QEL9999";
    SetStopMode(1);
    EXPECT_EQ(Sent(), QStringList({"010600650004"}));
    EXPECT_EQ(switches, QStringList({"off@0", "on@1200", "off@1200", "on@1800"}));  // 1 + 2 + 1, 1 + 1 x PCSpeed
}

// Guards each key's register by model and channel, and keys to no register, address 0 or beyond 247 being sent.
TEST_F(Keys, EachKeyGoesToItsRegisterByModelAndChannel) {
    CommError[0] = -1;
    auto hold = [](int16_t c) { SetHoldMode(c, 1); };
    const struct { const char* model; void (*send)(int16_t); const char* channel; const char* address;
                   const char* frame; } rows[] = {
        {"QEL2000", SetStopMode, "1", "1", "010600650004"}, {"QEL2400", hold, "1", "1", "010600640002"},
        {"QEL2200", SetStopMode, "1", "1", "010605160004"}, {"QEL2200", SetStopMode, "2", "1", ""},
        {"QEL2300", SetStartFix, "1", "1", ""},             {"QEL2000", SetStopMode, "4", "1", ""},
        {"QEL2000", SetStopMode, "1", "247", "F70600650004"}, {"QEL2000", SetStopMode, "1", "0", ""},
        {"QEL2000", SetStopMode, "1", "x1", ""},            {"QEL2000", SetStopMode, "1", "248", ""},
    };
    for (const auto& r : rows) {
        std::tie(ChamberModel[0], StatusPanel3, ChamberAddress[0]) = std::tuple(r.model, r.channel, r.address);
        port->sent.clear();
        r.send(1);
        EXPECT_EQ(Sent(), *r.frame ? QStringList{r.frame} : QStringList()) << r.model << r.channel << r.address;
        EXPECT_TRUE(timerOn);
    }
    EXPECT_EQ(dir.errorLog().count("is no slave address, not sent"), 3);
}

// Guards the walk entered again from inside (a timer firing in a yield) and a chamber count past 30.
TEST_F(PollWalk, IsNotEnteredAgainFromInsideAndStopsAtThirty) {
    MaxChamberNo = 31;  // stored as read; there is no slot 31
    for (auto& m : ChamberModel) m = "QEL2000";
    int pages = 0, nested = 0;
    Hooks.pageRefresh = [&](int16_t) {
        ++pages;
        ReadCommTick();
        nested += PollWalkRunning() ? 1 : 0;
    };
    ReadCommTick();
    EXPECT_EQ(pages, 30);
    EXPECT_EQ(nested, 30);
    EXPECT_FALSE(PollWalkRunning());
    EXPECT_EQ(dir.errorLog().count("ReadComm_Timer_Err"), 0);
}
