// QEL2200: a temperature and a humidity channel run by one pattern. There is
// one key register and one run state: both channels start, hold, step and
// stop together, and a pattern segment carries a set point for each.
//
// The station writes the fixed set points to 0x0513/0x0514, the pattern
// number a run key starts to 0x0515 (taken over into PTNo 0x0012 while the
// chamber stands) and keys to 0x0516.
#pragma once

#include "channel.h"
#include "model.h"

#include <map>
#include <utility>

namespace qelsim {

class Qel2200Model final : public Chamber {
public:
    explicit Qel2200Model(const ChamberConfig& config);

    QString model() const override { return "QEL2200"; }
    int channelCount() const override { return 2; }
    // Either channel's key acts on the one run state.
    void pressKey(int channel, int key) override;

    const Channel& channel(int channel) const { return ch_[channel - 1]; }

protected:
    void onWrite(int address, uint16_t value) override;
    void advance(double seconds) override;
    void adoptMap() override;

private:
    // The pattern command window: pattern 0x0519, segment 0x051A (0 the
    // pattern itself), range 0x051D/0x051E, command 0x051F: 2 loads the item
    // into its data window, 3 stores the window into it, 5 clears the range.
    // The windows lie inside the live block (header 0x001D..0x0020, tail
    // 0x0021..0x002F) or beside it (segment 0x0530..0x053C); the live values
    // the station polls are none of these registers.
    void patternCommand(int command);
    std::vector<Segment> storedProgram(int index, int pattern) const;
    std::map<std::pair<int, int>, std::map<int, uint16_t>> patterns_;  // (pattern, segment) -> window

    ChannelSettings settings(int index) const;
    void start();
    void refresh();
    void seed();

    std::vector<Channel> ch_;
};

}  // namespace qelsim
