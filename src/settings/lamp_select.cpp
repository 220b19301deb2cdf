#include "lamp_select.h"

#include "errorlog.h"
#include "profile.h"
#include "runtime_error.h"
#include "state.h"
#include "value_forms.h"
#include "vbtext.h"

#include <algorithm>
#include <limits>

namespace qel {

namespace {

// One item group of a layout: entries first..last are "label n" with
// n = i - offset.
struct Group {
    const char* label;
    int first;
    int last;
    int offset;
    bool secondBoard;
    bool input;  // a DI group
};

constexpr Group kLayout2100[] = {
    {"IS", 1, 16, 0, false, false},    {"TS", 17, 28, 16, false, false}, {"AL", 29, 36, 28, false, false},
    {"SAL", 37, 40, 36, false, false}, {"DI", 41, 56, 40, false, true},  {"DI", 57, 72, 40, true, true},
    {"D0", 73, 88, 72, false, false},  {"D0", 89, 104, 72, true, false},
};
constexpr Group kLayout2200[] = {
    {"IS", 1, 16, 0, false, false},   {"TS", 17, 28, 16, false, false}, {"AL", 29, 36, 28, false, false},
    {"DI", 37, 52, 36, false, true},  {"DI", 53, 68, 36, true, true},   {"D0", 69, 84, 68, false, false},
    {"D0", 85, 100, 68, true, false},
};
constexpr Group kLayout2300[] = {
    {"IS", 1, 12, 0, false, false},  {"TS", 13, 20, 12, false, false}, {"AL", 21, 28, 20, false, false},
    {"DI", 29, 44, 28, false, true}, {"DI", 45, 60, 28, true, true},   {"D0", 61, 76, 60, false, false},
    {"D0", 77, 92, 60, true, false},
};

template <size_t N>
const Group* FindIn(const Group (&layout)[N], int i) {
    for (const Group& g : layout)
        if (i >= g.first && i <= g.last) return &g;
    return nullptr;
}

const Group* GroupOf(LampForm form, int i) {
    switch (form) {
        case LampForm::Lamp2100:
            return FindIn(kLayout2100, i);
        case LampForm::Lamp2200:
            return FindIn(kLayout2200, i);
        case LampForm::Lamp2300:
            return FindIn(kLayout2300, i);
    }
    return nullptr;
}

struct LampFile {
    QString name;   // joined to AppPath with its own separator, as the files always were
    QString model;  // the model word of the sections
};

LampFile FileOf(LampForm form, int channel) {
    switch (form) {
        case LampForm::Lamp2200:
            return {QStringLiteral("/SetLamp_2200.ini"), QStringLiteral("QEL2200")};
        case LampForm::Lamp2300:
            return {QStringLiteral("/SetLamp_2300.ini"), QStringLiteral("QEL2300")};
        case LampForm::Lamp2100:
            break;
    }
    switch (channel) {
        case 2:
            return {QStringLiteral("/SetLamp_2100.ini"), QStringLiteral("QEL2100")};
        case 3:
            return {QStringLiteral("/SetLamp_2400.ini"), QStringLiteral("QEL2400")};
        default:
            return {QStringLiteral("/SetLamp_2000.ini"), QStringLiteral("QEL2000")};
    }
}

QString Section(const LampFile& file, int16_t chamber) { return file.model + u'_' + QString::number(chamber); }

QString LampKey(int i) { return QStringLiteral("Lamp %1").arg(i, 2, 10, QLatin1Char('0')); }

// How many lamp tables a chamber of the model has (0 for a model outside the
// five), and the form that serves it.
int TablesOfModel(const QString& model, LampForm* form) {
    if (!LampFormOf(model, form)) return 0;
    return *form == LampForm::Lamp2100 ? ChannelCountOf(model) : 1;
}

}  // namespace

bool LampFormOf(const QString& model, LampForm* form) {
    if (model == QLatin1String("QEL2000") || model == QLatin1String("QEL2100") || model == QLatin1String("QEL2400"))
        *form = LampForm::Lamp2100;
    else if (model == QLatin1String("QEL2200"))
        *form = LampForm::Lamp2200;
    else if (model == QLatin1String("QEL2300"))
        *form = LampForm::Lamp2300;
    else
        return false;
    return true;
}

int LampLayoutEntries(LampForm form) {
    switch (form) {
        case LampForm::Lamp2100:
            return 104;
        case LampForm::Lamp2200:
            return 100;
        case LampForm::Lamp2300:
            return 92;
    }
    return 0;
}

QString DefaultLampLabel(LampForm form, int i) {
    const Group* g = GroupOf(form, i);
    return g ? QLatin1String(g->label) + u' ' + QString::number(i - g->offset) : QString();
}

bool IsSecondBoardEntry(LampForm form, int i) {
    const Group* g = GroupOf(form, i);
    return g && g->secondBoard;
}

QString DefaultLampEntry(LampForm form, int i, const QString& board) {
    // Spares past the layout keep every section complete to entry 105, which
    // the loader and the forms read; unlabelled and not selected.
    if (i > LampLayoutEntries(form)) return QStringLiteral("=0");
    const bool off = IsSecondBoardEntry(form, i) && board == QLatin1String("0");
    return DefaultLampLabel(form, i) + (off ? QStringLiteral("=0") : QStringLiteral("=1"));
}

void ReadLampSelect(int16_t chamber) {
    try {
        const int c = ChamberIndex(chamber);
        LampForm form = LampForm::Lamp2100;
        const int tables = TablesOfModel(ChamberModel[c], &form);
        const int entries = form == LampForm::Lamp2300 ? 92 : kLampEntries;
        for (int channel = 1; channel <= tables; ++channel) {
            const LampFile file = FileOf(form, channel);
            const ProfileFile& ini = CachedProfileFile(SettingsPath(file.name));
            LampTable& table = LampTableOf(form, chamber, channel);
            for (int i = 1; i <= entries; ++i) {
                const QString text = ini.read(Section(file, chamber), LampKey(i), QStringLiteral("1"), 10, 10);
                table[static_cast<size_t>(i)] = CutAtTerminator(text.trimmed(), u'/');
            }
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modFunc.ReadLampSelect"));
    }
}

void WriteDefaultLampEntries(int16_t chamber, const QString& model, const QString& board) {
    LampForm form = LampForm::Lamp2100;
    const int tables = TablesOfModel(model, &form);
    for (int channel = 1; channel <= tables; ++channel) {
        const LampFile file = FileOf(form, channel);
        ProfileEditor ini(SettingsPath(file.name));
        for (int i = 1; i <= kLampEntries; ++i)
            ini.write(Section(file, chamber), LampKey(i), DefaultLampEntry(form, i, board) + u'/');
        SaveSettings(ini);
    }
}

QString LampLabel(const QString& entry) {
    // An entry without "=" is all label, so that storing it cannot fail.
    const qsizetype eq = entry.indexOf(u'=');
    return eq < 0 ? entry : entry.left(eq);
}

int LampFlag(const QString& entry) {
    const qsizetype eq = entry.indexOf(u'=');
    if (eq < 0) return 0;
    // Saturated: a flag no int holds ("DI 3=1e10" in a damaged lamp file) is
    // set, as its text says, not a conversion out of range.
    const double flag = Val(entry.mid(eq + 1));
    return static_cast<int>(std::clamp<double>(flag, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

LampTable& LampTableOf(LampForm form, int16_t chamber, int channel) {
    LogRec& log = Log[static_cast<size_t>(ChamberIndex(chamber))];
    switch (form) {
        case LampForm::Lamp2200:
            return log.Lamp2200;
        case LampForm::Lamp2300:
            return log.Lamp2300;
        case LampForm::Lamp2100:
            break;
    }
    return log.Lamp2000[static_cast<size_t>(ChannelIndex(channel))];
}

LampFormView LoadLampForm(LampForm form, int16_t chamber, int channel) {
    LampFormView view;
    try {
        const LampTable& table = LampTableOf(form, chamber, channel);
        const QString& board = ChamberBoard[static_cast<size_t>(ChamberIndex(chamber))];
        const bool set = board == QLatin1String("1") || board == QLatin1String("0");
        for (int i = 1; i <= kLampEntries; ++i) {
            const Group* g = GroupOf(form, i);
            const bool skipped = board == QLatin1String("0") && g && g->secondBoard && g->input;
            view.shown[static_cast<size_t>(i)] = !skipped;
            if (set && !skipped) view.on[static_cast<size_t>(i)] = LampFlag(table[static_cast<size_t>(i)]) != 0;
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("frmLampSelectCh1.Form_Load_Err"));
        return LampFormView{};
    }
    return view;
}

LampSwitches SelectAllLamps(LampForm form, const QString& board) {
    LampSwitches on{};
    const bool all = board == QLatin1String("1");
    if (!all && board != QLatin1String("0")) return on;
    for (int i = 1; i <= LampLayoutEntries(form); ++i) on[static_cast<size_t>(i)] = all || !IsSecondBoardEntry(form, i);
    return on;
}

QStringList StoreLampForm(LampForm form, int16_t chamber, int channel, const LampSwitches& on) {
    QStringList captions;
    try {
        LampTable& table = LampTableOf(form, chamber, channel);
        const LampFile file = FileOf(form, channel);
        ProfileEditor ini(SettingsPath(file.name));
        for (int i = 1; i <= kLampEntries; ++i) {
            QString& entry = table[static_cast<size_t>(i)];
            const QString label = LampLabel(entry);
            entry = label + (on[static_cast<size_t>(i)] ? QStringLiteral("=1") : QStringLiteral("=0"));
            if (on[static_cast<size_t>(i)]) captions << label;
            ini.write(Section(file, chamber), LampKey(i), entry + u'/');
        }
        SaveSettings(ini);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("frmLampSelectCh1.Command1_Click_Err"));
    }
    return captions;
}

}  // namespace qel
