#include "transfer_steps.h"

#include "clock.h"
#include "dec2hex.h"
#include "modbus.h"
#include "reply_text.h"
#include "state.h"
#include "vbtext.h"

#include <algorithm>

namespace qel {

bool TransferSteps::stopped() const { return ui_.stopped && ui_.stopped(); }

void TransferSteps::progress(int value, int maximum) const {
    if (ui_.progress) ui_.progress(value, maximum, QStringLiteral("%1 of %2").arg(value).arg(maximum));
}

void TransferSteps::progressValue(int value, int maximum) const {
    if (ui_.progress) ui_.progress(value, maximum, QString());
}

void TransferSteps::message(const QString& title, const QString& text) const {
    if (ui_.message) ui_.message(title, text);
}

void TransferSteps::pause(int times) const { WaitSec(times * PCSpeed / 1000.0); }

void TransferSteps::write(const QString& body) const {
    int16_t minLen = 4;
    ModbusTransact(QString(), minLen, chamber_, 0, body);
}

QString TransferSteps::read(const QString& body) const {
    int16_t minLen = 334;
    const QString r = ModbusTransact(QStringLiteral("&H3A4"), minLen, chamber_, 0, body);
    return CommError[ChamberIndex(chamber_)] == -1 ? QString() : r;
}

QString TransferSteps::readGood(const QString& body) const {
    const QString r = read(body);
    return FailCount[ChamberIndex(chamber_)] != 0 ? QString() : r;
}

QString TransferSteps::hex(const QString& text) const {
    return Dec2HexOfChannel(static_cast<float>(Val(text)), 0, chamber_, channel_);
}

QString TransferSteps::hex(int value) const {
    return Dec2HexOfChannel(static_cast<float>(value), 0, chamber_, channel_);
}

QString TransferSteps::setPoint(const QString& text, int channel) const {
    return Dec2HexOfChannel(static_cast<float>(Val(text)), -1, chamber_, channel);
}

QString TransferSteps::hexOrZero(const QString& text) const {
    return text.isEmpty() ? QStringLiteral("0000") : hex(text);
}

QString TransferSteps::plain(const QString& reply, int first, int reg) const {
    return QString::number(RegisterAt(reply, first, reg));
}

QString TransferSteps::scaled(const QString& reply, int first, int reg, int channel) const {
    const QString dp = Chamber[ChamberIndex(chamber_)].DP[ChannelIndex(channel)].trimmed();
    const int16_t raw = RegisterAt(reply, first, reg);
    if (dp.isEmpty()) return QString::number(raw);
    return Format(raw / Val(u'1' + dp), QStringLiteral("###0.") + dp);
}

QString TransferSteps::seconds(const QString& reply, int first, int hoursReg) const {
    return QString::number(int32_t{RegisterAt(reply, first, hoursReg)} * 3600 + RegisterAt(reply, first, hoursReg + 1));
}

int SaveSegmentCount(const PatternRec& record) {
    int last = 0;
    for (int i = 0; i < kPatternSegments; ++i)
        if (record.SegTime[i].isEmpty()) {
            last = i - 1;
            break;
        }
    return last + 1;
}

HoursAndRest SplitSeconds(int32_t t) {
    const int32_t h = (t - t % 3600) / 3600;
    const int32_t rest = t - 3600 * h;
    const int32_t m = (rest - rest % 60) / 60;
    const int32_t s = rest - 60 * m;
    return {h, 60 * m + s};
}

QString TransferSteps::repeatOrOne(const QString& text) const {
    return Val(text) == 0 ? QStringLiteral("0001") : hex(text);
}

QString TransferSteps::loopRows(const PatternRec& r) const {
    QString rows;
    for (int k = 0; k < 4; ++k) rows += hexOrZero(r.LoopStart[k]) + hexOrZero(r.LoopEnd[k]) + hexOrZero(r.LoopCount[k]);
    return rows;
}

void ReadSegments(const TransferSteps& t, int count, const SegmentWindow& window,
                  const std::function<void(const QString& reply, int index)>& decode) {
    for (int i = 1; i <= std::min(count, kPatternSegments); ++i) {
        if (t.stopped()) break;
        t.progress(i, count);
        t.write(window.selectPrefix + t.hex(i));
        t.pause(window.selectPauses);
        if (t.stopped()) break;
        t.write(window.load);
        t.pause(4);
        const QString reply = t.read(window.read);
        if (reply.isEmpty()) throw CommFailure();
        decode(reply, i - 1);
    }
}

}  // namespace qel
