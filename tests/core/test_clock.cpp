#include "clock.h"

#include <QTimer>
#include <gtest/gtest.h>
#include <vector>

namespace {

// Records the slices WaitSec asks for and advances like a manual clock.
class SliceClock : public qel::Clock {
public:
    QDateTime now() const override { return QDateTime(QDate(2024, 1, 1), QTime(0, 0)).addMSecs(ms); }
    int64_t elapsedMs() const override { return ms; }
    void sleepMs(int n) override { slices.push_back(n), ms += n; }
    int64_t ms = 0;
    std::vector<int> slices;
};

}  // namespace

// Guards the wait: exactly the time asked, in slices of 1 to 25 ms, serving events between them unless told not to.
TEST(WaitSec, SleepsInSlicesOfAtMost25MsAndServesEventsUnlessNoYield) {
    SliceClock clock;
    qel::SetClock(&clock);
    int fired = 0;
    QTimer::singleShot(0, [&] { ++fired; });
    qel::WaitSec(0.05, true);
    EXPECT_EQ(fired, 0);
    qel::WaitSec(0.3);
    qel::SetClock(nullptr);
    EXPECT_EQ(fired, 1);
    EXPECT_EQ(clock.ms, 350);
    for (int s : clock.slices) EXPECT_TRUE(s >= 1 && s <= 25) << s;
}

// Guards the wall-clock wait: timers served, at least the time asked; its condition or the program's end ends it.
TEST(WaitSec, OnTheWallClockServesEventsAndEndsWhenItsConditionHolds) {
    qel::SetClock(nullptr);
    qel::Clock& clock = qel::CurrentClock();
    int fired = 0;
    QTimer::singleShot(5, [&] { ++fired; });
    const int64_t t0 = clock.elapsedMs();
    qel::WaitSec(0.05);
    EXPECT_EQ(fired, 1);
    EXPECT_GE(clock.elapsedMs() - t0, 50);

    bool ready = false;
    QTimer::singleShot(20, [&] { ready = true; });
    const int64_t t1 = clock.elapsedMs();
    EXPECT_TRUE(qel::WaitSecUntil(30.0, [&] { return ready; }));
    EXPECT_LT(clock.elapsedMs() - t1, 15000) << "ended by its condition, not by its time";
    EXPECT_FALSE(qel::WaitSecUntil(0.01, [] { return false; }));

    QTimer::singleShot(20, [] { qel::EndProgram(); });
    const int64_t t2 = clock.elapsedMs();
    qel::WaitSec(30.0);
    qel::ResetProgramEnding();
    EXPECT_LT(clock.elapsedMs() - t2, 15000) << "ended by the program's end";
}
