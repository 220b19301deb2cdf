// The main frame's start-up on the shipped folder, with a scripted operator and a recording host.
#include "app_dir.h"
#include "app_folder.h"
#include "link.h"
#include "main_frame.h"
#include "profile.h"
#include "state.h"

#include <functional>
#include <gtest/gtest.h>

using namespace qel;

namespace {

QString Modal(FrameForm f) { return QString("modal %1").arg(static_cast<int>(f)); }

class RecordingHost : public FrameHost {
public:
    QStringList calls;
    bool modalResult = true;
    std::function<void()> onModal;
    void showOverview(int n) override { calls << QString("overview %1").arg(n); }
    void showPage(int c) override { calls << QString("page %1").arg(c); }
    bool openModal(FrameForm f) override {
        if (onModal) onModal();
        calls << Modal(f);
        return modalResult;
    }
    bool startProgram(const QString& p) override { calls << "start " + p; return true; }
    bool openFile(const QString& p) override { calls << "open " + p; return true; }
    QString chooseFile(const QString& folder, const QString&) override { calls << "choose " + folder; return {}; }
    void closeFrame() override { calls << "close"; }
};

class Frame : public ::testing::Test {
protected:
    void SetUp() override { FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path()); }
    void TearDown() override { RemoveLink(); }
    void load(int chambers) {
        WriteProfileString("Set", "MAX_CHAMBER_NO", QString::number(chambers), dir.file("SetUserTag.ini"));
        frame.load();
    }
    qeltest::AppDir dir;
    ScriptedOperator op;
    RecordingHost host;
    MainFrame frame{op, host};
};

}  // namespace

// Guards the start-up: without chambers the set-up form before any poll, else the overview or the only page.
TEST_F(Frame, LoadShowsTheSetUpTheOverviewOrTheOnlyPage) {
    host.onModal = [&] { EXPECT_FALSE(frame.readComm().isActive()) << "polling before the set-up form"; };
    const struct { int chambers; QStringList shown; const char* panel2; bool overviewKeys; } rows[] = {
        {0, {Modal(FrameForm::CommSet), "page 1"}, "1", false},
        {6, {"overview 2"}, "0", true},
        {1, {"page 1"}, "1", false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.chambers);
        host.calls.clear();
        load(r.chambers);
        EXPECT_EQ(host.calls, r.shown);
        EXPECT_EQ(StatusPanel2, r.panel2);
        EXPECT_EQ(frame.button(1).enabled, r.overviewKeys);
        EXPECT_EQ(frame.button(2).visible, r.overviewKeys);
        EXPECT_EQ(op.progressMaximum, 0);  // the splash's bar is down again
    }
}

