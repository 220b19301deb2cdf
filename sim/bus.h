// The chambers qelsim serves, by Modbus address, with what each does on the
// line (fault, on or off the line), and the simulated time they live in.
// The transports (tcp_server, serial_server) hand every request here.
#pragma once

#include <QDateTime>
#include <QObject>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "faults.h"
#include "model.h"

namespace qelsim {

class Bus : public QObject {
    Q_OBJECT
public:
    using NowFunction = std::function<QDateTime()>;

    explicit Bus(NowFunction now, uint64_t seed = 1, QObject* parent = nullptr);
    ~Bus() override;

    // False (and a reason) when the address is taken or outside 1..247.
    bool add(std::unique_ptr<Chamber> chamber, QString* error = nullptr);
    Chamber* chamber(int address) const;
    std::vector<Chamber*> chambers() const;  // by address

    QDateTime now() const { return now_(); }
    // Moves every chamber to now.
    void stepAll();

    Fault fault(int address) const;
    void setFault(int address, Fault fault);
    bool online(int address) const;
    void setOnline(int address, bool online);

    struct Reply {
        bool send = false;  // false: no answer at all
        QByteArray pdu;
        FaultMode spoil = FaultMode::Normal;  // to be applied to the framed reply
        int delayMs = 0;
    };
    // One request for address: steps the chamber to now, carries the request
    // out and says what goes back, faults included. Unknown and stopped
    // addresses, and requests the chamber cannot make sense of, get no answer.
    Reply request(int address, const QByteArray& pdu);

    // Spoils a framed reply with the bus's own generator (seeded, so runs repeat).
    QByteArray spoil(const QByteArray& frame, FaultMode mode, Framing framing);

    // Exchange trace for --verbose; empty function: no trace.
    void setTrace(std::function<void(const QString&)> trace) { trace_ = std::move(trace); }
    void trace(const QString& line) const {
        if (trace_) trace_(line);
    }

signals:
    void onlineChanged(int address, bool online);

private:
    struct Slot {
        std::unique_ptr<Chamber> chamber;
        Fault fault;
        bool online = true;
    };
    NowFunction now_;
    uint64_t rng_;
    std::map<int, Slot> slots_;
    std::function<void(const QString&)> trace_;
};

}  // namespace qelsim
