// Every model's poll block against a controller whose registers and line
// come from the input: the register values of each reply, its framing (RTU
// or ASCII, upper or lower case hex), and what goes wrong on the way
// (silence, a late reply, an exception, raw bytes). Data log, event
// detection and the trend run on the values decoded, as in the station.
//
// Input: a set-up byte (model, protocol, FastReply, second board), the
// decimal places of three channels, the address, the heat-cool key, the
// number of cycles and the seconds between them; then for each cycle a
// byte that may send an operator key first, and for each request a control
// byte and the bytes it needs. The settings texts are ones SetUserTag.ini
// may give, sensible or not.
#include "fuzz_support.h"

#include "clock.h"
#include "lamp_select.h"
#include "link.h"
#include "poll_walk.h"
#include "record_hooks.h"
#include "record_json.h"
#include "remote_keys.h"
#include "reply_check.h"
#include "serial_port.h"
#include "state.h"
#include "station_hooks.h"
#include "trend_file.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <cstdio>
#include <memory>

using namespace qel;

namespace {

const char* const kModels[] = {"QEL2000", "QEL2100", "QEL2200", "QEL2300", "QEL2400"};
// What the SDP, AddressNo and MODEL_ZZ keys of existing files give, and what they should not.
const char* const kPlaces[] = {"", "0", "00", "000", "0000", "#", "0.0", "000000000"};
const char* const kOddAddresses[] = {"0", "", "248", "40000", "9e+99", "-1", "1.5", "&H10"};
const char* const kVariants[] = {"0", "1", "2", "-1", "", "1.5", "40000", "9e+99"};

// The controller's end of the line: each request is answered from the input.
class Line final : public SerialPort {
public:
    explicit Line(qelfuzz::Input& in) : in_(in) {}
    bool ascii = false;

    bool portOpen() const override { return open_; }
    void setCommPort(int) override {}
    void setSettings(const QString&) override {}
    void setPortOpen(bool open) override { open_ = open; }
    int inBufferCount() override {
        arrive();
        return static_cast<int>(pending_.size());
    }
    void clearInBuffer() override { input(); }
    void clearOutBuffer() override {}
    void output(const QByteArray& bytes) override {
        int delayMs = 0;
        const QByteArray reply = answer(bytes, delayMs);
        if (!reply.isEmpty()) inFlight_.append({CurrentClock().elapsedMs() + delayMs, reply});
    }
    QByteArray input() override {
        arrive();
        QByteArray out;
        out.swap(pending_);
        return out;
    }

private:
    void arrive() {
        const int64_t now = CurrentClock().elapsedMs();
        while (!inFlight_.isEmpty() && inFlight_.first().first <= now) pending_ += inFlight_.takeFirst().second;
    }

    // The request as the controller reads it: address, function, first register, count.
    QByteArray pduOf(const QByteArray& request) const {
        if (!ascii) return request.left(6);
        return QByteArray::fromHex(request.mid(1, 12));
    }

    QByteArray frame(const QByteArray& pdu, bool lower) const {
        if (!ascii) {
            const uint16_t crc = Crc16(pdu);
            return QByteArray(pdu).append(static_cast<char>(crc & 0xFF)).append(static_cast<char>(crc >> 8));
        }
        int sum = 0;
        for (char c : pdu) sum += static_cast<uint8_t>(c);
        const QByteArray hex = (pdu + static_cast<char>(-sum & 0xFF)).toHex();
        return ':' + (lower ? hex : hex.toUpper()) + "\r\n";
    }

    QByteArray answer(const QByteArray& request, int& delayMs) {
        const QByteArray req = pduOf(request);
        if (req.size() < 6 || req[1] != '\x03') return {};  // writes (keys) get no answer
        const int count = static_cast<uint8_t>(req[4]) << 8 | static_cast<uint8_t>(req[5]);
        const uint8_t control = in_.byte();
        if (control >= 0xF0) {  // raw bytes, as they came
            return in_.take(in_.byte());
        }
        if (control >= 0xE8) return {};  // silence
        if (control >= 0xE0) {           // a whole reply, late
            delayMs = 50 * in_.byte();
        }
        QByteArray pdu;
        pdu.append(req[0]);
        if (control >= 0xD0 && control < 0xE0) {  // an exception
            pdu.append('\x83').append(static_cast<char>(1 + control % 4));
        } else {
            pdu.append('\x03').append(static_cast<char>((2 * count) & 0xFF));
            pdu += in_.take(static_cast<size_t>(2 * count)).leftJustified(2 * count, '\0');
        }
        return frame(pdu, control & 0x40);
    }

    qelfuzz::Input& in_;
    bool open_ = false;
    QByteArray pending_;
    QList<QPair<int64_t, QByteArray>> inFlight_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    // Lamp tables of chamber 1 for every model, so that event detection has
    // items to watch whatever the model of the run.
    qelfuzz::Init(argc, argv, {}, [] {
        for (const char* model : kModels) WriteDefaultLampEntries(1, QString::fromLatin1(model), QStringLiteral("1"));
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::Input in(data, size);
    const uint8_t setup = in.byte();
    const QString model = QString::fromLatin1(kModels[setup % 5]);
    Protocol = (setup & 0x08) ? QStringLiteral("ASC") : QStringLiteral("RTU");
    FastReply = (setup & 0x10) ? 1 : 0;
    ChamberBoard[0] = (setup & 0x40) ? QStringLiteral("1") : QStringLiteral("0");
    for (int k = 0; k < 3; ++k) Chamber[0].DP[k] = QString::fromLatin1(kPlaces[in.byte() % 8]);
    const uint8_t address = in.byte();
    ChamberAddress[0] = address < 0xF8 ? QString::number(1 + address % 247) : QString::fromLatin1(kOddAddresses[address % 8]);
    ChamberVariant[0] = QString::fromLatin1(kVariants[in.byte() % 8]);
    const uint8_t timing = in.byte();
    const int cycles = 1 + timing % 4;
    const int secondsBetween = 1 + (timing >> 2) % 40;

    MaxChamberNo = 1;
    ChamberModel[0] = model;
    Chamber[0].ChannelCount = ChannelCountOf(model);
    FileSave = 1;
    auto port = std::make_unique<Line>(in);
    port->ascii = Protocol == u"ASC";
    MSComm1 = std::move(port);
    OpenLink();
    ReadLampSelect(1);
    InstallRecordHooks();
    Hooks.operationGraph = [](int16_t chamber) {
        Trend(chamber).addSample(chamber, Now());
        (void)Trend(chamber).rows(chamber);
    };

    static const bool verbose = qEnvironmentVariableIsSet("QELFUZZ_VERBOSE");  // to follow a finding
    for (int cycle = 0; cycle < cycles; ++cycle) {
        // The operator's keys, on the channel the page shows.
        const uint8_t key = in.byte();
        StatusPanel3 = QString::number(1 + (key >> 4) % 3);
        switch (key & 0x0F) {
            case 1:
                SetStartPT(1);
                break;
            case 2:
                SetStopMode(1);
                break;
            case 3:
                SetHoldMode(1, key >> 7);
                break;
            case 4:
                SetAdvMode(1);
                break;
            case 5:
                SetStartFix(1);
                break;
            case 6:
                SetUserKey(1);
                break;
            default:
                break;
        }
        PollChamber(1);
        const QJsonObject record = ChamberRecJson(1);
        if (verbose) std::fprintf(stderr, "%s\n", QJsonDocument(record).toJson(QJsonDocument::Compact).constData());
        qelfuzz::AdvanceClockMs(1000LL * secondsBetween);
    }
    RemoveLink();  // the line reads from this run's input
    return 0;
}
