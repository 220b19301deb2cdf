// Names of a chamber page's controls by layout. The QEL2000, QEL2100 and
// QEL2400 share one layout of three channel frames whose controls are
// arrays by channel ("PTNo2000(2)"); the QEL2200 and QEL2300 have one of
// each, but their channel values are arrays too ("PV2200(2)").
#pragma once

#include <QString>
#include <cstdint>

namespace qel::page {

enum class Layout { None, Family, L2200, L2300 };

// By the exact model name; None for any other text.
Layout LayoutOf(const QString& model);

// Channel values a layout shows: 3, 2, 3 (0 for None).
int ChannelsOf(Layout layout);

// A control the family has per channel and the others once: "PTNo2000(2)",
// "PTNo2200".
QString Name(Layout layout, const QString& base, int ch);

// A channel value, an array on every layout: "PV2000(1)", "PV2300(3)".
QString ValueName(Layout layout, const QString& base, int ch);

// The lamp array: the family's per channel (1 Status_Lamp2000, 2
// Status_Lamp2100, 3 Status_Lamp2400), Status_Lamp2200, Status_Lamp2300.
QString LampSetName(Layout layout, int set);

// The error-log name of a page routine: "frmChamber3" and the tail.
QString PageLogName(int chamber, const QString& tail);

// The fixed labels and keys, captioned once from the QELForm table; labels
// get two blanks behind the text.
struct FixedCaption {
    const char* base;
    int key;
    bool perChannel;  // one per channel value on every layout
    bool label;
};
inline constexpr FixedCaption kFixedCaptions[] = {
    {"lbl_PV", 1, true, true},         {"lbl_SP", 2, true, true},        {"lbl_MV", 3, true, true},
    {"lbl_PTNo", 4, false, true},      {"lbl_PTRPT", 5, false, true},    {"lbl_SegRPT", 6, false, true},
    {"lbl_PIDNo", 7, false, true},     {"lbl_RunTime", 8, false, true},  {"lbl_SegTime", 9, false, true},
    {"lbl_StartTime", 10, false, true}, {"lbl_EndTime", 11, false, true}, {"lbl_Operation", 12, false, true},
    {"RUN_Stop_Key", 13, false, false}, {"HOLD_Key", 14, false, false},   {"STEP_Key", 15, false, false},
    {"USER_Key", 16, false, false},     {"PT_Graph_Key", 17, false, false}, {"Record_Key", 18, false, false},
};

}  // namespace qel::page
