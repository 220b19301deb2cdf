// Trend and pattern graph settings: SetScreensGraphInfo.ini (per chamber
// "Set_<c>", and "PATTERN_Set") and SetGraphInfo.ini (section "Line", the
// colours shared by all chambers).
#pragma once

#include "settings_state.h"

#include <array>
#include <cstdint>

namespace qel {

// With Which other than 99: GraphInfo(c) for c = 1 to 30 from section
// "Set_<c>": "MAX_c_n" (default 10), "Min_c_n" (0), "X_MAJOR_c", "Y_MAJOR_c",
// "COLOR_n_c" (n the trace, 1 to 9), "C_T_SP<c>". With 99 only the pattern
// graph's "PATTERN_Set" ("MAX", "Min", "X_MAJOR", "Y_MAJOR") into
// PatternGraph. 15-byte reads, size 10. A number too large for its integer
// ends the loader with "<description>modFunc.ReadDataGraph".
void ReadDataGraph(int which);

// The three station-wide trend colours, default 0 (black), into GraphLine.
// Raises RuntimeError "Overflow" for a value beyond 32 bits, for the caller's
// frame (the page's preparation).
void ReadGraphLineColors();

// What frmGraphSet holds for one chamber.
struct GraphSetChoice {
    std::array<int16_t, 3> max{};  // per channel
    std::array<int16_t, 3> min{};
    int16_t xMajor = 0;
    int16_t yMajor = 0;
    std::array<int, 3> decimalPlaces{};  // 0, 1, 2 per channel
    int16_t currentOrTargetSP = 0;
    TrendLineColors colors;
};

// frmGraphSet's store for chamber c: per channel "Min_c_i" and "MAX_c_i";
// "X_MAJOR_c", "Y_MAJOR_c"; SDP of each channel whose count changed;
// "C_T_SP<c>"; the three colours of SetGraphInfo.ini. The globals take the
// values as they are written. A chamber out of range, or a file that cannot
// be written, logs "<description>modFunc.ReadDataGraph" and ends the store
// there; what was written stays.
void StoreGraphSettings(int16_t chamber, const GraphSetChoice& choice);

// The three shared colours: GraphLine and SetGraphInfo.ini, section "Line",
// keys "BackColor", "TimeColor", "GridColor" as decimal numbers. Raises
// RuntimeError when the file cannot be written.
void StoreGraphLineColors(const TrendLineColors& colors);

// frmGraphSet for the pattern graph: "PATTERN_Set" MAX, Min, X_MAJOR, Y_MAJOR.
// A failed write is logged under "modFunc.ReadDataGraph".
void StorePatternGraphScale(const PatternGraphScale& scale);

// The chamber page's colour key: trace 1 to 9 of the chamber, written at
// once as "COLOR_<trace>_<c>". Out of range: logged under
// "modFunc.ReadDataGraph", nothing stored.
void StoreTraceColor(int16_t chamber, int trace, int32_t color);

}  // namespace qel
