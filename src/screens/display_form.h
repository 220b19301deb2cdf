// frmDisplay: record interval, language, the keys the chamber pages show,
// the DI banner, the alarm sound and the exchange trace (SetComm.ini).
//
// Controls: GraphSampling (FileSave, seconds, digits only); Combo2 (the
// language: 0 Korean, 1 English, 2 Chinese); check boxes RunChkBtn,
// StopChkBtn, holdChkBtn, advChkBtn (DisbuttonRun, -Stop, -Hold, -Adv);
// switches DisChkBtn (DisplayStatus) and CWSound (DisplaySound); Combo1
// (CommDataSave by its list index, taken over at the click); labels and
// frames Frame1..Frame4, Label1..Label4; keys Command1 (store), Command2
// (close).
#pragma once

#include "modal_form.h"

#include <functional>

namespace qel {

class ScreenForms;

class DisplayForm final : public ModalForm {
public:
    // `recaption` runs when the store switches the language, after the tables
    // are loaded and before the key is written: the main frame, the overview
    // and the pages take the new captions.
    explicit DisplayForm(std::function<void()> recaption = {});

    void Form_Load() override;
    void listClick(const QString& name, int index) override;
    void click(const QString& name) override;
    bool accepts(const QString& name, const QString& text) const override;

    // Command1: StoreDisplaySettings with what the controls hold, then the
    // form unloads. A failed write is logged
    // "<description>frmCommSet.Command1_Click_Err" by the store, and the form
    // unloads all the same: what was written before it stays.
    void Command1_Click();
    // Command2: unloads without storing (a Combo1 click has already counted).
    void Command2_Click() { unload(); }

private:
    std::function<void()> recaption_;
};

// The language switch's re-captioning of the screens behind the main frame:
// the overview screen in use is laid out again for the chamber count, and
// every page 1 to MaxChamberNo takes its captions anew. Raises RuntimeError
// for the caller's frame.
void RecaptionScreens(ScreenForms& screens);

}  // namespace qel
