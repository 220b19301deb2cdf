#include "screen_forms.h"

#include "page_controls.h"
#include "state.h"
#include "station_hooks.h"

#include <algorithm>

namespace qel {

ScreenForms::ScreenForms(Operator& op) : op_(op) {
    for (int s = 1; s <= 5; ++s) overviews_[s - 1] = std::make_unique<OverviewScreen>(s);
}

ScreenForms::~ScreenForms() {
    Hooks.overviewRefresh = nullptr;
    Hooks.pageRefresh = nullptr;
    Hooks.fixModeChanged = nullptr;
    Hooks.endTimeCaption = nullptr;
    Hooks.historyRow = nullptr;
    Hooks.operationGraph = nullptr;
}

void ScreenForms::load(const std::function<void()>& step) {
    const int inUse = std::clamp<int>(ScreenNo, 1, 5);
    overviews_[inUse - 1]->Form_Load();
    if (step) step();
    for (int s = 1; s <= 5; ++s) overviews_[s - 1]->Form_Load();
    ClearPageControls();
    for (int c = 1; c <= std::min<int>(MaxChamberNo, kMaxChambers); ++c) {
        pages_[c - 1] = std::make_unique<ChamberPage>(static_cast<int16_t>(c), op_);
        pages_[c - 1]->load();
        if (step) step();
    }
    installHooks();
}

ChamberPage* ScreenForms::page(int chamber) const {
    return chamber >= 1 && chamber <= kMaxChambers ? pages_[chamber - 1].get() : nullptr;
}

OverviewScreen& ScreenForms::overview(int screenNo) const { return *overviews_[std::clamp(screenNo, 1, 5) - 1]; }

OverviewScreen& ScreenForms::current() const { return overview(ScreenNo); }

void ScreenForms::installHooks() {
    Hooks.overviewRefresh = [this](int16_t chamber) { current().ReadComm(chamber); };
    Hooks.pageRefresh = [this](int16_t chamber) {
        if (ChamberPage* p = page(chamber)) p->refresh();
    };
    Hooks.fixModeChanged = [this](int16_t chamber, int channel, int16_t fixMode) {
        if (ChamberPage* p = page(chamber)) p->fixModeChanged(channel, fixMode);
    };
    Hooks.endTimeCaption = [this](int16_t chamber, int channel, const QString& caption) {
        if (ChamberPage* p = page(chamber)) p->setEndTime(channel, caption);
    };
    Hooks.historyRow = [this](int16_t chamber, const QString& time, const QString& text) {
        if (ChamberPage* p = page(chamber)) p->addHistoryRow(time, text);
    };
    Hooks.operationGraph = [this](int16_t chamber) {
        if (ChamberPage* p = page(chamber)) p->trend().OperationGraph();
    };
}

}  // namespace qel
