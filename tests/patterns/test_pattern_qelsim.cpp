// Pattern transfers against qelsim's own controller models and servers, in
// this process, over a real pseudo-terminal (RTU) and real loopback sockets
// (Modbus/TCP), on a clock that moves in simulated time: the station's waits
// of PCSpeed 300 pass in a sliver of real time, so a transfer of minutes runs
// in well under a second on TCP. The requests of a save and of the editor's
// download are checked as the simulator received them, against sequences
// written here from each model's command window; the stop key and the
// failures follow, once each.
#include "app_dir.h"
#include "app_folder.h"
#include "clock.h"
#include "commands.h"
#include "language.h"
#include "link.h"
#include "pattern_transfer.h"
#include "pattern_transfer_2200.h"
#include "pattern_transfer_2300.h"
#include "pattern_transfer_2400.h"
#include "serial_server.h"
#include "settings_state.h"
#include "state.h"
#include "tcp_server.h"

#include <QThread>
#include <gtest/gtest.h>
#include <memory>

using namespace qel;

namespace {

// Simulated time for the station and the simulated controller alike. Each
// slice of a wait passes in 1/scale of its real length, so that the pty's
// timers still get real time to deliver in; scale 0 passes none at all
// (loopback TCP delivers as it is written).
class FastClock final : public Clock {
public:
    explicit FastClock(int scale) : scale_(scale) {}
    QDateTime now() const override { return start_.addMSecs(ms_); }
    int64_t elapsedMs() const override { return ms_; }
    void sleepMs(int ms) override {
        ms_ += ms;
        if (scale_ > 0) QThread::usleep(static_cast<unsigned long>(ms * 1000 / scale_));
    }

private:
    QDateTime start_{QDate(2024, 3, 4), QTime(9, 0)};
    int64_t ms_ = 0;
    int scale_;
};

constexpr int kAddress = 2;

const QString z4 = "0000";

// Two segments, a tail with loop rows 1 and 4; read by each model as it
// uses the fields (StartSP2 and SegSP2 by the QEL2200, aux by the others).
PatternRec Sample() {
    PatternRec r;
    r.StartType = "1";
    r.StartSP = "25.0";
    r.StartSP2 = "60.0";
    r.SegSP = {"-40.0", "85.5"};  // -40.0 at one place is -400: FE70; 85.5 is 0357
    r.SegSP2[0] = "55.25";        // at two places 5525: 1595
    r.SegTime = {"5430", "0"};    // 1 h 30 min 30 s: hours 1 + 1, remainder 1830 = 0726; 0 s: hours 1
    r.SegSignal2[0] = "12";
    r.SegAux1[0] = "7";
    r.SegAux4[0] = "3";
    r.SegUse[0] = "1";
    r.PatternRepeat = "0";  // goes as 1
    r.ChannelRepeat = "4";
    r.EndMode = "1";
    r.LoopStart = {"1", "", "", "4"};
    r.LoopEnd = {"2", "", "", "5"};
    r.LoopCount = {"5", "", "", "6"};
    return r;
}

// The QEL2300's room program: the Ex room off (DefrostType 1), no Hi or Lo pre-heat temperature.
PatternRec RoomProgram() {
    PatternRec r;
    r.PatternRepeat = "3";
    r.EndMode2300 = "1";
    r.DefrostType = "1";
    r.HiRoomMode = "2";
    r.DefrostPeriod = "120";
    r.DefrostTime = "90";
    r.DefrostTemp = "-40.0";
    r.SegSP = {"85.0", "20.0", "-40.0"};
    r.SegTime = {"5430", "600", "0"};
    r.SegSP2[1] = "30.0";
    r.SegSignal1 = {"1", "", "", "", "", "", "", "8"};
    r.SegSignal2[0] = "5";
    r.SegSignal3[2] = "3";
    return r;
}

using Save = int16_t (*)(PatternRec&, int channel, const TransferUi&);
using Download = void (*)(int channel, const TransferUi&, const std::function<void()>&);

struct ModelTransfer {
    const char* model;
    std::array<QString, 3> dp;
    int channel;  // index
    PatternRec (*record)();
    Save save;
    Download download;
    QStringList saved, read;  // request bodies (no address, no checksum) of the save, then of the download
    QStringList back;         // SegmentCount, SegSP[0], SegTime[0], SegSP[1], SegTime[1], PatternRepeat read back
};

// Pattern 3 (4 on the QEL2300) of each model.
const ModelTransfer kModels[] = {
    {"QEL2100", {"0", "0", ""}, 1, Sample,
     [](PatternRec& r, int ch, const TransferUi& ui) { return PatternSave(1, r, 3, ch, ui); },
     [](int ch, const TransferUi& ui, const std::function<void()>& show) { ProgramDownload(1, ch, ui, show); },
     // Channel, clear 3..3, pattern level, start type, start set point of channel index 1, store;
     // per segment select, set point + hours + remainder + eight signals, aux, use, store; the tail:
     // the other channel's repeat at 1 before this one's, loop rows row by row.
     {"06044B0001", "100450000306000300030005", "10044B000306000100030000", "0604750001", "06047700FA", "0604520003",
      "06044D0001", "100464000B16FE70000207260000000C" + z4.repeated(6), "10046F0004080007000000000003",
      "06048E0001", "0604520003",
      "06044D0002", "100464000B16035700010000" + z4.repeated(8), "10046F000408" + z4.repeated(4), "06048E0000",
      "0604520003",
      "10044B000306000100030000", "10047D0004080001000100010004",
      "100482000C18000100020005" + z4.repeated(6) + "000400050006", "0604520003"},
     {"06044B0001", "06044C0003", "0604520002", "0304740052", "06044D0001", "0604520002", "0304640052",
      "06044D0002", "0604520002", "0304640052", "10044B00081000010003000000010001000100010002", "03047D0052"},
     {"2", "-40.0", "9030", "85.5", "3600", "1"}},  // every segment an hour longer
    {"QEL2200", {"0", "00", ""}, 0, Sample,
     [](PatternRec& r, int, const TransferUi& ui) { return QEL2200_PatternSave(1, r, 3, ui); },
     [](int, const TransferUi& ui, const std::function<void()>& show) { QEL2200_ProgramDownload(1, ui, show); },
     // Clear, pattern level, header with both start set points, store; per segment select, 13 registers
     // (SegSP2 at channel 2's two places), store; the tail with the loop rows array by array.
     {"10051D000306000300030005", "1005190002040003" + z4, "10001E000306000100FA0258", "06051F0003",
      "06051A0001", "100530000D1AFE70159500020726" + z4 + "000C" + z4.repeated(6) + "0001", "06051F0003",
      "06051A0002", "100530000D1A0357" + z4 + "0001" + z4.repeated(10), "06051F0003",
      "1005190002040003" + z4,
      "100021000F1E000100040001" "0001" + z4 + z4 + "0004" "0002" + z4 + z4 + "0005" "0005" + z4 + z4 + "0006",
      "06051F0003"},
     {"0605190003", "06051F0002", "03001D0052", "06051A0001", "06051F0002", "0305300052", "06051A0002", "06051F0002",
      "0305300052", "10051900070E0003000000010001000100010002", "0300210052"},
     {"2", "-40.0", "9030", "85.5", "3600", "1"}},
    {"QEL2300", {"0", "00", "00"}, 0, RoomProgram,
     [](PatternRec& r, int, const TransferUi& ui) { return QEL2300_PTSave(1, r, 4, ui); },
     [](int, const TransferUi& ui, const std::function<void()>& show) { QEL2300_ProgramDownload(1, ui, show); },
     // Clear, select, the block in parts: hours plain, the Ex room zeroed and then written, empty
     // pre-heat temperatures as -200.0 (F830), 0x092A always 0, the Ex signals zero below DefrostType 2.
     {"100900000306000400040005", "0608FC0004", "10091800050A00030001000100020000", "10091D0003060078005AFE70",
      "1009200003060352" "00C8" "FE70", "10092300020400010726", "100925000204" + z4 + z4,
      "100925000204" + z4 + "0258", "100927000204" + z4 + z4, "100929000306F8300000F830",
      "10092C0008100001" + z4.repeated(6) + "0008", "100934000810" + z4.repeated(8),
      "10093C000810" + z4 + z4 + "0003" + z4.repeated(5), "0609020003"},
     {"0608FC0004", "0609020002", "0309180052"},
     {"", "85.0", "5430", "20.0", "600", "3"}},  // no extra hour on this model
    {"QEL2400", {"", "00", "0"}, 2, Sample,
     [](PatternRec& r, int ch, const TransferUi& ui) { return QEL2400_PatternSave(1, r, 3, ch, ui); },
     [](int ch, const TransferUi& ui, const std::function<void()>& show) { ProgramDownload(1, ch, ui, show); },
     // Channel, clear, pattern level, start type, start set point at 0x019C by channel 3's places, store;
     // per segment select, 15 registers (aux included), use, store; the tail with the other channels'
     // repeats at 0, loop rows row by row.
     {"06018F0002", "100194000306000300030005", "10018F000306000200030000", "0601990001", "06019C00FA", "0601960003",
      "0601910001", "10019D000F1EFE70000207260000000C" + z4.repeated(6) + "0007" + z4 + z4 + "0003", "0601B10001",
      "0601960003",
      "0601910002", "10019D000F1E035700010000" + z4.repeated(12), "0601B10000", "0601960003",
      "10018F000306000200030000", "1001B700050A00010001000000000004",
      "1001BC000C18000100020005" + z4.repeated(6) + "000400050006", "0601960003"},
     {"10018F00020400020003", "0601960002", "0302210052", "0301990052", "0601910001", "0601960002", "03019D0052",
      "0601910002", "0601960002", "03019D0052", "0301B70052"},
     {"2", "-40.0", "9030", "85.5", "3600", "1"}},
};

// One chamber of a model at address 2, served by qelsim over the line.
class SimLine : public ::testing::Test {
protected:
    void start(const char* protocol, const char* model, const std::array<QString, 3>& dp) {
        tcp.reset();
        serial.reset();
        received.clear();
        boxes.clear();
        ResetSettingsState();
        FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
        Language = "ENG";
        LoadLanguage();
        bus = std::make_unique<qelsim::Bus>([this] { return clock->now(); }, 1);
        ASSERT_TRUE(bus->add(qelsim::MakeChamber({kAddress, model, {1, 1, 1}, false})));
        bus->setTrace([this](const QString& line) {
            if (line.startsWith(u"rx ")) received << line.section(u' ', -1);  // the pdu, last on the line
        });
        QString error;
        Protocol = protocol;
        PCSpeed = 300;
        MaxChamberNo = 1;
        ChamberUse[0] = "1";
        ChamberAddress[0] = QString::number(kAddress);
        ChamberModel[0] = model;
        Chamber[0].DP = dp;
        if (Protocol == u"RTU") {
            ASSERT_TRUE(pty.open(&error)) << error.toStdString();
            serial = std::make_unique<qelsim::SerialServer>(*bus, pty, qelsim::Framing::Rtu);
            SerialPortDevices[PortNumber] = pty.slavePath();
        } else {
            tcp = std::make_unique<qelsim::TcpServer>(*bus, QHostAddress("127.0.0.1"), 0, false);
            ASSERT_TRUE(tcp->start(&error)) << error.toStdString();
            const qelsim::TcpServer::Endpoint at = tcp->endpoints().first();
            ChamberIP[0] = at.host.toString();
            RemotePort = static_cast<int16_t>(at.port);
        }
        InstallQtLink();
        OpenLink();
        WaitSec(0.2);  // on the wall clock: the connection is made before time speeds up
        clock = std::make_unique<FastClock>(Protocol == u"RTU" ? 25 : 0);
        SetClock(clock.get());
        ui.message = [this](const QString& title, const QString& text) { boxes << title + "|" + text; };
        ui.stopped = [this] { return stopAfter >= 0 && received.size() >= stopAfter; };
        TailDirty = -1;
    }
    void TearDown() override {
        RemoveLink();
        SetClock(nullptr);
        ClearLanguageTables();
        ResetSettingsState();
    }

    qeltest::AppDir dir;
    std::unique_ptr<FastClock> clock = std::make_unique<FastClock>(1);
    std::unique_ptr<qelsim::Bus> bus;
    qelsim::PtyPort pty;
    std::unique_ptr<qelsim::SerialServer> serial;
    std::unique_ptr<qelsim::TcpServer> tcp;
    TransferUi ui;
    QStringList received;  // request pdus as the simulator took them, upper-case hex
    QStringList boxes;     // "title|text"
    int stopAfter = -1;    // the stop key reads "STOP" once the simulator has taken this many requests
};

void PrintTo(const ModelTransfer& m, std::ostream* os) { *os << m.model; }

class EveryModel : public SimLine, public ::testing::WithParamInterface<std::tuple<std::string, ModelTransfer>> {};

// A QEL2100 with one place on both channels, on each line.
class PatternSim : public SimLine, public ::testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        start(GetParam(), "QEL2100", {"0", "0", ""});
        TailDirty = 0;
    }
};

INSTANTIATE_TEST_SUITE_P(Lines, PatternSim, ::testing::Values("RTU", "ETH"));

}  // namespace

// Guards each model's command window in save and download: a register, scaling, extra hour, default or layout astray.
TEST_P(EveryModel, SaveAndDownloadSendTheTablesSequences) {
    const auto& [protocol, m] = GetParam();
    start(protocol.c_str(), m.model, m.dp);
    PatternRec r = m.record();
    EXPECT_EQ(m.save(r, m.channel, ui), -1);
    EXPECT_EQ(received, m.saved);

    received.clear();
    Pattern = PatternRec{};
    Pattern.PatternNo = m.model == QLatin1String("QEL2300") ? "4" : "3";
    int shown = 0;
    m.download(m.channel, ui, [&] { ++shown; });
    EXPECT_EQ(received, m.read);
    EXPECT_EQ(shown, 1);
    EXPECT_EQ((QStringList{Pattern.SegmentCount, Pattern.SegSP[0], Pattern.SegTime[0], Pattern.SegSP[1],
                           Pattern.SegTime[1], Pattern.PatternRepeat}),
              m.back);
    EXPECT_TRUE(boxes.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Models, EveryModel,
                         ::testing::Combine(::testing::Values(std::string("RTU"), std::string("ETH")),
                                            ::testing::ValuesIn(kModels)),
                         [](const auto& i) { return std::get<0>(i.param) + "_" + std::get<1>(i.param).model; });

// Guards the stop key: after the clear nothing more is written, the pattern stays cleared; a stopped read's requests.
TEST_P(PatternSim, StopLeavesTheClearedPattern) {
    PatternRec first = Sample();
    PatternSave(1, first, 4, 0, ui);
    ASSERT_EQ(PatternSegmentsOnController(1, 4, 0), 2);
    received.clear();
    stopAfter = 3;  // after channel, clear and pattern level
    PatternRec again = Sample();
    PatternSave(1, again, 4, 0, ui);
    EXPECT_EQ(received.size(), 3);
    stopAfter = -1;
    EXPECT_EQ(PatternSegmentsOnController(1, 4, 0), 0);
    received.clear();
    stopAfter = 2;
    EXPECT_TRUE(PatternRead(1, 4, 0, ui).SegmentCount.isEmpty());
    EXPECT_EQ(received, (QStringList{"06044B0000", "06044C0004"}));
}

// Guards a silent controller: the read's box once lost, an empty record; the QEL2300's three logged tries, two boxes.
TEST_F(SimLine, NoAnswer) {
    start("ETH", "QEL2100", {"0", "0", ""});
    ASSERT_EQ(qelsim::RunCommand(*bus, "silent 2").reply, "ok");
    PatternRec r;
    for (int i = 0; i < 4; ++i) r = PatternRead(1, 5, 0, ui);  // until the chamber counts as lost
    EXPECT_EQ(boxes.last(), "Error|Communication error.");
    EXPECT_TRUE(r.PatternRepeat.isEmpty());

    TearDown();
    start("ETH", "QEL2300", {"0", "00", "00"});
    ASSERT_EQ(qelsim::RunCommand(*bus, "silent 2").reply, "ok");
    EXPECT_TRUE(QEL2300_PTRead(1, 6, ui).PatternRepeat.isEmpty());
    EXPECT_EQ(received, (QStringList{"0608FC0006", "0609020002", "0309180052", "0309180052", "0309180052"}));
    for (const char* tries : {"1frmPattern2300 Pattern read error", "3frmPattern2300 Pattern read error"})
        EXPECT_TRUE(dir.errorLog().contains(tries)) << tries;
    EXPECT_EQ(boxes, QStringList(2, "Error|The pattern could not be read."));
}

// Guards a QEL2400 channel index or a chamber outside the table: nothing sent, the read logs, the save boxes and logs.
TEST_F(SimLine, BadTargetsSendNothing) {
    start("ETH", "QEL2400", {"0", "0", "0"});
    PatternRec s = Sample();
    EXPECT_TRUE(QEL2400_PatternRead(1, 5, 3, ui).PatternNo.isEmpty());
    EXPECT_EQ(QEL2400_PatternSave(1, s, 5, -1, ui), -1);
    EXPECT_EQ(QEL2400_PatternSegmentsOnController(1, 5, 3), -1);
    EXPECT_TRUE(QEL2400_PatternRead(31, 5, 0, ui).PatternNo.isEmpty());
    EXPECT_TRUE(received.isEmpty());
    EXPECT_EQ(boxes, QStringList{"Pattern save|Pattern save error"});
    EXPECT_TRUE(dir.errorLog().contains("Pattern read errorSubscript out of range"));
    EXPECT_TRUE(dir.errorLog().contains("Pattern save errorSubscript out of range"));
}

// Guards the editor's download: the pattern asked, the record and form filled; stopped, the form left alone.
TEST_P(PatternSim, DownloadFillsTheWorkingRecordAndTheForm) {
    PatternRec r;
    for (int i = 0; i < 3; ++i) r.SegTime[i] = "600";
    r.SegSP[2] = "33.3";
    PatternSave(1, r, 8, 0, ui);
    Pattern = PatternRec{};
    Pattern.PatternNo = "8";
    int shown = 0;
    ProgramDownload(1, 0, ui, [&] { ++shown; });
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(Pattern.SegmentCount, "3");
    EXPECT_EQ(Pattern.SegSP[2], "33.3");

    Pattern = PatternRec{};
    Pattern.PatternNo = "8";
    int checks = 0;
    ui.stopped = [&] { return ++checks > 3; };  // stop key pressed during segment 2
    ProgramDownload(1, 0, ui, [&] { ++shown; });
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(Pattern.SegTime[0], "4200");
    EXPECT_TRUE(Pattern.SegTime[1].isEmpty());
    EXPECT_EQ(Pattern.SegmentCount, "3") << "the controller's count, as the read leaves its loop and goes on";
}

// Guards a value beyond its register: logged, its frame refused, the save and the line going on without a box.
TEST_P(PatternSim, AValueBeyondItsRegisterIsLoggedAndTheSaveGoesOn) {
    PatternRec r;
    r.StartSP = "10.0";
    r.SegSP[0] = "4000.0";  // 40000 tenths: beyond a signed register
    r.SegTime[0] = "60";
    r.SegSP[1] = "20.0";
    r.SegTime[1] = "120";
    PatternSave(1, r, 6, 0, ui);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(dir.errorLog().count("OverflowmodSubFunc.Dec2Hex"), 1) << dir.errorLog().toStdString();
    const PatternRec back = PatternRead(1, 6, 0, ui);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(back.SegmentCount, "2");
    EXPECT_EQ(back.StartSP, "10.0");
    EXPECT_EQ(back.SegSP[1], "20.0");
    EXPECT_EQ(back.SegTime[1], "3720");
}

// Guards a controller leaving mid-save: the save ends without hanging and the read after it says so.
TEST_P(PatternSim, AControllerThatGoesAwayMidTransfer) {
    PatternRec r;
    for (int i = 0; i < 6; ++i) r.SegTime[i] = "60";
    int checks = 0;
    ui.stopped = [&] {
        if (++checks == 6) {
            EXPECT_EQ(qelsim::RunCommand(*bus, "stop 2").reply, "ok");
        }
        return false;
    };
    PatternSave(1, r, 3, 0, ui);
    const PatternRec back = PatternRead(1, 3, 0, ui);
    EXPECT_EQ(boxes, QStringList{"Error|Communication error."});
    EXPECT_TRUE(back.SegmentCount.isEmpty());
}

