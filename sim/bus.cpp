#include "bus.h"

#include "frames.h"

namespace qelsim {

Bus::Bus(NowFunction now, uint64_t seed, QObject* parent)
    : QObject(parent), now_(std::move(now)), rng_(seed ? seed : 1) {}

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
    slots_[address].chamber = std::move(chamber);
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

Bus::Reply Bus::request(int address, const QByteArray& pdu) {
    Reply reply;
    auto it = slots_.find(address);
    if (it == slots_.end() || !it->second.online || pdu.isEmpty()) return reply;
    Slot& slot = it->second;
    slot.chamber->step(now());

    if (slot.fault.mode == FaultMode::Exception) {
        reply.send = true;
        reply.pdu = ExceptionPdu(static_cast<uint8_t>(pdu[0]), Chamber::DeviceFailure);
        return reply;
    }
    reply.pdu = slot.chamber->handlePdu(pdu);
    reply.send = !reply.pdu.isEmpty() && slot.fault.mode != FaultMode::Silent;
    reply.spoil = slot.fault.mode;
    if (slot.fault.mode == FaultMode::Delay) reply.delayMs = slot.fault.delayMs;
    return reply;
}

QByteArray Bus::spoil(const QByteArray& frame, FaultMode mode, Framing framing) {
    return Spoil(frame, mode, framing, rng_);
}

}  // namespace qelsim
