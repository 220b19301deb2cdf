#include "qel2300_model.h"

#include <algorithm>
#include <cmath>

namespace qelsim {

namespace {

// Per room: index 0 Hi, 1 Ex, 2 Lo.
constexpr int PvReg = 0x0006, SpReg = 0x0009, MvReg = 0x000C, PidNoReg = 0x000F;

constexpr int StatusReg = 0x0005;  // low byte: 1 running, 4 on hold
constexpr int EvtWordAReg = 0x0014;
constexpr int RelayWordBReg = 0x0015;
constexpr int RunTimeReg = 0x0017;  // hours, minutes, seconds
constexpr int PtNoReg = 0x001A;
constexpr int SegTimeReg = 0x001C;  // time in the present room: hours, rest in seconds
constexpr int PtNoSetReg = 0x0031;
constexpr int KeyReg = 0x0032;
constexpr int PtRptReg = 0x008C;
constexpr int PtRptSetReg = 0x008D;
constexpr int SegTimeSetReg = 0x0090;  // the present room's time: hours, rest in seconds
constexpr int EndDateReg = 0x0097;     // year, month, day, hour, minute
constexpr int UserKeyReg = 0x00A2;
constexpr int SideReg = 0x00B5;
constexpr int RoomConfigReg = 0x02ED;  // 1: the chamber has its Ex room

constexpr uint16_t RunBit = 0x0001, HoldBit = 0x0004;
constexpr uint16_t RunOutputBit = 0x0001;       // RelayWordB: chamber running
constexpr uint16_t DeviationAlarmBit = 0x0001;  // EvtWordA: a room's |PV - SP| beyond DeviationLimit
constexpr double DeviationLimit = 5.0;
constexpr double PvRipple = 0.08;  // engineering units
constexpr double MaxSlice = 1.0;   // room changes are followed to the second

// The program window and its data block.
constexpr int WindowPattern = 0x08FC, WindowFrom = 0x0900, WindowTo = 0x0901, WindowCommand = 0x0902;
constexpr int BlockFirst = 0x0918, BlockLast = 0x0943;
constexpr int BlockRepeat = 0x0918, BlockDefrostType = 0x091A, BlockSp = 0x0920, BlockTime = 0x0923;

ChannelPhysics Room(double low, double high) {
    ChannelPhysics p;
    p.ambient = 23.0;
    p.low = low;
    p.high = high;
    return p;
}

}  // namespace

Qel2300Model::Qel2300Model(const ChamberConfig& config)
    : Chamber(config), ch_{Channel(Room(-70.0, 200.0)), Channel(Room(-70.0, 180.0)), Channel(Room(-80.0, 180.0))} {
    // The rooms stand with the set points of the built-in program.
    const RoomProgram builtIn = programOf(0);  // nothing is stored yet
    std::copy(std::begin(builtIn.sp), std::end(builtIn.sp), roomSp_);
    seed();
    refresh();
}

void Qel2300Model::seed() {
    for (int k = 0; k < 3; ++k) put(PidNoReg + k, 1);
    put(PtNoReg, 1);
    put(PtNoSetReg, 1);
    put(PtRptSetReg, 1);
    put(RoomConfigReg, 1);
    put(EndDateReg, 1970);
    put(EndDateReg + 1, 1);
    put(EndDateReg + 2, 1);
}

ChannelSettings Qel2300Model::settings(int room) const {
    ChannelSettings s;
    s.fixedKind = true;  // a room is held at its temperature; the model times the run itself
    s.fixSp = roomSp_[room];
    return s;
}

int Qel2300Model::repeats() const { return std::max(1, static_cast<int>(static_cast<int16_t>(reg(PtRptSetReg)))); }

// The program of a stored pattern: room temperatures, room times (hours
// register times an hour plus the remainder, both as stored) and whether the
// Ex room takes part. A pattern with nothing stored gives the built-in
// program: Hi room at 125.0 and Lo room at -40.0 for half an hour each.
Qel2300Model::RoomProgram Qel2300Model::programOf(int pattern) const {
    const auto item = programs_.find(pattern);
    if (item == programs_.end()) return {{125.0, 25.0, -40.0}, {1800, 900, 1800}, false, 0};
    const auto at = [&](int r) { return item->second.count(r) ? item->second.at(r) : uint16_t{0}; };
    RoomProgram p{};
    for (int k = 0; k < 3; ++k) {
        p.sp[k] = fromRaw(at(BlockSp + k), decimals(k + 1));
        p.seconds[k] = at(BlockTime + 2 * k) * 3600 + at(BlockTime + 2 * k + 1);
    }
    p.exUsed = static_cast<int16_t>(at(BlockDefrostType)) >= 2;
    p.repeats = std::max(1, static_cast<int>(static_cast<int16_t>(at(BlockRepeat))));
    return p;
}

void Qel2300Model::programCommand(int command) {
    const int p = reg(WindowPattern);
    if (command == 2) {
        const auto item = programs_.find(p);
        for (int r = BlockFirst; r <= BlockLast; ++r)
            put(r, item == programs_.end() || !item->second.count(r) ? 0 : item->second.at(r));
    } else if (command == 3) {
        auto& item = programs_[p];
        for (int r = BlockFirst; r <= BlockLast; ++r) item[r] = reg(r);
    } else if (command == 5) {
        const int from = reg(WindowFrom), to = reg(WindowTo);
        for (auto it = programs_.begin(); it != programs_.end();)
            it = it->first >= from && it->first <= to ? programs_.erase(it) : std::next(it);
    }
}

void Qel2300Model::start() {
    const RoomProgram p = programOf(static_cast<int16_t>(reg(PtNoReg)));
    // The pattern's own repeat count is the one in force (and shown) for its run.
    if (p.repeats > 0) put(PtRptSetReg, static_cast<uint16_t>(p.repeats));
    order_ = p.exUsed ? std::vector<int>{0, 1, 2} : std::vector<int>{0, 2};
    for (int k : order_) {
        roomSp_[k] = p.sp[k];
        roomSeconds_[k] = p.seconds[k];
    }
    running_ = true;
    held_ = false;
    index_ = 0;
    pass_ = 1;
    elapsed_ = 0;
    runSeconds_ = 0;
    for (int k : order_) ch_[k].run(settings(k));
}

void Qel2300Model::stopRun() {
    running_ = false;
    held_ = false;
    index_ = 0;
    elapsed_ = 0;
    for (Channel& c : ch_) c.stop();
}

void Qel2300Model::nextRoom() {
    if (index_ + 1 < static_cast<int>(order_.size())) {
        ++index_;
    } else if (pass_ < repeats()) {
        ++pass_;
        index_ = 0;
    } else {
        stopRun();
        return;
    }
    elapsed_ = 0;
}

void Qel2300Model::stepRun(double dt) {
    if (!running_) return;
    runSeconds_ += dt;
    if (held_) return;
    const int length = roomSeconds_[order_[index_]];
    elapsed_ = std::min<double>(elapsed_ + dt, length);
    if (elapsed_ >= length) nextRoom();
}

double Qel2300Model::secondsToEnd() const {
    if (!running_) return -1;
    double left = std::max(0.0, roomSeconds_[order_[index_]] - elapsed_);
    double pass = 0;
    for (size_t i = 0; i < order_.size(); ++i) {
        pass += roomSeconds_[order_[i]];
        if (static_cast<int>(i) > index_) left += roomSeconds_[order_[i]];
    }
    return left + pass * std::max(0, repeats() - pass_);
}

void Qel2300Model::pressKey(int channel, int key) {
    if (frozen() || channel < 1 || channel > 3) return;
    switch (key) {
        case 1:
            if (running_) {
                held_ = false;
            } else {
                start();
            }
            break;
        case 2:
            if (running_) held_ = !held_;
            break;
        case 3:
            if (running_) nextRoom();
            break;
        case 4:
            stopRun();
            break;
        case 5:
            put(UserKeyReg, reg(UserKeyReg) ? 0 : 1);
            break;
        default:
            break;  // the controller ignores other values
    }
    refresh();
}

void Qel2300Model::onWrite(int address, uint16_t value) {
    if (address == WindowCommand) {
        programCommand(value);
    } else if (address == KeyReg) {
        put(KeyReg, 0);  // a key is a pulse, not a state
        pressKey(1, value);
    } else if (address == PtNoSetReg && !running_) {
        put(PtNoReg, value);
    } else if (address >= PvReg && address < PvReg + 3) {
        ch_[address - PvReg].setPv(fromRaw(value, decimals(address - PvReg + 1)));
    } else if (address >= SpReg && address < SpReg + 3) {
        roomSp_[address - SpReg] = fromRaw(value, decimals(address - SpReg + 1));
    }
}

void Qel2300Model::advance(double seconds) {
    for (double left = std::max(0.0, seconds); left > 0; left -= MaxSlice) {
        const double dt = std::min(left, MaxSlice);
        stepRun(dt);
        for (int k = 0; k < 3; ++k) ch_[k].advance(dt, settings(k));
    }
    if (seconds <= 0) {
        for (int k = 0; k < 3; ++k) ch_[k].advance(0, settings(k));  // a new set point holds at once
    }
    refresh();
}

void Qel2300Model::adoptMap() {
    for (int k = 0; k < 3; ++k) {
        ch_[k].setPv(fromRaw(reg(PvReg + k), decimals(k + 1)));
        roomSp_[k] = fromRaw(reg(SpReg + k), decimals(k + 1));
    }
}

void Qel2300Model::refresh() {
    bool deviates = false;
    for (int k = 0; k < 3; ++k) {
        const Channel& c = ch_[k];
        const int dp = decimals(k + 1);
        put(PvReg + k, toRaw(c.pv() + ripple(k + 1, PvRipple), dp));
        put(SpReg + k, toRaw(roomSp_[k], dp));
        put(MvReg + k, toRaw(c.mv(), dp));
        deviates = deviates || (c.running() && std::abs(c.pv() - roomSp_[k]) > DeviationLimit);
    }

    const uint16_t bits = (running_ ? RunBit : 0) | (held_ ? HoldBit : 0);
    put(StatusReg, static_cast<uint16_t>((reg(StatusReg) & ~(RunBit | HoldBit)) | bits));

    putRunTime(RunTimeReg, runSeconds_);

    const auto inRoom = static_cast<int>(elapsed_);
    const int roomTime = running_ ? roomSeconds_[order_[index_]] : 0;
    put(SegTimeReg, static_cast<uint16_t>(inRoom / 3600));
    put(SegTimeReg + 1, static_cast<uint16_t>(inRoom % 3600));
    put(SegTimeSetReg, static_cast<uint16_t>(roomTime / 3600));
    put(SegTimeSetReg + 1, static_cast<uint16_t>(roomTime % 3600));
    put(PtRptReg, static_cast<uint16_t>(running_ ? pass_ : 0));
    if (running_) put(SideReg, static_cast<uint16_t>(order_[index_]));

    // A chamber that stands shows the controllers' unset date.
    putEndDate(EndDateReg, secondsToEnd());

    put(EvtWordAReg,
        static_cast<uint16_t>((reg(EvtWordAReg) & ~DeviationAlarmBit) | (deviates ? DeviationAlarmBit : 0)));
    put(RelayWordBReg, static_cast<uint16_t>((reg(RelayWordBReg) & ~RunOutputBit) | (running_ ? RunOutputBit : 0)));
}

}  // namespace qelsim
