#include "qel2000_model.h"

#include <algorithm>
#include <cmath>

namespace qelsim {

namespace {

// Where each channel's values stand in the map; index 0 is channel 1.
struct ChannelRegs {
    int pvStat, status, pv, sp, tsp, mv, pidNo;
    int evtD, evtC, evtA, evtB;
    int runTime;  // three registers: hours, minutes, seconds
    int ptNo, segNo, ptRpt, ptRptSet, segRpt, segRptSet;
    int segTime, segTimeSet;  // two registers each: hours, rest in seconds
    int userKey, evtMode;
    int key;             // remote keys land here
    int ptNoSet, spSet;  // pattern number and fixed set point written by the station
    int fixMode, endShown, fixTime, tempDev;
    int endDate;  // five registers: year, month, day, hour, minute
    int waitUse, waitBand, waitMinutes, waitKind;
};

constexpr ChannelRegs Regs[2] = {
    {0x0002, 0x0004, 0x0009, 0x000B, 0x0037, 0x000D, 0x0011, 0x0013, 0x0015, 0x0017, 0x0019, 0x001D,
     0x0023, 0x0024, 0x0027, 0x0028, 0x002B, 0x002C, 0x002F, 0x0031, 0x0048, 0x0054, 0x0065, 0x0063,
     0x0067, 0x006E, 0x0070, 0x0071, 0x007C, 0x039C, 0x0121, 0x0123, 0x0125, 0x0127},
    {0x0003, 0x0006, 0x000A, 0x000C, 0x0038, 0x000E, 0x0012, 0x0014, 0x0016, 0x0018, 0x001A, 0x0020,
     0x0025, 0x0026, 0x0029, 0x002A, 0x002D, 0x002E, 0x0033, 0x0035, 0x0049, 0x0055, 0x0066, 0x0064,
     0x0068, 0x0075, 0x0077, 0x0078, 0x007D, 0x03A6, 0x0122, 0x0124, 0x0126, 0x0128},
};

// Chamber-wide words.
constexpr int RelayWordB = 0x001B;  // outputs, first board

// Bits the simulation drives; the other bits of these words keep what was set.
constexpr uint16_t RunOutputBit[2] = {0x0001, 0x0002};  // RelayWordB: channel running
constexpr uint16_t DeviationAlarmBit = 0x0001;          // EvtWordA: |PV - SP| beyond DeviationLimit
constexpr double DeviationLimit = 5.0;
constexpr double PvRipple = 0.08;  // engineering units

constexpr double DefaultSp[2] = {25.0, 60.0};

PatternWindowLayout Window() {
    PatternWindowLayout l{};
    l.channel = 0x044B, l.pattern = 0x044C, l.segment = 0x044D;
    l.from = 0x0450, l.to = 0x0451, l.command = 0x0452;
    l.count = 0x0474;
    l.header = {0x0475, 0x0476, 0x0477};
    for (int r = 0x047D; r <= 0x048D; ++r) l.tail.push_back(r);
    l.tailWithEveryLoad = false;
    for (int r = 0x0464; r <= 0x0472; ++r) l.segmentWindow.push_back(r);
    l.segmentWindow.push_back(0x048E);  // the segment's use flag
    l.segSp = 0x0464, l.segHours = 0x0465, l.segRest = 0x0466;
    l.patternRepeat = 0x047D;
    return l;
}

}  // namespace

Qel2000Model::Qel2000Model(const ChamberConfig& config, int channels)
    : Chamber(config),
      patterns_(
          Window(), [this](int r) { return reg(r); }, [this](int r, uint16_t v) { put(r, v); }),
      channels_(channels),
      ch_{Channel(TemperatureLoop()), Channel(HumidityLoop())} {
    seed();
    refresh();
}

void Qel2000Model::seed() {
    for (int i = 0; i < channels_; ++i) {
        const ChannelRegs& r = Regs[i];
        const int dp = decimals(i + 1);
        put(r.pidNo, 1);
        put(r.ptNo, 1);
        put(r.ptNoSet, 1);
        put(r.ptRptSet, 1);
        put(r.spSet, toRaw(DefaultSp[i], dp));
        put(r.tempDev, toRaw(2.0, dp));
        put(r.waitBand, toRaw(1.0, dp));
    }
    for (const ChannelRegs& r : Regs) {
        put(r.endDate, 1970);
        put(r.endDate + 1, 1);
        put(r.endDate + 2, 1);
    }
}

ChannelSettings Qel2000Model::settings(int i) const {
    const ChannelRegs& r = Regs[i];
    const int dp = decimals(i + 1);
    ChannelSettings s;
    s.fixedKind = reg(r.fixMode) != 0;
    s.fixSp = fromRaw(reg(r.spSet), dp);
    s.timerOn = reg(r.endShown) != 0;
    s.fixSeconds = reg(r.fixTime) * 3600 + reg(r.fixTime + 1);
    s.patternRepeats = static_cast<int16_t>(reg(r.ptRptSet));
    s.waitOn = reg(r.waitUse) != 0;
    s.waitBand = std::abs(fromRaw(reg(r.waitBand), dp));
    s.waitMinutes = reg(r.waitMinutes);
    return s;
}

void Qel2000Model::pressKey(int channel, int key) {
    if (frozen() || channel < 1 || channel > channels_) return;
    const int i = channel - 1;
    Channel& c = ch_[i];
    switch (key) {
        case 1:
            if (!c.running()) {
                const int pattern = static_cast<int16_t>(reg(Regs[i].ptNo));
                std::vector<Segment> stored =
                    patterns_.program(i, pattern, [&](uint16_t raw) { return fromRaw(raw, decimals(i + 1)); });
                if (!stored.empty()) {
                    c.setProgram(std::move(stored));
                    // The pattern's own repeat count is the one in force (and shown) for its run.
                    put(Regs[i].ptRptSet, static_cast<uint16_t>(patterns_.repeats(i, pattern)));
                }
            }
            c.run(settings(i));
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
            put(Regs[i].userKey, reg(Regs[i].userKey) ? 0 : 1);
            break;
        default:
            break;  // the controller ignores other values
    }
    refresh();
}

void Qel2000Model::onWrite(int address, uint16_t value) {
    if (address == patterns_.layout().command) {
        patterns_.command(value);
        return;
    }
    for (int i = 0; i < channels_; ++i) {
        const ChannelRegs& r = Regs[i];
        if (address == r.key) {
            put(r.key, 0);  // a key is a pulse, not a state
            pressKey(i + 1, value);
        } else if (address == r.pv) {
            ch_[i].setPv(fromRaw(value, decimals(i + 1)));
        } else if (address == r.sp) {
            put(r.spSet, value);  // a set point written in place counts as the fixed set point
        } else if (address == r.ptNoSet && !ch_[i].running()) {
            put(r.ptNo, value);
        }
    }
}

void Qel2000Model::advance(double seconds) {
    for (int i = 0; i < channels_; ++i) ch_[i].advance(seconds, settings(i));
    refresh();
}

void Qel2000Model::adoptMap() {
    for (int i = 0; i < channels_; ++i) ch_[i].setPv(fromRaw(reg(Regs[i].pv), decimals(i + 1)));
}

void Qel2000Model::refresh() {
    uint16_t relayB = reg(RelayWordB) & ~(RunOutputBit[0] | RunOutputBit[1]);
    for (int i = 0; i < channels_; ++i) {
        const ChannelRegs& r = Regs[i];
        const Channel& c = ch_[i];
        const int dp = decimals(i + 1);
        const ChannelSettings s = settings(i);

        put(r.status, static_cast<uint16_t>((reg(r.status) & 0xFF00) | c.statusBits()));
        put(r.pv, toRaw(c.pv() + ripple(i + 1, PvRipple), dp));
        put(r.sp, toRaw(c.sp(), dp));
        put(r.tsp, toRaw(c.targetSp(), dp));
        put(r.mv, toRaw(c.mv(), dp));

        putRunTime(r.runTime, c.runSeconds());

        put(r.segNo, static_cast<uint16_t>(c.segmentNo()));
        put(r.ptRpt, static_cast<uint16_t>(c.runKind() == Channel::Run::Program ? c.patternPass() : 0));
        const auto segElapsed = static_cast<int>(c.segmentElapsed());
        put(r.segTime, static_cast<uint16_t>(segElapsed / 3600));
        put(r.segTime + 1, static_cast<uint16_t>(segElapsed % 3600));
        put(r.segTimeSet, static_cast<uint16_t>(c.segmentSeconds() / 3600));
        put(r.segTimeSet + 1, static_cast<uint16_t>(c.segmentSeconds() % 3600));

        // A run without an end of its own (stopped, or a fixed run without
        // timer) shows the controllers' unset date.
        putEndDate(r.endDate, c.secondsToEnd(s));

        const bool deviates = c.running() && std::abs(c.pv() - c.sp()) > DeviationLimit;
        put(r.evtA, static_cast<uint16_t>((reg(r.evtA) & ~DeviationAlarmBit) | (deviates ? DeviationAlarmBit : 0)));
        if (c.running()) relayB |= RunOutputBit[i];
    }
    put(RelayWordB, relayB);
}

}  // namespace qelsim
