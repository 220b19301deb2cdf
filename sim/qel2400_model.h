// QEL2400: three independent channels (channel 1 a temperature loop, 2 a
// humidity loop, 3 a second temperature loop). Each channel runs, holds,
// steps and stops by itself, with its own patterns, status, times and end
// date; the register layout is the QEL2000's idea with three of everything.
//
// What the station writes:
// - keys to 0x0064/0x0065/0x0066 (channels 1..3), read back as 0;
// - the fixed set point to 0x006A + i (also a write to SP 0x000C + i);
// - the pattern a run key starts to 0x006D + i, taken over into PTNo
//   0x00C8 + i while the channel stands;
// - FixMode 0x012B + 10i, EndShown 0x012C + 10i, TempDev 0x012D + 10i,
//   FixTime 0x012E/0x012F + 10i (hours, remainder in seconds);
// - the wait settings 0x0225 + 4i: use, band, longest wait in minutes, kind.
// LinkedRun 0x0149 is a plain register.
//
// The pattern window (command window 0x018F..0x0196) keeps patterns per
// channel. Every load brings the header 0x0199..0x019C, the tail
// 0x01B7..0x01C7 and the segment count 0x0221; a load of a segment also its
// window 0x019D..0x01AB and SegUse 0x01B1. The aux values are written to
// 0x01A8..0x01AB but the station reads them from 0x01AC..0x01AF: a segment
// load shows the stored aux values in both places, so that a pattern read
// back through the station keeps its aux values.
#pragma once

#include "channel.h"
#include "model.h"
#include "pattern_window.h"

namespace qelsim {

class Qel2400Model final : public Chamber {
public:
    explicit Qel2400Model(const ChamberConfig& config);

    QString model() const override { return "QEL2400"; }
    int channelCount() const override { return 3; }
    void pressKey(int channel, int key) override;

    const Channel& channel(int channel) const { return ch_[channel - 1]; }

protected:
    void onWrite(int address, uint16_t value) override;
    void advance(double seconds) override;
    void adoptMap() override;

private:
    ChannelSettings settings(int index) const;
    void start(int index);
    void refresh();
    void seed();

    PatternWindow patterns_;
    std::vector<Channel> ch_;
};

}  // namespace qelsim
