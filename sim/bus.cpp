#include "bus.h"

#include "frames.h"

namespace qelsim {

namespace {
// What a mixed fault draws from: every mode that spoils one reply. Babble
// is left out, as it would end a soak run's use of the chamber.
constexpr FaultMode MixedModes[] = {
    FaultMode::Normal,    FaultMode::Silent,   FaultMode::BadCrc,   FaultMode::Short,
    FaultMode::Exception, FaultMode::Delay,    FaultMode::Garbage,  FaultMode::Twice,
    FaultMode::WrongAddr, FaultMode::WrongTid, FaultMode::WrongPid, FaultMode::WrongFunc,
    FaultMode::BadCount,  FaultMode::Header,   FaultMode::Huge,     FaultMode::Drop,
    FaultMode::Noise,
};
constexpr uint32_t MixedCount = sizeof MixedModes / sizeof MixedModes[0];

// The mode one request gets: the rate decides whether it is faulted at all,
// a mixed fault then draws which.
FaultMode Draw(const Fault& fault, uint64_t& rng) {
    if (fault.mode == FaultMode::Normal) return FaultMode::Normal;
    if (fault.percent < 100 && NextRandom(rng) % 100 >= static_cast<uint32_t>(fault.percent)) return FaultMode::Normal;
    if (fault.mode == FaultMode::Mixed) return MixedModes[NextRandom(rng) % MixedCount];
    return fault.mode;
}
}  // namespace

QString TraceHex(const QByteArray& bytes) {
    constexpr qsizetype MaxBytes = 512;
    if (bytes.size() <= MaxBytes) return QString::fromLatin1(Hex(bytes));
    return QString("%1... (%2 bytes)").arg(QString::fromLatin1(Hex(bytes.left(MaxBytes)))).arg(bytes.size());
}

Bus::Bus(NowFunction now, uint64_t seed, QObject* parent)
    : QObject(parent), now_(std::move(now)), seed_(seed ? seed : 1) {}

Bus::~Bus() = default;

bool Bus::add(std::unique_ptr<Chamber> chamber, QString* error) {
    const int address = chamber->address();
    if (address < 1 || address > 247) {
        if (error) *error = QString("address %1 is outside 1..247").arg(address);
        return false;
    }
    if (slots_.count(address)) {
        if (error) *error = QString("address %1 is given twice").arg(address);
        return false;
    }
    chamber->step(now());
    Slot& slot = slots_[address];
    slot.chamber = std::move(chamber);
    slot.rng = seed_ ^ (static_cast<uint64_t>(address) * 0x9E3779B97F4A7C15ULL);
    return true;
}

Chamber* Bus::chamber(int address) const {
    auto it = slots_.find(address);
    return it == slots_.end() ? nullptr : it->second.chamber.get();
}

std::vector<Chamber*> Bus::chambers() const {
    std::vector<Chamber*> list;
    for (const auto& [address, slot] : slots_) list.push_back(slot.chamber.get());
    return list;
}

void Bus::stepAll() {
    const QDateTime t = now();
    for (auto& [address, slot] : slots_) slot.chamber->step(t);
}

Fault Bus::fault(int address) const {
    auto it = slots_.find(address);
    return it == slots_.end() ? Fault{} : it->second.fault;
}

void Bus::setFault(int address, Fault fault) {
    auto it = slots_.find(address);
    if (it != slots_.end()) it->second.fault = fault;
}

bool Bus::online(int address) const {
    auto it = slots_.find(address);
    return it != slots_.end() && it->second.online;
}

void Bus::setOnline(int address, bool online) {
    auto it = slots_.find(address);
    if (it == slots_.end() || it->second.online == online) return;
    it->second.online = online;
    emit onlineChanged(address, online);
}

Bus::Reply Bus::request(int address, const QByteArray& pdu, Framing framing, ReplyHead head) {
    Reply reply;
    auto it = slots_.find(address);
    if (it == slots_.end() || pdu.isEmpty()) return reply;
    Slot& slot = it->second;
    ++slot.requests;
    if (!slot.online) return reply;
    slot.chamber->step(now());

    reply.mode = Draw(slot.fault, slot.rng);
    const QByteArray answer = reply.mode == FaultMode::Exception
                                  ? ExceptionPdu(static_cast<uint8_t>(pdu[0]), Chamber::DeviceFailure)
                                  : slot.chamber->handlePdu(pdu);
    if (tap_) tap_(address, pdu, answer, reply.mode);
    if (answer.isEmpty() || reply.mode == FaultMode::Silent || reply.mode == FaultMode::Babble) return reply;
    reply.bytes = WireReply(framing, head, answer, reply.mode, slot.rng);
    if (reply.mode == FaultMode::Delay) reply.delayMs = slot.fault.delayMs;
    return reply;
}

uint64_t Bus::requests(int address) const {
    auto it = slots_.find(address);
    return it == slots_.end() ? 0 : it->second.requests;
}

QByteArray Bus::babble(int address, Framing framing, int n) {
    auto it = slots_.find(address);
    return it == slots_.end() ? QByteArray() : BabbleBytes(framing, n, it->second.rng);
}

}  // namespace qelsim
