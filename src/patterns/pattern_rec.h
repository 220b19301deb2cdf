// The program pattern the station works on: one record, all text in
// engineering units ("25.0"), shared by the pattern editors, the transfers
// to and from the controllers and the .PTN files. Each model uses its own
// subset of the members; the QEL2300 gives some of them other meanings
// (rooms, defrost), noted per member.
#pragma once

#include <QString>
#include <array>
#include <cstdint>

namespace qel {

inline constexpr int kPatternSegments = 101;  // elements; the editor offers 100 rows
inline constexpr int kPatternLoops = 5;       // elements; four rows are transferred

using SegmentTexts = std::array<QString, kPatternSegments>;
using LoopTexts = std::array<QString, kPatternLoops>;

// The members in their order, which is also the order in a .PTN file.
struct PatternRec {
    QString PatternNo;
    QString StartSP;      // of the current channel (QEL2200: channel 1)
    QString StartSP2;     // QEL2200: channel 2
    QString StartType;    // list index "0", "1", "2"
    QString HeaderSpare;  // never written
    SegmentTexts SegSP;   // QEL2300: room temperatures Hi, Ex, Lo
    SegmentTexts SegSP2;  // QEL2200: channel 2; QEL2300: pre-heat/pre-cool per room
    SegmentTexts SegTime; // seconds; the first empty element ends the segments
    // Eight signal values per segment, two-digit numbers ("0" unset); on the
    // QEL2300 SegSignal1..3 are the time signals of the Hi, Ex and Lo rooms.
    SegmentTexts SegSignal1, SegSignal2, SegSignal3, SegSignal4, SegSignal5, SegSignal6, SegSignal7, SegSignal8;
    SegmentTexts SegAux1, SegAux2, SegAux3, SegAux4;  // not used by the QEL2200
    SegmentTexts SegUse;                    // "0" or "1"
    QString PatternRepeat;
    QString ChannelRepeat;
    QString EndMode;
    LoopTexts LoopStart;
    LoopTexts LoopEnd;
    LoopTexts LoopCount;
    QString SegmentCount;
    int32_t TotalTime = 0;  // seconds, set by the save transfers only
    QString RoomConfig;     // QEL2300 from here on
    QString EndMode2300;
    QString DefrostType;
    QString HiRoomMode;
    QString LoRoomMode;
    QString DefrostPeriod;
    QString DefrostTime;
    QString DefrostTemp;
};

// The working copy.
extern PatternRec Pattern;

// SegSignal1..8 and SegAux1..4 in their order.
std::array<SegmentTexts*, 8> SegSignals(PatternRec& record);
std::array<SegmentTexts*, 4> SegAuxes(PatternRec& record);

// The segments a record has: the count of SegTime elements before the first
// empty one.
int SegmentsOf(const PatternRec& record);

}  // namespace qel
