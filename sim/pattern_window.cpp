#include "pattern_window.h"

#include <algorithm>

namespace qelsim {

PatternWindow::PatternWindow(PatternWindowLayout layout, ReadRegister read, WriteRegister write)
    : layout_(std::move(layout)), reg_(std::move(read)), put_(std::move(write)) {}

void PatternWindow::load(int ch, int pattern, int segment, const std::vector<int>& window) {
    const auto item = items_.find({ch, pattern, segment});
    for (int r : window) {
        const bool stored = item != items_.end() && item->second.count(r);
        put_(r, stored ? item->second.at(r) : 0);
    }
}

int PatternWindow::segmentCount(int ch, int pattern) const {
    int n = 0;
    while (items_.count({ch, pattern, n + 1})) ++n;
    return n;
}

void PatternWindow::command(int command) {
    const PatternWindowLayout& l = layout_;
    const int ch = reg_(l.channel), p = reg_(l.pattern), seg = reg_(l.segment);
    if (command == 2) {
        if (seg != 0) load(ch, p, seg, l.segmentWindow);
        load(ch, p, 0, l.header);
        if (seg == 0 || l.tailWithEveryLoad) load(ch, p, 0, l.tail);
        put_(l.count, static_cast<uint16_t>(segmentCount(ch, p)));
    } else if (command == 3) {
        Item& item = items_[{ch, p, seg}];
        if (seg != 0) {
            for (int r : l.segmentWindow) item[r] = reg_(r);
        } else {
            for (int r : l.header) item[r] = reg_(r);
            for (int r : l.tail) item[r] = reg_(r);
        }
    } else if (command == 5) {
        const int from = reg_(l.from), to = reg_(l.to);
        for (auto it = items_.begin(); it != items_.end();) {
            const auto [c, pattern, s] = it->first;
            (void)s;
            it = c == ch && pattern >= from && pattern <= to ? items_.erase(it) : std::next(it);
        }
    }
}

std::vector<Segment> PatternWindow::program(int channelIndex, int pattern, const SetPoint& setPoint) const {
    std::vector<Segment> program;
    for (int s = 1; items_.count({channelIndex, pattern, s}); ++s) {
        const Item& item = items_.at({channelIndex, pattern, s});
        const auto at = [&](int r) { return item.count(r) ? item.at(r) : uint16_t{0}; };
        program.push_back({setPoint(at(layout_.segSp)), at(layout_.segHours) * 3600 + at(layout_.segRest)});
    }
    return program;
}

int PatternWindow::repeats(int channelIndex, int pattern) const {
    const auto tail = items_.find({channelIndex, pattern, 0});
    if (tail == items_.end() || !tail->second.count(layout_.patternRepeat)) return 1;
    return std::max(1, static_cast<int>(static_cast<int16_t>(tail->second.at(layout_.patternRepeat))));
}

}  // namespace qelsim
