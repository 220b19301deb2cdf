// The application folder shipped for a new installation (data/app), read by
// every loader in each of its three languages.
#include "codepage.h"
#include "config_report.h"
#include "di_names.h"
#include "graph_settings.h"
#include "lamp_select.h"
#include "language.h"
#include "state.h"
#include "settings_fixture.h"
#include "user_tag.h"

#include <QDir>
#include <QFile>

namespace {

const QString kShipped = QStringLiteral(QEL_DEFAULT_APP_DIR "/");

class ShippedFolderTest : public SettingsTest,
                          public ::testing::WithParamInterface<std::pair<const char*, const char*>> {};

// Guards the shipped folder: complete for every loader in each language, CP949, nothing to report.
TEST_P(ShippedFolderTest, EveryLoaderReadsItWithoutAnErrorLineOrAProblem) {
    const auto [language, name] = GetParam();
    for (const QString& f : QDir(kShipped).entryList(QDir::Files)) QFile::copy(kShipped + f, app.file(f));
    write("SetComm.ini", read("SetComm.ini").replace("Language=ENG", "Language=" + QByteArray(language)));
    EXPECT_FALSE(qel::FromCodePage(read(name)).contains(QChar::ReplacementCharacter)) << "not CP949";
    qel::ReadUserTag();
    qel::ReadCOMINI();
    qel::ReadDIErrorName();
    qel::ReadDataGraph(0);
    qel::ReadDataGraph(99);
    qel::ReadGraphLineColors();
    for (int16_t c = 1; c <= 30; ++c) qel::ReadLampSelect(c);
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::ConfigProblems(), QStringList());
    EXPECT_EQ(linkCalls, (QStringList{"close", "open"}));
    EXPECT_FALSE(qel::Lang("Pattern", 72).isEmpty());
    EXPECT_EQ(qel::ChamberUnit[0][3], QStringLiteral(u"℃"));  // SetUserTag.ini in CP949 too
}

INSTANTIATE_TEST_SUITE_P(Languages, ShippedFolderTest,
                         ::testing::Values(std::pair{"KOR", "string-rkr.xml"}, std::pair{"ENG", "string-ren.xml"},
                                           std::pair{"CHN", "string-rch.xml"}));

}  // namespace
