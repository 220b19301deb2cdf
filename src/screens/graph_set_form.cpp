#include "graph_set_form.h"

#include "errorlog.h"
#include "graph_settings.h"
#include "language.h"
#include "runtime_error.h"
#include "screen_forms.h"
#include "settings_state.h"
#include "state.h"
#include "value_forms.h"
#include "vbtext.h"

#include <QRegularExpression>
#include <algorithm>

namespace qel {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kLogName = u"modFunc.ReadDataGraph"_s;

QString Text(int key) { return Lang(u"GraphSetting"_s, key); }

constexpr struct {
    const char* control;
    int key;
} kCaptions[] = {
    {"Frame1(0)", 1},      {"Frame1(1)", 2},      {"Frame1(2)", 7}, {"Frame1(3)", 11},  {"Label1(0)", 3},
    {"Label1(1)", 4},      {"Label1(2)", 5},      {"Label1(3)", 6}, {"LabelSP(0)", 12}, {"LabelSP(1)", 13},
    {"Frame2", 14},        {"Frame3", 17},        {"Label2(0)", 8}, {"Label2(1)", 9},   {"cmd_BackColor", 15},
    {"cmd_GridColor", 16}, {"cmd_TimeColor", 18},
};

// The colour keys and the labels that hold their choice.
constexpr struct {
    const char* key;
    const char* label;
} kColorKeys[] = {
    {"cmd_BackColor", "lbl_BackColor"},
    {"cmd_GridColor", "lbl_Grid"},
    {"cmd_TimeColor", "lbl_TimeColor"},
};

QString Max(int i) { return Indexed(u"Graph_Max"_s, i); }
QString Min(int i) { return Indexed(u"Graph_Min"_s, i); }
QString Places(int i) { return Indexed(u"Combo1"_s, i); }

bool InRange(int chamber) { return chamber >= 1 && chamber <= kMaxChambers; }

// "Graph_Max(2)" gives "Graph_Max" and 2; 0 for another name.
int ScaleField(const QString& name, QString* base) {
    static const QRegularExpression re(u"^(Graph_Max|Graph_Min)\\(([1-3])\\)$"_s);
    const QRegularExpressionMatch m = re.match(name);
    if (!m.hasMatch()) return 0;
    *base = m.captured(1);
    return m.captured(2).toInt();
}

}  // namespace

int GraphSetChannels(const QString& model) {
    if (model == u"QEL2200") return 2;
    if (model == u"QEL2300") return 3;
    return ChannelCountOf(model);
}

GraphSetForm::GraphSetForm(Operator& op, int which, std::function<void()> applied)
    : op_(op), pattern_(which == kPatternGraphForm), applied_(std::move(applied)) {}

void GraphSetForm::Form_Load() {
    const double shown = Val(StatusPanel2);
    chamber_ = shown >= 0 && shown <= kMaxChambers ? static_cast<int16_t>(shown) : 0;
    title_ = Text(10);
    for (const auto& c : kCaptions) controls_.setCaption(QString::fromLatin1(c.control), Text(c.key));
    controls_.setCaption(u"Command1"_s, u"Save"_s);
    controls_.setCaption(u"Command2"_s, u"Close"_s);
    const QStringList places{u"0"_s, u"1"_s, u"2"_s};

    if (pattern_) {
        controls_.setCaption(Max(1), NumberText(PatternGraph.Max));
        controls_.setCaption(Min(1), NumberText(PatternGraph.Min));
        controls_.setCaption(u"Text1"_s, NumberText(PatternGraph.XMajor));
        controls_.setCaption(u"Text2"_s, NumberText(PatternGraph.YMajor));
        for (int i = 1; i <= 3; ++i) {
            controls_.setVisible(u"MinMax_CH"_s + QString::number(i), i == 1);
            controls_.setVisible(Places(i), false);
            setList(Places(i), places, -1);
        }
        for (const char* hidden : {"Frame2", "Frame3", "Label2(0)"})
            controls_.setVisible(QString::fromLatin1(hidden), false);
        controls_.setVisible(u"Label2(1)"_s, true);
        opened();
        return;
    }

    static const GraphInfoRec kBlank{};
    const GraphInfoRec& g = InRange(chamber_) ? GraphInfo[static_cast<size_t>(chamber_)] : kBlank;
    const int channels = InRange(chamber_) ? GraphSetChannels(ChamberModel[chamber_ - 1]) : 0;
    for (int i = 1; i <= 3; ++i) {
        const auto k = static_cast<size_t>(i - 1);
        controls_.setCaption(Max(i), QString::number(g.Max[k]));
        controls_.setCaption(Min(i), QString::number(g.Min[k]));
        controls_.setVisible(u"MinMax_CH"_s + QString::number(i), i <= channels);
        controls_.setVisible(Places(i), i <= channels);
        // A count beyond the list shows no item, and a store leaves it as it is.
        setList(Places(i), places, InRange(chamber_) ? static_cast<int>(Chamber[chamber_ - 1].DP[k].size()) : -1);
    }
    controls_.setCaption(u"Text1"_s, QString::number(g.XMajor));
    controls_.setCaption(u"Text2"_s, QString::number(g.YMajor));
    controls_.setValue(u"CWButton1"_s, g.CurrentOrTargetSP != 0);
    showColor(u"lbl_BackColor"_s, GraphLine.BackColor);
    showColor(u"lbl_Grid"_s, GraphLine.GridColor);
    showColor(u"lbl_TimeColor"_s, GraphLine.TimeColor);
    controls_.setVisible(u"Label2(1)"_s, false);
    opened();
}

void GraphSetForm::showColor(const QString& label, int32_t color) {
    controls_.setCaption(label, QString::number(color));
    controls_.setBack(label, Color::fromValue(color));
}

void GraphSetForm::chooseColor(const QString& label) {
    const double now = Val(text(label));
    int32_t color = now >= 0 && now <= 0xFFFFFF ? static_cast<int32_t>(now) : 0;
    if (op_.chooseColor(color)) showColor(label, color);
}

void GraphSetForm::click(const QString& name) {
    if (name == u"Command1") {
        Command1_Click();
    } else if (name == u"Command2") {
        Command2_Click();
    } else if (name == u"CWButton1") {
        // Taken over at once; the store writes the key.
        if (!pattern_ && InRange(chamber_))
            GraphInfo[static_cast<size_t>(chamber_)].CurrentOrTargetSP = checked(name) ? 1 : 0;
    } else {
        for (const auto& c : kColorKeys)
            if (name == QLatin1String(c.key) && !pattern_) chooseColor(QString::fromLatin1(c.label));
    }
}

void GraphSetForm::lostFocus(const QString& name) {
    QString base;
    const int i = ScaleField(name, &base);
    if (i == 0) return;
    if (Val(text(Min(i))) < Val(text(Max(i)))) return;
    const QString warning = text(u"Label1(0)"_s) + u'/' + text(u"Label1(1)"_s) + u" Error"_s;
    op_.message(warning, warning);
    setText(name, base == u"Graph_Max" ? u"300"_s : u"0"_s);
}

bool GraphSetForm::accepts(const QString& name, const QString& text) const {
    QString base;
    if (ScaleField(name, &base) != 0) return WholeNumberText(text, true, -32768, 32767);
    if (name == u"Text1" || name == u"Text2") return WholeNumberText(text, false, 0, 32767);
    return true;
}

void GraphSetForm::Command1_Click() {
    if (!isOpen()) return;
    if (pattern_) {
        StorePatternGraphScale({Val(text(Max(1))), Val(text(Min(1))), Val(text(u"Text1"_s)), Val(text(u"Text2"_s))});
        unload();
        return;
    }
    GraphSetChoice choice;
    try {
        for (int i = 1; i <= 3; ++i) {
            const auto k = static_cast<size_t>(i - 1);
            choice.max[k] = ToInt16(Val(text(Max(i))));
            choice.min[k] = ToInt16(Val(text(Min(i))));
            const int index = listIndex(Places(i));
            choice.decimalPlaces[k] =
                index >= 0 || !InRange(chamber_) ? index : static_cast<int>(Chamber[chamber_ - 1].DP[k].size());
        }
        choice.xMajor = ToInt16(Val(text(u"Text1"_s)));
        choice.yMajor = ToInt16(Val(text(u"Text2"_s)));
        choice.currentOrTargetSP = checked(u"CWButton1"_s) ? 1 : 0;  // the click has taken it over already
        choice.colors.BackColor = ToInt32(Val(text(u"lbl_BackColor"_s)));
        choice.colors.GridColor = ToInt32(Val(text(u"lbl_Grid"_s)));
        choice.colors.TimeColor = ToInt32(Val(text(u"lbl_TimeColor"_s)));
    } catch (const RuntimeError& e) {
        // A number too wide for its setting: nothing is written.
        ErrorTail(e.description(), kLogName);
        unload();
        return;
    }
    StoreGraphSettings(chamber_, choice);
    try {
        if (applied_) applied_();
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), kLogName);
    }
    unload();
}

void ApplyGraphSettings(ScreenForms& screens) {
    for (int c = 1; c <= std::min<int>(MaxChamberNo, kMaxChambers); ++c)
        if (ChamberPage* page = screens.page(c)) page->trend().setUp();
}

}  // namespace qel
