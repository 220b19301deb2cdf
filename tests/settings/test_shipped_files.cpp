// The application folder shipped for a new installation (data/app): its three
// language files and every loader reading it.
#include "codepage.h"
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
#include <QFile>
#include <utility>

namespace {

const QString kShipped = QStringLiteral(QEL_DEFAULT_APP_DIR "/");

class ShippedLanguageTest : public SettingsTest,
                            public ::testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(ShippedLanguageTest, HoldsEverySectionAndKeyAndLoadsWithoutAnErrorLine) {
    const auto [language, name] = GetParam();
    ASSERT_TRUE(QFile::copy(kShipped + name, app.file(name)));
    EXPECT_FALSE(qel::FromCodePage(read(name)).contains(QChar::ReplacementCharacter)) << "not CP949";
    const qel::ProfileFile file(app.file(name));
    for (const auto& s : kLanguageFileLayout) {
        for (int k = 1; k <= s.count; ++k)
            EXPECT_GT(file.read(s.name, QString::number(k), "", 100, 100).indexOf(u'/'), 0) << s.name << " " << k;
        EXPECT_EQ(file.read(s.name, QString::number(s.count + 1), "none", 100, 100), "none") << s.name;
    }
    write("SetComm.ini", Crlf("[CommSet]\nProtocol=RTU/\n[Language]\nLanguage=") + language + "\r\n");
    qel::ReadCOMINI();
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(linkCalls, (QStringList{"close", "open"}));
}

INSTANTIATE_TEST_SUITE_P(Files, ShippedLanguageTest,
                         ::testing::Values(std::pair{"KOR", "string-rkr.xml"}, std::pair{"ENG", "string-ren.xml"},
                                           std::pair{"CHN", "string-rch.xml"}));

using DefaultAppTest = SettingsTest;

TEST_F(DefaultAppTest, EveryLoaderReadsItWithoutAnErrorLine) {
    for (const QString& name : QDir(kShipped).entryList(QDir::Files)) QFile::copy(kShipped + name, app.file(name));
    qel::ReadUserTag();
    qel::ReadCOMINI();
    qel::ReadDIErrorName();
    qel::ReadDataGraph(0);
    qel::ReadDataGraph(99);
    qel::ReadGraphLineColors();
    for (int16_t c = 1; c <= 30; ++c) qel::ReadLampSelect(c);

    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(linkCalls, (QStringList{"close", "open"}));
    EXPECT_EQ(qel::Protocol + " " + qel::Language, "ETH ENG");
    EXPECT_EQ(qel::Lang("MainForm", 1), "QEL Chamber Monitoring System");
    EXPECT_EQ(qel::MaxChamberNo, 4);
    EXPECT_EQ((QStringList{qel::ChamberModel.begin(), qel::ChamberModel.begin() + 4}),
              (QStringList{"QEL2000", "QEL2100", "QEL2000", "QEL2100"}));
    EXPECT_EQ(qel::ChamberUse[4], "0");
    EXPECT_EQ(qel::ChamberUnit[0][3], QStringLiteral(u"℃"));
    EXPECT_EQ(qel::DIErrorName[3][31], "DI 32");
    EXPECT_EQ(qel::GraphInfo[4].Max[0], 200);
    EXPECT_EQ(qel::PatternGraph.Max, 200);
    EXPECT_EQ(qel::Log[1].Lamp2000[1][104], "D0 32=1");
    EXPECT_EQ(qel::Log[9].Lamp2000[0][57], "DI 17=0");  // Board 0 past the demonstration chambers
}

}  // namespace
