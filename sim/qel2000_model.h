// QEL2000 (one channel) and QEL2100 (two channels): one register layout,
// the second channel's registers present but idle on a QEL2000.
#pragma once

#include "channel.h"
#include "model.h"
#include "pattern_window.h"

namespace qelsim {

class Qel2000Model final : public Chamber {
public:
    // channels: 1 for a QEL2000, 2 for a QEL2100.
    Qel2000Model(const ChamberConfig& config, int channels);

    QString model() const override { return channels_ == 1 ? "QEL2000" : "QEL2100"; }
    int channelCount() const override { return channels_; }
    void pressKey(int channel, int key) override;

    const Channel& channel(int channel) const { return ch_[channel - 1]; }

protected:
    void onWrite(int address, uint16_t value) override;
    void advance(double seconds) override;
    void adoptMap() override;

private:
    // The pattern command window: channel 0x044B, pattern 0x044C, segment
    // 0x044D (0 the pattern itself), range 0x0450/0x0451, command 0x0452.
    // A load brings the header (0x0474..0x0477) always and the tail
    // (0x047D..0x048D) with the pattern level only. A stored pattern runs
    // when the run key starts a program with its number.
    PatternWindow patterns_;

    ChannelSettings settings(int index) const;
    void refresh();
    void seed();

    int channels_;
    std::vector<Channel> ch_;
};

}  // namespace qelsim
