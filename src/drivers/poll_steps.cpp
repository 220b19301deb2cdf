#include "poll_steps.h"

#include "clock.h"
#include "link.h"
#include "modbus.h"
#include "reply_text.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"
#include "vbtext.h"

#include <array>

namespace qel {

bool ExchangeGood(int16_t chamber, const QString& reply, int first, int last) {
    const int i = ChamberIndex(chamber);
    if (CommError[i] != 0 || FailCount[i] > 0) return false;
    if (Protocol != u"ETH" && !(MSComm1 && MSComm1->portOpen())) return false;
    // A reply that cannot hold the block (an exception reply over TCP, which
    // the exchange takes as good) is not decoded: the record keeps its values.
    return HoldsRegisters(reply, first, last);
}

QString ReadBlock(int16_t chamber, const QString& expect, int16_t minLen, const QString& body, int first, int last) {
    const QString r = ModbusTransact(expect, minLen, chamber, 0, body);
    return ExchangeGood(chamber, r, first, last) ? r : QString();
}

void StoreEndDate(int16_t chamber, int ch, int16_t year, int16_t month, int16_t day, int16_t hour, int16_t minute) {
    ChamberRec& rec = Chamber[ChamberIndex(chamber)];
    const QDateTime date = DateSerial(year, month, day);
    if (!date.isValid()) throw RuntimeError(err::InvalidArgument);
    rec.EndDate[ch - 1] = date.addSecs(int64_t{hour} * 3600 + int64_t{minute} * 60);
    const QString caption = rec.EndDate[ch - 1] != UnsetDate()
                                ? FormatDate(rec.EndDate[ch - 1], QStringLiteral("yyyy/mm/dd hh:mm"))
                                : QString();
    if (Hooks.endTimeCaption) Hooks.endTimeCaption(chamber, ch, caption);
}

namespace {
// The last time text of each chamber's trend sample, parsed once: the check
// runs on every poll and the text changes every 2 s at most.
QDateTime ParsedGraphTime(int index, const QString& text) {
    static std::array<std::pair<QString, QDateTime>, kMaxChambers> parsed;
    auto& [seen, time] = parsed[static_cast<size_t>(index)];
    if (seen != text || !time.isValid()) {
        seen = text;
        time = ParseTimeText(text);
    }
    return time;
}
}  // namespace

void OperationGraphIfDue(int16_t chamber) {
    const int i = ChamberIndex(chamber);
    LogRec& log = Log[i];
    const QDateTime last = ParsedGraphTime(i, log.GraphTime);
    if (last.isValid() && last.secsTo(Now()) < 2) return;
    log.GraphTime = FormatDate(Now(), QStringLiteral("yyyy-mm-dd hh:mm:ss"));
    if (Hooks.operationGraph) Hooks.operationGraph(chamber);
}

}  // namespace qel
