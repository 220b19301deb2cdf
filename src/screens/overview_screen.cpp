#include "overview_screen.h"

#include "errorlog.h"
#include "language.h"
#include "main_frame.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "value_text.h"
#include "vbtext.h"

#include <algorithm>
#include <array>

namespace qel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array<int, 5> kGridCells = {4, 9, 16, 25, 30};

constexpr Color kNameAlive = Color::rgb(0, 0, 128);
constexpr Color kInsideAlive = Color::rgb(0, 0, 32);
constexpr Color kUnused = Color::rgb(192, 192, 192);

// Names a cell's control: "PV_CH3_" and 2, 7 give "PV_CH3_2(7)".
QString Cell(const QString& base, int chamber) { return Indexed(base, chamber); }
QString Cell(const QString& base, int channel, int chamber) {
    return Indexed(base + QString::number(channel), chamber);
}

// Channels a cell shows by model; 1 for a name outside the five.
int CellChannels(const QString& model) {
    if (model == "QEL2100"_L1 || model == "QEL2200"_L1) return 2;
    if (model == "QEL2300"_L1 || model == "QEL2400"_L1) return 3;
    return 1;
}

}  // namespace

int OverviewCellsFor(int chambers) {
    if (chambers <= 1) return 1;
    if (chambers > kMaxChambers) return kGridCells[0];
    for (int cells : kGridCells)
        if (chambers <= cells) return cells;
    return kGridCells.back();
}

int OverviewGridCells(int screenNo) { return kGridCells[static_cast<size_t>(std::clamp(screenNo, 1, 5) - 1)]; }

int OverviewChamberOf(const QString& controlName) {
    const qsizetype open = controlName.indexOf(u'(');
    if (open < 0 || !controlName.endsWith(u')')) return 0;
    bool ok = false;
    const int n = controlName.mid(open + 1, controlName.size() - open - 2).toInt(&ok);
    return ok ? n : 0;
}

OverviewScreen::OverviewScreen(int screenNo) : screenNo_(std::clamp(screenNo, 1, 5)) {
    for (int n = 1; n <= kMaxChambers; ++n) {
        for (const QString& kind : {u"CH1"_s, u"CH2"_s, u"CH3"_s}) controls_.setVisible(Cell(kind, n), false);
        const auto mirror = [this, n](const QString& source, const QString& target) {
            controls_.addMirror(Cell(source, n), {Cell(target, n), true, true});
        };
        mirror(u"lbl_Chamber_Name_CH3"_s, u"lbl_Chamber_Name_CH1"_s);
        mirror(u"lbl_Chamber_Name_CH3"_s, u"lbl_Chamber_Name_CH2"_s);
        for (const QString& v : {u"PV"_s, u"SP"_s, u"MV"_s}) {
            mirror(v + u"_CH3_1"_s, v + u"_CH1"_s);
            mirror(v + u"_CH3_1"_s, v + u"_CH2_1"_s);
            mirror(v + u"_CH3_2"_s, v + u"_CH2_2"_s);
        }
        for (const QString& inside : {u"frm_CH1"_s, u"frm_CH2_1"_s, u"frm_CH2_2"_s})
            controls_.addMirror(Cell(u"frm_CH3"_s, n), {Cell(inside, n), false, true});
    }
}

int OverviewScreen::cellCount() const {
    if (ScreenNoFor(MaxChamberNo) == screenNo_) return OverviewCellsFor(MaxChamberNo);
    return OverviewGridCells(screenNo_);
}

void OverviewScreen::Form_Load() {
    try {
        SetOverviewCells(1, MaxChamberNo);
        StatusPanel3 = u"0"_s;
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), u"frmMenu.Form_Load_Err"_s);
    }
}

void OverviewScreen::SetOverviewCells(int first, int last) {
    controls_.setCaption(u"lbl_PV_CH3"_s, Lang(u"QELForm"_s, 1));
    controls_.setCaption(u"lbl_SP_CH3"_s, Lang(u"QELForm"_s, 2));
    controls_.setCaption(u"lbl_MV_CH3"_s, Lang(u"QELForm"_s, 3));
    const int cells = cellCount();
    for (int n = first; n <= last; ++n) {
        const int i = ChamberIndex(n);
        if (n > cells) continue;
        const QString& model = ChamberModel[i];
        controls_.setCaption(Cell(u"lbl_Chamber_Name_CH3"_s, n), u'[' + model + u']');
        const auto show = [this, n](int channels) {
            for (int k = 1; k <= 3; ++k) controls_.setVisible(Cell(u"CH"_s, k, n), k == channels);
        };
        const auto rows = [this, n](const QString& base, const QStringList& texts) {
            for (int k = 1; k <= texts.size(); ++k) controls_.setCaption(Cell(base, k, n), u'[' + texts[k - 1] + u']');
        };
        const QString mainForm = u"MainForm"_s;
        if (model == "QEL2000"_L1) {
            show(1);
        } else if (model == "QEL2100"_L1) {
            show(2);
            rows(u"lbl_CH2_"_s, {Lang(mainForm, 19), Lang(mainForm, 20)});
        } else if (model == "QEL2200"_L1) {
            show(2);
            rows(u"lbl_CH2_"_s, {u"CH1"_s, u"CH2"_s});
        } else if (model == "QEL2300"_L1) {
            show(3);
            rows(u"lbl_CH3_"_s, {u"CH1"_s, u"CH2"_s, u"CH3"_s});
        } else if (model == "QEL2400"_L1) {
            show(3);
            rows(u"lbl_CH3_"_s, {Lang(mainForm, 16), Lang(mainForm, 17), Lang(mainForm, 18)});
        }
        if (Val(ChamberAddress[i]) != 0) {
            controls_.setCaption(Cell(u"lbl_Chamber_Name_CH3"_s, n), QString());
            for (int k = 1; k <= 3; ++k) controls_.setCaption(Cell(u"PV_CH3_"_s, k, n), u"--.-"_s);
        }
    }
}

void OverviewScreen::PrintPV(int chamber, int channel, const QString& dp, bool humidityRule) {
    const ShownValue v = PVLook(Chamber[ChamberIndex(chamber)], channel, dp, humidityRule);
    const QString label = Cell(u"PV_CH3_"_s, channel, chamber);
    controls_.setCaption(label, v.text);
    controls_.setFore(label, v.fore);
}

void OverviewScreen::ReadComm(int16_t& chamber) {
    try {
        const int i = ChamberIndex(chamber);
        if (chamber > cellCount()) return;
        const int n = chamber;
        const QString name = Cell(u"lbl_Chamber_Name_CH3"_s, n);
        const QString inside = Cell(u"frm_CH3"_s, n);
        const bool inUse = Val(ChamberUse[i]) != 0;
        controls_.setCaption(name, u"  ["_s + ChamberName[i] + u']');
        if (!inUse || CommError[i] == -1) {
            controls_.setBack(name, inUse ? colors::kRed : kUnused);
            if (!inUse) controls_.setBack(inside, kUnused);
            for (int k = 1; k <= 3; ++k)
                for (const QString& v : {u"PV_CH3_"_s, u"SP_CH3_"_s, u"MV_CH3_"_s})
                    controls_.setCaption(Cell(v, k, n), u"-.-"_s);
            return;
        }
        controls_.setBack(name, kNameAlive);
        controls_.setBack(inside, kInsideAlive);

        const ChamberRec& r = Chamber[static_cast<size_t>(i)];
        const QString& model = ChamberModel[i];
        const bool qel2300 = model == "QEL2300"_L1;
        const bool targetSP = GraphInfo[static_cast<size_t>(n)].CurrentOrTargetSP != 0;
        const auto sp = [&r, targetSP](size_t k) { return targetSP ? r.TSP[k] : r.SP[k]; };
        const auto mv = [this, &r, n](int channel) {
            controls_.setCaption(Cell(u"MV_CH3_"_s, channel, n),
                                 Format(r.MV[static_cast<size_t>(channel - 1)], QString::fromLatin1(kMvPicture)));
        };

        PrintPV(n, 1, r.DP[0], false);
        controls_.setCaption(Cell(u"SP_CH3_"_s, 1, n), ScreenValue(sp(0), r.DP[0]));
        mv(1);
        const int channels = CellChannels(model);
        for (int ch = 2; ch <= channels; ++ch) {
            const size_t k = static_cast<size_t>(ch - 1);
            // A QEL2300 cell prints its other rooms with the places of the
            // first; the bigger screens keep each room's own places for PV.
            PrintPV(n, ch, qel2300 && screenNo_ == 1 ? r.DP[0] : r.DP[k], model == "QEL2200"_L1 && ch == 2);
            if (qel2300) {
                // Kept on purpose: the bigger screens have always shown room 3's SP on room 2's label.
                const int slot = ch == 3 && screenNo_ != 1 ? 2 : ch;
                controls_.setCaption(Cell(u"SP_CH3_"_s, slot, n), ScreenValue(r.SP[k], r.DP[0]));
            } else {
                controls_.setCaption(Cell(u"SP_CH3_"_s, ch, n), ScreenValue(sp(k), r.DP[k]));
            }
            mv(ch);
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), u"frmMenu.ReadComm_Notify_Err"_s);
    }
}

void OverviewScreen::HighlightCell(int chamber) {
    const int cells = cellCount();
    for (int n = 1; n <= cells; ++n)
        for (int k = 1; k <= 3; ++k)
            controls_.setBack(Cell(u"CH"_s, k, n), n == chamber ? colors::kRed : colors::kButtonFace);
    StatusPanel2 = QString::number(chamber);
}

void OverviewScreen::Form_GotFocus() {
    const int cells = cellCount();
    for (int n = 1; n <= cells; ++n)
        for (int k = 1; k <= 3; ++k) controls_.setBack(Cell(u"CH"_s, k, n), colors::kButtonFace);
}

bool OverviewScreen::click(const QString& controlName) {
    static const QStringList kClickable = {
        u"CH1"_s,
        u"CH2"_s,
        u"frm_CH1"_s,
        u"frm_CH2_1"_s,
        u"frm_CH2_2"_s,
        u"frm_CH3"_s,
        u"PV_CH1"_s,
        u"PV_CH2_1"_s,
        u"PV_CH2_2"_s,
        u"PV_CH3_1"_s,
        u"PV_CH3_2"_s,
        u"PV_CH3_3"_s,
        u"lbl_Chamber_Name_CH1"_s,
        u"lbl_Chamber_Name_CH2"_s,
        u"lbl_Chamber_Name_CH3"_s,
    };
    const int n = OverviewChamberOf(controlName);
    if (n < 1 || n > cellCount() || !kClickable.contains(controlName.left(controlName.indexOf(u'(')))) return false;
    HighlightCell(n);
    return true;
}

}  // namespace qel
