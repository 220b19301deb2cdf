// A chamber's record as one JSON object: every ChamberRec field under its own
// name, plus CommError and FailCount. Used by the command-line poller and the
// headless station.
#pragma once

#include <QJsonObject>
#include <cstdint>

namespace qel {

QJsonObject ChamberRecJson(int16_t chamber);

}  // namespace qel
