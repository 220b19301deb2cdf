// The application folder shipped for a new installation (data/app): every
// loader reads it without an error-log line, into the demonstration line.
#include "comm_settings.h"
#include "di_names.h"
#include "graph_settings.h"
#include "lamp_select.h"
#include "language.h"
#include "link.h"
#include "profile.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"
#include "user_tag.h"

#include <QDir>

namespace {

class DefaultAppTest : public SettingsTest {
protected:
    void SetUp() override { copyDefaultApp(); }
    void loadAll() {
        qel::ReadUserTag();
        qel::ReadCOMINI();
        qel::ReadDIErrorName();
        qel::ReadDataGraph(0);
        qel::ReadDataGraph(99);
        qel::ReadGraphLineColors();
        for (int16_t c = 1; c <= 30; ++c) qel::ReadLampSelect(c);
    }
};

TEST_F(DefaultAppTest, EveryLoaderReadsItWithoutAnErrorLine) {
    loadAll();
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(linkCalls, (QStringList{"close", "open"}));

    EXPECT_EQ(qel::Protocol, "ETH");
    EXPECT_EQ(qel::RemotePort, 1502);
    EXPECT_EQ(qel::PCSpeed, 100);
    EXPECT_EQ(qel::Parity, "None");
    EXPECT_EQ(qel::FileSave, 30);
    EXPECT_EQ(qel::Language, "ENG");
    EXPECT_EQ(qel::DisbuttonRun, 1);
    EXPECT_EQ(qel::Lang("MainForm", 1), "QEL Chamber Monitoring System");

    EXPECT_EQ(qel::MaxChamberNo, 4);
    const char* models[] = {"QEL2000", "QEL2100", "QEL2000", "QEL2100"};
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(qel::ChamberUse[c], QString::number(c + 1));
        EXPECT_EQ(qel::ChamberAddress[c], QString::number(c + 1));
        EXPECT_EQ(qel::ChamberIP[c], QStringLiteral("127.0.0.%1").arg(11 + c));
        EXPECT_EQ(qel::ChamberName[c], QStringLiteral("Chamber %1").arg(c + 1));
        EXPECT_EQ(qel::ChamberModel[c], models[c]);
        EXPECT_EQ(qel::ChamberBoard[c], "1");
        EXPECT_EQ(qel::Chamber[c].DP[0], "0");
        EXPECT_EQ(qel::ChamberUnit[0][c], QStringLiteral(u"℃"));
    }
    EXPECT_EQ(qel::ChamberUse[4], "0");
    EXPECT_EQ(qel::Chamber[1].ChannelCount, 2);

    EXPECT_EQ(qel::DIErrorName[3][31], "DI 32");
    EXPECT_EQ(qel::GraphInfo[4].Max[0], 200);
    EXPECT_EQ(qel::GraphInfo[4].Min[2], -50);
    EXPECT_EQ(qel::GraphInfo[4].Color[0], 255);
    EXPECT_EQ(qel::PatternGraph.Max, 200);
    EXPECT_EQ(qel::GraphLine.TimeColor, 16777215);

    EXPECT_EQ(qel::Log[0].Lamp2000[0][1], "IS 1=1");
    EXPECT_EQ(qel::Log[1].Lamp2000[1][104], "D0 32=1");
    EXPECT_EQ(qel::Log[1].Lamp2000[1][105], "=0");
    EXPECT_EQ(qel::Log[9].Lamp2000[0][57], "DI 17=0");  // Board 0 past the demonstration chambers
}

TEST_F(DefaultAppTest, LampFilesHoldTheDefaultEntriesForEverySlotAndModel) {
    const struct {
        const char* file;
        const char* word;
        qel::LampForm form;
    } files[] = {
        {"SetLamp_2000.ini", "QEL2000", qel::LampForm::Lamp2100},
        {"SetLamp_2100.ini", "QEL2100", qel::LampForm::Lamp2100},
        {"SetLamp_2400.ini", "QEL2400", qel::LampForm::Lamp2100},
        {"SetLamp_2200.ini", "QEL2200", qel::LampForm::Lamp2200},
        {"SetLamp_2300.ini", "QEL2300", qel::LampForm::Lamp2300},
    };
    for (const auto& f : files) {
        const qel::ProfileFile ini(app.file(f.file));
        for (int c = 1; c <= 30; ++c) {
            const QString board = c <= 4 ? "1" : "0";
            for (int i = 1; i <= 105; ++i) {
                const QString key = QStringLiteral("Lamp %1").arg(i, 2, 10, QLatin1Char('0'));
                const QString section = QStringLiteral("%1_%2").arg(QLatin1String(f.word)).arg(c);
                ASSERT_EQ(ini.read(section, key, "absent", 100, 100),
                          qel::DefaultLampEntry(f.form, i, board) + "/")
                    << f.file << " " << section.toStdString() << " " << key.toStdString();
            }
        }
    }
}

TEST_F(DefaultAppTest, EverySettingsFileIsCp949WithWindowsLineEnds) {
    for (const QString& name : QDir(app.path()).entryList({"*.ini", "*.xml"}, QDir::Files)) {
        const QByteArray bytes = read(name);
        EXPECT_FALSE(bytes.isEmpty()) << name.toStdString();
        EXPECT_TRUE(bytes.endsWith("\r\n")) << name.toStdString();
        EXPECT_FALSE(QByteArray(bytes).replace("\r\n", "").contains('\n')) << name.toStdString();
    }
    // "℃/" in CP949, as the units are kept.
    EXPECT_TRUE(read("SetUserTag.ini").contains("[UNIT_1]\r\n1=\xA1\xC9/\r\n"));
}

}  // namespace
