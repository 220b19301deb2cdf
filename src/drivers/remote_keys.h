// Operator keys to a controller: one Modbus write of the key value to the
// model's key register, with the poll timer stopped around it. The channel
// is the one on display (status panel 3), not an argument.
//
// Each routine stops ReadComm, waits PCSpeed so an exchange in flight can
// end, writes, waits PCSpeed again and starts ReadComm. A failure inside is
// logged under the routine's name; ReadComm is started again all the same.
// Nothing is reported to the operator: the next poll shows whether the
// controller took the key.
#pragma once

#include <QString>
#include <cstdint>

namespace qel {

enum class Key : int { Start = 1, Hold = 2, Step = 3, Stop = 4, User = 5 };

// "060065" + "0004": the write of `key` for the model and channel; "" where
// the model's table has no register for that channel.
QString KeyBody(const QString& model, int channel, Key key);

// A write of a page's own (a set point, a pattern number): the command body
// in the same order as a key; nothing for an empty body but the waits.
void SendCommand(int16_t chamber, const QString& body, const QString& logName);

void SetStopMode(int16_t chamber);
// `mode` 1 holds and 0 releases; both send the hold key, the controller toggles.
void SetHoldMode(int16_t chamber, int16_t mode);
// Also writes "START STEP" to the history and the message log.
void SetAdvMode(int16_t chamber);
void SetUserKey(int16_t chamber);
// Fixed-value run; the QEL2300 has no such key.
void SetStartFix(int16_t chamber);
void SetStartPT(int16_t chamber);

}  // namespace qel
