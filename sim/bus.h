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

// Bytes as hex for the trace; a long run is cut, with its size told.
QString TraceHex(const QByteArray& bytes);

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
        QByteArray bytes;                    // what goes on the line; empty: nothing
        FaultMode mode = FaultMode::Normal;  // the fault this request drew (rate and mixed applied)
        int delayMs = 0;                     // how late the bytes go out
    };
    // One request for address, as head says it came: counts it (also while
    // the chamber is off the line), steps the chamber to now, carries the
    // request out and gives the framed reply, faults included. Unknown and
    // stopped addresses, and requests the chamber cannot make sense of, get
    // no answer. A reply whose mode is Drop or Babble asks the transport for
    // more than the bytes.
    Reply request(int address, const QByteArray& pdu, Framing framing, ReplyHead head);

    // Requests for address since start, of any function and whatever the
    // fault made of them; 0 for an unknown address.
    uint64_t requests(int address) const;

    // n bytes of a babbling chamber's stream, from its own generator.
    QByteArray babble(int address, Framing framing, int n);

    // Called with every request a chamber on the line answered, its answer
    // as the chamber made it and the fault it drew (which may spoil what goes
    // on the line): a test's record of what was served.
    using Tap = std::function<void(int address, const QByteArray& request, const QByteArray& answer, FaultMode mode)>;
    void setTap(Tap tap) { tap_ = std::move(tap); }

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
        uint64_t requests = 0;
        uint64_t rng = 1;  // the chamber's own, so that its draws do not hang on the other chambers' traffic
    };
    NowFunction now_;
    Tap tap_;
    uint64_t seed_;
    std::map<int, Slot> slots_;
    std::function<void(const QString&)> trace_;
};

}  // namespace qelsim
