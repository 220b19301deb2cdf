// Weeks unattended, in minutes: the station's main frame polls 30 chambers of
// every model, served by qelsim's models and TCP server in this process over
// real loopback sockets, with faults on a third of them, on a clock that
// moves in simulated time (each PCSpeed wait passes at once). Simulated
// hours: QEL_SOAK_HOURS (24 by default; 168 for a week).
//
// What must hold throughout: nothing crashes; every chamber on the line is
// asked on every tick and the healthy ones never fail; no process value in a
// record or a data-log row that the chamber did not serve; the data logs of
// the healthy chambers have a row at every FileSave of their runs and no
// half row; memory stays flat after warm-up; the error log speaks of the
// sick chambers only.
#include "app_dir.h"
#include "app_folder.h"
#include "bus.h"
#include "clock.h"
#include "codepage.h"
#include "data_log_file.h"
#include "chamber_page.h"
#include "main_frame.h"
#include "screen_forms.h"
#include "poll_walk.h"
#include "profile.h"
#include "state.h"
#include "tcp_server.h"
#include "vbtext.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEL_UNDER_ASAN 1
#endif
#endif

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHostAddress>
#include <QTcpServer>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

using qelsim::FaultMode;

class SoakClock final : public qel::Clock {
public:
    QDateTime now() const override { return start_.addMSecs(ms_); }
    int64_t elapsedMs() const override { return ms_; }
    void sleepMs(int ms) override { ms_ += ms; }

private:
    QDateTime start_{QDate(2024, 3, 4), QTime(8, 0)};
    int64_t ms_ = 0;
};

class NoOperator final : public qel::Operator {
public:
    void message(const QString& title, const QString& text) override { messages << title + ": " + text; }
    bool confirm(const QString&, const QString&) override { return true; }
    QString input(const QString&, const QString&, const QString&) override { return {}; }
    void progress(int, int) override {}
    QStringList messages;
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

constexpr int kChambers = 30;
const char* const kModels[] = {"QEL2000", "QEL2100", "QEL2200", "QEL2300", "QEL2400"};

// The register of each channel's process value, from the controllers' maps.
int PvRegister(const QString& model, int k) {
    if (model == "QEL2200") return k == 0 ? 0x0000 : 0x0002;
    if (model == "QEL2300") return 0x0006 + k;
    return 0x0009 + k;  // QEL2000, QEL2100, QEL2400
}

// The sick third: every address divisible by 3, each with its own fault,
// most of them on a share of the requests so that good reads come between.
std::map<int, qelsim::Fault> SickChambers(int pcSpeed) {
    const std::pair<FaultMode, int> plan[] = {
        {FaultMode::Silent, 30}, {FaultMode::BadCrc, 30}, {FaultMode::Short, 30}, {FaultMode::Exception, 30},
        {FaultMode::Delay, 30},  {FaultMode::Noise, 30},  {FaultMode::Twice, 50}, {FaultMode::WrongTid, 30},
        {FaultMode::Drop, 20},
    };
    std::map<int, qelsim::Fault> sick;
    int i = 0;
    for (const auto& [mode, percent] : plan) {
        qelsim::Fault f;
        f.mode = mode;
        f.percent = percent;
        f.delayMs = pcSpeed + 200;  // a late reply: past the station's wait
        sick[3 * ++i] = f;
    }
    sick[30] = {FaultMode::Mixed, 500, 40};  // draws from every fault: garbage, other addresses, headers, 64 KiB...
    return sick;
}

// What each chamber served at the process-value registers, raw.
struct Served {
    std::map<int, std::map<int, std::set<uint16_t>>> pv;  // address -> register -> words
    uint64_t faults = 0;
};

uint16_t Word(const QByteArray& b, int at) {
    return static_cast<uint16_t>(static_cast<uint8_t>(b[at]) << 8 | static_cast<uint8_t>(b[at + 1]));
}

uint16_t RawOf(double value, const QString& dp) {
    return static_cast<uint16_t>(static_cast<int16_t>(std::lround(value * std::pow(10.0, dp.size()))));
}

int64_t ResidentKb() {
    QFile f("/proc/self/status");
    if (!f.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmRSS:")) return line.mid(6).trimmed().split(' ').first().toLongLong();
    return 0;
}

// A free port the station's settings can hold (at most 32767).
int FreePort() {
    for (int port = 20000 + QCoreApplication::applicationPid() % 9000;; port = 20000 + (port - 19999) % 12000) {
        QTcpServer probe;
        if (probe.listen(QHostAddress("127.0.1.1"), static_cast<quint16>(port))) return port;
    }
}

}  // namespace

// Guards the promise of weeks unattended: the station against a line where
// a third of the chambers misbehave in every way the line allows.
TEST(Soak, ThirtyChambersWithFaultsForSimulatedDays) {
    const int hours = qEnvironmentVariableIsSet("QEL_SOAK_HOURS") ? qEnvironmentVariableIntValue("QEL_SOAK_HOURS") : 24;
    const int pcSpeed = 300;
    qeltest::AppDir dir;
    SoakClock clock;
    qel::SetClock(&clock);

    // The line: qelsim's models on their own loopback addresses, one port.
    qelsim::Bus bus([&] { return clock.now(); }, 7);
    Served served;
    bus.setTap([&](int address, const QByteArray& request, const QByteArray& answer, FaultMode mode) {
        if (mode != FaultMode::Normal) ++served.faults;
        if (request.size() < 5 || answer.size() < 2 || request[0] != 3 || answer[0] != 3) return;
        const int first = Word(request, 1), count = Word(request, 3);
        for (auto& [reg, words] : served.pv[address])
            if (reg >= first && reg < first + count && answer.size() >= 2 + 2 * (reg - first + 1))
                words.insert(Word(answer, 2 + 2 * (reg - first)));
    });
    const std::map<int, qelsim::Fault> sick = SickChambers(pcSpeed);
    constexpr int kSwitchedOff = 14;  // off the line one hour in six: connection refused
    const auto healthy = [&](int a) { return !sick.count(a) && a != kSwitchedOff; };
    const int port = FreePort();
    const QString d = dir.path();
    const auto tag = [&](const QString& s, const QString& k, const QString& v) {
        return qel::WriteProfileString(s, k, v, d + "SetUserTag.ini");
    };
    ASSERT_TRUE(qel::FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), d));
    ASSERT_TRUE(qel::WriteProfileString("CommSet", "Protocol", "ETH/", d + "SetComm.ini"));
    ASSERT_TRUE(qel::WriteProfileString("CommSet", "PCSpeed", QString::number(pcSpeed), d + "SetComm.ini"));
    ASSERT_TRUE(qel::WriteProfileString("CommSet", "RemotePort", QString::number(port), d + "SetComm.ini"));
    for (int a = 1; a <= kChambers; ++a) {
        const QString model = kModels[(a - 1) % 5];
        ASSERT_TRUE(bus.add(qelsim::MakeChamber({a, model, {}, true, static_cast<uint32_t>(a)})));
        for (int k = 0; k < bus.chamber(a)->channelCount(); ++k) served.pv[a][PvRegister(model, k)].insert(0);
        if (sick.count(a)) bus.setFault(a, sick.at(a));
        const QString n = QString::number(a), nn = n.rightJustified(2, '0');
        ASSERT_TRUE(tag("Set", "Chamber " + nn, n) && tag("AddNo", "AddressNo " + nn, n) && tag("Model", n, model + "/") &&
                    tag("Name", n, "Soak " + n + "/") && tag("IPAddNo", n, "127.0.1." + n + "E"));
    }
    ASSERT_TRUE(tag("Set", "MAX_CHAMBER_NO", QString::number(kChambers)));
    auto startRuns = [&] {
        for (qelsim::Chamber* c : bus.chambers()) {
            c->step(clock.now());
            for (int ch = 1; ch <= c->channelCount(); ++ch) c->pressKey(ch, 1);
        }
    };
    startRuns();
    qelsim::TcpServer server(bus, QHostAddress("127.0.1.1"), static_cast<quint16>(port), false);
    QString error;
    ASSERT_TRUE(server.start(&error)) << error.toStdString();

    // The station as it starts: its main frame loads the folder and opens the line.
    NoOperator op;
    NoHost host;
    qel::MainFrame frame(op, host);
    frame.load();
    frame.readComm().stop();  // the test gives the ticks, on simulated time
    // The sockets the load opened connect in real time, as they do in the
    // station before its first tick.
    for (QElapsedTimer t; !t.isValid() || t.elapsed() < 300;) {
        if (!t.isValid()) t.start();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }

    // The pages' history grids keep every event row, without limit, as the
    // station always has: their growth is the one growth expected. Their
    // size in kB (two strings a row, each with its heap block), or their rows.
    const auto historyKb = [&](bool rows) {
        int64_t n = 0, bytes = 0;
        for (int a = 1; a <= kChambers; ++a)
            for (const qel::HistoryRow& r : frame.screens().page(a)->history()) {
                ++n;
                bytes += int64_t{sizeof r} + 2 * (r.time.size() + r.text.size()) + 2 * 48;
            }
        return rows ? n : bytes / 1024;
    };
    const int64_t end = int64_t{hours} * 3600 * 1000;
    int64_t ticks = 0, longestTickMs = 0, warmRss = 0, halfRss = 0, peakRss = 0, restGrowth = 0, warmBase = 0, nextHour = 3600 * 1000;
    uint64_t exchanges = 0, valueMisses = 0, healthyFailures = 0, unpolled = 0;
    std::vector<int> offline;  // the chamber taken off the line for a while (connection refused)
    while (clock.elapsedMs() < end) {
        std::array<uint64_t, kChambers + 1> before{};
        for (int a = 1; a <= kChambers; ++a) before[a] = bus.requests(a);
        const int64_t t0 = clock.elapsedMs();
        qel::ReadCommTick();  // what the poll timer calls
        frame.readComm().stop();
        longestTickMs = std::max(longestTickMs, clock.elapsedMs() - t0);
        ++ticks;
        for (int a = 1; a <= kChambers; ++a) {
            const uint64_t asked = bus.requests(a) - before[a];
            exchanges += asked;
            if (asked == 0 && bus.online(a)) ++unpolled;
            const int i = a - 1;
            if (healthy(a) && (qel::FailCount[i] != 0 || qel::CommError[i] != 0)) ++healthyFailures;
            const qel::ChamberRec& r = qel::Chamber[i];
            int k = 0;
            for (const auto& [reg, words] : served.pv[a]) {
                if (!words.count(RawOf(r.PV[k], r.DP[k]))) {
                    if (valueMisses++ < 5)
                        ADD_FAILURE() << "chamber " << a << " channel " << k + 1 << " shows " << r.PV[k]
                                      << ", never served";
                }
                ++k;
            }
        }
        clock.sleepMs(100);  // the poll timer's gap
        QCoreApplication::processEvents();
        if (clock.elapsedMs() >= nextHour) {
            nextHour += 3600 * 1000;
            startRuns();  // the operator at the controllers starts what has ended
            const int hour = static_cast<int>(clock.elapsedMs() / 3600000);
            if (hour % 6 == 3) bus.setOnline(kSwitchedOff, false);
            if (hour % 6 == 4) bus.setOnline(kSwitchedOff, true);
            const int64_t rss = ResidentKb();
            if (hour == std::max(1, hours / 10)) {
                warmRss = rss;
                warmBase = rss - historyKb(false);
            }
            if (hour == std::max(1, hours / 2)) halfRss = rss;
            peakRss = std::max(peakRss, rss);
            if (hour >= std::max(1, hours / 10)) restGrowth = std::max(restGrowth, rss - historyKb(false) - warmBase);
        }
    }
    const int64_t historyRows = historyKb(true);
    frame.queryUnload(false);

    // The data logs: whole rows only; for a healthy chamber a row at every
    // FileSave of a run, give or take the cycle that brought it; every
    // process value one the chamber served.
    uint64_t rows = 0, gaps = 0, halfRows = 0;
    const int64_t longestGap = qel::FileSave + (longestTickMs + 999) / 1000 + 1;
    for (int a = 1; a <= kChambers; ++a) {
        const QString folder = d + "DATA/Soak " + QString::number(a);
        for (const QFileInfo& f : QDir(folder).entryInfoList({"*.log"}, QDir::Files)) {
            const qel::DataLogFile log = qel::ReadDataLog(f.absoluteFilePath());
            ASSERT_TRUE(log.ok()) << f.fileName().toStdString() << ": " << log.error.toStdString();
            halfRows += log.trailingBytes != 0;
            rows += log.rows.size();
            for (int n = 1; n < log.rows.size(); ++n) {
                const int gap = log.rows[n].seconds - log.rows[n - 1].seconds;
                if (healthy(a) && (gap < qel::FileSave || gap > longestGap) && gaps++ < 5)
                    ADD_FAILURE() << f.fileName().toStdString() << ": " << gap << " s between rows " << n << " and " << n + 1;
            }
        }
    }

    const QString errorLog = [&] {
        QString all;
        for (const QFileInfo& f : QDir(d + "Error").entryInfoList(QDir::Files, QDir::Name)) {
            QFile file(f.absoluteFilePath());
            if (file.open(QIODevice::ReadOnly)) all += qel::FromCodePage(file.readAll());
        }
        return all;
    }();
    std::printf("soak: %d simulated hours, %lld ticks (longest %lld ms), %llu exchanges, %llu faults injected, "
                "%llu data-log rows, rows missing %llu, half rows %llu, resident %lld kB after warm-up, "
                "%lld kB half way, %lld kB at most, %lld history rows, %lld kB growth besides them, error log %lld lines\n",
                hours, static_cast<long long>(ticks), static_cast<long long>(longestTickMs),
                static_cast<unsigned long long>(exchanges), static_cast<unsigned long long>(served.faults),
                static_cast<unsigned long long>(rows), static_cast<unsigned long long>(gaps),
                static_cast<unsigned long long>(halfRows), static_cast<long long>(warmRss),
                static_cast<long long>(halfRss), static_cast<long long>(peakRss), static_cast<long long>(historyRows),
                static_cast<long long>(restGrowth), static_cast<long long>(errorLog.count('\n')));
    std::fflush(stdout);
    if (qEnvironmentVariableIsSet("QEL_SOAK_SHOW_ERRORS")) std::printf("%s", errorLog.left(4000).toLocal8Bit().constData());

    // The error log: the start and the end, and a line for each failed read
    // of a sick chamber or of the one switched off; nothing about the others.
    int strayLines = 0;
    for (const QString& line : errorLog.split("\r\n", Qt::SkipEmptyParts)) {
        const QString text = line.mid(19);
        const int chamber = text.section(' ', 0, 0).toInt();
        const bool sickLine = text.endsWith("   Communication state check") && !healthy(chamber);
        if (!sickLine && text != "User Start Program" && text != "User End Program" && strayLines++ < 5)
            ADD_FAILURE() << "error log: " << line.toStdString();
    }
    EXPECT_EQ(strayLines, 0);
    EXPECT_EQ(unpolled, 0u) << "ticks in which a chamber on the line was not asked";
    EXPECT_EQ(healthyFailures, 0u);
    EXPECT_EQ(valueMisses, 0u);
    EXPECT_EQ(gaps, 0u);
    EXPECT_EQ(halfRows, 0u);
    EXPECT_GT(rows, 0u);
#if defined(__SANITIZE_ADDRESS__) || defined(QEL_UNDER_ASAN)
    // AddressSanitizer keeps freed blocks in quarantine and every allocation's stack for good: the
    // resident size of the sanitizer build says nothing about the station's own growth.
    (void)restGrowth;
#else
    EXPECT_LT(restGrowth, 4 * 1024) << "resident memory grew after warm-up, beyond the history grids";
#endif
    qel::SetClock(nullptr);
}
