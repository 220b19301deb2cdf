// A page of each model, from a record the test fills, through the page logic
// onto the widgets: what the operator reads. With QEL_SCREENSHOT_DIR set the
// pages are also saved as pictures (scripts/screenshots.sh, under Xvfb).
#include "app_dir.h"
#include "app_folder.h"
#include "chamber_page.h"
#include "chamber_page_widget.h"
#include "language.h"
#include "lamp_select.h"
#include "page_controls.h"
#include "settings_state.h"
#include "state.h"

#include <QDir>
#include <gtest/gtest.h>

using namespace qel;

namespace {

struct ModelPage {
    const char* model;
    const char* name;
    int status;
    QStringList firstChannel;  // state caption, PV, SP, MV as read on screen
};

void Fill(ChamberRec& r, int status) {
    r.PV = {-20.5, 65.25, 150};
    r.SP = {-20, 70, 150};
    r.MV = {42.4, 17, 0};
    r.DP = {"0", "00", ""};
    r.Status = {static_cast<int16_t>(status), 1, 0};
    r.PTNo = {12, 3, 4};
    r.SegNo = {5, 1, 1};
    r.RunTime = {3 * 3600 + 25 * 60 + 9, 60, 0, 0, 0, 0};
    r.SegTime = {600, 0, 0};
    r.SegTimeSet = {3600, 0, 0};
    r.Side = 0;
}

}  // namespace

// Guards the road from record to screen for the page of every model.
TEST(ModelPages, EachModelShowsItsRecord) {
    qeltest::AppDir dir;
    FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
    Language = "ENG";
    LoadLanguage();
    DisbuttonRun = DisbuttonStop = DisbuttonAdv = DisbuttonHold = 1;
    const ModelPage pages[] = {
        {"QEL2000", "Thermal cycling oven with a rather long name 40", 1, {"PROGRAM RUN", "-20.5", "-20.0", "42.4"}},
        {"QEL2100", "Humidity 85/85", 2, {"FIX RUN", "-20.5", "-20.0", "42.4"}},
        {"QEL2200", "Temperature and humidity", 1, {"PROGRAM RUN", "-20.5", "-20.0", "42.4"}},
        {"QEL2300", "Thermal shock", 1, {"HIGH EXPOSURE", "-20.5", "-20.0", "42.4"}},
        {"QEL2400", "Three zones", 5, {"HOLD", "-20.5", "-20.0", "42.4"}},
    };
    const QString pictures = qEnvironmentVariable("QEL_SCREENSHOT_DIR");
    ScriptedOperator op;
    for (const ModelPage& p : pages) {
        SCOPED_TRACE(p.model);
        ClearPageControls();
        ChamberModel[0] = p.model;
        ChamberName[0] = QString::fromUtf8(p.name);
        ChamberAddress[0] = "1";
        ChamberUse[0] = "1";
        ChamberBoard[0] = "1";
        ChamberUnit[0][0] = "°C";
        ChamberUnit[1][0] = "%";
        Chamber[0].ChannelCount = ChannelCountOf(p.model);
        LampForm form;
        ASSERT_TRUE(LampFormOf(p.model, &form));
        for (int i = 1; i <= kLampEntries; ++i) {
            for (auto& t : Log[0].Lamp2000) t[i] = DefaultLampEntry(form, i, "1");
            Log[0].Lamp2200[i] = Log[0].Lamp2000[0][i];
            Log[0].Lamp2300[i] = Log[0].Lamp2000[0][i];
        }
        Fill(Chamber[0], p.status);
        ChamberPage page(1, op);
        page.load();
        page.ShowChannelFrame(1);
        ChamberPageWidget widget(page);
        widget.resize(1920, 1000);
        widget.show();
        page.refresh();
        page.addHistoryRow("2026/11/23 09:00:00", "CH1    START RUN");
        widget.refresh();
        const QList<QStringList> shown = widget.shownTexts();
        ASSERT_FALSE(shown.isEmpty());
        ASSERT_GE(shown.first().size(), 4);
        EXPECT_TRUE(shown.first()[0].endsWith(p.firstChannel[0])) << shown.first()[0].toStdString();
        EXPECT_EQ(shown.first().mid(1, 3), p.firstChannel.mid(1, 3));
        if (!pictures.isEmpty()) {
            QDir().mkpath(pictures);
            widget.grab().save(pictures + QStringLiteral("/page-%1.png").arg(QString::fromLatin1(p.model).toLower()));
        }
    }
    ClearLanguageTables();
}
