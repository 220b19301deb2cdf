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

// Guards the wait: exactly the time asked, in slices of 1 to 25 ms, serving
// events between them unless told not to.
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
