// The pattern memory of the controllers with one command window per chamber
// (QEL2000/2100, QEL2400): the line selects channel, pattern and segment in a
// few registers, writes a command, and reads or writes a data window.
//
// Commands: 2 loads the selected item into the data window, 3 stores the
// window into it, 5 clears the range of patterns of the selected channel;
// other values do nothing. What a store keeps is exactly the window's
// registers of the item; a load of an item never stored shows zeros.
//
// The window only touches the map through the two accessors it is given, so
// that a model can keep it as a member and nothing else of the model leaks in.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <tuple>
#include <vector>

#include "channel.h"

namespace qelsim {

struct PatternWindowLayout {
    // The command window.
    int channel, pattern, segment, from, to, command;
    // Where every load puts the number of the pattern's segments, counted by
    // the controller itself (segments 1, 2, ... stored without a gap).
    int count;
    // Pattern-level registers. The header comes with every load, whichever
    // item is selected; the tail with a load of the pattern level, or with
    // every load when tailWithEveryLoad is set.
    std::vector<int> header, tail;
    bool tailWithEveryLoad;
    // A segment's registers, and where its set point, its hours and the
    // remainder in seconds stand among them.
    std::vector<int> segmentWindow;
    int segSp, segHours, segRest;
    // The pattern's repeat count, in the tail.
    int patternRepeat;
};

class PatternWindow {
public:
    using ReadRegister = std::function<uint16_t(int)>;
    using WriteRegister = std::function<void(int, uint16_t)>;

    PatternWindow(PatternWindowLayout layout, ReadRegister read, WriteRegister write);

    const PatternWindowLayout& layout() const { return layout_; }

    // Carries out a value written to the command register.
    void command(int command);

    // The segments of a stored pattern of a channel (index 0 is channel 1):
    // the set point as setPoint reads the raw register (the channel's
    // decimals), and the hours register times an hour plus the remainder,
    // both as stored. The line writes hours one higher than its editor shows,
    // so a stored segment runs an hour longer than the editor showed. Empty
    // when nothing is stored.
    using SetPoint = std::function<double(uint16_t)>;
    std::vector<Segment> program(int channelIndex, int pattern, const SetPoint& setPoint) const;
    // The pattern's own repeat count; 1 when none is stored or it is below 1.
    int repeats(int channelIndex, int pattern) const;

private:
    using Item = std::map<int, uint16_t>;  // register -> stored value
    void load(int ch, int pattern, int segment, const std::vector<int>& window);
    int segmentCount(int ch, int pattern) const;

    PatternWindowLayout layout_;
    ReadRegister reg_;
    WriteRegister put_;
    std::map<std::tuple<int, int, int>, Item> items_;  // (channel index, pattern, segment) -> window
};

}  // namespace qelsim
