#include "record_hooks.h"

#include "data_log.h"
#include "event_scan.h"
#include "mode_checks.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"
#include "trend_file.h"

namespace qel {

void InstallRecordHooks() {
    ResetDataLog();
    ResetModeChecks();
    ResetTrends();
    // The later models' poll blocks call the same hook; the model picks the variant.
    Hooks.runProc = [](int16_t chamber) {
        const QString& model = ChamberModel[ChamberIndex(chamber)];
        if (model == u"QEL2200")
            RunProc2200(chamber);
        else if (model == u"QEL2300")
            RunProc2300(chamber);
        else
            RunProc(chamber);
    };
    Hooks.runProc2 = RunProc2;
    Hooks.eventScan = EventScan;
    Hooks.holdCheck = HoldCheck;
    Hooks.waitCheck = WaitCheck;
}

void RemoveRecordHooks() {
    Hooks.runProc = nullptr;
    Hooks.runProc2 = nullptr;
    Hooks.eventScan = nullptr;
    Hooks.holdCheck = nullptr;
    Hooks.waitCheck = nullptr;
}

}  // namespace qel
