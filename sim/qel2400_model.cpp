#include "qel2400_model.h"

#include <algorithm>
#include <cmath>

namespace qelsim {

namespace {

// Per channel: the register of channel 1; channel i + 1 stands at + i unless
// told otherwise.
constexpr int PvReg = 0x0009, SpReg = 0x000C, TspReg = 0x000F, MvReg = 0x0012;
constexpr int StatusReg = 0x0027;  // a whole register per channel
constexpr int UserKeyReg = 0x002A;
constexpr int EvtWordAReg = 0x0033;
constexpr int KeyReg = 0x0064;
constexpr int SpSetReg = 0x006A;    // fixed set point, written by the station
constexpr int PtNoSetReg = 0x006D;  // pattern number, written by the station
constexpr int EndDateReg = 0x0087;  // + 5i: year, month, day, hour, minute
constexpr int PtNoReg = 0x00C8, SegNoReg = 0x00CB, PidNoReg = 0x00CE;
constexpr int PtRptReg = 0x00D1, PtRptSetReg = 0x00D4;
constexpr int SegTimeReg = 0x00DD;     // + 3i: hours, minutes, seconds in the segment
constexpr int SegTimeSetReg = 0x00E6;  // + 3i: the segment's length, the same way
constexpr int RunTimeReg = 0x00EF;     // + 3i
constexpr int FixModeReg = 0x012B;     // + 10i, and the rest of the channel's run settings behind it
constexpr int EndShownReg = 0x012C, TempDevReg = 0x012D, FixTimeReg = 0x012E;  // FixTime: hours, rest in seconds
constexpr int RunSettingsStride = 10;
constexpr int WaitReg = 0x0225;  // + 4i: use, band, longest wait in minutes, kind
constexpr int WaitStride = 4;

// Chamber-wide words.
constexpr int RelayWordBReg = 0x0004;

// Bits the simulation drives; the other bits of these words keep what was set.
constexpr uint16_t StatusBits = Channel::ProgramRunBit | Channel::FixedRunBit | Channel::HoldBit | Channel::WaitBit;
constexpr uint16_t RunOutputBit[3] = {0x0001, 0x0002, 0x0004};  // RelayWordB: channel running
constexpr uint16_t DeviationAlarmBit = 0x0001;                  // EvtWordA: |PV - SP| beyond DeviationLimit
constexpr double DeviationLimit = 5.0;
constexpr double PvRipple = 0.08;  // engineering units

ChannelPhysics Physics(int index) { return index == 1 ? HumidityLoop() : TemperatureLoop(); }
constexpr double DefaultSp[3] = {25.0, 60.0, 25.0};

// The stored aux values of a segment, and where the station reads them back.
constexpr int AuxWritten = 0x01A8, AuxShown = 0x01AC, AuxCount = 4;

PatternWindowLayout Window() {
    PatternWindowLayout l{};
    l.channel = 0x018F, l.pattern = 0x0190, l.segment = 0x0191;
    l.from = 0x0194, l.to = 0x0195, l.command = 0x0196;
    l.count = 0x0221;
    l.header = {0x0199, 0x019A, 0x019B, 0x019C};  // StartType, StartSP of channel index 0..2
    for (int r = 0x01B7; r <= 0x01C7; ++r) l.tail.push_back(r);
    // The station reads the tail with no command of its own after the last
    // segment's load, so every load brings it.
    l.tailWithEveryLoad = true;
    for (int r = 0x019D; r <= 0x01AB; ++r) l.segmentWindow.push_back(r);  // SP, hours, rest, signals, aux
    l.segmentWindow.push_back(0x01B1);                                    // SegUse
    l.segSp = 0x019D, l.segHours = 0x019E, l.segRest = 0x019F;
    l.patternRepeat = 0x01B7;
    return l;
}

}  // namespace

Qel2400Model::Qel2400Model(const ChamberConfig& config)
    : Chamber(config),
      patterns_(
          Window(), [this](int r) { return reg(r); }, [this](int r, uint16_t v) { put(r, v); }),
      ch_{Channel(Physics(0)), Channel(Physics(1)), Channel(Physics(2))} {
    seed();
    refresh();
}

void Qel2400Model::seed() {
    for (int i = 0; i < 3; ++i) {
        const int dp = decimals(i + 1);
        put(PidNoReg + i, 1);
        put(PtNoReg + i, 1);
        put(PtNoSetReg + i, 1);
        put(PtRptSetReg + i, 1);
        put(SpSetReg + i, toRaw(DefaultSp[i], dp));
        put(TempDevReg + RunSettingsStride * i, toRaw(2.0, dp));
        put(WaitReg + WaitStride * i + 1, toRaw(1.0, dp));
    }
}

ChannelSettings Qel2400Model::settings(int i) const {
    const int dp = decimals(i + 1);
    const int run = RunSettingsStride * i, wait = WaitReg + WaitStride * i;
    ChannelSettings s;
    s.fixedKind = reg(FixModeReg + run) != 0;
    s.fixSp = fromRaw(reg(SpSetReg + i), dp);
    s.timerOn = reg(EndShownReg + run) != 0;
    s.fixSeconds = reg(FixTimeReg + run) * 3600 + reg(FixTimeReg + run + 1);
    s.patternRepeats = static_cast<int16_t>(reg(PtRptSetReg + i));
    s.waitOn = reg(wait) != 0;
    s.waitBand = std::abs(fromRaw(reg(wait + 1), dp));
    s.waitMinutes = reg(wait + 2);
    return s;
}

void Qel2400Model::start(int i) {
    const int pattern = static_cast<int16_t>(reg(PtNoReg + i));
    std::vector<Segment> stored =
        patterns_.program(i, pattern, [&](uint16_t raw) { return fromRaw(raw, decimals(i + 1)); });
    if (stored.empty()) {
        ch_[i].setProgram(Physics(i).program);  // a pattern number with nothing stored runs the built-in one
    } else {
        ch_[i].setProgram(std::move(stored));
        // The pattern's own repeat count is the one in force (and shown) for its run.
        put(PtRptSetReg + i, static_cast<uint16_t>(patterns_.repeats(i, pattern)));
    }
    ch_[i].run(settings(i));
}

void Qel2400Model::pressKey(int channel, int key) {
    if (frozen() || channel < 1 || channel > 3) return;
    const int i = channel - 1;
    Channel& c = ch_[i];
    switch (key) {
        case 1:
            if (c.running()) {
                c.run(settings(i));  // releases a hold
            } else {
                start(i);
            }
            break;
        case 2:
            c.toggleHold();
            break;
        case 3:
            c.nextSegment();
            break;
        case 4:
            c.stop();
            break;
        case 5:
            put(UserKeyReg + i, reg(UserKeyReg + i) ? 0 : 1);
            break;
        default:
            break;  // the controller ignores other values
    }
    refresh();
}

void Qel2400Model::onWrite(int address, uint16_t value) {
    if (address == patterns_.layout().command) {
        patterns_.command(value);
        if (value == 2 && reg(patterns_.layout().segment) != 0) {
            for (int k = 0; k < AuxCount; ++k) put(AuxShown + k, reg(AuxWritten + k));
        }
        return;
    }
    for (int i = 0; i < 3; ++i) {
        if (address == KeyReg + i) {
            put(address, 0);  // a key is a pulse, not a state
            pressKey(i + 1, value);
        } else if (address == PvReg + i) {
            ch_[i].setPv(fromRaw(value, decimals(i + 1)));
        } else if (address == SpReg + i) {
            put(SpSetReg + i, value);  // a set point written in place counts as the fixed set point
        } else if (address == PtNoSetReg + i && !ch_[i].running()) {
            put(PtNoReg + i, value);
        }
    }
}

void Qel2400Model::advance(double seconds) {
    for (int i = 0; i < 3; ++i) ch_[i].advance(seconds, settings(i));
    refresh();
}

void Qel2400Model::adoptMap() {
    for (int i = 0; i < 3; ++i) ch_[i].setPv(fromRaw(reg(PvReg + i), decimals(i + 1)));
}

void Qel2400Model::refresh() {
    uint16_t relayB = reg(RelayWordBReg) & ~(RunOutputBit[0] | RunOutputBit[1] | RunOutputBit[2]);
    for (int i = 0; i < 3; ++i) {
        const Channel& c = ch_[i];
        const int dp = decimals(i + 1);

        put(StatusReg + i, static_cast<uint16_t>((reg(StatusReg + i) & ~StatusBits) | c.statusBits()));
        put(PvReg + i, toRaw(c.pv() + ripple(i + 1, PvRipple), dp));
        put(SpReg + i, toRaw(c.sp(), dp));
        put(TspReg + i, toRaw(c.targetSp(), dp));
        put(MvReg + i, toRaw(c.mv(), dp));

        put(SegNoReg + i, static_cast<uint16_t>(c.segmentNo()));
        put(PtRptReg + i, static_cast<uint16_t>(c.runKind() == Channel::Run::Program ? c.patternPass() : 0));
        putRunTime(SegTimeReg + 3 * i, c.segmentElapsed());
        putRunTime(SegTimeSetReg + 3 * i, c.segmentSeconds());
        putRunTime(RunTimeReg + 3 * i, c.runSeconds());

        // A run without an end of its own (stopped, or a fixed run without
        // timer) shows the controllers' unset date.
        putEndDate(EndDateReg + 5 * i, c.secondsToEnd(settings(i)));

        const bool deviates = c.running() && std::abs(c.pv() - c.sp()) > DeviationLimit;
        put(EvtWordAReg + i,
            static_cast<uint16_t>((reg(EvtWordAReg + i) & ~DeviationAlarmBit) | (deviates ? DeviationAlarmBit : 0)));
        if (c.running()) relayB |= RunOutputBit[i];
    }
    put(RelayWordBReg, relayB);
}

}  // namespace qelsim
