// A chamber page (frmQEL2000_1 .. _30) as data and behaviour: what each of
// its controls shows, computed from the chamber's record, the settings and
// the language tables, and what its keys do. The page keeps no live data of
// its own: its controls (PageControls(chamber)) are rebuilt from ChamberRec
// on every poll; only the history list and the keys the operator changed
// last until the next refresh.
//
// Controls, by layout (ch is the channel, 1 to 3):
//
//  Whole page   frames QEL2000, QEL2100, QEL2200, QEL2300, QEL2400,
//               Full_Channel, Frame2, Frame3, Frame10 (DI names),
//               Frame11 (second board), frmHC; Command7(1) (DI names key),
//               Command6 (closes them), Setting, lblColor(1..9),
//               ButtColor(1..9), HCMV(1..2), lbl_HCMV, txtDIName(1..32),
//               Timer1 (value: the beep runs)
//  Full_Channel Full_PV(ch), Full_SP(ch), Full_MV(ch), Full_UNIT(ch),
//               Full_lbl_SP(ch), Full_lbl_MV(ch), Full_Chamber_Name(ch),
//               Full_Ch(ch), and the same with _CH2 behind the name
//               (Full_PV_CH2(ch) ..., Full_Ch2(ch))
//  QEL2000 family, one frame per channel: QEL2000 (ch 1), QEL2100 (ch 2),
//               QEL2400 (ch 3), each with
//               values  PV2000 SP2000 MV2000 UNIT2000 PTNo2000 PT_RPT2000
//                       SEG_RPT2000 PID_No2000 Run_Time2000 SEG_Time2000
//                       Start_Time2000 End_Time2000 lblFileName2000
//                       lbl_Chamber_Name2000 Operation2000
//               labels  lbl_PV2000 lbl_SP2000 lbl_MV2000 lbl_PTNo2000
//                       lbl_PTRPT2000 lbl_SegRPT2000 lbl_PIDNo2000
//                       lbl_RunTime2000 lbl_SegTime2000 lbl_StartTime2000
//                       lbl_EndTime2000
//               keys    RUN_Stop_Key2000 HOLD_Key2000 STEP_Key2000
//                       USER_Key2000 PT_Graph_Key2000 Record_Key2000
//                       Status_Lamp_ONOFF Change_Ch1 Change_Ch2 Change_Ch3
//               all indexed by the channel: "PV2000(2)"; and the lamps
//               Status_Lamp2000(1..105) (ch 1), Status_Lamp2100 (ch 2),
//               Status_Lamp2400 (ch 3)
//  QEL2200      PV2200 SP2200 MV2200 UNIT2200 lbl_PV2200 lbl_SP2200
//               lbl_MV2200 indexed 1 and 2; one pattern for both channels:
//               PTNo2200 PT_RPT2200 SEG_RPT2200 PID_No2200 Run_Time2200
//               SEG_Time2200 Start_Time2200 End_Time2200 lblFileName2200
//               lbl_Chamber_Name2200 Operation2200 and the labels
//               lbl_PTNo2200 ... lbl_EndTime2200, keys RUN_Stop_Key2200
//               HOLD_Key2200 STEP_Key2200 USER_Key2200 PT_Graph_Key2200
//               Record_Key2200, Status_Lamp_ONOFF(1), lamps Status_Lamp2200
//  QEL2300      three rooms: Frame36(1) high temperature (channel 1),
//               Frame36(3) exposure (channel 2), Frame36(2) low temperature
//               (channel 3), each with its caption lbl_Room2300(k) of the
//               same index; PV2300 SP2300 MV2300 UNIT2300 lbl_PV2300
//               lbl_SP2300 lbl_MV2300 indexed 1 to 3; PTNo2300 PT_RPT2300
//               PID_No2300 Run_Time2300 SEG_Time2300 Start_Time2300
//               End_Time2300 lblFileName2300 lbl_Chamber_Name2300 and their
//               labels; the keys as on the QEL2200 with 2300; lamps
//               Status_Lamp2300
#pragma once

#include "controls.h"
#include "operator.h"
#include "page_layout.h"
#include "trend_view.h"

#include <QList>
#include <QString>
#include <cstdint>
#include <functional>

namespace qel {

// The modal forms a page opens; the widget side shows them.
enum class PageForm { Operation, LampSelect, GraphSet, PatternGraph };

struct HistoryRow {
    QString time;  // "yyyy/mm/dd hh:mm:ss"
    QString text;
};

class ChamberPage {
public:
    ChamberPage(int16_t chamber, Operator& op);

    int16_t chamber() const { return chamber_; }
    ControlSet& controls() const;

    // On load: SetPageCaptions, Dis_Screens, the DI names, Frame11 by Board.
    void load();
    // The fixed labels from the QELForm table, each with two blanks behind.
    void SetPageCaptions();
    // The chamber's lamp tables read again, the layout of its model, and the
    // lamp field from the tables. A model outside the five leaves the frames
    // as they are.
    void Dis_Screens();

    // The refresh of the poll walk's page column: ReadComm_QEL2000 with the
    // channel count for QEL2000, QEL2100, QEL2400, ReadComm_QEL2200,
    // ReadComm_QEL2300; nothing for another model. A run-time failure is
    // logged "frmChamber<n>.ReadComm_Notify_Err" (".ReadComm_2300_Err").
    void refresh();
    void ReadComm_QEL2000(int16_t& channels);
    void ReadComm_QEL2200();
    void ReadComm_QEL2300();

    // The frame of channel `ch` (1 QEL2000, 2 QEL2100, 3 QEL2400), and `ch`
    // into status panel 3.
    void ShowChannelFrame(int ch);

    // From the poll block: FixMode of a channel changed; the end time of a
    // channel, "yyyy/mm/dd hh:mm" or "".
    void fixModeChanged(int ch, int16_t fixMode);
    void setEndTime(int ch, const QString& caption);

    // Status_History: every row added, oldest first (the grid's blank last
    // row is the view's).
    void addHistoryRow(const QString& time, const QString& text);
    const QList<HistoryRow>& history() const { return history_; }

    // A click on the control of that name ("RUN_Stop_Key2000(1)",
    // "PTNo2200", "Change_Ch2(1)"...). Clicks on other controls are ignored.
    void click(const QString& name);

    // CWGraph1 with its span, zoom and colour keys (Combo1, UpDown_Zoom,
    // Zoom_Cancel, ButtColor(i) are clicks and the span as above).
    TrendView& trend() { return trend_; }

    // Opens a modal form; unset, nothing opens.
    std::function<void(PageForm form, const QString& argument)> openForm;

private:
    void LayOutFrames();
    void LayOutLamps(page::Layout layout);
    // The lost or unused chamber; true when it was painted so.
    bool Dead(page::Layout layout);
    void PrintValues(page::Layout layout, int ch);
    void PrintPattern(page::Layout layout, int ch);
    bool StateAndKeys(page::Layout layout, int ch);
    bool StateAndKeys2300();
    void PrintTimes(page::Layout layout, int ch);
    void ShowTimes(page::Layout layout, int ch, bool start, bool end);
    void RunningKeys(page::Layout layout, int ch, bool holding);
    void StoppedKeys(page::Layout layout, int ch);
    void ModeChecks(int ch);
    // Key handlers (page_keys.cpp).
    void RunStopKey(const QString& name, int ch);
    void TwoStateKey(const QString& name);
    void SetPointClick(page::Layout layout, int ch);
    void PatternNumberClick(page::Layout layout, int ch);
    void OperationClick(int ch);
    void UnitClick(page::Layout layout, int ch);
    void OpenModal(PageForm form, const QString& argument);

    int16_t chamber_;
    Operator& op_;
    QList<HistoryRow> history_;
    TrendView trend_;
};

}  // namespace qel
