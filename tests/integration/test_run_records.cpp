// The station's records of a run, end to end: the main frame in this process
// polls a frozen qelsim chamber over TCP while the test steps the chamber
// through run, hold, wait, step, signal changes and stop, and moves the time
// of day on so that hours of run pass in seconds. Files are read back and
// compared with the Part's texts and with what the simulator served.
#include "clock.h"
#include "data_log.h"
#include "data_log_file.h"
#include "line_fixture.h"
#include "link.h"
#include "main_frame.h"
#include "profile.h"
#include "settings_state.h"
#include "state.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QMap>
#include <QTimer>
#include <QThread>
#include <gtest/gtest.h>

using namespace qeltest;

namespace {

// The time of day is the test's; pauses and the tick count are real, so
// that the exchanges wait for the simulator as they do in the station.
class SteppedClock final : public qel::Clock {
public:
    explicit SteppedClock(QDateTime start) : now_(std::move(start)) {}
    QDateTime now() const override { return now_; }
    int64_t elapsedMs() const override { return real_.elapsedMs(); }
    void sleepMs(int ms) override { QThread::msleep(static_cast<unsigned long>(ms)); }
    void advance(int seconds) { now_ = now_.addSecs(seconds); }

private:
    QDateTime now_;
    qel::SystemClock real_;
};

class NoHost final : public qel::FrameHost {
public:
    void showOverview(int) override {}
    void showPage(int) override {}
    bool openModal(qel::FrameForm) override { return false; }
    bool startProgram(const QString&) override { return false; }
    bool openFile(const QString&) override { return false; }
    QString chooseFile(const QString&, const QString&) override { return {}; }
    void closeFrame() override {}
};

// Waits for the poll walk to end `n` times.
bool Ticks(qel::MainFrame& frame, int n = 2) {
    QEventLoop loop;
    int seen = 0;
    auto c = QObject::connect(&frame, &qel::MainFrame::tickDone, &loop, [&] {
        if (++seen == n) loop.quit();
    });
    QTimer::singleShot(10000, &loop, &QEventLoop::quit);
    loop.exec();
    QObject::disconnect(c);
    return seen >= n;
}

QByteArray Text40(const char* text) { return QByteArray(text).leftJustified(40, ' '); }

// int32 seconds and float64 fields, little-endian (the host's order here).
QByteArray Row(int32_t seconds, const std::vector<double>& fields) {
    QByteArray b(reinterpret_cast<const char*>(&seconds), 4);
    for (double f : fields) b.append(reinterpret_cast<const char*>(&f), 8);
    return b;
}

QByteArray Bytes(const QString& file) {
    QFile f(file);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// qelsim with a frozen line and the station's main frame in this process,
// with the time of day at 2024-01-31 08:15:07 under the test's hand.
class RunLine : public ::testing::Test {
protected:
    void start(const QStringList& served, const std::function<void(const QString& folder)>& settings = {},
               const QString& model = "QEL2100") {
        ASSERT_TRUE(line.start("ETH", {{1, model}}, QStringList{"--frozen", "--no-noise"} + served, 40))
            << line.sim.stderrText().toStdString();
        folder = line.folder() + '/';
        ASSERT_TRUE(qel::WriteProfileString("FileSaveSec", "FileSave", "30", folder + "SetComm.ini"));
        if (settings) settings(folder);
        qel::ResetAllState();
        qel::AppPath = folder;
        qel::SetClock(&clock);
        frame = std::make_unique<qel::MainFrame>(op, host);
        frame->load();
        ASSERT_EQ(qel::FileSave, 30);
        ASSERT_TRUE(Ticks(*frame));
    }
    void TearDown() override {
        if (frame) frame->queryUnload(false);
        frame.reset();
        qel::RemoveLink();
        qel::SetClock(nullptr);
        qel::ResetProgramEnding();
    }
    // A register of chamber 1 takes the value, and two walks pass.
    void set(const char* reg, int value) {
        ASSERT_FALSE(line.command(QStringLiteral("set 1 %1 %2").arg(reg).arg(value)).isNull());
        ASSERT_TRUE(Ticks(*frame));
    }

    SimLine line;
    QString folder;
    SteppedClock clock{QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7))};
    qel::ScriptedOperator op;
    NoHost host;
    std::unique_ptr<qel::MainFrame> frame;
};

QStringList Lines(const QString& file) {
    QFile f(file);
    QStringList out;
    if (!f.open(QIODevice::ReadOnly)) return out;
    for (const QString& l : QString::fromUtf8(f.readAll()).split("\r\n", Qt::SkipEmptyParts)) out << l.mid(19);
    return out;
}

}  // namespace

// Guards a whole run as the station records it: the data-log file of the
// QEL2100's channel 1 with a row every five simulated minutes for three hours,
// each row the values qelsim served, and the history and message log with the
// run, hold, wait, step and signal edges in order and with their texts.
TEST_F(RunLine, AScriptedRunEndsInTheFilesTheStationWrites) {
    // Frozen: PV -20.0, SP 30.0, target SP 35.0, MV 55.5, pattern 4 on channel 1, stopped.
    start({"--set", "1:0x0009:-200", "--set", "1:0x000B:300", "--set", "1:0x0037:350", "--set", "1:0x000D:555",
           "--set", "1:0x0023:4"});
    set("0x0004", 1);  // channel 1 runs a program: the file begins, no row at 0 s
    const QString file = qel::Log[0].FileName[0];
    EXPECT_EQ(file, folder + "DATA/Sim 1/20240131081507_1.log");
    for (int i = 0; i < 36; ++i) {
        clock.advance(300);
        ASSERT_TRUE(Ticks(*frame, 1));
    }
    set("0x0004", 5);  // hold
    set("0x0004", 1);
    set("0x0004", 65);  // wait
    set("0x0004", 1);
    qel::StatusPanel3 = "1";
    frame->screens().page(1)->click("STEP_Key2000(1)");
    set("0x0013", 3);  // Inner signals 1 and 2 of channel 1
    set("0x001C", 4);  // DI 3
    set("0x0004", 0);  // stop
    EXPECT_TRUE(qel::CurrentDataLog(1, 1).isEmpty());

    const QString di = "CH2   DI 3 ON    " + qel::DIErrorName[0][2];
    const QStringList expected = {"CH1    START RUN", "START HOLD", "STOP HOLD", "START WAIT", "STOP WAIT", "START STEP",
                                  "CH2   Inner Signal 1 ON", "CH2   Inner Signal 2 ON", di, "CH1    STOP RUN"};
    QStringList shown;
    for (const auto& row : frame->screens().page(1)->history()) shown << row.text;
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(Lines(folder + "Message/Sim 1/20240131_M.log"),
              (QStringList{"  Chamber 1     CH1   START RUN", "START HOLD", "STOP HOLD", "START WAIT", "STOP WAIT",
                           "START STEP", "  Chamber 1     CH2     Inner Signal 1 ON",
                           "  Chamber 1     CH2     Inner Signal 2 ON", "  Chamber 1     CH2     DI 3 ON",
                           "  Chamber 1     CH1   STOP RUN"}));

    const qel::DataLogFile log = qel::ReadDataLog(file);
    ASSERT_TRUE(log.ok()) << log.error.toStdString();
    EXPECT_EQ(log.title.toStdString(), "[QEL2100] Programs RUN / PT NO. 4");
    EXPECT_EQ(log.channelText.toStdString(), "CH1");
    EXPECT_EQ(log.rowSize, 28);
    ASSERT_EQ(log.rows.size(), 36);
    for (int i = 0; i < 36; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(log.rows[i].seconds, 300 * (i + 1));
        EXPECT_EQ(log.rows[i].values, (std::vector<double>{-20.0, 30.0, 55.5}));
    }
    EXPECT_FALSE(line.errorLog().contains("RunProc")) << line.errorLog().toStdString();
}

// Both channels of a QEL2100 served by qelsim (PV -20.0/25.3, SP 30.0/45.5,
// MV 55.5/12.3, patterns 4/6): the files of the heat-cool variant and of a
// linked run, byte for byte as the layout table gives them.
const QStringList kBothChannels = {"--set", "1:0x0004:1", "--set", "1:0x0006:1", "--set", "1:0x0009:-200",
                                   "--set", "1:0x000A:253", "--set", "1:0x000B:300", "--set", "1:0x000C:455",
                                   "--set", "1:0x000D:555", "--set", "1:0x000E:123", "--set", "1:0x0023:4",
                                   "--set", "1:0x0025:6"};

class BothChannels : public RunLine, public ::testing::WithParamInterface<bool> {};

TEST_P(BothChannels, FilesByteForByte) {
    const bool linked = GetParam();
    const QByteArray hc = Text40("[QEL2100-HC] Programs RUN / PT NO. 4");
    const struct {
        bool linked;
        QString file;
        QByteArray bytes;
    } runs[] = {
        // Channel 1's last field is channel 2's MV as channel 2 last sampled it: none before its first row.
        {false, "20240131081507_HC.log",
         hc + Text40("CH1") + Row(60, {-20.0, 30.0, 55.5, 0.0}) + Row(120, {-20.0, 30.0, 55.5, 12.3})},
        {false, "20240131081507_2.log",
         Text40("[QEL2100-HC] Programs RUN / PT NO. 6") + Text40("CH2") + Row(60, {25.3, 45.5, 12.3}) +
             Row(120, {25.3, 45.5, 12.3})},
        {true, "20240131081507.log",
         Text40("[QEL2100] Programs RUN / PT NO. 4") + Text40("") + Row(60, {-20.0, 30.0, 55.5, 25.3, 45.5, 12.3}) +
             Row(120, {-20.0, 30.0, 55.5, 25.3, 45.5, 12.3})},
    };
    start(kBothChannels + (linked ? QStringList{"--set", "1:0x006D:1"} : QStringList{}), [&](const QString& f) {
        if (!linked) {
            ASSERT_TRUE(qel::WriteProfileString("MODEL_ZZ", "1", "1", f + "SetUserTag.ini"));  // heat-cool
        }
    });
    for (int i = 0; i < 2; ++i) {
        clock.advance(60);
        ASSERT_TRUE(Ticks(*frame, 1));
    }
    int files = 0;
    for (const auto& run : runs) {
        if (run.linked != linked) continue;
        ++files;
        EXPECT_EQ(Bytes(folder + "DATA/Sim 1/" + run.file).toHex(' ').toStdString(), run.bytes.toHex(' ').toStdString())
            << run.file.toStdString();
    }
    EXPECT_EQ(QDir(folder + "DATA/Sim 1").entryList(QDir::Files).size(), files);
}

INSTANTIATE_TEST_SUITE_P(Runs, BothChannels, ::testing::Values(false, true),
                         [](const auto& info) { return std::string(info.param ? "Linked" : "HeatCool"); });

// The QEL2200 and the QEL2300 each log one file per run whatever the channel:
// two triples a row (52 bytes) on the QEL2200, three (76 bytes) on the
// QEL2300, each row the values qelsim served, channel 1's time first.
// The QEL2400 logs one file per channel (28-byte rows), or in a linked run
// one file of three triples (76 bytes).
struct ModelRun {
    const char* model;
    QStringList served;
    QByteArray bytes;  // the run's one file, "20240131081507.log"
    // A model with more than one case names each; files of their own per channel by name.
    const char* name = nullptr;
    QMap<QString, QByteArray> channelFiles = {};
};
// QEL2400: status 0x0027 + i (1 program, 2 fixed), PTNo 0x00C8 + i, PV 0x0009 + i,
// SP 0x000C + i, target SP 0x000F + i, MV 0x0012 + i; channel 2 fixed (0x0135).
const QStringList kQel2400Served = {
    "--set", "1:0x0027:1",   "--set", "1:0x0028:2",   "--set", "1:0x0029:1",   "--set", "1:0x0135:1",
    "--set", "1:0x00C8:4",   "--set", "1:0x00C9:5",   "--set", "1:0x00CA:7",   "--set", "1:0x0009:-200",
    "--set", "1:0x000A:653", "--set", "1:0x000B:1234", "--set", "1:0x000C:300", "--set", "1:0x000D:700",
    "--set", "1:0x000E:1250", "--set", "1:0x000F:350", "--set", "1:0x0010:750", "--set", "1:0x0011:1300",
    "--set", "1:0x0012:555", "--set", "1:0x0013:123", "--set", "1:0x0014:-50"};
const ModelRun kModelRuns[] = {
    // Status 0x0043 = 1 (program run), pattern 4; PV -20.0 / 65.3, SP 30.0 / 70.0, MV 55.5 / 12.3.
    {"QEL2200",
     {"--set", "1:0x0043:1", "--set", "1:0x0012:4", "--set", "1:0x0000:-200", "--set", "1:0x0002:653", "--set",
      "1:0x0003:300", "--set", "1:0x0004:700", "--set", "1:0x0005:555", "--set", "1:0x0006:123"},
     Text40("[QEL2200] Programs RUN / PT NO. 4") + Text40("CH1") + Row(60, {-20.0, 30.0, 55.5, 65.3, 70.0, 12.3}) +
         Row(120, {-20.0, 30.0, 55.5, 65.3, 70.0, 12.3})},
    // Status low byte of 0x0005 = 1, pattern 6; rooms Hi, Ex, Lo.
    {"QEL2300",
     {"--set", "1:0x0005:1", "--set", "1:0x001A:6", "--set", "1:0x0006:1500", "--set", "1:0x0007:200", "--set",
      "1:0x0008:-450", "--set", "1:0x0009:1550", "--set", "1:0x000A:230", "--set", "1:0x000B:-500", "--set",
      "1:0x000C:800", "--set", "1:0x000D:0", "--set", "1:0x000E:1000"},
     Text40("[QEL2300] Programs RUN / PT NO. 6") + Text40("CH1") +
         Row(60, {150.0, 155.0, 80.0, 20.0, 23.0, 0.0, -45.0, -50.0, 100.0}) +
         Row(120, {150.0, 155.0, 80.0, 20.0, 23.0, 0.0, -45.0, -50.0, 100.0})},
    // QEL2400, guards against channels sharing a file or each other's values:
    // channel 1 a program (pattern 4), channel 2 a fixed run (FixMode 0x0135),
    // channel 3 a program (pattern 7); the SP column the set point, not the target.
    {"QEL2400", kQel2400Served, {}, "QEL2400PerChannel",
     {{"20240131081507_1.log", Text40("[QEL2400] Programs RUN / PT NO. 4") + Text40("CH1") +
                                   Row(60, {-20.0, 30.0, 55.5}) + Row(120, {-20.0, 30.0, 55.5})},
      {"20240131081507_2.log",
       Text40("[QEL2400] FIX RUN") + Text40("CH2") + Row(60, {65.3, 70.0, 12.3}) + Row(120, {65.3, 70.0, 12.3})},
      {"20240131081507_3.log", Text40("[QEL2400] Programs RUN / PT NO. 7") + Text40("CH3") +
                                   Row(60, {123.4, 125.0, -5.0}) + Row(120, {123.4, 125.0, -5.0})}}},
    // QEL2400 linked (0x0149 = 1), guards against a file per channel or a short row:
    // one file by channel 1's run, title and seconds, three triples a row;
    // channel 3 stands and is sampled all the same.
    {"QEL2400",
     kQel2400Served + QStringList{"--set", "1:0x0149:1", "--set", "1:0x0029:0"},
     Text40("[QEL2400] Programs RUN / PT NO. 4") + Text40("") +
         Row(60, {-20.0, 30.0, 55.5, 65.3, 70.0, 12.3, 123.4, 125.0, -5.0}) +
         Row(120, {-20.0, 30.0, 55.5, 65.3, 70.0, 12.3, 123.4, 125.0, -5.0}),
     "QEL2400Linked"},
};

class ModelRuns : public RunLine, public ::testing::WithParamInterface<int> {};

TEST_P(ModelRuns, RowsOfTheirLayouts) {
    const ModelRun& run = kModelRuns[GetParam()];
    start(run.served, {}, run.model);
    for (int i = 0; i < 2; ++i) {
        clock.advance(60);
        ASSERT_TRUE(Ticks(*frame, 1));
    }
    const QMap<QString, QByteArray> files =
        run.channelFiles.isEmpty() ? QMap<QString, QByteArray>{{"20240131081507.log", run.bytes}} : run.channelFiles;
    EXPECT_EQ(QDir(folder + "DATA/Sim 1").entryList(QDir::Files), files.keys());
    for (auto f = files.begin(); f != files.end(); ++f)
        EXPECT_EQ(Bytes(folder + "DATA/Sim 1/" + f.key()).toHex(' ').toStdString(), f.value().toHex(' ').toStdString())
            << f.key().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Models, ModelRuns, ::testing::Range(0, int(std::size(kModelRuns))), [](const auto& info) {
    const ModelRun& run = kModelRuns[info.param];
    return std::string(run.name ? run.name : run.model);
});
