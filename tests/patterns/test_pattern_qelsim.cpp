// Pattern transfers against qelsim's own controller model and servers, in
// this process, over a real pseudo-terminal (RTU) and real loopback sockets
// (Modbus/TCP), on a clock that moves in simulated time: the station's waits
// of PCSpeed 300 pass in a sliver of real time, so a transfer of minutes runs
// in well under a second on TCP. The requests are checked as the simulator
// received them, against sequences written here from the controller's tables.
#include "app_dir.h"
#include "app_folder.h"
#include "clock.h"
#include "commands.h"
#include "language.h"
#include "link.h"
#include "pattern_transfer.h"
#include "ptn_file.h"
#include "serial_server.h"
#include "settings_state.h"
#include "state.h"
#include "tcp_server.h"

#include <QElapsedTimer>
#include <QThread>
#include <gtest/gtest.h>
#include <memory>

namespace {

// Simulated time for the station and the simulated controller alike. Each
// slice of a wait passes in 1/scale of its real length, so that the pty's
// timers still get real time to deliver in; scale 0 passes none at all
// (loopback TCP delivers as it is written).
class FastClock final : public qel::Clock {
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

QByteArray Text(const QByteArray& t) {
    QByteArray b;
    b.append(char(t.size() & 0xFF)).append(char(t.size() >> 8)).append(t);
    return b;
}

class PatternSim : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        qel::ResetSettingsState();
        qel::FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
        qel::Language = "ENG";
        qel::LoadLanguage();
        bus = std::make_unique<qelsim::Bus>([this] { return clock->now(); }, 1);
        ASSERT_TRUE(bus->add(qelsim::MakeChamber({kAddress, "QEL2100", {1, 1}, false})));
        bus->setTrace([this](const QString& line) {
            if (line.startsWith(u"rx ")) received << line.section(u' ', -1);  // the pdu, last on the line
        });
        QString error;
        qel::Protocol = GetParam();
        qel::PCSpeed = 300;
        qel::MaxChamberNo = 1;
        qel::ChamberUse[0] = "1";
        qel::ChamberAddress[0] = QString::number(kAddress);
        qel::ChamberModel[0] = "QEL2100";
        qel::Chamber[0].DP = {"0", "0", ""};
        if (qel::Protocol == u"RTU") {
            ASSERT_TRUE(pty.open(&error)) << error.toStdString();
            serial = std::make_unique<qelsim::SerialServer>(*bus, pty, qelsim::Framing::Rtu);
            qel::SerialPortDevices[qel::PortNumber] = pty.slavePath();
        } else {
            tcp = std::make_unique<qelsim::TcpServer>(*bus, QHostAddress("127.0.0.1"), 0, false);
            ASSERT_TRUE(tcp->start(&error)) << error.toStdString();
            const qelsim::TcpServer::Endpoint at = tcp->endpoints().first();
            qel::ChamberIP[0] = at.host.toString();
            qel::RemotePort = static_cast<int16_t>(at.port);
        }
        qel::InstallQtLink();
        qel::OpenLink();
        qel::WaitSec(0.2);  // on the wall clock: the connection is made before time speeds up
        clock = std::make_unique<FastClock>(qel::Protocol == u"RTU" ? 25 : 0);
        qel::SetClock(clock.get());
        ui.message = [this](const QString& title, const QString& text) { boxes << title + "|" + text; };
        qel::TailDirty = 0;
    }
    void TearDown() override {
        qel::RemoveLink();
        qel::SetClock(nullptr);
        qel::ClearLanguageTables();
        qel::ResetSettingsState();
    }

    qeltest::AppDir dir;
    std::unique_ptr<FastClock> clock = std::make_unique<FastClock>(1);
    std::unique_ptr<qelsim::Bus> bus;
    qelsim::PtyPort pty;
    std::unique_ptr<qelsim::SerialServer> serial;
    std::unique_ptr<qelsim::TcpServer> tcp;
    QStringList received;  // request pdus as the simulator took them, upper-case hex
    qel::TransferUi ui;
    QStringList boxes;
};

INSTANTIATE_TEST_SUITE_P(Lines, PatternSim, ::testing::Values("RTU", "ETH"));

}  // namespace

// Guards the whole round trip: a file written by our writer, loaded, saved
// into the controller, read back and saved again gives the file predicted
// here item by item, every segment an hour longer.
TEST_P(PatternSim, FileControllerFileRoundTrip) {
    qel::PatternRec made;
    made.PatternNo = "12";
    made.StartType = "2";
    made.StartSP = "20.0";
    made.SegSP[0] = "-40.0";
    made.SegTime[0] = "1800";
    made.SegSignal1[0] = "7";
    made.SegSP[1] = "150.5";
    made.SegTime[1] = "7260";
    made.SegUse[1] = "1";
    made.PatternRepeat = "3";
    made.LoopStart[0] = "1";
    made.LoopEnd[0] = "2";
    made.LoopCount[0] = "4";
    const QString first = dir.file("12.PTN"), second = dir.file("12-back.PTN");
    ASSERT_EQ(qel::PC_SavePattern(made, first), -1);
    qel::PatternRec loaded = qel::PC_ReadPattern(qel::PatternRec{}, "12", first);
    qel::TailDirty = -1;
    qel::PatternSave(1, loaded, 12, 0, ui);
    const qel::PatternRec back = qel::PatternRead(1, 12, 0, ui);
    ASSERT_EQ(qel::PC_SavePattern(back, second), -1);

    // The file a read from the controller gives: the values read, "0" for
    // the signal, aux and flag words of each segment, the tail.
    QByteArray want = Text("12") + Text("20.0") + Text("") + Text("2") + Text("");
    const auto segments = [&](const QByteArray& s1, const QByteArray& s2) {
        want += Text(s1) + Text(s2);
        for (int e = 2; e < 101; ++e) want += Text("");
    };
    segments("-40.0", "150.5");                       // SegSP
    for (int e = 0; e < 101; ++e) want += Text("");    // SegSP2
    segments("5400", "10860");                        // SegTime: an hour longer each
    segments("7", "0");                               // SegSignal1
    for (int k = 0; k < 11; ++k) segments("0", "0");  // SegSignal2..8, SegAux1..4
    segments("0", "1");                               // SegUse
    want += Text("3") + Text("1") + Text("0");        // PatternRepeat, ChannelRepeat, EndMode
    for (const char* loop : {"1", "2", "4"}) {        // LoopStart, LoopEnd, LoopCount
        want += Text(loop);
        for (int e = 1; e < 4; ++e) want += Text("0");
        want += Text("");
    }
    want += Text("2") + QByteArray(4, '\0');  // SegmentCount, TotalTime
    for (int k = 0; k < 8; ++k) want += Text("");
    EXPECT_EQ(dir.read("12-back.PTN").toHex(' ').toStdString(), want.toHex(' ').toStdString());
    EXPECT_TRUE(boxes.isEmpty());
}

// Guards the requests as the controller sees them, for channel index 1 and a
// record loaded from a file of another model: the fields the QEL2100 does not
// use (second start and segment set points, the room and defrost fields) are
// not sent, and nothing refuses them.
TEST_P(PatternSim, RequestsReachTheControllerInTheTablesOrder) {
    qel::PatternRec r;
    r.StartType = "1";
    r.StartSP = "-5.5";
    r.StartSP2 = "99.9";
    r.SegSP[0] = "60.0";
    r.SegSP2[0] = "12.3";
    r.SegTime[0] = "3725";  // 1 h 2 min 5 s
    r.SegSignal8[0] = "31";
    r.SegAux1[0] = "-2";
    r.PatternRepeat = "0";
    r.ChannelRepeat = "4";
    r.EndMode = "2";
    r.LoopCount[3] = "9";
    r.RoomConfig = "1";
    r.DefrostType = "3";
    r.DefrostTemp = "-5";
    qel::TailDirty = -1;
    qel::PatternSave(1, r, 5, 1, ui);
    const qel::PatternRec back = qel::PatternRead(1, 5, 1, ui);

    const QString zeros = QString(4, '0');
    QStringList want{
        "06044B0001", "100450000306000500050005", "10044B000306000100050000",  // channel, clear 5..5, pattern level
        "0604750001", "060477FFC9",  // start type; -5.5 to channel index 1's register
        "0604520003",
        // 60.0 is 600 = 0258; hours register 1 + 1; 2 min 5 s = 007D; signal 8 = 31 = 001F
        "06044D0001", "100464000B16" "0258" "0002" "007D" + zeros.repeated(7) + "001F",
        "10046F000408FFFE" + zeros.repeated(3), "06048E0000", "0604520003",
        // the tail: repeat 0 goes as 1, the other channel's repeat as 1, end mode 2; loop row 4 count 9
        "10044B000306000100050000", "10047D0004080001000200010004", "100482000C18" + zeros.repeated(11) + "0009",
        "0604520003",
        // the read: channel, pattern, load, header; segment 1 selected, loaded, read; the tail
        "06044B0001", "06044C0005", "0604520002", "0304740052", "06044D0001", "0604520002", "0304640052",
        "10044B00081000010005000000010001000100010002", "03047D0052"};
    EXPECT_EQ(received, want);
    EXPECT_EQ(back.StartSP, "-5.5");
    EXPECT_EQ(back.SegTime[0], "7325");
    EXPECT_EQ(back.SegAux1[0], "-2");
    EXPECT_EQ(back.ChannelRepeat, "4");
    EXPECT_TRUE(back.SegSP2[0].isEmpty() && back.StartSP2.isEmpty() && back.RoomConfig.isEmpty());
    EXPECT_TRUE(boxes.isEmpty());
}

// Guards the editor's download: the working record's pattern number chooses
// what is read, the result replaces the working record and goes into the
// form; stopped, the record keeps what was read and the form is not filled.
TEST_P(PatternSim, DownloadFillsTheWorkingRecordAndTheForm) {
    qel::PatternRec r;
    for (int i = 0; i < 3; ++i) r.SegTime[i] = "600";
    r.SegSP[2] = "33.3";
    qel::PatternSave(1, r, 8, 0, ui);
    qel::Pattern = qel::PatternRec{};
    qel::Pattern.PatternNo = "8";
    int shown = 0;
    qel::ProgramDownload(1, 0, ui, [&] { ++shown; });
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(qel::Pattern.SegmentCount, "3");
    EXPECT_EQ(qel::Pattern.SegSP[2], "33.3");

    qel::Pattern = qel::PatternRec{};
    qel::Pattern.PatternNo = "8";
    int checks = 0;
    ui.stopped = [&] { return ++checks > 3; };  // stop key pressed during segment 2
    qel::ProgramDownload(1, 0, ui, [&] { ++shown; });
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(qel::Pattern.SegTime[0], "4200");
    EXPECT_TRUE(qel::Pattern.SegTime[1].isEmpty());
    EXPECT_EQ(qel::Pattern.SegmentCount, "3") << "the controller's count, as the read leaves its loop and goes on";
}

// Guards a value that does not fit its register: the conversion logs it and
// gives no digits, so the segment's frame goes out short and the controller
// refuses it; the save goes on without a box, and the line with it.
TEST_P(PatternSim, AValueBeyondItsRegisterIsLoggedAndTheSaveGoesOn) {
    qel::PatternRec r;
    r.StartSP = "10.0";
    r.SegSP[0] = "4000.0";  // 40000 tenths: beyond a signed register
    r.SegTime[0] = "60";
    r.SegSP[1] = "20.0";
    r.SegTime[1] = "120";
    qel::PatternSave(1, r, 6, 0, ui);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(dir.errorLog().count("OverflowmodSubFunc.Dec2Hex"), 1) << dir.errorLog().toStdString();
    const qel::PatternRec back = qel::PatternRead(1, 6, 0, ui);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_EQ(back.SegmentCount, "2");
    EXPECT_EQ(back.StartSP, "10.0");
    EXPECT_EQ(back.SegSP[1], "20.0");
    EXPECT_EQ(back.SegTime[1], "3720");
}

// Guards a controller that leaves the line in the middle of a save: the save
// runs to its end without hanging; the read after it says so in its box.
TEST_P(PatternSim, AControllerThatGoesAwayMidTransfer) {
    qel::PatternRec r;
    for (int i = 0; i < 6; ++i) r.SegTime[i] = "60";
    int checks = 0;
    ui.stopped = [&] {
        if (++checks == 6) {
            EXPECT_EQ(qelsim::RunCommand(*bus, "stop 2").reply, "ok");
        }
        return false;
    };
    qel::PatternSave(1, r, 3, 0, ui);
    const qel::PatternRec back = qel::PatternRead(1, 3, 0, ui);
    EXPECT_EQ(boxes, QStringList{"Error|Communication error."});
    EXPECT_TRUE(back.SegmentCount.isEmpty());
}

// A full pattern of 100 segments at PCSpeed 300 on TCP: more than two and a
// half minutes of the station's time each way, every segment back as saved.
TEST_P(PatternSim, HundredSegmentsInSimulatedMinutes) {
    if (qel::Protocol != u"ETH") GTEST_SKIP() << "the pty's own timers set the pace there";
    qel::PatternRec r;
    for (int i = 0; i < 100; ++i) {
        r.SegTime[i] = QString::number(60 * (i + 1));
        r.SegSP[i] = QString::number(i - 50) + ".5";
    }
    QElapsedTimer real;
    real.start();
    const int64_t from = clock->elapsedMs();
    qel::PatternSave(1, r, 99, 0, ui);
    const qel::PatternRec back = qel::PatternRead(1, 99, 0, ui);
    const double simulated = (clock->elapsedMs() - from) / 1000.0;
    std::printf("100 segments saved and read: %.0f s of station time in %.2f s\n", simulated,
                real.elapsed() / 1000.0);
    EXPECT_GT(simulated, 300.0);
    ASSERT_EQ(back.SegmentCount, "100");
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(back.SegTime[i], QString::number(60 * (i + 1) + 3600)) << i;
        EXPECT_EQ(back.SegSP[i], r.SegSP[i]) << i;
    }
    EXPECT_TRUE(boxes.isEmpty());
}
