#include "poll_walk.h"

#include "clock.h"
#include "errorlog.h"
#include "qel2000_poll.h"
#include "qel2200_poll.h"
#include "qel2400_poll.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"

#include <algorithm>

namespace qel {

namespace {

bool g_running = false;

using PollBlock = void (*)(int16_t);

// The poll block of a model, or none for a model it passes over.
PollBlock BlockOf(const QString& model) {
    if (model == u"QEL2000" || model == u"QEL2100") return ReadCommBlock;
    if (model == u"QEL2200") return QEL2200_ReadCommBlock;
    if (model == u"QEL2300") return QEL2300_ReadCommBlock;
    if (model == u"QEL2400") return QEL2400_ReadCommBlock;
    return nullptr;
}

}  // namespace

bool PollWalkRunning() { return g_running; }

bool HasPollBlock(const QString& model) { return BlockOf(model) != nullptr; }

void PollChamber(int16_t chamber) {
    if (const PollBlock block = BlockOf(ChamberModel[ChamberIndex(chamber)])) block(chamber);
}

void ReadCommTick() {
    if (g_running) return;
    g_running = true;
    try {
        const int last = std::min<int>(MaxChamberNo, kMaxChambers);
        for (int16_t c = 1; c <= last && !ProgramEnding(); ++c) {
            const PollBlock block = BlockOf(ChamberModel[c - 1]);
            if (!block) continue;
            block(c);
            if (Hooks.overviewRefresh) Hooks.overviewRefresh(c);
            if (Hooks.pageRefresh) Hooks.pageRefresh(c);
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("MDIfrmMenu.ReadComm_Timer_Err"));
    } catch (const std::exception& e) {
        ErrorTail(QString::fromUtf8(e.what()), QStringLiteral("MDIfrmMenu.ReadComm_Timer_Err"));
    }
    g_running = false;
}

}  // namespace qel
