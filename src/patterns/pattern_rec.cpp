#include "pattern_rec.h"

namespace qel {

PatternRec Pattern;

std::array<SegmentTexts*, 8> SegSignals(PatternRec& r) {
    return {&r.SegSignal1, &r.SegSignal2, &r.SegSignal3, &r.SegSignal4,
            &r.SegSignal5, &r.SegSignal6, &r.SegSignal7, &r.SegSignal8};
}

std::array<SegmentTexts*, 4> SegAuxes(PatternRec& r) { return {&r.SegAux1, &r.SegAux2, &r.SegAux3, &r.SegAux4}; }

int SegmentsOf(const PatternRec& record) {
    int n = 0;
    while (n < kPatternSegments && !record.SegTime[n].isEmpty()) ++n;
    return n;
}

}  // namespace qel
