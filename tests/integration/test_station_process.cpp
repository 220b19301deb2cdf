// qelstation started as a user starts it, against qelsim over TCP and ptys,
// and its main window in this process (offscreen).
#include "data_log_file.h"
#include "line_fixture.h"
#include "link.h"
#include "main_window.h"
#include "profile.h"
#include "state.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QMessageBox>
#include <QTimer>
#include <QFile>
#include <QPushButton>
#include <QtCore/qtestsupport_core.h>
#include <QLabel>
#include <QProcessEnvironment>
#include <gtest/gtest.h>

using namespace qeltest;

namespace {

const QString kStation = QStringLiteral(QELSTATION_PATH);
const QList<SimChamber> kTwo = {{1, "QEL2000"}, {2, "QEL2100"}};

// Frozen registers: chamber 1 in a program run with PV -20.0, SP 30.0 and an
// end date of 2024-05-06 07:08; chamber 2 stopped with PV 25.3 and -1.0, SP of channel 2 45.5.
const QStringList kServed = {"--frozen", "--no-noise", "--set", "1:0x0004:1", "--set", "1:0x0009:-200",
                             "--set", "1:0x000B:300", "--set", "1:0x039C:2024", "--set", "1:0x039D:5",
                             "--set", "1:0x039E:6", "--set", "1:0x039F:7", "--set", "1:0x03A0:8",
                             "--set", "2:0x0009:253", "--set", "2:0x000A:-10", "--set", "2:0x000C:455"};

// SIGTERM: a clean exit, and the end line once and last in the error log.
void ExpectOrderlyEnd(ChildProcess& station, SimLine& line) {
    station.process().terminate();
    ASSERT_TRUE(station.process().waitForFinished(5000));
    EXPECT_EQ(station.process().exitCode(), 0);
    EXPECT_TRUE(EndsOnceAndLast(line.errorLog())) << line.errorLog().toStdString();
}

// The window and the link go before the application does.
struct GuiStation : ::testing::Test {
    void TearDown() override {
        window.reset();
        qel::RemoveLink();
    }
    std::unique_ptr<qel::MainWindow> window;
};

class StationLine : public ::testing::TestWithParam<const char*> {};

}  // namespace

// Reads the window's --json lines into the latest texts per chamber until `done`.
bool ReadShown(ChildProcess& station, QMap<int, QStringList>& shown, const std::function<bool()>& done) {
    return ReadUntil(station, [&](const QJsonObject& o) {
        shown[o["Chamber"].toInt()] = o["Shown"].toVariant().toStringList();
        return done();
    });
}

// Answers the next message box of this process with `button` once it shows.
void AnswerNextBox(QMessageBox::StandardButton button) {
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, [timer, button] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->button(button)) return;
        timer->stop();
        timer->deleteLater();
        box->button(button)->click();
    });
    timer->start(20);
}

// Guards the window's overview against what qelsim serves, a stopped chamber shown lost and its values coming back.
TEST_P(StationLine, WindowPollsAndShowsWhatTheSimulatorServes) {
    SimLine line;
    ASSERT_TRUE(line.start(GetParam(), kTwo, kServed)) << line.sim.stderrText().toStdString();
    ChildProcess station;  // on the platform of this test (offscreen unless set)
    ASSERT_TRUE(station.start(kStation, {"--app-dir", line.folder(), "--json"}));
    // A cell: its name, then per channel its row label (none on a one-channel cell), PV, SP, MV.
    const QStringList one = {"  [Sim 1]", "-20.0", "30.0", "0.0"};
    const QStringList two = {"  [Sim 2]", "[CH1]", "25.3", "25.0", "0.0", "[CH2]", "-1.0", "45.5", "0.0"};
    const QStringList lost = {"  [Sim 2]", "[CH1]", "-.-", "-.-", "-.-", "[CH2]", "-.-", "-.-", "-.-"};
    QMap<int, QStringList> shown;
    ASSERT_TRUE(ReadShown(station, shown, [&] { return shown[1] == one && shown[2] == two; }))
        << shown[1].join('|').toStdString() << " / " << shown[2].join('|').toStdString();
    EXPECT_GT(line.requests(1), 0);  // seen on the simulator's side too
    ASSERT_FALSE(line.command("stop 2").isNull());
    ASSERT_TRUE(ReadShown(station, shown, [&] { return shown[2] == lost; })) << shown[2].join('|').toStdString();
    EXPECT_EQ(shown[1], one);  // the healthy chamber goes on
    ASSERT_FALSE(line.command("start 2").isNull());
    EXPECT_TRUE(ReadShown(station, shown, [&] { return shown[2] == two; }));
    ExpectOrderlyEnd(station, line);
}

// Guards a settings problem missing from the status bar, and a page key not reaching the chosen channel after OK.
TEST_F(GuiStation, SettingsProblemAndPageKeys) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2100"}})) << line.sim.stderrText().toStdString();
    ASSERT_TRUE(qel::WriteProfileString("CommSet", "Parity", "7", line.folder() + "/SetComm.ini"));
    ASSERT_TRUE(qel::WriteProfileString("Set", "MAX_CHAMBER_NO", "1", line.folder() + "/SetUserTag.ini"));
    qel::AppPath = line.folder() + "/";
    window = std::make_unique<qel::MainWindow>();
    window->frame().load();
    window->show();
    auto* problems = window->findChild<QLabel*>("settingsProblems");
    ASSERT_NE(problems, nullptr);
    EXPECT_TRUE(problems->text().startsWith("Parity \"7\" in SetComm.ini")) << problems->text().toStdString();

    // The page of the one chamber opens on the view of both channels; its key leads to channel 1.
    auto key = [&](const char* name) { return window->findChild<QPushButton*>(name); };
    ASSERT_NE(key("Full_Ch(1)"), nullptr);
    ASSERT_TRUE(QTest::qWaitFor([&] { return key("Full_Ch(1)")->isVisible(); }, 5000));
    key("Full_Ch(1)")->click();
    EXPECT_EQ(qel::StatusPanel3, "1");
    ASSERT_TRUE(QTest::qWaitFor([&] { return key("RUN_Stop_Key2000(1)")->isChecked(); }, 5000));  // it stands
    AnswerNextBox(QMessageBox::Ok);
    key("RUN_Stop_Key2000(1)")->click();
    EXPECT_TRUE(QTest::qWaitFor([] { return (qel::Chamber[0].Status[0] & 3) != 0; }, 10000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !key("RUN_Stop_Key2000(1)")->isChecked(); }, 5000));
    EXPECT_EQ(qel::Chamber[0].Status[1] & 3, 0);  // channel 2 untouched
}

// Guards the loss count (3rd failure on RTU, 4th on ASC/TCP) and return, and a model without a poll block asked.
TEST_P(StationLine, LostAndBackAndAChamberNotPolled) {
    const QString protocol = GetParam();
    SimLine line;
    ASSERT_TRUE(line.start(protocol, kTwo + QList<SimChamber>{{3, "QEL2000"}, {4, "QEL2000"}}, kServed));
    ASSERT_FALSE(line.command("stop 3").isNull());
    ASSERT_TRUE(qel::WriteProfileString("Model", "4", "QEL3000/", line.folder() + "/SetUserTag.ini"));
    ChildProcess station;
    ASSERT_TRUE(station.start(kStation, {"--headless", "--app-dir", line.folder(), "--json"}));
    QMap<int, QJsonObject> last;
    int lostAt = 0;
    const auto readUntil = [&](const std::function<bool()>& done) {
        return ReadUntil(station, [&](const QJsonObject& o) {
            const int c = o["Chamber"].toInt();
            if (c == 3 && lostAt == 0 && o["CommError"].toInt() == -1) lostAt = o["FailCount"].toInt();
            EXPECT_EQ(o["Polled"].toBool(), c != 4) << c;
            last[c] = o;
            return done();
        });
    };
    ASSERT_TRUE(readUntil([&] { return lostAt > 0 && last.size() == 4; }));
    EXPECT_EQ(lostAt, protocol == "RTU" ? 3 : 4);
    EXPECT_TRUE(last[1]["CommError"].toInt() == 0 && last[2]["CommError"].toInt() == 0);
    EXPECT_EQ(last[4]["State"].toString(), "NOT POLLED");
    ASSERT_FALSE(line.command("start 3").isNull());
    EXPECT_TRUE(readUntil([&] { return last[3]["CommError"].toInt() == 0; }));
    EXPECT_EQ(line.requests(4), 0);
    ExpectOrderlyEnd(station, line);
}

INSTANTIATE_TEST_SUITE_P(Protocols, StationLine, ::testing::Values("ETH", "RTU", "ASC"));

// Guards a babbling device holding the serial line, and a vanished terminal stopping the poll or an orderly end.
TEST(RtuLine, BabblingDeviceAndVanishingTerminal) {
    SimLine line;
    ASSERT_TRUE(line.start("RTU", kTwo, kServed));
    ASSERT_FALSE(line.command("babble 1").isNull());
    ChildProcess station;
    ASSERT_TRUE(station.start(kStation, {"--headless", "--app-dir", line.folder(), "--json"}));
    int goodReadsOfTwo = 0;
    EXPECT_TRUE(ReadUntil(station, [&](const QJsonObject& o) {
        goodReadsOfTwo += o["Chamber"].toInt() == 2 && o["FailCount"].toInt() == 0 && At(o, "PV") == 25.3;
        return goodReadsOfTwo == 5;
    }, 60));
    line.sim.stop();
    EXPECT_TRUE(ReadUntil(station, [](const QJsonObject& o) {
        return o["Chamber"].toInt() == 2 && o["CommError"].toInt() == -1;
    }, 60));
    EXPECT_FALSE(NextRecord(station).isEmpty());
    ExpectOrderlyEnd(station, line);
    EXPECT_TRUE(line.errorLog().contains("Serial port error(Open)"));
}

// Guards a folder problem said other than once on stderr, and the exit status without a chamber to poll.
TEST(StationFolderProblems, AreSaidOnceOnStderr) {
    const auto set = [](const char* file, const char* section, const char* key, const char* value) {
        return [=](const QString& d) { return qel::WriteProfileString(section, key, value, d + '/' + file) ? d : ""; };
    };
    const struct { std::function<QString(const QString&)> spoil; int exitCode; const char* said; } rows[] = {
        {set("SetComm.ini", "CommSet", "Protocol", "XYZ/"), 0,
         "Protocol \"XYZ\" in SetComm.ini is not RTU, ASC or ETH: no chamber can be polled"},
        {set("SetUserTag.ini", "Set", "MAX_CHAMBER_NO", "0"), 2, "no chambers are set up"},
    };
    for (const auto& row : rows) {
        SimLine line;
        ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}}));
        const QString dir = row.spoil(line.folder());
        ASSERT_FALSE(dir.isEmpty()) << row.said;
        const RunResult r = qeltest::Run(kStation, {"--headless", "--app-dir", dir, "--cycles", "3"});
        EXPECT_EQ(r.exitCode, row.exitCode) << row.said;
        EXPECT_EQ(r.err.count(QString::fromUtf8(row.said)), 1) << r.err.toStdString();
    }
}

// Guards two stations on one folder (via a symbolic link or another TMPDIR), and a dead station's lock kept.
TEST(StationLock, SecondStationOnTheSameFolderIsRefused) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}}));
    QTemporaryDir elsewhere;
    const QString link = elsewhere.path() + "/via-link";
    ASSERT_TRUE(QFile::link(line.folder(), link));
    ChildProcess first;
    ASSERT_TRUE(first.start(kStation, {"--headless", "--app-dir", line.folder(), "--json"}));
    ASSERT_FALSE(NextRecord(first).isEmpty());
    QProcess second;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("TMPDIR", elsewhere.path());
    second.setProcessEnvironment(env);
    second.start(kStation, {"--headless", "--app-dir", link, "--cycles", "1"});
    ASSERT_TRUE(second.waitForFinished(20000));
    EXPECT_NE(second.exitCode(), 0);
    EXPECT_TRUE(second.readAllStandardError().contains("another station"));
    first.process().kill();
    first.process().waitForFinished(5000);
    const RunResult after = qeltest::Run(kStation, {"--headless", "--app-dir", link, "--cycles", "1"});
    EXPECT_EQ(after.exitCode, 0) << after.err.toStdString();
}

// Guards the headless station's records of a run: the data log named and filled, the trend kept, the message log.
TEST(StationDataLog, TheHeadlessStationRecordsARun) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}}, {"--run", "1"}));
    ASSERT_TRUE(qel::WriteProfileString("FileSaveSec", "FileSave", "1", line.folder() + "/SetComm.ini"));
    ChildProcess station;
    ASSERT_TRUE(station.start(kStation, {"--headless", "--app-dir", line.folder(), "--json"}));
    QString file;
    ASSERT_TRUE(ReadUntil(station, [&](const QJsonObject& o) {
        file = o["DataLog"].toArray()[0].toString();
        return !file.isEmpty();
    }));
    EXPECT_TRUE(file.startsWith(line.folder() + "/DATA/Sim 1/") && file.endsWith("_1.log")) << file.toStdString();
    const auto rows = [&] { return qel::ReadDataLog(file).rows.size(); };
    const auto readFor = [&](int ms) {
        QElapsedTimer t;
        t.start();
        return ReadUntil(station, [&](const QJsonObject&) { return t.elapsed() >= ms; }, 1000);
    };
    ASSERT_TRUE(readFor(3500));
    EXPECT_GE(rows(), 2);  // a full disk and removed folders under the running station: tests/faults

    // The trend file is kept headless as with a window: a line every 2 s or more, 6 values (QEL2000).
    QFile trend(line.folder() + "/1OPData.csv");
    ASSERT_TRUE(trend.open(QIODevice::ReadOnly));
    const QList<QByteArray> samples = trend.readAll().trimmed().split('\n');
    EXPECT_GE(samples.size(), 2);
    for (const QByteArray& l : samples) EXPECT_EQ(l.trimmed().split(',').size(), 7) << l.toStdString();

    ASSERT_FALSE(line.command("key 1 1 4").isNull());  // the stop key on the controller
    EXPECT_TRUE(ReadUntil(station, [](const QJsonObject& o) { return o["DataLog"].toArray()[0].toString().isEmpty(); }));
    ExpectOrderlyEnd(station, line);
    const QString messages = MessageLogs(line.folder(), "Sim 1");
    EXPECT_TRUE(messages.contains("  Chamber 1     CH1   START RUN")) << messages.toStdString();
    EXPECT_TRUE(messages.contains("  Chamber 1     CH1   STOP RUN"));
}
