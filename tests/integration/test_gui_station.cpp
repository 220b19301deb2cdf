// The main frame with real widgets (offscreen) against qelsim over
// loopback; the frame opens the link itself, as the program does.
#include "app_dir.h"
#include "clock.h"
#include "line_fixture.h"
#include "link.h"
#include "main_window.h"
#include "profile.h"
#include "state.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <gtest/gtest.h>

using namespace qeltest;

namespace {

int g_ticks = 0;

// Runs the event loop until `done` or `ms` pass.
template <typename Pred>
bool Until(Pred done, int ms) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < ms) QApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

class GuiStation : public ::testing::Test {
protected:
    void Open(const QList<SimChamber>& chambers, const QStringList& simArgs = {}) {
        ASSERT_TRUE(line.start("ETH", chambers, simArgs)) << line.process().stderrText().toStdString();
        ASSERT_TRUE(folder.prepare(line));
        qel::ResetAllState();
        qel::AppPath = folder.path() + "/";
        window = std::make_unique<qel::MainWindow>();
        QObject::connect(&window->frame(), &qel::MainFrame::tickDone, [] { ++g_ticks; });
        window->show();
        window->frame().load();
        window->caption();
        g_ticks = 0;
    }
    void TearDown() override {
        window.reset();
        qel::ResetProgramEnding();
        qel::RemoveLink();
        qel::ResetAllState();
    }
    SimLine line;
    StationFolder folder;
    std::unique_ptr<qel::MainWindow> window;
};

}  // namespace

TEST_F(GuiStation, OverviewOfALineWithToolTipsAndPanels) {
    Open({{1, "QEL2000"}, {2, "QEL2100"}, {3, "QEL2000"}, {4, "QEL2100"}}, {"--run", "1", "--run", "2:1"});
    window->resize(1100, 600);
    ASSERT_TRUE(Until([] { return g_ticks >= 4; }, 15000));
    EXPECT_EQ(window->windowTitle(), "QEL Chamber Monitoring System");
    auto* b1 = window->findChild<QAction*>("button1");
    ASSERT_NE(b1, nullptr);
    EXPECT_EQ(b1->toolTip(), "Overview Screen");
    EXPECT_EQ(window->findChild<QLabel*>("panel2")->text(), "0");
    auto* table = window->findChild<QTableWidget*>();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->rowCount(), 4);
    EXPECT_EQ(table->item(1, 2)->text(), "QEL2100");
    EXPECT_NE(table->item(0, 3)->text(), "LOST");
}

TEST_F(GuiStation, RunKeyOnThePageStartsTheChamber) {
    Open({{1, "QEL2000"}});
    ASSERT_TRUE(Until([] { return g_ticks >= 2; }, 10000));
    ASSERT_EQ(qel::Chamber[0].Status[0] & 3, 0);
    EXPECT_EQ(window->findChild<QLabel*>("panel2")->text(), "1");  // one chamber: straight to its page
    auto* run = window->findChild<QPushButton*>("RUN");
    ASSERT_NE(run, nullptr);
    run->click();
    EXPECT_TRUE(Until([] { return (qel::Chamber[0].Status[0] & 3) != 0; }, 10000));
    EXPECT_TRUE(window->frame().readComm().isActive());  // the key command started the poll again
}

// After toolbar key 2 the page shows channel 1 again (panel 3), and the
// channel choice on the page follows it: a key goes to the channel on display.
TEST_F(GuiStation, PageChannelFollowsPanelThreeAndKeysGoThere) {
    Open({{1, "QEL2100"}});
    ASSERT_TRUE(Until([] { return g_ticks >= 2; }, 10000));
    auto* channel = window->findChild<QComboBox*>("channel");
    ASSERT_NE(channel, nullptr);
    channel->setCurrentIndex(1);
    emit channel->activated(1);
    EXPECT_EQ(qel::StatusPanel3, "2");
    window->findChild<QAction*>("button2")->trigger();
    EXPECT_EQ(qel::StatusPanel3, "1");
    ASSERT_TRUE(Until([&] { return channel->currentIndex() == 0; }, 5000));
    window->findChild<QPushButton*>("RUN")->click();
    EXPECT_TRUE(Until([] { return (qel::Chamber[0].Status[0] & 3) != 0; }, 10000));
    EXPECT_EQ(qel::Chamber[0].Status[1] & 3, 0);
}

// What is wrong with the settings stands in the status bar after the load.
TEST_F(GuiStation, SettingsProblemsShowInTheStatusPanel) {
    ASSERT_TRUE(line.start("ETH", {{1, "QEL2000"}, {2, "QEL2000"}}));
    ASSERT_TRUE(folder.prepare(line));
    ASSERT_TRUE(qel::WriteProfileString("CommSet", "Protocol", "XYZ/", folder.path() + "/SetComm.ini"));
    qel::ResetAllState();
    qel::AppPath = folder.path() + "/";
    window = std::make_unique<qel::MainWindow>();
    window->frame().load();
    auto* panel = window->findChild<QLabel*>("settingsProblems");
    ASSERT_NE(panel, nullptr);
    EXPECT_TRUE(panel->text().contains("Protocol \"XYZ\" in SetComm.ini is not RTU, ASC or ETH"))
        << panel->text().toStdString();
}
