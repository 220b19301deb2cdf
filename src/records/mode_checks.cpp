#include "mode_checks.h"

#include "clock.h"
#include "errorlog.h"
#include "message_log.h"
#include "page_controls.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"
#include "vbtext.h"

namespace qel {

std::array<int16_t, 30> HoldFlag{};

namespace {

constexpr int kRunBits = 0x03;
constexpr int kHoldBit = 0x04;
constexpr int kWaitBit = 0x40;

// What the page's checks saw at their last call, [chamber - 1][channel - 1].
std::array<std::array<bool, kMaxChannels>, kMaxChambers> g_holdSeen{};
std::array<std::array<bool, kMaxChannels>, kMaxChambers> g_waitSeen{};

int StatusOf(int16_t chamber, int16_t channel) {
    return Chamber[ChamberIndex(chamber)].Status[ChannelIndex(channel)];
}

QString ChamberText(int16_t chamber) { return QString::number(chamber); }

// The run and stop rows: channel 1 carries its label, 2 and 3 do not.
void LogRunEdge(int16_t chamber, int16_t channel, const QString& what) {
    if (channel == 1) {
        AddHistoryRow(chamber, QStringLiteral("CH1    ") + what);
        WriteMessageLog(QStringLiteral("  Chamber ") + ChamberText(chamber) + QStringLiteral("     CH1   ") + what,
                        chamber);
    } else {
        AddHistoryRow(chamber, QStringLiteral("    ") + what);
        WriteMessageLog(QStringLiteral("  Chamber ") + ChamberText(chamber) + QStringLiteral("   ") + what, chamber);
    }
}

void LogBoth(int16_t chamber, const QString& text) {
    AddHistoryRow(chamber, text);
    WriteMessageLog(text, chamber);
}

// Hold and wait share one shape; only the bit, the latch and the words differ.
bool LatchedMode(int16_t chamber, int16_t channel, int bit, int16_t& latch, bool setsHoldFlag, const char* what) {
    const bool on = (StatusOf(chamber, channel) & bit) != 0;
    const int c = ChamberIndex(chamber);
    if (on) {
        if (setsHoldFlag) HoldFlag[c] = -1;
        if (latch == 0) {
            latch = -1;
            LogBoth(chamber, QStringLiteral("START ") + QLatin1String(what));
        }
    } else if (latch != 0) {
        latch = 0;
        if (setsHoldFlag) HoldFlag[c] = 0;
        LogBoth(chamber, QStringLiteral("STOP ") + QLatin1String(what));
    }
    return on;
}

void CheckedOnce(int16_t chamber, int channel, int bit, std::array<std::array<bool, kMaxChannels>, kMaxChambers>& seen,
                 bool (*check)(int16_t, int16_t)) {
    if (chamber < 1 || chamber > kMaxChambers || channel < 1 || channel > kMaxChannels) return;
    bool& was = seen[chamber - 1][channel - 1];
    const bool now = (Chamber[chamber - 1].Status[channel - 1] & bit) != 0;
    // The latches are station-wide: a check on every channel of every page
    // would open and close them in turn while one chamber holds, so a channel
    // is checked while it shows the state and on the refresh after it left it.
    if (now || was) check(chamber, static_cast<int16_t>(channel));
    was = now;
}

}  // namespace

void AddHistoryRow(int16_t chamber, const QString& text) {
    if (Hooks.historyRow) Hooks.historyRow(chamber, FormatDate(Now(), QStringLiteral("yyyy/mm/dd hh:mm:ss")), text);
}

bool IsRunMod(int16_t chamber, int16_t channel) {
    try {
        if ((StatusOf(chamber, channel) & kRunBits) == 0) return false;
        const int c = ChamberIndex(chamber), k = ChannelIndex(channel);
        if (RunLatch[k][c] == 0) {
            RunLatch[k][c] = -1;
            StopLatch[k][c] = 0;
            LogRunEdge(chamber, channel, QStringLiteral("START RUN"));
        }
        return true;
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modSubFunc.IsRunMod"));
    }
    return false;
}

bool IsStopMode(int16_t chamber, int16_t channel) {
    try {
        if (StatusOf(chamber, channel) != 0) return false;
        const int c = ChamberIndex(chamber), k = ChannelIndex(channel);
        Chamber[c].StartTime[k] = QDateTime();
        SetLayoutCaption(chamber, QStringLiteral("Start_Time"), channel, QString());
        if (StopLatch[k][c] == 0) {
            StopLatch[k][c] = -1;
            RunLatch[k][c] = 0;
            LogRunEdge(chamber, channel, QStringLiteral("STOP RUN"));
        }
        return true;
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modSubFunc.IsStopMode"));
    }
    return false;
}

bool IsHoldMode(int16_t chamber, int16_t channel) {
    try {
        return LatchedMode(chamber, channel, kHoldBit, HoldLatch, true, "HOLD");
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modSubFunc.IsHoldMode"));
    }
    return false;
}

bool IsWaitMode(int16_t chamber, int16_t channel) {
    try {
        return LatchedMode(chamber, channel, kWaitBit, WaitLatch, false, "WAIT");
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modSubFunc.IsWaitMode"));
    }
    return false;
}

void HoldCheck(int16_t chamber, int channel) { CheckedOnce(chamber, channel, kHoldBit, g_holdSeen, IsHoldMode); }

void WaitCheck(int16_t chamber, int channel) { CheckedOnce(chamber, channel, kWaitBit, g_waitSeen, IsWaitMode); }

void ResetModeChecks() {
    HoldFlag.fill(0);
    g_holdSeen = {};
    g_waitSeen = {};
}

}  // namespace qel
