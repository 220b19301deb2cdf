#include "settings_state.h"

#include "config_report.h"
#include "language.h"

namespace qel {

QString Language;
int16_t DisbuttonRun = 0;
int16_t DisbuttonStop = 0;
int16_t DisbuttonAdv = 0;
int16_t DisbuttonHold = 0;
int16_t DisbuttonAuto = 0;
int16_t DisplayStatus = 0;
int16_t DisplaySound = 0;
std::array<GraphInfoRec, 41> GraphInfo;
PatternGraphScale PatternGraph;
TrendLineColors GraphLine;
std::array<std::array<QString, 32>, 30> DIErrorName;

void ResetSettingsState() {
    Language.clear();
    DisbuttonRun = DisbuttonStop = DisbuttonAdv = DisbuttonHold = DisbuttonAuto = 0;
    DisplayStatus = DisplaySound = 0;
    GraphInfo.fill(GraphInfoRec{});
    PatternGraph = PatternGraphScale{};
    GraphLine = TrendLineColors{};
    for (auto& names : DIErrorName) names.fill(QString());
    ClearLanguageTables();
    ClearConfigProblems();
}

}  // namespace qel
