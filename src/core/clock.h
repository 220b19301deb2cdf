// The station's sense of time. Everything that reads the time of day, the
// tick count or pauses goes through the current Clock, so that a test can put
// a manual clock in its place and a 150-second transfer runs in milliseconds.
#pragma once

#include <QDateTime>
#include <cstdint>

namespace qel {

class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
    // Milliseconds since an arbitrary start, never going backwards.
    virtual int64_t elapsedMs() const = 0;
    // Blocks for ms milliseconds (at most 25 are asked for at once).
    virtual void sleepMs(int ms) = 0;
};

// The wall clock and a real sleep.
class SystemClock final : public Clock {
public:
    SystemClock();
    QDateTime now() const override;
    int64_t elapsedMs() const override;
    void sleepMs(int ms) override;

private:
    int64_t startMs_;
};

// A clock that stands still until slept on or advanced; for tests.
class ManualClock final : public Clock {
public:
    explicit ManualClock(QDateTime start = QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7)));
    QDateTime now() const override;
    int64_t elapsedMs() const override { return ms_; }
    void sleepMs(int ms) override { advanceMs(ms); }
    void advanceMs(int64_t ms) { ms_ += ms; }
    void set(const QDateTime& when);

private:
    QDateTime start_;
    int64_t ms_ = 0;
};

Clock& CurrentClock();
// Installs a clock; nullptr goes back to the system clock. The caller keeps ownership.
void SetClock(Clock* clock);

inline QDateTime Now() { return CurrentClock().now(); }

// The tick count as the exchange keeps it: milliseconds as a signed 32-bit
// count, taken as an absolute value.
int32_t AbsTickCount();

// The only pause. Sleeps in slices of 1 to 25 ms until the time is reached,
// serving the event loop after each slice unless noYield is set. Timers,
// socket events and key presses can therefore run inside it.
void WaitSec(double seconds, bool noYield = false);

// One round of the event loop (the receive loops yield with it).
void DoEvents();

// The program is ending: once set, every wait returns at once and the
// exchange sends nothing more, so that nothing is written after the last
// log line of the exit. Set by the exit order; never cleared in a run.
void EndProgram();
bool ProgramEnding();
// For tests that run several station lives in one process.
void ResetProgramEnding();

}  // namespace qel
