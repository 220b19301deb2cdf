#include "channel.h"

#include <algorithm>
#include <cmath>

namespace qelsim {

namespace {
// Integration slice: ramps and segment ends are followed to the second.
constexpr double MaxSlice = 1.0;
}  // namespace

Channel::Channel(ChannelPhysics physics) : physics_(std::move(physics)), pv_(physics_.ambient), sp_(physics_.ambient) {}

int Channel::statusBits() const {
    int bits = 0;
    if (run_ == Run::Fixed) bits |= FixedRunBit;
    if (run_ == Run::Program) bits |= ProgramRunBit;
    if (held_) bits |= HoldBit;
    if (waiting_) bits |= WaitBit;
    return bits;
}

void Channel::run(const ChannelSettings& s) {
    if (running()) {
        held_ = false;
        return;
    }
    const bool program = !s.fixedKind && !physics_.program.empty();
    run_ = program ? Run::Program : Run::Fixed;
    held_ = false;
    waiting_ = false;
    runSeconds_ = 0;
    fixElapsed_ = 0;
    pass_ = 1;
    if (program) {
        sp_ = pv_;  // a program ramps from where the chamber stands
        enterSegment(0);
    } else {
        sp_ = s.fixSp;
    }
}

void Channel::toggleHold() {
    if (running()) held_ = !held_;
}

void Channel::nextSegment() {
    if (run_ != Run::Program) return;
    waiting_ = false;
    if (segIndex_ + 1 < static_cast<int>(physics_.program.size())) {
        enterSegment(segIndex_ + 1);
    } else {
        // Stepping past the last segment ends this pass; further passes are
        // left to advance(), which knows the repeat setting.
        segElapsed_ = segmentSeconds();
    }
}

void Channel::stop() {
    run_ = Run::Stopped;
    held_ = false;
    waiting_ = false;
    segIndex_ = 0;
    segElapsed_ = 0;
    waitElapsed_ = 0;
}

void Channel::enterSegment(int index) {
    segIndex_ = index;
    segElapsed_ = 0;
    segStartSp_ = sp_;
    waiting_ = false;
    waitElapsed_ = 0;
}

int Channel::segmentSeconds() const {
    if (run_ != Run::Program || physics_.program.empty()) return 0;
    return physics_.program[segIndex_].seconds;
}

double Channel::targetSp() const {
    if (run_ == Run::Program) return physics_.program[segIndex_].sp;
    return sp_;
}

double Channel::mv() const {
    if (!running()) return 0;
    // A proportional output with a bias for holding a temperature away from ambient.
    const double out = 20.0 + 8.0 * (sp_ - pv_) + 0.8 * std::abs(sp_ - physics_.ambient);
    return std::clamp(out, 0.0, 100.0);
}

void Channel::endOfSegment(const ChannelSettings& s) {
    if (segIndex_ + 1 < static_cast<int>(physics_.program.size())) {
        enterSegment(segIndex_ + 1);
    } else if (pass_ < std::max(1, s.patternRepeats)) {
        ++pass_;
        enterSegment(0);
    } else {
        stop();
    }
}

void Channel::stepOnce(double dt, const ChannelSettings& s) {
    if (run_ != Run::Stopped) runSeconds_ += dt;
    if (run_ == Run::Fixed) {
        sp_ = s.fixSp;
        if (!held_) fixElapsed_ += dt;
        if (s.timerOn && s.fixSeconds > 0 && fixElapsed_ >= s.fixSeconds) stop();
    } else if (run_ == Run::Program && !held_) {
        const Segment& seg = physics_.program[segIndex_];
        if (waiting_) {
            waitElapsed_ += dt;
            const bool inBand = std::abs(pv_ - seg.sp) <= s.waitBand;
            const bool timedOut = s.waitMinutes > 0 && waitElapsed_ >= s.waitMinutes * 60.0;
            if (inBand || timedOut) endOfSegment(s);
        } else {
            segElapsed_ = std::min<double>(segElapsed_ + dt, seg.seconds);
            const double f = seg.seconds > 0 ? segElapsed_ / seg.seconds : 1.0;
            sp_ = segStartSp_ + (seg.sp - segStartSp_) * f;
            if (segElapsed_ >= seg.seconds) {
                if (s.waitOn && std::abs(pv_ - seg.sp) > s.waitBand) {
                    waiting_ = true;
                    waitElapsed_ = 0;
                } else {
                    endOfSegment(s);
                }
            }
        }
    }
    if (run_ == Run::Stopped) sp_ = s.fixSp;

    const double target = running() ? sp_ : physics_.ambient;
    const double tau = running() ? physics_.tauRun : physics_.tauIdle;
    pv_ += (target - pv_) * (1.0 - std::exp(-dt / tau));
    pv_ = std::clamp(pv_, physics_.low, physics_.high);
}

void Channel::advance(double seconds, const ChannelSettings& s) {
    double left = std::max(0.0, seconds);
    if (left == 0) {
        if (run_ == Run::Fixed || run_ == Run::Stopped) sp_ = s.fixSp;
        return;
    }
    while (left > 0) {
        const double dt = std::min(left, MaxSlice);
        stepOnce(dt, s);
        left -= dt;
    }
}

double Channel::secondsToEnd(const ChannelSettings& s) const {
    if (run_ == Run::Fixed) {
        if (!s.timerOn || s.fixSeconds <= 0) return -1;
        return std::max(0.0, s.fixSeconds - fixElapsed_);
    }
    if (run_ != Run::Program) return -1;
    double left = std::max(0.0, segmentSeconds() - segElapsed_);
    double total = 0;
    for (size_t i = 0; i < physics_.program.size(); ++i) {
        total += physics_.program[i].seconds;
        if (static_cast<int>(i) > segIndex_) left += physics_.program[i].seconds;
    }
    left += total * std::max(0, std::max(1, s.patternRepeats) - pass_);
    return left;
}

}  // namespace qelsim
