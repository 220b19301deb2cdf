// The station's sense of time. Everything that reads the time of day, the
// tick count or pauses goes through the current Clock, so that a test can put
// a manual clock in its place and a 150-second transfer runs in milliseconds.
#pragma once

#include <QDateTime>
#include <cstdint>
#include <functional>

namespace qel {

class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
    // Milliseconds since an arbitrary start, never going backwards.
    virtual int64_t elapsedMs() const = 0;
    // Blocks for ms milliseconds (at most 25 are asked for at once).
    virtual void sleepMs(int ms) = 0;
    // Serves the event loop until elapsedMs() reaches `deadlineMs` or `done`
    // holds (checked before every round; may be empty). This default sleeps
    // in slices of at most 25 ms with one round of events after each, so a
    // clock that only moves when slept on moves the same way.
    virtual void serveUntil(int64_t deadlineMs, const std::function<bool()>& done);
};

// The wall clock and a real sleep.
class SystemClock final : public Clock {
public:
    SystemClock();
    QDateTime now() const override;
    int64_t elapsedMs() const override;
    void sleepMs(int ms) override;
    // Sleeps in the event loop itself until an event or the deadline comes:
    // a wait costs no wake-ups of its own, and whatever it waits for (a
    // reply, a key, the end of the program) is seen the moment it arrives.
    void serveUntil(int64_t deadlineMs, const std::function<bool()>& done) override;

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

// The only pause. Serves the event loop until the time is reached (unless
// noYield is set: then it only sleeps, in slices of 1 to 25 ms). Timers,
// socket events and key presses can therefore run inside it. Returns early
// once the program is ending.
void WaitSec(double seconds, bool noYield = false);

// The same pause, ended early as soon as `done` holds; checked whenever an
// event has been served. Returns whether it held.
bool WaitSecUntil(double seconds, const std::function<bool()>& done);

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
