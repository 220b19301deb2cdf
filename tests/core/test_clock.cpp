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
    void sleepMs(int n) override {
        slices.push_back(n);
        ms += n;
    }
    int64_t ms = 0;
    std::vector<int> slices;
};

}  // namespace

TEST(WaitSec, SleepsInSlicesOfAtMost25MsAndServesEvents) {
    SliceClock clock;
    qel::SetClock(&clock);
    int fired = 0;
    QTimer::singleShot(0, [&] { ++fired; });
    qel::WaitSec(0.3);
    qel::SetClock(nullptr);
    EXPECT_EQ(clock.ms, 300);
    ASSERT_FALSE(clock.slices.empty());
    for (int s : clock.slices) {
        EXPECT_GE(s, 1);
        EXPECT_LE(s, 25);
    }
    EXPECT_EQ(fired, 1);
}

TEST(WaitSec, NoYieldLeavesEventsWaiting) {
    SliceClock clock;
    qel::SetClock(&clock);
    int fired = 0;
    QTimer::singleShot(0, [&] { ++fired; });
    qel::WaitSec(0.05, true);
    EXPECT_EQ(fired, 0);
    qel::WaitSec(0.01);
    qel::SetClock(nullptr);
    EXPECT_EQ(fired, 1);
}
