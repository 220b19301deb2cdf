// One control channel of a simulated controller: the process value, the set
// point, the output and the run state, in engineering units. It knows no
// registers; a model class maps it onto its own register layout.
//
// Time only moves through advance(), which is given the seconds that passed,
// so that the same calls always give the same values.
#pragma once

#include <QDateTime>
#include <vector>

namespace qelsim {

struct Segment {
    double sp = 0;    // target at the end of the segment (engineering units)
    int seconds = 0;  // duration
};

// What a channel is made of; the model picks these per channel.
struct ChannelPhysics {
    double ambient = 23.0;   // where the PV drifts to while stopped
    double tauRun = 60.0;    // lag time constant while controlled, seconds
    double tauIdle = 300.0;  // lag time constant while stopped, seconds
    double low = -70.0;      // range the PV is kept in
    double high = 180.0;
    std::vector<Segment> program;  // the built-in program run
};

// Settings the controller takes from its registers before each advance.
struct ChannelSettings {
    bool fixedKind = false;  // a run key starts a fixed run (else a program run)
    double fixSp = 25.0;     // set point of a fixed run
    bool timerOn = false;    // a fixed run ends after fixSeconds
    int fixSeconds = 0;
    int patternRepeats = 1;  // passes through the program
    bool waitOn = false;     // at a segment's end, wait until |PV - SP| <= waitBand
    double waitBand = 0;
    int waitMinutes = 0;  // longest wait; 0 waits without limit
};

class Channel {
public:
    enum class Run { Stopped, Fixed, Program };

    // Status bits as the controllers report them in the low byte: a program
    // run reads 1, a fixed run 2, a held program run 5, a waiting one 65.
    static constexpr int ProgramRunBit = 1;
    static constexpr int FixedRunBit = 2;
    static constexpr int HoldBit = 4;
    static constexpr int WaitBit = 64;

    explicit Channel(ChannelPhysics physics = {});

    // Keys; each acts at once. Keys that make no sense in the present state
    // (hold while stopped, step in a fixed run) are ignored, as a controller does.
    void run(const ChannelSettings& s);  // start, or release a hold
    void toggleHold();
    void nextSegment();
    void stop();

    // Moves the channel on by seconds (negative counts as 0).
    void advance(double seconds, const ChannelSettings& s);

    // Seconds until the run ends by itself; negative when it has no end
    // (stopped, or a fixed run without timer).
    double secondsToEnd(const ChannelSettings& s) const;

    Run runKind() const { return run_; }
    bool running() const { return run_ != Run::Stopped; }
    bool held() const { return held_; }
    bool waiting() const { return waiting_; }
    int statusBits() const;

    double pv() const { return pv_; }
    void setPv(double pv) { pv_ = pv; }
    double sp() const { return sp_; }  // the set point in force now
    double targetSp() const;           // where the set point is heading
    double mv() const;                 // output in percent, 0..100

    double runSeconds() const { return runSeconds_; }
    int segmentNo() const { return running() && run_ == Run::Program ? segIndex_ + 1 : 0; }
    double segmentElapsed() const { return segElapsed_; }
    int segmentSeconds() const;
    int patternPass() const { return pass_; }

    const ChannelPhysics& physics() const { return physics_; }
    // The program a run key starts from now on (a pattern stored by the line).
    void setProgram(std::vector<Segment> program) { physics_.program = std::move(program); }

private:
    void stepOnce(double dt, const ChannelSettings& s);
    void enterSegment(int index);
    void endOfSegment(const ChannelSettings& s);

    ChannelPhysics physics_;
    Run run_ = Run::Stopped;
    bool held_ = false;
    bool waiting_ = false;
    double pv_;
    double sp_;
    double runSeconds_ = 0;
    double fixElapsed_ = 0;  // fixed-run time counted against the timer; stands in hold
    int segIndex_ = 0;
    double segElapsed_ = 0;
    double segStartSp_ = 0;
    double waitElapsed_ = 0;
    int pass_ = 0;
};

}  // namespace qelsim
