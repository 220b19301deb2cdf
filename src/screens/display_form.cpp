#include "display_form.h"

#include "display_settings.h"
#include "errorlog.h"
#include "language.h"
#include "runtime_error.h"
#include "screen_forms.h"
#include "settings_state.h"
#include "state.h"
#include "value_forms.h"
#include "vbtext.h"

#include <algorithm>
#include <limits>

namespace qel {

using namespace Qt::Literals::StringLiterals;

namespace {

QString Text(int key) { return Lang(u"DisplaySet"_s, key); }

// The controls that carry a "DisplaySet" caption, with its key.
constexpr struct {
    const char* control;
    int key;
} kCaptions[] = {
    {"Frame1", 1},    {"Label2", 2}, {"Frame2", 3}, {"RunChkBtn", 4}, {"StopChkBtn", 5}, {"holdChkBtn", 6},
    {"advChkBtn", 7}, {"Label3", 8}, {"Label1", 9}, {"Frame3", 10},   {"Frame4", 11},    {"Label4", 15},
};

// The flag check boxes in the order the store compares them.
constexpr const char* kFlagBoxes[] = {"RunChkBtn", "StopChkBtn", "holdChkBtn", "advChkBtn"};

int LanguageIndex(const QString& language) {
    for (int i = 0; i < 3; ++i)
        if (LanguageOfIndex(i) == language) return i;
    return -1;
}

}  // namespace

DisplayForm::DisplayForm(std::function<void()> recaption) : recaption_(std::move(recaption)) {}

void DisplayForm::Form_Load() {
    title_ = Lang(u"MainForm"_s, 8);
    for (const auto& c : kCaptions) controls_.setCaption(QString::fromLatin1(c.control), Text(c.key));
    controls_.setCaption(u"Command1"_s, u"Save"_s);
    controls_.setCaption(u"Command2"_s, u"Close"_s);

    controls_.setCaption(u"GraphSampling"_s, QString::number(FileSave));
    // A language the list does not offer shows no item, and a store keeps it.
    setList(u"Combo2"_s, {Text(12), Text(13), Text(14)}, LanguageIndex(Language));
    const int16_t flags[] = {DisbuttonRun, DisbuttonStop, DisbuttonHold, DisbuttonAdv};
    for (int i = 0; i < 4; ++i) controls_.setValue(QString::fromLatin1(kFlagBoxes[i]), flags[i] != 0);
    controls_.setValue(u"DisChkBtn"_s, DisplayStatus != 0);
    controls_.setValue(u"CWSound"_s, DisplaySound != 0);
    // The trace is off or on; the list index is the value.
    setList(u"Combo1"_s, {u"OFF"_s, u"ON"_s}, CommDataSave);
    opened();
}

void DisplayForm::listClick(const QString& name, int index) {
    ModalForm::listClick(name, index);
    if (name == u"Combo1" && listIndex(name) >= 0) CommDataSave = static_cast<int16_t>(listIndex(name));
}

void DisplayForm::click(const QString& name) {
    if (name == u"Command1")
        Command1_Click();
    else if (name == u"Command2")
        Command2_Click();
}

bool DisplayForm::accepts(const QString& name, const QString& text) const {
    if (name == u"GraphSampling") return WholeNumberText(text, false, 0, std::numeric_limits<int32_t>::max());
    return true;
}

void DisplayForm::Command1_Click() {
    if (!isOpen()) return;
    DisplayChoice choice;
    try {
        choice.fileSave = ToInt32(Val(text(u"GraphSampling"_s)));
    } catch (const RuntimeError& e) {
        // A number beyond 32 bits fails the store's first step: nothing is written.
        ErrorTail(e.description(), u"frmCommSet.Command1_Click_Err"_s);
        unload();
        return;
    }
    const int language = listIndex(u"Combo2"_s);
    choice.language = language >= 0 ? LanguageOfIndex(language) : Language;
    choice.run = checked(u"RunChkBtn"_s) ? 1 : 0;
    choice.stop = checked(u"StopChkBtn"_s) ? 1 : 0;
    choice.hold = checked(u"holdChkBtn"_s) ? 1 : 0;
    choice.adv = checked(u"advChkBtn"_s) ? 1 : 0;
    choice.displayStatus = checked(u"DisChkBtn"_s) ? 1 : 0;
    choice.displaySound = checked(u"CWSound"_s) ? 1 : 0;
    StoreDisplaySettings(choice, recaption_);
    unload();
}

void RecaptionScreens(ScreenForms& screens) {
    const int last = std::min<int>(MaxChamberNo, kMaxChambers);
    screens.current().SetOverviewCells(1, last);
    for (int c = 1; c <= last; ++c)
        if (ChamberPage* page = screens.page(c)) page->SetPageCaptions();
}

}  // namespace qel
