// An overview screen (frmMain1 .. frmMain5) as data and behaviour: every
// chamber as one cell with its name, whether it is alive, and PV, SP and MV
// per channel. The five copies are five objects of this class; they differ
// in their number only, which sets the grid size and one QEL2300 rule. The
// screen holds no widget: the view copies its controls (controls()).
//
// Controls, n the chamber number (1 to the cell count):
//   cell kinds   CH1(n), CH2(n), CH3(n): one-, two- and three-channel cell;
//                one of them is visible for a chamber with a known model
//   insides      frm_CH1(n), frm_CH2_1(n), frm_CH2_2(n), frm_CH3(n)
//   working set  lbl_Chamber_Name_CH3(n), PV_CH3_k(n), SP_CH3_k(n),
//                MV_CH3_k(n) for k = 1..3: the only labels written
//   mirrors      lbl_Chamber_Name_CH1(n), lbl_Chamber_Name_CH2(n), PV_CH1(n),
//                SP_CH1(n), MV_CH1(n), PV_CH2_k(n), SP_CH2_k(n), MV_CH2_k(n)
//                for k = 1..2 follow the working label of their channel in
//                caption, fore and back colour; frm_CH1, frm_CH2_1 and
//                frm_CH2_2 follow the background of frm_CH3, so the cell
//                shown always has the colours of the three-channel cell
//   row labels   lbl_CH2_1(n), lbl_CH2_2(n), lbl_CH3_1(n) .. lbl_CH3_3(n)
//   headings     lbl_PV_CH3, lbl_SP_CH3, lbl_MV_CH3 (one set per screen)
//
// Status panels: HighlightCell writes the chosen chamber into panel 2,
// Form_Load writes "0" into panel 3.
#pragma once

#include "controls.h"

#include <QString>
#include <cstdint>

namespace qel {

// Cells of the overview for the number of chambers in use: 1 for one or
// none, 4 for 2-4, 9 for 5-9, 16 for 10-16, 25 for 17-25, 30 for 26-30. A
// count above 30 falls back to screen 1 (ScreenNoFor) and its 4 cells.
int OverviewCellsFor(int chambers);

// The full grid of screen 1..5: 4, 9, 16, 25, 30 cells. Other numbers are
// taken as the nearest screen.
int OverviewGridCells(int screenNo);

// The chamber of an indexed control name ("PV_CH3_2(7)" gives 7); 0 for a
// name without a numeric index.
int OverviewChamberOf(const QString& controlName);

class OverviewScreen {
public:
    // Screen 1..5 (others are taken as the nearest); all cell frames start hidden.
    explicit OverviewScreen(int screenNo);

    int screenNo() const { return screenNo_; }
    // The screen in use (ScreenNoFor(MaxChamberNo)) has the cells of the
    // chamber count; a screen not in use keeps its full grid.
    int cellCount() const;

    ControlSet& controls() { return controls_; }
    const ControlSet& controls() const { return controls_; }

    // SetOverviewCells(1, MaxChamberNo), then status panel 3 = "0". A
    // run-time failure is logged "frmMenu.Form_Load_Err".
    void Form_Load();

    // Prepares the cells first..last by the chambers' models: the headings,
    // the name caption "[model]", the cell kind and its row labels; a
    // chamber with a non-zero address starts with no name and "--.-". Cells
    // beyond cellCount() are passed over. Raises RuntimeError for a chamber
    // number outside 1..30 (Form_Load's frame logs it).
    void SetOverviewCells(int first, int last);

    // Repaints the cell of `chamber` from its record: alive, lost or unused.
    // A chamber beyond cellCount() has no cell and changes nothing; one
    // outside 1..30 is logged "frmMenu.ReadComm_Notify_Err".
    void ReadComm(int16_t& chamber);

    // Paints the outer frames of every cell in the button colour and those
    // of `chamber` red, and writes `chamber` into status panel 2.
    void HighlightCell(int chamber);

    // Paints the outer frames of every cell back in the button colour.
    void Form_GotFocus();

    // A click on the control of that name: a cell's frame, PV label or name
    // label selects the chamber (HighlightCell); true when it did. Other
    // names, and cells beyond cellCount(), do nothing.
    bool click(const QString& controlName);

private:
    void PrintPV(int chamber, int channel, const QString& dp, bool humidityRule);

    int screenNo_;
    ControlSet controls_;
};

}  // namespace qel
