// QEL2300: a thermal shock chamber of three rooms, channel 1 the Hi room,
// channel 2 the Ex room, channel 3 the Lo room, under one run state.
//
// A run is no list of segments but a room program: the specimen stays in the
// Hi room, then the Ex room (only when the program's defrost type is 2 or
// more), then the Lo room, each for its time, and the whole is repeated. The
// rooms in the program are held at their temperatures for the whole run;
// `Side` 0x00B5 tells the room the specimen is in (0 Hi, 1 Ex, 2 Lo) while
// running and keeps its last value, or what was set, while the chamber stands.
//
// Keys go to 0x0032 (1 run, 2 hold toggle, 3 next room, 4 stop, 5 user key);
// there is no fixed run. The station writes the pattern number to 0x0031,
// taken over into PTNo 0x001A while the chamber stands.
#pragma once

#include "channel.h"
#include "model.h"

#include <map>

namespace qelsim {

class Qel2300Model final : public Chamber {
public:
    explicit Qel2300Model(const ChamberConfig& config);

    QString model() const override { return "QEL2300"; }
    int channelCount() const override { return 3; }
    // Any room's key acts on the one run state.
    void pressKey(int channel, int key) override;

    const Channel& channel(int channel) const { return ch_[channel - 1]; }

protected:
    void onWrite(int address, uint16_t value) override;
    void advance(double seconds) override;
    void adoptMap() override;

private:
    struct RoomProgram {
        double sp[3];
        int seconds[3];
        bool exUsed;
        int repeats;  // 0: keep the repeat count the chamber holds
    };

    // The program window: pattern 0x08FC, range 0x0900/0x0901, command
    // 0x0902: 2 loads the pattern's program into the data block
    // 0x0918..0x0943, 3 stores the block into it, 5 clears the range.
    void programCommand(int command);
    RoomProgram programOf(int pattern) const;
    std::map<int, std::map<int, uint16_t>> programs_;  // pattern -> data block

    ChannelSettings settings(int room) const;
    int repeats() const;
    void start();
    void stopRun();
    void nextRoom();
    void stepRun(double dt);
    double secondsToEnd() const;
    void refresh();
    void seed();

    std::vector<Channel> ch_;
    double roomSp_[3];
    int roomSeconds_[3] = {0, 0, 0};
    std::vector<int> order_;  // rooms of one pass, 0 Hi, 1 Ex, 2 Lo
    bool running_ = false;
    bool held_ = false;
    int index_ = 0;  // into order_
    int pass_ = 0;
    double elapsed_ = 0;  // in the present room; stands in hold
    double runSeconds_ = 0;
};

}  // namespace qelsim
