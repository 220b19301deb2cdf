// A simulated controller: a full map of 65536 16-bit registers that Modbus
// reads and writes, and behind it the live behaviour of its model.
//
// The map is the truth the line sees. A model class keeps its channels in
// engineering units and copies them into the map on every step; writes from
// the line land in the map first and the model takes the settings from there.
// Nothing here reads a clock: step() is given the time, so that a test can
// walk a chamber through an hour in a loop.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <vector>

#include "channel.h"

namespace qelsim {

// What one chamber is created from.
struct ChamberConfig {
    int address = 1;
    QString model = "QEL2000";
    std::vector<int> decimals;  // decimal places per channel (0..3); missing ones default to 1
    bool noise = true;          // tiny deterministic ripple on the process value
    uint32_t seed = 1;
};

class Chamber {
public:
    // Modbus exception codes the controllers use.
    static constexpr uint8_t IllegalFunction = 0x01;
    static constexpr uint8_t IllegalAddress = 0x02;
    static constexpr uint8_t IllegalValue = 0x03;
    static constexpr uint8_t DeviceFailure = 0x04;

    // The controller's read limit: one model answers 130 registers, whose
    // byte count (260) does not fit its byte and goes out as 0x04.
    static constexpr int MaxReadCount = 130;
    static constexpr int MaxWriteCount = 123;

    explicit Chamber(const ChamberConfig& config);
    virtual ~Chamber() = default;
    Chamber(const Chamber&) = delete;
    Chamber& operator=(const Chamber&) = delete;

    int address() const { return config_.address; }
    virtual QString model() const = 0;
    virtual int channelCount() const = 0;
    int decimals(int channel) const;  // channel 1-based

    // The raw map. setRegister() is the operator's hand (the "set" command,
    // start options): the model takes a changed process value over as its
    // own and recomputes the other live registers on the next step.
    uint16_t reg(int address) const { return regs_[static_cast<uint16_t>(address)]; }
    void setRegister(int address, uint16_t value);

    // Answers one request pdu (function code first). Returns the reply pdu,
    // an exception pdu for an unknown function or an illegal address/count,
    // or an empty array for a request too malformed to answer.
    QByteArray handlePdu(const QByteArray& pdu);

    // Moves the chamber to now. The first call only sets the time; a time
    // before the last one is taken as no time passed.
    void step(const QDateTime& now);
    const QDateTime& now() const { return now_; }

    // A frozen chamber is a plain register memory: time stands still, keys
    // and writes are stored as written and nothing is recomputed. Thawed,
    // it takes the process values from the map and goes on from there.
    void setFrozen(bool frozen);
    bool frozen() const { return frozen_; }

    // Presses a key on a channel (1-based), as a write to the key register does.
    virtual void pressKey(int channel, int key) = 0;

protected:
    // Called for each register the line or the operator wrote, after the map holds it.
    virtual void onWrite(int address, uint16_t value) = 0;
    // Moves the live behaviour on by seconds and refreshes the map. Called
    // with 0 after writes so that the next read shows their effect.
    virtual void advance(double seconds) = 0;
    // Takes what the model keeps of its own (process values) from the map.
    virtual void adoptMap() = 0;

    // Raw value of v in a register with the given decimal places, rounded,
    // clipped to 16-bit two's complement.
    static uint16_t toRaw(double v, int decimals);
    static double fromRaw(uint16_t raw, int decimals);
    void put(int address, uint16_t value) { regs_[static_cast<uint16_t>(address)] = value; }
    // Five registers from `first`: year, month, day, hour, minute of the time
    // now + secondsToEnd; the controllers' unset date 1970-01-01 00:00 when
    // the run has no end of its own (negative) or the time is not known yet.
    void putEndDate(int first, double secondsToEnd);
    // Three registers from `first`: hours, minutes, seconds.
    void putRunTime(int first, double seconds);
    // A ripple of at most amplitude that depends only on the seed, the
    // chamber, the channel and the whole second of now.
    double ripple(int channel, double amplitude) const;

    ChamberConfig config_;

private:
    QByteArray readHolding(const QByteArray& pdu);
    QByteArray writeSingle(const QByteArray& pdu);
    QByteArray writeMultiple(const QByteArray& pdu);

    std::vector<uint16_t> regs_;
    QDateTime now_;
    bool frozen_ = false;
};

// The channels of the QEL2000 family (QEL2000, QEL2100, QEL2400): a
// temperature loop and a humidity loop, each with its built-in program.
ChannelPhysics TemperatureLoop();
ChannelPhysics HumidityLoop();

// Creates a chamber of a known model; nullptr and a reason otherwise.
std::unique_ptr<Chamber> MakeChamber(const ChamberConfig& config, QString* error = nullptr);
// The models MakeChamber knows, with their channel counts.
QStringList KnownModels();
int ModelChannels(const QString& model);

}  // namespace qelsim
