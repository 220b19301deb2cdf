#include "message_log.h"

#include "clock.h"
#include "errorlog.h"
#include "state.h"
#include "vbtext.h"

namespace qel {

QString MessageLogPath(int16_t chamber) {
    return AppPath + QStringLiteral("Message/") + ChamberName[ChamberIndex(chamber)] + u'/' +
           FormatDate(Now(), QStringLiteral("YYYYMMDD")) + QStringLiteral("_M.log");
}

void WriteMessageLog(const QString& text, int16_t chamber) { AppendLogLine(MessageLogPath(chamber), text); }

}  // namespace qel
