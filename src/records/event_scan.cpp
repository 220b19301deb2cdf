#include "event_scan.h"

#include "controls.h"
#include "errorlog.h"
#include "lamp_select.h"
#include "message_log.h"
#include "mode_checks.h"
#include "page_controls.h"
#include "page_layout.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "vbtext.h"

#include <map>
#include <vector>

namespace qel {

namespace {

enum class Kind { Inner, Time, Alarm, SegAlarm, DIFirst, DISecond, DOFirst, DOSecond };
constexpr Kind kKinds[] = {Kind::Inner,   Kind::Time,     Kind::Alarm,   Kind::SegAlarm,
                           Kind::DIFirst, Kind::DISecond, Kind::DOFirst, Kind::DOSecond};

enum class Family { QEL2000, QEL2200, QEL2300 };

// Bits of each kind, in the order above; a kind's first lamp-table entry
// follows all the bits of the kinds before it.
constexpr int kBits[3][8] = {
    {16, 12, 8, 4, 16, 16, 16, 16},  // QEL2000, QEL2100, QEL2400
    {16, 12, 8, 0, 16, 16, 16, 16},  // QEL2200
    {12, 8, 8, 0, 16, 16, 16, 16},   // QEL2300
};

bool IsDI(Kind k) { return k == Kind::DIFirst || k == Kind::DISecond; }
bool IsSecondBoard(Kind k) { return k == Kind::DISecond || k == Kind::DOSecond; }

const char* Word(Kind k) {
    switch (k) {
        case Kind::Inner:
            return "Inner Signal";
        case Kind::Time:
            return "Time Signal";
        case Kind::Alarm:
            return "Alarm Signal";
        case Kind::SegAlarm:
            return "SegAlarm Signal";
        case Kind::DIFirst:
        case Kind::DISecond:
            return "DI";
        default:
            return "DO";
    }
}

struct Words {
    int16_t& current;
    int16_t& previous;
};

Words WordsOf(ChamberRec& r, Kind kind, int k) {
    switch (kind) {
        case Kind::Inner:
            return {r.EvtWordD[k], r.EvtLatchD[k]};
        case Kind::Time:
            return {r.EvtWordC[k], r.EvtLatchC[k]};
        case Kind::Alarm:
            return {r.EvtWordA[k], r.EvtLatchA[k]};
        case Kind::SegAlarm:
            return {r.EvtWordB[k], r.EvtLatchB[k]};
        case Kind::DIFirst:
            return {r.RelayWordA, r.RelayLatchA};
        case Kind::DISecond:
            return {r.RelayWordC, r.RelayLatchC};
        case Kind::DOFirst:
            return {r.RelayWordB, r.RelayLatchB};
        case Kind::DOSecond:
            break;
    }
    return {r.RelayWordD, r.RelayLatchD};
}

// The number as the run-time prints it: a blank before a positive number.
QString Item(int i) { return u' ' + QString::number(i); }

// The names of a lamp array's lamps ("Status_Lamp2000(5)"), made once: the
// scan paints every selected lamp on every poll.
std::vector<QString>& LampNames(const QString& lampSet) {
    static std::map<QString, std::vector<QString>> names;
    return names[lampSet];
}

// A page's lamp entries by lamp number, found once per page load: the paint
// pass sets each selected lamp on every poll.
struct LampEntries {
    uint64_t generation = UINT64_MAX;
    std::vector<ControlSet::Entry*> at;
};
LampEntries& EntriesOf(int chamberIndex, const QString& lampSet, const ControlSet& lamps) {
    static std::map<std::pair<int, QString>, LampEntries> entries;
    LampEntries& e = entries[{chamberIndex, lampSet}];
    if (e.generation != lamps.generation()) e = LampEntries{lamps.generation(), {}};
    return e;
}

class Scan {
public:
    Scan(int16_t chamber, int channel, Family family)
        : chamber_(chamber), c_(ChamberIndex(chamber)), k_(channel), family_(family),
          layout_(family == Family::QEL2000   ? page::Layout::Family
                  : family == Family::QEL2200 ? page::Layout::L2200
                                              : page::Layout::L2300),
          lampSet_(page::LampSetName(layout_, channel)),
          lampNames_(LampNames(lampSet_)),
          lamps_(PageControls(chamber)),
          entries_(EntriesOf(c_, lampSet_, lamps_)) {}

    void run() {
        ChamberRec& r = Chamber[c_];
        const int fam = static_cast<int>(family_);
        int base = 0;
        for (int n = 0; n < 8; ++n) {
            const Kind kind = kKinds[n];
            const int bits = kBits[fam][n];
            if (bits == 0) continue;
            Words w = WordsOf(r, kind, k_ - 1);
            const bool changed = w.current != w.previous;
            if (changed) w.previous = w.current;
            for (int i = 1; i <= bits; ++i) {
                if (!LampSelected(table()[base + i])) continue;
                ++lampIndex_;
                const bool on = (static_cast<uint16_t>(w.current) & (1u << (i - 1))) != 0;
                if (changed)
                    change(kind, i, on);
                else
                    paint(on);
            }
            base += bits;
        }
    }

private:
    const LampTable& table() const {
        const LogRec& log = Log[c_];
        return family_ == Family::QEL2000 ? log.Lamp2000[k_ - 1] : family_ == Family::QEL2200 ? log.Lamp2200 : log.Lamp2300;
    }
    const QString& lamp() const {
        while (lampNames_.size() <= static_cast<size_t>(lampIndex_))
            lampNames_.push_back(Indexed(lampSet_, static_cast<int>(lampNames_.size())));
        return lampNames_[static_cast<size_t>(lampIndex_)];
    }
    void paint(bool on) {
        const auto i = static_cast<size_t>(lampIndex_);
        if (entries_.at.size() <= i) entries_.at.resize(i + 1, nullptr);
        if (!entries_.at[i]) entries_.at[i] = lamps_.entry(lamp());
        lamps_.setBack(entries_.at[i], on ? colors::kRed : colors::kBlack);
    }

    // The lamp whose colour the OFF branch reads. Two of the routines read
    // another lamp, and the scan has always behaved by it: channel 2's
    // SegAlarm looks at channel 1's lamp, and channel 3's names a lamp the
    // page does not have, which ends the pass.
    QString offTestLamp(Kind kind) const {
        if (kind == Kind::SegAlarm && k_ == 3) throw RuntimeError(err::InvalidArgument);
        if (kind == Kind::SegAlarm && k_ == 2) return Indexed(QStringLiteral("Status_Lamp2000"), lampIndex_);
        return lamp();
    }

    void change(Kind kind, int i, bool on) {
        if (on) {
            if (lamps_.get(lamp()).back == colors::kRed) return;
        } else if (lamps_.get(offTestLamp(kind)).back == colors::kBlack) {
            return;
        }
        const int item = IsSecondBoard(kind) ? i + 16 : i;
        logEvent(kind, item, on);
        if (IsDI(kind)) diStep(item, on);
        paint(on);
    }

    void logEvent(Kind kind, int item, bool on) {
        const QString word = QString::fromLatin1(Word(kind)) + Item(item);
        const QString state = on ? QStringLiteral(" ON") : QStringLiteral(" OFF");
        const QString name = IsDI(kind) ? QStringLiteral("    ") + DIErrorName[c_][item - 1] : QString();
        const QString n = QString::number(chamber_);
        QString history, message;
        if (family_ == Family::QEL2000) {
            // The label reads one higher than the channel: "CH2" for channel 1.
            const QString ch = QStringLiteral("CH") + QString::number(k_ + 1);
            history = ch + QStringLiteral("   ") + word + state + name;
            message = QStringLiteral("  Chamber ") + n + QStringLiteral("     ") + ch + QStringLiteral("     ") + word + state;
        } else {
            const bool relay = kind >= Kind::DIFirst;
            history = (relay ? QStringLiteral(" ") : QString()) + word + state + name;
            message = QStringLiteral("  Chamber ") + n + QStringLiteral("     ") + word + state;
        }
        AddHistoryRow(chamber_, history);
        // A message log that cannot be written ends the pass without a word
        // in the error log; the kinds not reached yet are taken next pass.
        WriteMessageLog(message, chamber_);
    }

    // The DI alarm banner and names of the page.
    void diStep(int item, bool on) {
        const QString name = Indexed(QStringLiteral("txtDIName"), item);
        if (on) {
            const auto& mode = Chamber[c_].EvtMode;
            const bool banner =
                family_ == Family::QEL2000 ? (mode[0] == 1 || mode[1] == 1 || mode[2] == 1) : mode[0] == 1;
            if (banner) lamps_.setVisible(QStringLiteral("Frame10"), DisplayStatus == 1);
            lamps_.setBack(name, colors::kRed);
            lamps_.setBack(Indexed(QStringLiteral("Label"), item), colors::kRed);
            lamps_.setValue(QStringLiteral("Timer1"), true);
        } else {
            lamps_.setBack(name, colors::kHighlightText);
            lamps_.setValue(QStringLiteral("Timer1"), false);
        }
    }

    int16_t chamber_;
    int c_;
    int k_;
    Family family_;
    page::Layout layout_;
    QString lampSet_;
    std::vector<QString>& lampNames_;
    ControlSet& lamps_;
    LampEntries& entries_;
    int lampIndex_ = 0;
};

}  // namespace

// Val of the last character is 1 only for the character "1".
bool LampSelected(const QString& entry) { return !entry.isEmpty() && entry.back() == u'1'; }

void EventScan(int16_t chamber, int16_t channel) {
    try {
        const QString& model = ChamberModel[ChamberIndex(chamber)];
        if (model == u"QEL2200") {
            Scan(chamber, 1, Family::QEL2200).run();
        } else if (model == u"QEL2300") {
            Scan(chamber, 1, Family::QEL2300).run();
        } else if (page::LayoutOf(model) == page::Layout::Family) {
            Scan(chamber, ChannelIndex(channel) + 1, Family::QEL2000).run();
        }
    } catch (const std::exception&) {
        // Ends the pass quietly: the words of the kind in work are already
        // taken over, so its remaining items show by paint on the next pass.
    }
}

}  // namespace qel
