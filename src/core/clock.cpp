#include "clock.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace qel {

namespace {
int64_t SteadyMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}
Clock* g_clock = nullptr;
bool g_ending = false;
}  // namespace

SystemClock::SystemClock() : startMs_(SteadyMs()) {}
QDateTime SystemClock::now() const { return QDateTime::currentDateTime(); }
int64_t SystemClock::elapsedMs() const { return SteadyMs() - startMs_; }
void SystemClock::sleepMs(int ms) { QThread::msleep(static_cast<unsigned long>(ms)); }

void Clock::serveUntil(int64_t deadlineMs, const std::function<bool()>& done) {
    for (;;) {
        if (done && done()) return;
        const int64_t left = deadlineMs - elapsedMs();
        if (left <= 0) return;
        sleepMs(static_cast<int>(std::clamp<int64_t>(left, 1, 25)));
        DoEvents();
    }
}

void SystemClock::serveUntil(int64_t deadlineMs, const std::function<bool()>& done) {
    if (!QCoreApplication::instance()) {
        Clock::serveUntil(deadlineMs, done);
        return;
    }
    QTimer deadline;  // the one wake-up of the wait when nothing else comes
    deadline.setSingleShot(true);
    deadline.setTimerType(Qt::PreciseTimer);
    for (;;) {
        if (done && done()) return;
        const int64_t left = deadlineMs - elapsedMs();
        if (left <= 0) return;
        deadline.start(static_cast<int>(std::min<int64_t>(left, 24 * 3600 * 1000)));
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

ManualClock::ManualClock(QDateTime start) : start_(std::move(start)) {}
QDateTime ManualClock::now() const { return start_.addMSecs(ms_); }
void ManualClock::set(const QDateTime& when) {
    start_ = when;
    ms_ = 0;
}

Clock& CurrentClock() {
    static SystemClock system;
    return g_clock ? *g_clock : system;
}

void SetClock(Clock* clock) { g_clock = clock; }

int32_t AbsTickCount() {
    // The tick count comes as an unsigned 32-bit number and is held signed:
    // after 24.8 days it turns negative, hence the absolute value.
    static const int64_t bootOffset = SteadyMs();
    const auto raw = static_cast<uint32_t>(CurrentClock().elapsedMs() + bootOffset);
    const auto asSigned = static_cast<int32_t>(raw);
    return asSigned == INT32_MIN ? INT32_MAX : std::abs(asSigned);
}

void DoEvents() {
    if (QCoreApplication::instance()) QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void EndProgram() { g_ending = true; }
bool ProgramEnding() { return g_ending; }
void ResetProgramEnding() { g_ending = false; }

void WaitSec(double seconds, bool noYield) {
    Clock& clock = CurrentClock();
    const int64_t end = clock.elapsedMs() + static_cast<int64_t>(seconds * 1000.0);
    if (!noYield) {
        clock.serveUntil(end, [] { return g_ending; });
        return;
    }
    for (;;) {
        const int64_t left = end - clock.elapsedMs();
        if (left <= 0 || g_ending) break;
        clock.sleepMs(static_cast<int>(std::clamp<int64_t>(left, 1, 25)));
    }
}

bool WaitSecUntil(double seconds, const std::function<bool()>& done) {
    Clock& clock = CurrentClock();
    const int64_t end = clock.elapsedMs() + static_cast<int64_t>(seconds * 1000.0);
    bool held = false;
    clock.serveUntil(end, [&] { return g_ending || (held = done()); });
    return held;
}

}  // namespace qel
