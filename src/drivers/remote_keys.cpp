#include "remote_keys.h"

#include "clock.h"
#include "errorlog.h"
#include "message_log.h"
#include "mode_checks.h"
#include "modbus.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"
#include "vbtext.h"

#include <algorithm>

namespace qel {

namespace {

QString KeyRegister(const QString& model, int channel) {
    static const struct {
        const char* model;
        const char* regs[3];
    } table[] = {
        {"QEL2000", {"060065", "060066", "060066"}},
        {"QEL2100", {"060065", "060066", "060066"}},
        {"QEL2400", {"060064", "060065", "060066"}},
        {"QEL2200", {"060516", "", ""}},
        {"QEL2300", {"060032", "", ""}},
    };
    if (channel < 1 || channel > 3) return QString();
    for (const auto& row : table)
        if (model == QLatin1String(row.model)) return QString::fromLatin1(row.regs[channel - 1]);
    return QString();
}

// The order of every write the operator starts: the poll stops, the line
// goes quiet, the write, a quiet wait, the poll starts again - also after a
// failure, so that a key never leaves the whole line unpolled.
template <typename Work>
void WithPollStopped(const QString& logName, Work work) {
    try {
        EnableReadComm(false);
        WaitSec(PCSpeed / 1000.0);
        work();
        WaitSec(PCSpeed / 1000.0);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), logName);
    }
    if (!ProgramEnding()) EnableReadComm(true);
}

void Write(int16_t chamber, const QString& body) {
    if (body.isEmpty()) return;
    int16_t minLen = 4;
    // The address number as a 16-bit value, saturated: SetUserTag.ini may
    // hold one no 16 bits take ("40000"), which the exchange then refuses.
    const double address = Val(ChamberAddress[ChamberIndex(chamber)]);
    const auto addrNo = static_cast<int16_t>(std::clamp(address, -32768.0, 32767.0));
    ModbusTransact(QString(), minLen, chamber, addrNo, body);
}

void SendKey(int16_t chamber, Key key, const QString& logName, bool fixRun = false) {
    WithPollStopped(logName, [&] {
        const QString model = ChamberModel[ChamberIndex(chamber)];
        Write(chamber,
              fixRun && model == u"QEL2300" ? QString() : KeyBody(model, static_cast<int>(Val(StatusPanel3)), key));
        if (key == Key::Step) {
            AddHistoryRow(chamber, QStringLiteral("START STEP"));
            WriteMessageLog(QStringLiteral("START STEP"), chamber);
        }
    });
}

}  // namespace

QString KeyBody(const QString& model, int channel, Key key) {
    const QString reg = KeyRegister(model, channel);
    if (reg.isEmpty()) return QString();
    return reg + QString::number(static_cast<int>(key)).rightJustified(4, u'0');
}

void SendCommand(int16_t chamber, const QString& body, const QString& logName) {
    WithPollStopped(logName, [&] { Write(chamber, body); });
}

void SetStopMode(int16_t chamber) { SendKey(chamber, Key::Stop, QStringLiteral("modCommControl.SetStopMode")); }

void SetHoldMode(int16_t chamber, int16_t /*mode: the controller toggles*/) {
    SendKey(chamber, Key::Hold, QStringLiteral("modCommControl.SetHoldMode"));
}

void SetAdvMode(int16_t chamber) { SendKey(chamber, Key::Step, QStringLiteral("modCommControl.SetAdvMode")); }

void SetUserKey(int16_t chamber) { SendKey(chamber, Key::User, QStringLiteral("modCommControl.SetUserKey")); }

void SetStartFix(int16_t chamber) { SendKey(chamber, Key::Start, QStringLiteral("modCommControl.SetStartFix"), true); }

void SetStartPT(int16_t chamber) { SendKey(chamber, Key::Start, QStringLiteral("modCommControl.SetStartPT")); }

}  // namespace qel
