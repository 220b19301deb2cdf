// Per-chamber message log: one file a day under "Message/<chamber name>/",
// lines in the same form as the error log. Raises RuntimeError when the line
// cannot be written, for the caller's failure frame to log.
#pragma once

#include <QString>
#include <cstdint>

namespace qel {

QString MessageLogPath(int16_t chamber);
void WriteMessageLog(const QString& text, int16_t chamber);

}  // namespace qel
