// The keys and clickable labels of a chamber page.
#include "chamber_page.h"

#include "dec2hex.h"
#include "errorlog.h"
#include "language.h"
#include "remote_keys.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"
#include "user_tag.h"
#include "value_text.h"
#include "vbtext.h"

#include <QRegularExpression>

namespace qel {

using namespace page;
using namespace Qt::Literals::StringLiterals;

namespace {

QString Message(int key) { return Lang(u"QELMessage"_s, key); }

// "RUN_Stop_Key2000(2)" into "RUN_Stop_Key", the layout and channel 2;
// "PTNo2200" into "PTNo", the QEL2200 layout and channel 1.
struct ClickTarget {
    QString base;
    Layout layout = Layout::None;  // None: a control of the whole page
    int index = 1;
};

ClickTarget Parse(const QString& name) {
    static const QRegularExpression re(u"^(.*?)(2000|2200|2300)?(?:\\((\\d+)\\))?$"_s);
    const QRegularExpressionMatch m = re.match(name);
    ClickTarget t;
    t.base = m.captured(1);
    const QString model = m.captured(2);
    if (model == u"2000") t.layout = Layout::Family;
    if (model == u"2200") t.layout = Layout::L2200;
    if (model == u"2300") t.layout = Layout::L2300;
    if (!m.captured(3).isEmpty()) t.index = m.captured(3).toInt();
    return t;
}

}  // namespace

void ChamberPage::OpenModal(PageForm form, const QString& argument) {
    // The form polls from its own timer while it is open and starts the
    // main poll again when it closes.
    EnableReadComm(false);
    if (openForm)
        openForm(form, argument);
    else
        EnableReadComm(true);
}

void ChamberPage::click(const QString& name) {
    const ClickTarget t = Parse(name);
    const int ch = t.index;
    QString logName = PageLogName(chamber_, u"."_s + t.base + u"_Click_Err"_s);
    try {
        const int c = ChamberIndex(chamber_);
        const Layout layout = LayoutOf(ChamberModel[c]);
        // Only the keys of the layout in force answer.
        if (t.layout != Layout::None && t.layout != layout) return;
        if (t.base == u"RUN_Stop_Key") {
            RunStopKey(name, ch);
        } else if (t.base == u"HOLD_Key" || t.base == u"USER_Key") {
            TwoStateKey(name);
        } else if (t.base == u"STEP_Key") {
            if (op_.confirm(u"START STEP"_s, Message(5))) SetAdvMode(chamber_);
        } else if (t.base == u"PT_Graph_Key") {
            const QString pattern = controls().get(Name(layout, u"PTNo"_s, ch)).caption;
            if (Val(pattern) != 0)
                OpenModal(PageForm::PatternGraph, pattern);
            else
                op_.message(Lang(u"QELForm"_s, 17), Message(11));
        } else if (t.base == u"SP" && t.layout != Layout::L2300) {
            logName = PageLogName(chamber_, u".lblCurSP_Click_Err"_s);
            SetPointClick(layout, ch);
        } else if (t.base == u"PTNo" || (t.base == u"PT_RPT" && t.layout == Layout::L2200)) {
            PatternNumberClick(layout, ch);
        } else if (t.base == u"Operation" && t.layout != Layout::L2300) {
            if (t.layout == Layout::L2200) logName = PageLogName(chamber_, u".Label2_MouseUp_Err"_s);
            OperationClick(ch);
        } else if (t.base == u"Record_Key") {
            controls().setVisible(u"Status_History"_s, !controls().get(u"Status_History"_s).visible);
        } else if (t.base == u"Status_Lamp_ONOFF") {
            OpenModal(PageForm::LampSelect, QString());
        } else if (t.base == u"Setting") {
            OpenModal(PageForm::GraphSet, QString());
        } else if (t.base == u"UNIT") {
            UnitClick(layout, ch);
        } else if (t.base == u"Change_Ch1" || t.base == u"Change_Ch2" || t.base == u"Change_Ch3") {
            ShowChannelFrame(t.base.back().digitValue());
        } else if (t.base == u"Full_Ch" || t.base == u"Full_Ch2") {
            controls().setVisible(u"Full_Channel"_s, false);
            ShowChannelFrame(ch);
        } else if (t.base == u"Command7") {
            controls().setVisible(u"Frame10"_s, true);
            for (const char* f : {"QEL2000", "QEL2100", "QEL2200", "QEL2300", "QEL2400", "Full_Channel"})
                controls().setVisible(QString::fromLatin1(f), false);
        } else if (t.base == u"Command6") {
            for (int k = 1; k <= 32; ++k) controls().setBack(Indexed(u"txtDIName"_s, k), colors::kInfo);
            controls().setVisible(u"Frame10"_s, false);
            controls().setValue(u"Timer1"_s, false);
            Dis_Screens();  // the page shows its layout again
        } else if (t.base == u"lblColor") {
            controls().setValue(name, !controls().get(name).value);  // the plot's check box
        } else if (t.base == u"ButtColor") {
            trend_.chooseColor(t.index, op_);
        } else if (t.base == u"UpDown_Zoom") {
            trend_.zoomOn();
        } else if (t.base == u"Zoom_Cancel") {
            trend_.zoomCancel();
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), logName);
    }
}

void ChamberPage::RunStopKey(const QString& name, int ch) {
    const int c = ChamberIndex(chamber_);
    const int k = ChannelIndex(ch);
    ControlSet& set = controls();
    if (set.get(name).value) {  // the chamber stands
        if (CommError[c] == -1) return;
        if (!op_.confirm(u"RUN"_s, Message(2))) {
            set.setValue(name, true);
            return;
        }
        set.setValue(name, false);
        StartPattern[c][k] = QString::number(Chamber[c].PTNo[k]);
        GraphBlock[c][k] = 0;
        if (Chamber[c].FixMode[k] != 0)
            SetStartFix(chamber_);
        else
            SetStartPT(chamber_);
    } else {
        if (!op_.confirm(u"STOP"_s, Message(1))) {
            set.setValue(name, false);
            return;
        }
        set.setValue(name, true);
        SetStopMode(chamber_);
    }
}

// The hold and user keys: the question by the state the key shows.
void ChamberPage::TwoStateKey(const QString& name) {
    const bool on = controls().get(name).value;
    if (name.startsWith(u"HOLD_Key")) {
        if (on ? op_.confirm(u"HOLD STOP"_s, Message(4)) : op_.confirm(u"HOLD RUN"_s, Message(3)))
            SetHoldMode(chamber_, on ? 0 : 1);
        return;
    }
    if (!SlotInUse(chamber_)) return;
    if (on ? op_.confirm(u"RUN U-KEY"_s, Message(7)) : op_.confirm(u"STOP U-KEY"_s, Message(6)))
        SetUserKey(chamber_);
}

void ChamberPage::SetPointClick(Layout layout, int ch) {
    const int c = ChamberIndex(chamber_);
    const int k = ChannelIndex(ch);
    if (Chamber[c].FixMode[k] != 1) return;
    const QString answer = op_.input(u"Set SP"_s, Message(10), QString()).trimmed();
    if (answer.isEmpty()) return;
    const QString digits = Dec2Hex(static_cast<float>(Val(answer)), -1, chamber_);
    if (digits.isEmpty()) return;  // Dec2Hex has logged why
    QString reg;
    if (layout == Layout::L2200)
        reg = ch == 1 ? u"060513"_s : ch == 2 ? u"060514"_s : QString();
    else if (ChamberModel[c] == u"QEL2400")
        reg = u"06006"_s + QChar(u'A' + (ch - 1));
    else
        reg = u"06006"_s + QString::number(ch + 6);
    if (!reg.isEmpty()) SendCommand(chamber_, reg + digits, PageLogName(chamber_, u".lblCurSP_Click_Err"_s));
}

void ChamberPage::PatternNumberClick(Layout layout, int ch) {
    const int c = ChamberIndex(chamber_);
    if (!SlotInUse(chamber_) || CommError[c] == -1) return;
    const int k = layout == Layout::Family ? ChannelIndex(ch) : 0;
    if (Chamber[c].Status[k] & 3) {
        op_.message(u"Running"_s, Message(13));
        return;
    }
    const QString answer = op_.input(u"PT NO"_s, Message(12), QString()).trimmed();
    if (answer.isEmpty()) return;
    const QString digits = Dec2Hex(static_cast<float>(Val(answer)), 0, chamber_);
    if (digits.isEmpty()) return;
    QString reg;
    if (layout == Layout::L2200) {
        reg = u"060515"_s;  // pattern number and its repeat share the one register
    } else if (layout == Layout::L2300) {
        reg = u"060031"_s;
    } else if (ChamberModel[c] == u"QEL2400") {
        reg = u"06006"_s + QChar(u'D' + (ch - 1));
    } else if (ch <= 2) {
        reg = ch == 1 ? u"060063"_s : u"060064"_s;
    }
    if (!reg.isEmpty()) SendCommand(chamber_, reg + digits, PageLogName(chamber_, u".PTNo_Click_Err"_s));
}

void ChamberPage::OperationClick(int ch) {
    const int c = ChamberIndex(chamber_);
    if (!SlotInUse(chamber_) || CommError[c] == -1) {
        op_.message(u"Error"_s, Message(15));
        return;
    }
    const int shown = static_cast<int>(Val(StatusPanel3));
    if (shown >= 1 && shown <= 3 && (Chamber[c].Status[shown - 1] & 3)) {
        op_.message(u"Running"_s, Message(13));
        return;
    }
    // The dialog opens on fixed operation (1) or program operation (0).
    OpenModal(PageForm::Operation, Chamber[c].FixMode[ChannelIndex(ch)] != 0 ? u"1"_s : u"0"_s);
}

void ChamberPage::UnitClick(Layout layout, int ch) {
    const QString prompt = Lang(u"QELForm"_s, 33);
    const QString answer = op_.input(prompt, prompt, QString());
    if (answer.trimmed().isEmpty()) return;
    controls().setCaption(ValueName(layout, u"UNIT"_s, ch), answer);
    if (layout == Layout::Family) {
        controls().setCaption(Indexed(u"Full_UNIT"_s, ch), answer);
        controls().setCaption(Indexed(u"Full_UNIT_CH2"_s, ch), answer);
    }
    ChamberUnit[ChannelIndex(ch)][ChamberIndex(chamber_)] = answer;
    StoreUnit(chamber_, ch, answer);
}

}  // namespace qel
