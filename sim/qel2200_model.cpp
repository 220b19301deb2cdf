#include "qel2200_model.h"

#include <algorithm>
#include <cmath>

namespace qelsim {

namespace {

// Per channel; index 0 is the temperature, 1 the humidity.
constexpr int PvReg[2] = {0x0000, 0x0002};
constexpr int SpReg[2] = {0x0003, 0x0004};
constexpr int MvReg[2] = {0x0005, 0x0006};
constexpr int TspReg[2] = {0x0008, 0x0009};
constexpr int TempDevReg[2] = {0x006B, 0x006C};
constexpr int SpSetReg[2] = {0x0513, 0x0514};  // fixed set points, written by the station

// The run state, shared by both channels.
constexpr int PidNoReg = 0x0007;
constexpr int EvtWordAReg = 0x000F;
constexpr int RelayWordBReg = 0x0010;
constexpr int PtNoReg = 0x0012;
constexpr int SegNoReg = 0x0013;
constexpr int RunTimeReg = 0x0017;     // hours, minutes, seconds
constexpr int SegTimeReg = 0x001A;     // hours, rest in seconds
constexpr int PtRptReg = 0x0033;
constexpr int PtRptSetReg = 0x0034;
constexpr int SegTimeSetReg = 0x0037;  // hours, rest in seconds
constexpr int EndDateReg = 0x003E;     // year, month, day, hour, minute
constexpr int StatusReg = 0x0043;      // a whole register here
constexpr int UserKeyReg = 0x0048;
constexpr int FixModeReg = 0x0063;
constexpr int EndShownReg = 0x0068;
constexpr int FixTimeReg = 0x0069;  // hours, rest in seconds
constexpr int PtNoSetReg = 0x0515;
constexpr int KeyReg = 0x0516;

// Bits the simulation drives; the other bits of these words keep what was set.
constexpr uint16_t StatusBits = Channel::ProgramRunBit | Channel::FixedRunBit | Channel::HoldBit | Channel::WaitBit;
constexpr uint16_t RunOutputBit = 0x0001;       // RelayWordB: chamber running
constexpr uint16_t DeviationAlarmBit = 0x0001;  // EvtWordA: a channel's |PV - SP| beyond DeviationLimit
constexpr double DeviationLimit = 5.0;
constexpr double PvRipple = 0.08;  // engineering units

// The built-in pattern: both channels change segment at the same moments.
ChannelPhysics Temperature() {
    ChannelPhysics p;
    p.ambient = 23.0;
    p.low = -70.0;
    p.high = 180.0;
    p.program = {{40.0, 600}, {40.0, 1200}, {60.0, 900}, {60.0, 900}, {25.0, 600}};
    return p;
}

ChannelPhysics Humidity() {
    ChannelPhysics p;
    p.ambient = 45.0;
    p.low = 0.0;
    p.high = 100.0;
    p.program = {{60.0, 600}, {85.0, 1200}, {85.0, 900}, {50.0, 900}, {50.0, 600}};
    return p;
}

constexpr double DefaultSp[2] = {25.0, 60.0};

// The command window and the data windows of a pattern.
constexpr int WindowPattern = 0x0519, WindowSegment = 0x051A;
constexpr int WindowFrom = 0x051D, WindowTo = 0x051E, WindowCommand = 0x051F;
constexpr int HeaderCount = 0x001D;  // the controller's own segment count, never stored
constexpr int TailRepeat = 0x0021;   // the pattern's repeat count
constexpr int SegmentWindow = 0x0530;

// What a store keeps of an item: the pattern's header and tail, or a segment.
std::vector<int> WindowOf(int segment) {
    std::vector<int> w;
    if (segment == 0) {
        for (int r = 0x001E; r <= 0x002F; ++r) w.push_back(r);
    } else {
        for (int r = SegmentWindow; r <= 0x053C; ++r) w.push_back(r);
    }
    return w;
}

}  // namespace

Qel2200Model::Qel2200Model(const ChamberConfig& config) : Chamber(config), ch_{Channel(Temperature()), Channel(Humidity())} {
    seed();
    refresh();
}

void Qel2200Model::seed() {
    for (int i = 0; i < 2; ++i) {
        const int dp = decimals(i + 1);
        put(SpSetReg[i], toRaw(DefaultSp[i], dp));
        put(TempDevReg[i], toRaw(2.0, dp));
    }
    put(PidNoReg, 1);
    put(PtNoReg, 1);
    put(PtNoSetReg, 1);
    put(PtRptSetReg, 1);
    put(EndDateReg, 1970);
    put(EndDateReg + 1, 1);
    put(EndDateReg + 2, 1);
}

// Both channels get the same timing; only the fixed set point is their own.
ChannelSettings Qel2200Model::settings(int i) const {
    ChannelSettings s;
    s.fixedKind = reg(FixModeReg) != 0;
    s.fixSp = fromRaw(reg(SpSetReg[i]), decimals(i + 1));
    s.timerOn = reg(EndShownReg) != 0;
    s.fixSeconds = reg(FixTimeReg) * 3600 + reg(FixTimeReg + 1);
    s.patternRepeats = static_cast<int16_t>(reg(PtRptSetReg));
    return s;
}

void Qel2200Model::start() {
    const int pattern = static_cast<int16_t>(reg(PtNoReg));
    // A pattern number with nothing stored runs the built-in pattern.
    const bool useStored = !storedProgram(0, pattern).empty();
    ch_[0].setProgram(useStored ? storedProgram(0, pattern) : Temperature().program);
    ch_[1].setProgram(useStored ? storedProgram(1, pattern) : Humidity().program);
    if (useStored) {
        // The pattern's own repeat count is the one in force (and shown) for its run.
        const auto tail = patterns_.find({pattern, 0});
        const int repeats = tail == patterns_.end() || !tail->second.count(TailRepeat)
                                ? 1
                                : static_cast<int16_t>(tail->second.at(TailRepeat));
        put(PtRptSetReg, static_cast<uint16_t>(std::max(1, repeats)));
    }
    for (int i = 0; i < 2; ++i) ch_[i].run(settings(i));
}

void Qel2200Model::pressKey(int channel, int key) {
    if (frozen() || channel < 1 || channel > 2) return;
    switch (key) {
        case 1:
            if (!ch_[0].running()) {
                start();
            } else {
                for (int i = 0; i < 2; ++i) ch_[i].run(settings(i));  // releases a hold
            }
            break;
        case 2:
            for (Channel& c : ch_) c.toggleHold();
            break;
        case 3:
            for (Channel& c : ch_) c.nextSegment();
            break;
        case 4:
            for (Channel& c : ch_) c.stop();
            break;
        case 5:
            put(UserKeyReg, reg(UserKeyReg) ? 0 : 1);
            break;
        default:
            break;  // the controller ignores other values
    }
    refresh();
}

void Qel2200Model::patternCommand(int command) {
    const int p = reg(WindowPattern), seg = reg(WindowSegment);
    if (command == 2) {
        const auto load = [&](int segment, const std::vector<int>& window) {
            const auto item = patterns_.find({p, segment});
            for (int r : window) put(r, item == patterns_.end() || !item->second.count(r) ? 0 : item->second.at(r));
        };
        // The header comes with every load, whichever item is selected; the
        // tail only with the pattern itself.
        load(seg, WindowOf(seg));
        load(0, {0x001E, 0x001F, 0x0020});
        int n = 0;
        while (patterns_.count({p, n + 1})) ++n;
        put(HeaderCount, static_cast<uint16_t>(n));
    } else if (command == 3) {
        auto& item = patterns_[{p, seg}];
        for (int r : WindowOf(seg)) item[r] = reg(r);
    } else if (command == 5) {
        const int from = reg(WindowFrom), to = reg(WindowTo);
        for (auto it = patterns_.begin(); it != patterns_.end();)
            it = it->first.first >= from && it->first.first <= to ? patterns_.erase(it) : std::next(it);
    }
}

// One channel's segments of a stored pattern: its own set point (0x0530 for
// the temperature, 0x0531 for the humidity) and the shared duration, the hours
// register times an hour plus the remainder. The station writes hours one
// higher than its editor shows; what is stored is what runs.
std::vector<Segment> Qel2200Model::storedProgram(int index, int pattern) const {
    std::vector<Segment> program;
    for (int s = 1; patterns_.count({pattern, s}); ++s) {
        const auto& item = patterns_.at({pattern, s});
        const auto at = [&](int r) { return item.count(r) ? item.at(r) : uint16_t{0}; };
        program.push_back({fromRaw(at(SegmentWindow + index), decimals(index + 1)),
                           at(SegmentWindow + 2) * 3600 + at(SegmentWindow + 3)});
    }
    return program;
}

void Qel2200Model::onWrite(int address, uint16_t value) {
    if (address == WindowCommand) {
        patternCommand(value);
    } else if (address == KeyReg) {
        put(KeyReg, 0);  // a key is a pulse, not a state
        pressKey(1, value);
    } else if (address == PtNoSetReg && !ch_[0].running()) {
        put(PtNoReg, value);
    }
    for (int i = 0; i < 2; ++i) {
        if (address == PvReg[i]) {
            ch_[i].setPv(fromRaw(value, decimals(i + 1)));
        } else if (address == SpReg[i]) {
            put(SpSetReg[i], value);  // a set point written in place counts as the fixed set point
        }
    }
}

void Qel2200Model::advance(double seconds) {
    for (int i = 0; i < 2; ++i) ch_[i].advance(seconds, settings(i));
    refresh();
}

void Qel2200Model::adoptMap() {
    for (int i = 0; i < 2; ++i) ch_[i].setPv(fromRaw(reg(PvReg[i]), decimals(i + 1)));
}

void Qel2200Model::refresh() {
    bool deviates = false;
    for (int i = 0; i < 2; ++i) {
        const Channel& c = ch_[i];
        const int dp = decimals(i + 1);
        put(PvReg[i], toRaw(c.pv() + ripple(i + 1, PvRipple), dp));
        put(SpReg[i], toRaw(c.sp(), dp));
        put(TspReg[i], toRaw(c.targetSp(), dp));
        put(MvReg[i], toRaw(c.mv(), dp));
        deviates = deviates || (c.running() && std::abs(c.pv() - c.sp()) > DeviationLimit);
    }

    // The run state is the temperature channel's; the humidity channel keeps step with it.
    const Channel& c = ch_[0];
    const ChannelSettings s = settings(0);
    put(StatusReg, static_cast<uint16_t>((reg(StatusReg) & ~StatusBits) | c.statusBits()));

    putRunTime(RunTimeReg, c.runSeconds());

    put(SegNoReg, static_cast<uint16_t>(c.segmentNo()));
    put(PtRptReg, static_cast<uint16_t>(c.runKind() == Channel::Run::Program ? c.patternPass() : 0));
    const auto segElapsed = static_cast<int>(c.segmentElapsed());
    put(SegTimeReg, static_cast<uint16_t>(segElapsed / 3600));
    put(SegTimeReg + 1, static_cast<uint16_t>(segElapsed % 3600));
    put(SegTimeSetReg, static_cast<uint16_t>(c.segmentSeconds() / 3600));
    put(SegTimeSetReg + 1, static_cast<uint16_t>(c.segmentSeconds() % 3600));

    // A run without an end of its own (stopped, or a fixed run without
    // timer) shows the controllers' unset date.
    putEndDate(EndDateReg, c.secondsToEnd(s));

    put(EvtWordAReg,
        static_cast<uint16_t>((reg(EvtWordAReg) & ~DeviationAlarmBit) | (deviates ? DeviationAlarmBit : 0)));
    put(RelayWordBReg,
        static_cast<uint16_t>((reg(RelayWordBReg) & ~RunOutputBit) | (c.running() ? RunOutputBit : 0)));
}

}  // namespace qelsim
