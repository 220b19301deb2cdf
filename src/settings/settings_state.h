// Settings that the loaders of this library fill and the screens read, beside
// the chamber table and line settings of state.h. Plain globals for the same
// reason as there: one thread, changed only between two poll ticks.
#pragma once

#include <QString>
#include <array>
#include <cstdint>

namespace qel {

// Key "Language" of SetComm.ini: "KOR", "ENG" or "CHN" (first 3 characters).
extern QString Language;

// Section "ButtonSet" of SetComm.ini: 1 shows the key on the chamber pages,
// 0 hides it. Run: the run key of a stopped chamber; Stop: the same key while
// running; Adv: the step key; Hold: the hold key. Auto is read, never written.
extern int16_t DisbuttonRun;
extern int16_t DisbuttonStop;
extern int16_t DisbuttonAdv;
extern int16_t DisbuttonHold;
extern int16_t DisbuttonAuto;
extern int16_t DisplayStatus;  // 1 shows the DI alarm banner
extern int16_t DisplaySound;   // 1 lets the page beep

// Trend scales and colours of one chamber (SetScreensGraphInfo.ini, "Set_c").
// Arrays are 0-based: Max[0] is channel 1, Color[0] trace 1.
struct GraphInfoRec {
    std::array<int16_t, 3> Max{};
    std::array<int16_t, 3> Min{};
    int16_t XMajor = 0;
    int16_t YMajor = 0;
    std::array<int32_t, 9> Color{};  // 0x00BBGGRR
    int16_t CurrentOrTargetSP = 0;   // 0 current set point, else the target set point
};

// Indexed by the chamber number itself (1 to 30); 0 and 31 to 40 are spare.
extern std::array<GraphInfoRec, 41> GraphInfo;

// Section "PATTERN_Set": the scales of the pattern graph, read with Which = 99
// and applied to the graph when it opens.
struct PatternGraphScale {
    double Max = 10;
    double Min = 0;
    double XMajor = 0;
    double YMajor = 0;
};
extern PatternGraphScale PatternGraph;

// SetGraphInfo.ini, section "Line": one set for all chambers.
struct TrendLineColors {
    int32_t BackColor = 0;
    int32_t TimeColor = 0;
    int32_t GridColor = 0;
};
extern TrendLineColors GraphLine;

// DI error names, [chamber - 1][n - 1] for n = 1 to 32.
extern std::array<std::array<QString, 32>, 30> DIErrorName;

// Back to the values at program load (tests start from here).
void ResetSettingsState();

}  // namespace qel
