// A station starting on the settings an installation holds, and polling:
// the input is SetUserTag.ini (its length in the first two bytes) and
// SetComm.ini (the rest). The loaders run in the station's order, then two
// poll walks of up to four chambers against controllers that all run a
// program, with data log, event detection and trend, so that every value
// the settings give (names, addresses, models, places, heat-cool, line
// settings, record interval) is used the way the station uses it.
#include "fuzz_support.h"

#include "clock.h"
#include "comm_settings.h"
#include "config_report.h"
#include "di_names.h"
#include "folders.h"
#include "graph_settings.h"
#include "lamp_select.h"
#include "link.h"
#include "poll_walk.h"
#include "record_hooks.h"
#include "record_json.h"
#include "reply_check.h"
#include "serial_port.h"
#include "state.h"
#include "station_hooks.h"
#include "trend_file.h"
#include "user_tag.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <memory>

using namespace qel;

namespace {

// Controllers that answer every read at once, every register 1: each
// channel runs a program, with an end date of 2001-01-01.
class Line final : public SerialPort {
public:
    bool portOpen() const override { return open_; }
    void setCommPort(int) override {}
    void setSettings(const QString&) override {}
    void setPortOpen(bool open) override { open_ = open; }
    int inBufferCount() override { return static_cast<int>(pending_.size()); }
    void clearInBuffer() override { pending_.clear(); }
    void clearOutBuffer() override {}
    void output(const QByteArray& bytes) override {
        const bool ascii = bytes.startsWith(':');
        const QByteArray req = ascii ? QByteArray::fromHex(bytes.mid(1, 12)) : bytes.left(6);
        if (req.size() < 6 || req[1] != '\x03') return;
        const int count = static_cast<uint8_t>(req[4]) << 8 | static_cast<uint8_t>(req[5]);
        QByteArray pdu;
        pdu.append(req[0]).append('\x03').append(static_cast<char>((2 * count) & 0xFF));
        for (int r = 0; r < count; ++r) pdu.append('\0').append('\x01');
        if (!ascii) {
            const uint16_t crc = Crc16(pdu);
            pending_ += pdu + static_cast<char>(crc & 0xFF) + static_cast<char>(crc >> 8);
            return;
        }
        int sum = 0;
        for (char c : pdu) sum += static_cast<uint8_t>(c);
        pending_ += ':' + (pdu + static_cast<char>(-sum & 0xFF)).toHex().toUpper() + "\r\n";
    }
    QByteArray input() override {
        QByteArray out;
        out.swap(pending_);
        return out;
    }

private:
    bool open_ = false;
    QByteArray pending_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv, {"string-rkr.xml", "string-ren.xml", "string-rch.xml", "SetDIErrorName.ini",
                               "SetScreensGraphInfo.ini", "SetGraphInfo.ini"});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::Input in(data, size);
    const size_t userTagBytes = static_cast<size_t>(in.byte()) << 8 | in.byte();
    qelfuzz::WriteAppFile(QStringLiteral("SetUserTag.ini"), in.take(userTagBytes));
    qelfuzz::WriteAppFile(QStringLiteral("SetComm.ini"), in.rest());

    MSComm1 = std::make_unique<Line>();
    LinkCallsOfSettings() = {[](int16_t port) { ClosePort(port); }, [] { return OpenLink(); }};
    ReadUserTag();
    MakeFolders();
    DeleteTrendFiles();
    ReadCOMINI();
    ReadDIErrorName();
    ReadDataGraph(0);
    (void)ConfigProblems();
    // Four chambers at most, and no more than a second per read: the fuzzer's time is better spent on more inputs.
    MaxChamberNo = std::min<int16_t>(MaxChamberNo, 4);
    PCSpeed = std::min<int16_t>(PCSpeed, 1000);
    ResetRunState();
    InstallRecordHooks();
    Hooks.operationGraph = [](int16_t chamber) {
        Trend(chamber).addSample(chamber, Now());
        (void)Trend(chamber).rows(chamber);
    };
    for (int c = 1; c <= std::max<int>(MaxChamberNo, 0); ++c) ReadLampSelect(static_cast<int16_t>(c));

    static const bool verbose = qEnvironmentVariableIsSet("QELFUZZ_VERBOSE");  // to follow a finding
    if (verbose) std::fprintf(stderr, "%s\n", qPrintable(ConfigProblems().join(u'\n')));
    for (int tick = 0; tick < 2; ++tick) {
        ReadCommTick();
        for (int c = 1; c <= std::max<int>(MaxChamberNo, 0); ++c) {
            const QJsonObject record = ChamberRecJson(static_cast<int16_t>(c));
            if (verbose) std::fprintf(stderr, "%s\n", QJsonDocument(record).toJson(QJsonDocument::Compact).constData());
        }
        qelfuzz::AdvanceClockMs(31'000);
    }
    if (verbose)
        for (const QString& f : QDir(qelfuzz::AppDir() + QStringLiteral("DATA")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot))
            std::fprintf(stderr, "DATA/%s: %s\n", qPrintable(f),
                         qPrintable(QDir(qelfuzz::AppDir() + QStringLiteral("DATA/") + f).entryList(QDir::Files).join(u' ')));
    RemoveLink();
    return 0;
}
