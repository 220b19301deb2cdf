// frmGraphSet: the trend graph's scales and colours of one chamber, or the
// scales of the pattern graph (the form for 99).
//
// Controls: Graph_Max(1..3), Graph_Min(1..3) (whole numbers) in the frames
// MinMax_CH1..3 with their captions Frame1(0..2); Text1, Text2 (divisions of
// the time and value axes) in Frame1(3); Combo1(1..3) (decimal places
// 0..2 by list index); the switch CWButton1 (0 current, 1 target set point)
// between LabelSP(0) and LabelSP(1) in Frame2; in Frame3 the keys
// cmd_BackColor, cmd_GridColor, cmd_TimeColor, each beside the label that
// holds its colour as a decimal 0x00BBGGRR caption: lbl_BackColor, lbl_Grid,
// lbl_TimeColor; captions Label1(0..3), Label2(0..1); keys Command1 (store)
// and Command2 (close).
#pragma once

#include "modal_form.h"
#include "operator.h"

#include <cstdint>
#include <functional>

namespace qel {

class ScreenForms;

// The value of the form that serves the pattern graph.
inline constexpr int kPatternGraphForm = 99;

// Channel frames of the form for a model: the channel count of the model,
// and the channels the QEL2200 (2) and QEL2300 (3) pages show.
int GraphSetChannels(const QString& model);

class GraphSetForm final : public ModalForm {
public:
    // `which` 99: the pattern graph's scales. `applied` runs after a store of
    // a chamber's settings: the pages take the new scales and colours.
    explicit GraphSetForm(Operator& op, int which = 0, std::function<void()> applied = {});

    // The chamber from status panel 2; the fields from GraphInfo(c), DP of
    // the chamber and GraphLine, or from PatternGraph in the form for 99.
    // A chamber outside 1 to 30 shows no channel frame and a blank record;
    // its store is logged and writes nothing.
    void Form_Load() override;
    void click(const QString& name) override;
    // Graph_Max(i), Graph_Min(i): when the minimum is not below the maximum,
    // a warning "<Label1(0)>/<Label1(1)> Error" and the field that lost the
    // focus goes back to "300" (maximum) or "0" (minimum).
    void lostFocus(const QString& name) override;
    bool accepts(const QString& name, const QString& text) const override;

    int16_t chamber() const { return chamber_; }
    bool patternForm() const { return pattern_; }

    // Command1: the store for the chamber (StoreGraphSettings, then
    // `applied`) or, in the form for 99, only "PATTERN_Set"
    // (StorePatternGraphScale); then the form unloads. Failures are logged
    // "<description>modFunc.ReadDataGraph"; what was written before stays.
    void Command1_Click();
    void Command2_Click() { unload(); }

private:
    void chooseColor(const QString& label);
    void showColor(const QString& label, int32_t color);

    Operator& op_;
    bool pattern_;
    std::function<void()> applied_;
    int16_t chamber_ = 0;
};

// What a chamber's graph store changes on the pages: every page 1 to
// MaxChamberNo lays out its trend graph again from the settings (the new
// scales of its own chamber, the shared colours). Raises RuntimeError for the
// caller's frame.
void ApplyGraphSettings(ScreenForms& screens);

}  // namespace qel
