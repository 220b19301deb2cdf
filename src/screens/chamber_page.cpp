#include "chamber_page.h"

#include "errorlog.h"
#include "language.h"
#include "lamp_select.h"
#include "page_controls.h"
#include "page_layout.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "station_hooks.h"
#include "value_text.h"
#include "vbtext.h"

#include <algorithm>

namespace qel {

using namespace page;
using namespace Qt::Literals::StringLiterals;

namespace {

// The words of the stopped states, of which the refresh prints no times.
bool IsStopState(int status) {
    return status == 0 || status == 64 || status == 128 || status == 192 || status == 256;
}

// A time field of s seconds: hours of at least two digits, minutes, seconds.
QString TimeText(int32_t s) {
    const int32_t h = (s - s % 3600) / 3600;
    const int32_t rest = s % 3600;
    const int32_t m = (rest - rest % 60) / 60;
    return Format(h, QStringLiteral("##00")) + u':' + Format(m, QStringLiteral("00")) + u':' +
           Format(s % 60, QStringLiteral("00"));
}

}  // namespace

ChamberPage::ChamberPage(int16_t chamber, Operator& op) : chamber_(chamber), op_(op), trend_(chamber) {
    ControlSet& set = controls();
    set.clear();
    // A live value goes at once to the trend's legend and the large views.
    for (int ch = 1; ch <= 3; ++ch) {
        const int plot = (ch - 1) * 3;
        const char* const full[3] = {"Full_PV", "Full_SP", "Full_MV"};
        const char* const bases[3] = {"PV", "SP", "MV"};
        for (int i = 0; i < 3; ++i) {
            const bool fore = i == 0;
            const QString fullName = Indexed(QString::fromLatin1(full[i]), ch);
            set.addMirror(Indexed(QString::fromLatin1(bases[i]) + u"2000"_s, ch), {Indexed(u"lblColor"_s, plot + i + 1), fore});
            set.addMirror(Indexed(QString::fromLatin1(bases[i]) + u"2000"_s, ch), {fullName, fore});
            if (ch != 3) set.addMirror(fullName, {Indexed(QString::fromLatin1(full[i]) + u"_CH2"_s, ch), fore});
            set.addMirror(Indexed(QString::fromLatin1(bases[i]) + u"2200"_s, ch), {Indexed(u"lblColor"_s, plot + i + 1), fore});
            set.addMirror(Indexed(QString::fromLatin1(bases[i]) + u"2300"_s, ch), {Indexed(u"lblColor"_s, plot + i + 1), fore});
        }
        if (ch != 3) set.addMirror(Indexed(u"MV2000"_s, ch), {Indexed(u"HCMV"_s, ch)});
        // The large view of a channel carries its state line too.
        set.addMirror(Indexed(u"lbl_Chamber_Name2000"_s, ch), {Indexed(u"Full_Chamber_Name"_s, ch), false, true});
    }
    set.setVisible(u"Frame10"_s, false);
    set.setVisible(u"Status_History"_s, true);
    // No key before the first refresh has told what state the chamber is in:
    // a run key offered then could only guess between start and stop.
    for (const Layout layout : {Layout::Family, Layout::L2200, Layout::L2300})
        for (int ch = 1; ch <= (layout == Layout::Family ? 3 : 1); ++ch)
            for (const char* key : {"RUN_Stop_Key", "HOLD_Key", "STEP_Key", "USER_Key", "PT_Graph_Key"})
                set.setVisible(Name(layout, QString::fromLatin1(key), ch), false);
}

ControlSet& ChamberPage::controls() const { return PageControls(chamber_); }

void ChamberPage::load() {
    ControlSet& set = controls();
    try {
        SetPageCaptions();
        Dis_Screens();
        const int c = ChamberIndex(chamber_);
        for (int k = 1; k <= 32; ++k) set.setCaption(Indexed(u"txtDIName"_s, k), DIErrorName[c][k - 1]);
        if (ChamberBoard[c] == u"0") set.setVisible(u"Frame11"_s, false);
        if (ChamberBoard[c] == u"1") set.setVisible(u"Frame11"_s, true);
        for (int ch = 1; ch <= 3; ++ch) {
            const QString unit = ChamberUnit[ch - 1][c];
            set.setCaption(Indexed(u"UNIT2000"_s, ch), unit);
            set.setCaption(Indexed(u"Full_UNIT"_s, ch), unit);
            set.setCaption(Indexed(u"Full_UNIT_CH2"_s, ch), unit);
            if (ch <= 2) set.setCaption(Indexed(u"UNIT2200"_s, ch), unit);
            set.setCaption(Indexed(u"UNIT2300"_s, ch), unit);
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), PageLogName(chamber_, u".Form_Load_Err"_s));
    }
}

void ChamberPage::SetPageCaptions() {
    ControlSet& set = controls();
    auto form = [](int key) { return Lang(u"QELForm"_s, key); };
    for (const FixedCaption& f : kFixedCaptions) {
        const QString base = QString::fromLatin1(f.base);
        const QString text = form(f.key) + (f.label ? u"  "_s : QString());
        for (const Layout layout : {Layout::Family, Layout::L2200, Layout::L2300}) {
            const int count = layout == Layout::Family ? 3 : f.perChannel ? ChannelsOf(layout) : 1;
            for (int ch = 1; ch <= count; ++ch)
                set.setCaption(f.perChannel ? ValueName(layout, base, ch) : Name(layout, base, ch), text);
        }
    }
    for (int ch = 1; ch <= 3; ++ch) {
        set.setCaption(Indexed(u"Full_lbl_SP"_s, ch), form(2) + u"  "_s);
        set.setCaption(Indexed(u"Full_lbl_MV"_s, ch), form(3) + u"  "_s);
        set.setCaption(Indexed(u"Full_lbl_SP_CH2"_s, ch), form(2) + u"  "_s);
        set.setCaption(Indexed(u"Full_lbl_MV_CH2"_s, ch), form(3) + u"  "_s);
        set.setCaption(Indexed(u"Full_Ch"_s, ch), form(22 + ch));
        set.setCaption(Indexed(u"Full_Ch2"_s, ch), form(22 + ch));
        set.setCaption(Indexed(u"Status_Lamp_ONOFF"_s, ch), form(19));
        for (int to = 1; to <= 3; ++to)
            set.setCaption(Indexed(QStringLiteral("Change_Ch%1").arg(to), ch), form(22 + to));
    }
    set.setCaption(u"lbl_HCMV"_s, form(28) + u"  "_s);
    set.setCaption(u"Setting"_s, form(20));
    set.setCaption(Indexed(u"Command7"_s, 1), form(21));
    set.setCaption(u"Command6"_s, form(22));
    set.setCaption(Indexed(u"lbl_Room2300"_s, 1), form(31));
    set.setCaption(Indexed(u"lbl_Room2300"_s, 2), form(32));
    set.setCaption(Indexed(u"lbl_Room2300"_s, 3), form(34));
    set.setCaption(u"CWGraph1"_s, form(35));
    set.setCaption(u"UpDown_Zoom"_s, form(29));
    set.setCaption(u"Zoom_Cancel"_s, form(30));
}

void ChamberPage::Dis_Screens() {
    try {
        ReadLampSelect(chamber_);  // logs its own failure; what it read stays
        LayOutFrames();
        trend_.setUp();
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), u"modFunc.Dis_Screens_Err"_s);
    }
}

void ChamberPage::LayOutFrames() {
    ControlSet& set = controls();
    const int c = ChamberIndex(chamber_);
    const QString& model = ChamberModel[c];
    const Layout layout = LayoutOf(model);
    if (layout == Layout::None) return;  // a name outside the five leaves the frames as they are
    auto show = [&](const char* name, bool on) { set.setVisible(QString::fromLatin1(name), on); };
    const bool zz = Val(ChamberVariant[c]) != 0;
    show("QEL2000", layout == Layout::Family);
    show("QEL2100", model == u"QEL2100" || model == u"QEL2400");
    show("QEL2200", layout == Layout::L2200);
    show("QEL2300", layout == Layout::L2300);
    show("QEL2400", model == u"QEL2400");
    show("Full_Channel", model == u"QEL2100" || model == u"QEL2400");
    show("Frame2", model == u"QEL2000" ? zz : true);
    show("Frame3", layout == Layout::L2300 || model == u"QEL2400");
    show("Frame10", false);
    const bool hc = layout == Layout::Family && (model != u"QEL2000" || zz);  // the heat-cool output
    show("frmHC", hc);
    if (layout == Layout::Family) {
        const int channels = ChannelCountOf(model);
        set.setVisible(Indexed(u"Command7"_s, 1), model != u"QEL2000");
        // Keys to a channel the model lacks lead nowhere: hidden with it.
        for (int ch = 1; ch <= 3; ++ch) {
            for (int to = 1; to <= 3; ++to)
                set.setVisible(Indexed(QStringLiteral("Change_Ch%1").arg(to), ch), channels > 1 && to <= channels);
            set.setVisible(Indexed(u"Full_Ch"_s, ch), ch <= channels);
        }
        set.setVisible(Indexed(u"lblColor"_s, 6), hc || channels >= 2);
        set.setVisible(Indexed(u"ButtColor"_s, 6), hc || channels >= 2);
    }
    LayOutLamps(layout);
}

// The lamp field: every lamp of the layout hidden, then the selected entries
// of the chamber's lamp tables fill the lamps from the first, with the
// entries' names. The field lays out entries 1 to 92 of each table, as the
// page always has; event detection paints them.
void ChamberPage::LayOutLamps(Layout layout) {
    ControlSet& set = controls();
    LogRec& log = Log[ChamberIndex(chamber_)];
    const int sets = layout == Layout::Family ? 3 : 1;
    for (int s = 1; s <= sets; ++s) {
        const QString lamp = LampSetName(layout, s);
        const LampTable& table = layout == Layout::Family ? log.Lamp2000[s - 1]
                                 : layout == Layout::L2200 ? log.Lamp2200
                                                           : log.Lamp2300;
        for (int i = 1; i <= kLampEntries; ++i) set.setVisible(Indexed(lamp, i), false);
        int shown = 0;
        for (int i = 1; i <= 92; ++i) {
            if (LampFlag(table[i]) == 0) continue;
            const QString name = Indexed(lamp, ++shown);
            set.setCaption(name, LampLabel(table[i]));
            set.setVisible(name, true);
            // A lamp starts dark; a later lay-out keeps the colour event detection gave it.
            if (!set.get(name).back.isSet()) set.setBack(name, colors::kBlack);
        }
    }
}

void ChamberPage::ShowChannelFrame(int ch) {
    ControlSet& set = controls();
    set.setVisible(u"QEL2000"_s, ch == 1);
    set.setVisible(u"QEL2100"_s, ch == 2);
    set.setVisible(u"QEL2400"_s, ch == 3);
    if (ch == 1) set.setVisible(u"Full_Channel"_s, false);
    StatusPanel3 = QString::number(ch);
}

void ChamberPage::fixModeChanged(int ch, int16_t fixMode) {
    const Layout layout = LayoutOf(ChamberModel[ChamberIndex(chamber_)]);
    if (layout == Layout::None || layout == Layout::L2300) return;
    static const char* const fields[] = {"lbl_PTNo", "lbl_PTRPT", "lbl_SegTime", "lbl_SegRPT",
                                         "PTNo",     "PT_RPT",    "SEG_Time",    "SEG_RPT"};
    for (const char* f : fields) controls().setVisible(Name(layout, QString::fromLatin1(f), ch), fixMode == 0);
}

void ChamberPage::setEndTime(int ch, const QString& caption) { SetLayoutCaption(chamber_, u"End_Time"_s, ch, caption); }

void ChamberPage::addHistoryRow(const QString& time, const QString& text) { history_.append({time, text}); }

// --- refresh ----------------------------------------------------------------

void ChamberPage::refresh() {
    const QString& model = ChamberModel[ChamberIndex(chamber_)];
    if (model == u"QEL2200") {
        ReadComm_QEL2200();
    } else if (model == u"QEL2300") {
        ReadComm_QEL2300();
    } else if (LayoutOf(model) == Layout::Family) {
        int16_t channels = Chamber[ChamberIndex(chamber_)].ChannelCount;
        ReadComm_QEL2000(channels);
    }
}

bool ChamberPage::Dead(Layout layout) {
    const int c = ChamberIndex(chamber_);
    const bool unused = !SlotInUse(chamber_);
    if (!unused && CommError[c] != -1) return false;
    ControlSet& set = controls();
    const QString caption = u"  ["_s + ChamberName[c] + u"]  "_s;
    const int names = layout == Layout::Family ? 3 : 1;
    for (int ch = 1; ch <= names; ++ch) {
        const QString name = Name(layout, u"lbl_Chamber_Name"_s, ch);
        if (unused) {
            set.setCaption(name, caption);
            set.setBack(name, layout == Layout::L2300 ? colors::kHighlight
                                                      : set.get(Name(layout, u"Operation"_s, ch)).back);
        } else {
            set.setCaption(name, caption + Lang(u"PublicForm"_s, 1));
            set.setBack(name, colors::kRed);
        }
        for (const char* key : {"RUN_Stop_Key", "HOLD_Key", "STEP_Key", "USER_Key", "PT_Graph_Key"})
            set.setVisible(Name(layout, QString::fromLatin1(key), ch), false);
    }
    // The QEL2200 writes its dashes onto the QEL2000 labels and leaves its
    // own showing the last values: the page has always done so.
    const Layout dashes = layout == Layout::L2200 ? Layout::Family : layout;
    for (int ch = 1; ch <= 3; ++ch)
        for (const char* v : {"PV", "SP", "MV"}) set.setCaption(ValueName(dashes, QString::fromLatin1(v), ch), u"-.-"_s);
    const int sets = layout == Layout::Family ? 3 : 1;
    for (int s = 1; s <= sets; ++s)
        for (int i = 1; i <= kLampEntries; ++i) set.setBack(Indexed(LampSetName(layout, s), i), colors::kBlack);
    return true;
}

void ChamberPage::PrintValues(Layout layout, int ch) {
    ControlSet& set = controls();
    const ChamberRec& r = Chamber[ChamberIndex(chamber_)];
    const int k = ch - 1;
    const QString pv = ValueName(layout, u"PV"_s, ch);
    const ShownValue v = PVLook(r, ch, r.DP[k], layout == Layout::L2200 && ch == 2);
    set.setCaption(pv, v.text);
    set.setFore(pv, v.fore);
    const bool target = layout != Layout::L2300 && GraphInfo[static_cast<size_t>(chamber_)].CurrentOrTargetSP != 0;
    set.setCaption(ValueName(layout, u"SP"_s, ch), ScreenValue(target ? r.TSP[k] : r.SP[k], r.DP[k]));
    set.setCaption(ValueName(layout, u"MV"_s, ch), Format(r.MV[k], QString::fromLatin1(kMvPicture)));
}

// The keys of a running channel, shown by their switches, and its times.
void ChamberPage::RunningKeys(Layout layout, int ch, bool holding) {
    ControlSet& set = controls();
    const QString run = Name(layout, u"RUN_Stop_Key"_s, ch);
    const QString hold = Name(layout, u"HOLD_Key"_s, ch);
    set.setValue(run, false);
    set.setVisible(run, DisbuttonStop == 1);
    set.setVisible(Name(layout, u"STEP_Key"_s, ch), DisbuttonAdv == 1);
    set.setValue(hold, holding);
    set.setVisible(hold, DisbuttonHold == 1);
    ShowTimes(layout, ch, true, true);
}

// A channel that stands: the run key to start it, no hold or step, no times.
void ChamberPage::StoppedKeys(Layout layout, int ch) {
    ControlSet& set = controls();
    const QString run = Name(layout, u"RUN_Stop_Key"_s, ch);
    set.setValue(run, true);
    set.setVisible(run, DisbuttonRun == 1);
    set.setVisible(Name(layout, u"HOLD_Key"_s, ch), false);
    set.setVisible(Name(layout, u"STEP_Key"_s, ch), false);
    ShowTimes(layout, ch, false, false);
}

void ChamberPage::ShowTimes(Layout layout, int ch, bool start, bool end) {
    ControlSet& set = controls();
    set.setVisible(Name(layout, u"Start_Time"_s, ch), start);
    set.setVisible(Name(layout, u"lbl_StartTime"_s, ch), start);
    set.setVisible(Name(layout, u"End_Time"_s, ch), end);
    set.setVisible(Name(layout, u"lbl_EndTime"_s, ch), end);
}

void ChamberPage::PrintTimes(Layout layout, int ch) {
    const ChamberRec& r = Chamber[ChamberIndex(chamber_)];
    const int k = ch - 1;
    controls().setCaption(Name(layout, u"Run_Time"_s, ch), TimeText(r.RunTime[k]));
    controls().setCaption(Name(layout, u"SEG_Time"_s, ch), TimeText(r.SegTime[k]) + u'/' + TimeText(r.SegTimeSet[k]));
}

// Word and keys of the QEL2000 family and the QEL2200 by the status word;
// false when the channel stands, so that its times are not printed.
bool ChamberPage::StateAndKeys(Layout layout, int ch) {
    ControlSet& set = controls();
    const int c = ChamberIndex(chamber_);
    const ChamberRec& r = Chamber[c];
    const int status = r.Status[ch - 1];
    const int word = StateKey(status, r.FixMode[ch - 1]);
    if (word == 0) return true;  // a status no word is named for changes nothing
    const QString name = Name(layout, u"lbl_Chamber_Name"_s, ch);
    set.setCaption(name, u"  ["_s + ChamberName[c] + u"]  "_s + Lang(u"PublicForm"_s, word));
    const QString run = Name(layout, u"RUN_Stop_Key"_s, ch);
    const QString hold = Name(layout, u"HOLD_Key"_s, ch);
    const QString step = Name(layout, u"STEP_Key"_s, ch);
    const QString graph = Name(layout, u"PT_Graph_Key"_s, ch);
    if (IsStopState(status)) {
        StoppedKeys(layout, ch);
        set.setVisible(graph, false);
        set.setCaption(Name(layout, u"Start_Time"_s, ch), QString());
        set.setCaption(Name(layout, u"End_Time"_s, ch), QString());
        return false;
    }
    switch (status) {
        case 1:
        case 65:
            RunningKeys(layout, ch, false);
            set.setVisible(graph, true);  // the program run is the one state with a pattern to draw
            break;
        case 2:
            set.setValue(run, false);
            set.setVisible(run, DisbuttonStop == 1);
            set.setVisible(hold, false);
            set.setVisible(step, false);
            set.setVisible(graph, false);
            ShowTimes(layout, ch, true, r.EndShown[ch - 1] != 0);
            break;
        case 5:
            set.setValue(run, false);
            set.setVisible(run, DisbuttonStop == 1);
            set.setValue(hold, true);
            set.setVisible(hold, DisbuttonHold == 1);
            set.setVisible(graph, false);
            break;
        default:  // 17, 18: the word alone
            break;
    }
    return true;
}

void ChamberPage::PrintPattern(Layout layout, int ch) {
    ControlSet& set = controls();
    const ChamberRec& r = Chamber[ChamberIndex(chamber_)];
    const int k = ch - 1;
    const QString wide = u"    /    "_s;
    set.setCaption(Name(layout, u"PTNo"_s, ch), QString::number(r.PTNo[k]) + wide + QString::number(r.SegNo[k]));
    set.setCaption(Name(layout, u"PT_RPT"_s, ch), QString::number(r.PTRpt[k]) + wide + QString::number(r.PTRptSet[k]));
    set.setCaption(Name(layout, u"SEG_RPT"_s, ch),
                   QString::number(r.SegRpt[k]) + u"    /  "_s + QString::number(r.SegRptSet[k]));
    set.setCaption(Name(layout, u"PID_No"_s, ch), QString::number(r.PIDNo[k]));
    set.setCaption(Name(layout, u"Operation"_s, ch), Lang(u"QELMessage"_s, r.FixMode[k] != 0 ? 9 : 8));
    const QString user = Name(layout, u"USER_Key"_s, ch);
    set.setVisible(user, true);
    set.setValue(user, r.UserKeyState[k] == 0);
}

void ChamberPage::ModeChecks(int ch) {
    if (Hooks.holdCheck) Hooks.holdCheck(chamber_, ch);
    if (Hooks.waitCheck) Hooks.waitCheck(chamber_, ch);
}

void ChamberPage::ReadComm_QEL2000(int16_t& channels) {
    try {
        if (Dead(Layout::Family)) return;
        ControlSet& set = controls();
        const int last = std::min<int>(channels, 3);
        for (int ch = 1; ch <= last; ++ch) {
            const QString name = Name(Layout::Family, u"lbl_Chamber_Name"_s, ch);
            set.setBack(name, set.get(Name(Layout::Family, u"Operation"_s, ch)).back);
            PrintValues(Layout::Family, ch);
            PrintPattern(Layout::Family, ch);
            if (StateAndKeys(Layout::Family, ch)) PrintTimes(Layout::Family, ch);
            ModeChecks(ch);
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), PageLogName(chamber_, u".ReadComm_Notify_Err"_s));
    }
}

void ChamberPage::ReadComm_QEL2200() {
    try {
        if (Dead(Layout::L2200)) return;
        ControlSet& set = controls();
        set.setBack(u"lbl_Chamber_Name2200"_s, set.get(u"Operation2200"_s).back);
        for (int ch = 1; ch <= 2; ++ch) PrintValues(Layout::L2200, ch);
        // Two channels run by one pattern: the pattern, state and keys are
        // the first channel's.
        PrintPattern(Layout::L2200, 1);
        if (StateAndKeys(Layout::L2200, 1)) PrintTimes(Layout::L2200, 1);
        ModeChecks(1);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), PageLogName(chamber_, u".ReadComm_Notify_Err"_s));
    }
}

void ChamberPage::ReadComm_QEL2300() {
    try {
        if (Dead(Layout::L2300)) return;
        ControlSet& set = controls();
        const int c = ChamberIndex(chamber_);
        const ChamberRec& r = Chamber[c];
        set.setBack(u"lbl_Chamber_Name2300"_s, colors::kHighlight);
        for (int ch = 1; ch <= 3; ++ch) PrintValues(Layout::L2300, ch);
        const QString wide = u"    /    "_s;
        set.setCaption(u"PTNo2300"_s, QString::number(r.PTNo[0]));
        set.setCaption(u"PT_RPT2300"_s, QString::number(r.PTRpt[0]) + wide + QString::number(r.PTRptSet[0]));
        set.setCaption(u"PID_No2300"_s, QString::number(r.PIDNo[0]) + wide + QString::number(r.PIDNo[1]) + wide +
                                             QString::number(r.PIDNo[2]));
        set.setVisible(u"USER_Key2300"_s, true);
        set.setValue(u"USER_Key2300"_s, r.UserKeyState[0] == 0);
        if (!StateAndKeys2300()) return;  // a room that stands ends the refresh here
        PrintTimes(Layout::L2300, 1);
        ModeChecks(1);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), PageLogName(chamber_, u".ReadComm_2300_Err"_s));
    }
}

// The QEL2300: the exposure room shows the room it is joined to.
bool ChamberPage::StateAndKeys2300() {
    ControlSet& set = controls();
    const int c = ChamberIndex(chamber_);
    const ChamberRec& r = Chamber[c];
    const int status = r.Status[0];
    const QString prefix = u"  ["_s + ChamberName[c] + u"]  "_s;
    auto word = [&](const QString& text) { set.setCaption(u"lbl_Chamber_Name2300"_s, prefix + text); };
    auto pub = [](int key) { return Lang(u"PublicForm"_s, key); };
    auto exposure = [&](Color color) {
        for (const char* n : {"Frame36(3)", "SP2300(2)", "MV2300(2)"}) set.setBack(QString::fromLatin1(n), color);
    };
    if (IsStopState(status)) {
        word(pub(status == 0 ? 10 : 8));
        StoppedKeys(Layout::L2300, 1);
        set.setVisible(u"Run_Time2300"_s, false);
        set.setVisible(u"SEG_Time2300"_s, false);
        exposure(Color::rgb(51, 153, 0));
        return false;
    }
    set.setVisible(u"Run_Time2300"_s, true);
    set.setVisible(u"SEG_Time2300"_s, true);
    if (status == 5 || status == 69) {
        word(pub(5));
        RunningKeys(Layout::L2300, 1, true);
    } else if (status == 17) {
        word(pub(6));
    } else if ((status == 1 || status == 65) && r.Side >= 0 && r.Side <= 2) {
        static const Color kSide[3] = {Color::rgb(255, 51, 153), Color::rgb(51, 153, 0), Color::rgb(51, 102, 255)};
        exposure(kSide[r.Side]);
        if (r.Side == 0) set.setCaption(u"MV2300(2)"_s, set.get(u"MV2300(1)"_s).caption);
        if (r.Side == 2) set.setCaption(u"MV2300(2)"_s, set.get(u"MV2300(3)"_s).caption);
        int key = 11 + r.Side;
        if (status == 65)
            key = 15 + r.Side;
        else if (r.SideAltA == 1 || r.SideAltB == 1)
            key = 18;
        if (r.SideMark == 1)
            word(r.Side == 0 ? pub(11) + u' ' + pub(19) : pub(19));
        else
            word(pub(key));
        RunningKeys(Layout::L2300, 1, false);
    }
    return true;
}

}  // namespace qel
