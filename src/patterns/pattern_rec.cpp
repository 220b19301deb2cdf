#include "pattern_rec.h"

namespace qel {

PatternRec Pattern;

int SegmentsOf(const PatternRec& record) {
    int n = 0;
    while (n < kPatternSegments && !record.SegTime[n].isEmpty()) ++n;
    return n;
}

}  // namespace qel
