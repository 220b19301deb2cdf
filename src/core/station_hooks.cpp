#include "station_hooks.h"

namespace qel {
StationHooks Hooks;
PollTimerSwitch ReadCommTimer;

void EnableReadComm(bool on) {
    if (ReadCommTimer.setEnabled) ReadCommTimer.setEnabled(on);
}

}  // namespace qel
