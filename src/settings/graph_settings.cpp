#include "graph_settings.h"

#include "config_report.h"
#include "errorlog.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_report.h"
#include "state.h"
#include "user_tag.h"
#include "value_forms.h"
#include "vbtext.h"

namespace qel {

namespace {

const QString kScreens = QStringLiteral("SetScreensGraphInfo.ini");
const QString kLine = QStringLiteral("SetGraphInfo.ini");
const QString kLogName = QStringLiteral("modFunc.ReadDataGraph");

QString SetSection(int chamber) { return QStringLiteral("Set_") + QString::number(chamber); }

void WriteScreens(const QString& section, const QString& key, const QString& value) {
    WriteSetting(section, key, value, SettingsPath(kScreens));
}

}  // namespace

void ReadDataGraph(int which) {
    bool stopTold = false;  // why the loader ends early is told once
    try {
        const ProfileFile ini(SettingsPath(kScreens));
        if (const QString whole = FileProblem(ini, kScreens); !whole.isEmpty())
            ReportConfigProblem(whole + (which == 99 ? QStringLiteral(": the pattern graph uses the default scales")
                                                     : QStringLiteral(": the trend graphs use the default scales")));
        const auto text = [&ini](const QString& section, const QString& key, const char* def) {
            return ini.read(section, key, QLatin1String(def), 15, 10);
        };
        const auto number = [&text](const QString& section, const QString& key, const char* def) {
            return Val(text(section, key, def));
        };
        if (which == 99) {
            const QString s = QStringLiteral("PATTERN_Set");
            PatternGraph.Max = number(s, QStringLiteral("MAX"), "10");
            PatternGraph.Min = number(s, QStringLiteral("Min"), "0");
            PatternGraph.XMajor = number(s, QStringLiteral("X_MAJOR"), "");
            PatternGraph.YMajor = number(s, QStringLiteral("Y_MAJOR"), "");
            return;
        }
        // A number too wide for its 16 bits ends the loader.
        const auto int16 = [&](const QString& section, const QString& key, const char* def) {
            const QString t = text(section, key, def);
            try {
                return ToInt16(Val(t));
            } catch (const RuntimeError&) {
                ReportConfigProblem(OverflowProblem(kScreens, key, t, Val(t), -32768, 32767) +
                                    QStringLiteral(": %1 is read no further").arg(kScreens));
                stopTold = true;
                throw;
            }
        };
        for (int c = 1; c <= kMaxChambers; ++c) {
            GraphInfoRec& g = GraphInfo[static_cast<size_t>(c)];
            const QString s = SetSection(c);
            for (int n = 1; n <= 3; ++n)
                g.Max[static_cast<size_t>(n - 1)] = int16(s, QStringLiteral("MAX_%1_%2").arg(c).arg(n), "10");
            for (int n = 1; n <= 3; ++n)
                g.Min[static_cast<size_t>(n - 1)] = int16(s, QStringLiteral("Min_%1_%2").arg(c).arg(n), "0");
            g.XMajor = int16(s, QStringLiteral("X_MAJOR_%1").arg(c), "");
            g.YMajor = int16(s, QStringLiteral("Y_MAJOR_%1").arg(c), "");
            // The trace comes first in the colour keys, the chamber first in the scales.
            for (int n = 1; n <= 9; ++n)
                g.Color[static_cast<size_t>(n - 1)] =
                    ToInt32(number(s, QStringLiteral("COLOR_%1_%2").arg(n).arg(c), ""));
            g.CurrentOrTargetSP = int16(s, QStringLiteral("C_T_SP%1").arg(c), "");
        }
    } catch (const RuntimeError& e) {
        if (!stopTold)
            ReportConfigProblem(QStringLiteral("%1 could not be read to its end (%2)").arg(kScreens, e.description()));
        ErrorTail(e.description(), kLogName);
    }
}

void ReadGraphLineColors() {
    const ProfileFile ini(SettingsPath(kLine));
    const auto color = [&ini](const char* key) {
        return ToInt32(Val(ini.read(QStringLiteral("Line"), QLatin1String(key), QString(), 15, 10)));
    };
    GraphLine.BackColor = color("BackColor");
    GraphLine.TimeColor = color("TimeColor");
    GraphLine.GridColor = color("GridColor");
}

void StoreGraphSettings(int16_t chamber, const GraphSetChoice& choice) {
    try {
        ChamberIndex(chamber);
        GraphInfoRec& g = GraphInfo[static_cast<size_t>(chamber)];
        const QString s = SetSection(chamber);
        for (int i = 1; i <= 3; ++i) {
            const auto k = static_cast<size_t>(i - 1);
            g.Min[k] = choice.min[k];
            g.Max[k] = choice.max[k];
            WriteScreens(s, QStringLiteral("Min_%1_%2").arg(chamber).arg(i), QString::number(g.Min[k]));
            WriteScreens(s, QStringLiteral("MAX_%1_%2").arg(chamber).arg(i), QString::number(g.Max[k]));
        }
        g.XMajor = choice.xMajor;
        g.YMajor = choice.yMajor;
        WriteScreens(s, QStringLiteral("X_MAJOR_%1").arg(chamber), QString::number(g.XMajor));
        WriteScreens(s, QStringLiteral("Y_MAJOR_%1").arg(chamber), QString::number(g.YMajor));
        for (int i = 1; i <= 3; ++i) {
            const int places = choice.decimalPlaces[static_cast<size_t>(i - 1)];
            if (places != Chamber[static_cast<size_t>(chamber - 1)].DP[static_cast<size_t>(i - 1)].size())
                StoreDecimalPlaces(chamber, i, places);
        }
        g.CurrentOrTargetSP = choice.currentOrTargetSP;
        WriteScreens(s, QStringLiteral("C_T_SP%1").arg(chamber), QString::number(g.CurrentOrTargetSP));

        StoreGraphLineColors(choice.colors);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), kLogName);
    }
}

void StoreGraphLineColors(const TrendLineColors& colors) {
    GraphLine = colors;
    const QString line = QStringLiteral("Line");
    WriteSetting(line, QStringLiteral("BackColor"), QString::number(colors.BackColor), SettingsPath(kLine));
    WriteSetting(line, QStringLiteral("TimeColor"), QString::number(colors.TimeColor), SettingsPath(kLine));
    WriteSetting(line, QStringLiteral("GridColor"), QString::number(colors.GridColor), SettingsPath(kLine));
}

void StorePatternGraphScale(const PatternGraphScale& scale) {
    try {
        PatternGraph = scale;
        const QString s = QStringLiteral("PATTERN_Set");
        WriteScreens(s, QStringLiteral("MAX"), NumberText(scale.Max));
        WriteScreens(s, QStringLiteral("Min"), NumberText(scale.Min));
        WriteScreens(s, QStringLiteral("X_MAJOR"), NumberText(scale.XMajor));
        WriteScreens(s, QStringLiteral("Y_MAJOR"), NumberText(scale.YMajor));
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), kLogName);
    }
}

void StoreTraceColor(int16_t chamber, int trace, int32_t color) {
    try {
        ChamberIndex(chamber);
        if (trace < 1 || trace > 9) throw RuntimeError(err::SubscriptOutOfRange);
        GraphInfo[static_cast<size_t>(chamber)].Color[static_cast<size_t>(trace - 1)] = color;
        WriteScreens(SetSection(chamber), QStringLiteral("COLOR_%1_%2").arg(trace).arg(chamber),
                     QString::number(color));
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), kLogName);
    }
}

}  // namespace qel
