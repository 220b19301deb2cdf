// Language tables: LoadLanguage, the three shipped language files, and the
// display-settings store that switches the language.
#include "codepage.h"
#include "display_settings.h"
#include "language.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"

#include <QDir>
#include <QFile>
#include <algorithm>

namespace {

class LanguageTest : public SettingsTest {};

TEST_F(LanguageTest, EveryTableFillsFromTheFileOfTheLanguage) {
    EXPECT_EQ(qel::LanguageFileName("KOR"), "string-rkr.xml");
    EXPECT_EQ(qel::LanguageFileName("ENG"), "string-ren.xml");
    EXPECT_EQ(qel::LanguageFileName("CHN"), "string-rch.xml");
    EXPECT_EQ(qel::LanguageFileName("eng"), "");

    QByteArray file = LanguageFile();
    file.replace("1=QELForm 1/", "1=P/V/");  // cut at the first "/"
    file.replace("2=QELForm 2/", "2=/");     // an empty text
    write("string-rch.xml", file);
    qel::Language = "CHN";
    qel::LoadLanguage();
    for (const auto& s : kLanguageFileLayout) {
        for (int k = 1; k <= s.count; ++k) {
            if (QLatin1String(s.name) == QLatin1String("QELForm") && k <= 2) continue;
            EXPECT_EQ(qel::Lang(s.name, k), QStringLiteral("%1 %2").arg(QLatin1String(s.name)).arg(k));
        }
    }
    EXPECT_EQ(qel::Lang("QELForm", 1), "P");
    EXPECT_EQ(qel::Lang("QELForm", 2), "");
    EXPECT_EQ(qel::Lang("Pattern", 0), "");
    EXPECT_EQ(qel::Lang("Pattern", 73), "");
    EXPECT_EQ(qel::Lang("NoSuchSection", 1), "");
}

TEST_F(LanguageTest, AFailureKeepsTheOldTextOfEveryLaterEntry) {
    write("string-ren.xml", LanguageFile());
    qel::Language = "ENG";
    qel::LoadLanguage();
    // Now a Korean file without PTGraphSetScreen 2: LampSelect and
    // PTGraphSetScreen are read in turn, so LampSelect 2 is new and 3 is old.
    QByteArray korean = LanguageFile("PTGraphSetScreen", 2);
    korean.replace("=", "=K ");
    write("string-rkr.xml", korean);
    qel::Language = "KOR";
    EXPECT_THROW(qel::LoadLanguage(), qel::RuntimeError);
    EXPECT_EQ(qel::Lang("GraphSetting", 18), "K GraphSetting 18");
    EXPECT_EQ(qel::Lang("LampSelect", 2), "K LampSelect 2");
    EXPECT_EQ(qel::Lang("PTGraphSetScreen", 1), "K PTGraphSetScreen 1");
    EXPECT_EQ(qel::Lang("PTGraphSetScreen", 2), "PTGraphSetScreen 2");
    EXPECT_EQ(qel::Lang("LampSelect", 3), "LampSelect 3");
    EXPECT_EQ(qel::Lang("Pattern", 1), "Pattern 1");

    qel::Language = "XYZ";  // no file at all: the first key fails
    EXPECT_THROW(qel::LoadLanguage(), qel::RuntimeError);
    EXPECT_EQ(qel::Lang("Configration", 1), "K Configration 1");
}

// The three files shipped for a new installation.
class ShippedLanguageTest : public SettingsTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(ShippedLanguageTest, HoldsEverySectionAndKeyInCp949AndLoadsCleanly) {
    const QString path = QStringLiteral(QEL_DEFAULT_APP_DIR "/") + QLatin1String(GetParam());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray bytes = f.readAll();
    const QString text = qel::FromCodePage(bytes);
    EXPECT_FALSE(text.contains(QChar(0xFFFD))) << "not CP949";
    EXPECT_EQ(qel::ToCodePage(text), bytes);
    EXPECT_FALSE(QByteArray(bytes).replace("\r\n", "").contains('\n')) << "line ends must be CR LF";

    const qel::ProfileFile file(path);
    for (const auto& s : kLanguageFileLayout) {
        for (int k = 1; k <= s.count; ++k) {
            const QString v = file.read(QLatin1String(s.name), QString::number(k), QString(), 100, 100);
            EXPECT_TRUE(v.indexOf(u'/') > 0) << s.name << " " << k << ": " << v.toStdString();
        }
        EXPECT_EQ(file.read(QLatin1String(s.name), QString::number(s.count + 1), "none", 100, 100), "none");
    }

    QFile::copy(path, app.file(GetParam()));
    qel::Language = qel::LanguageFileName("KOR") == GetParam()   ? "KOR"
                    : qel::LanguageFileName("ENG") == GetParam() ? "ENG"
                                                                 : "CHN";
    EXPECT_NO_THROW(qel::LoadLanguage());
    EXPECT_EQ(errorLines(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Files, ShippedLanguageTest,
                         ::testing::Values("string-rkr.xml", "string-ren.xml", "string-rch.xml"));

TEST_F(LanguageTest, ShippedTextsSitAtTheirFixedIndexesInTheirScript) {
    for (const char* name : {"string-rkr.xml", "string-ren.xml", "string-rch.xml"})
        QFile::copy(QStringLiteral(QEL_DEFAULT_APP_DIR "/") + QLatin1String(name), app.file(name));

    qel::Language = "ENG";
    qel::LoadLanguage();
    EXPECT_TRUE(qel::Lang("MainForm", 8).contains("Display"));
    EXPECT_TRUE(qel::Lang("MainForm", 7).contains("DI"));
    EXPECT_TRUE(qel::Lang("GraphSetting", 10).contains("Graph"));
    EXPECT_EQ(qel::Lang("DisplaySet", 12), "Korean");
    EXPECT_EQ(qel::Lang("DisplaySet", 13), "English");
    EXPECT_EQ(qel::Lang("DisplaySet", 14), "Chinese");
    EXPECT_EQ(qel::Lang("DIUserName", 1), "DI Error Name");
    EXPECT_TRUE(qel::Lang("QELForm", 33).contains("unit"));

    qel::Language = "KOR";
    qel::LoadLanguage();
    EXPECT_EQ(qel::Lang("DisplaySet", 12), QStringLiteral(u"한국어"));
    EXPECT_TRUE(qel::Lang("MainForm", 1).contains(QStringLiteral(u"챔버")));

    qel::Language = "CHN";
    qel::LoadLanguage();
    EXPECT_EQ(qel::Lang("DisplaySet", 14), QStringLiteral(u"中文"));
    const QString title = qel::Lang("MainForm", 1);
    EXPECT_TRUE(std::any_of(title.begin(), title.end(),
                            [](QChar c) { return c.unicode() >= 0x4E00 && c.unicode() <= 0x9FFF; }));
    EXPECT_EQ(errorLines(), QStringList());
}

class DisplayStoreTest : public SettingsTest {
protected:
    qel::DisplayChoice choiceInForce() const {
        qel::DisplayChoice c;
        c.fileSave = qel::FileSave;
        c.language = qel::Language;
        c.run = qel::DisbuttonRun;
        c.stop = qel::DisbuttonStop;
        c.hold = qel::DisbuttonHold;
        c.adv = qel::DisbuttonAdv;
        c.displayStatus = qel::DisplayStatus;
        c.displaySound = qel::DisplaySound;
        return c;
    }
};

TEST_F(DisplayStoreTest, LanguageIsLoadedAndRecaptionedBeforeItsKeyIsWritten) {
    write("string-rkr.xml", LanguageFile());
    qel::Language = "ENG";
    qel::CommDataSave = 1;
    qel::DisplayChoice c = choiceInForce();
    c.fileSave = 0;
    c.language = qel::LanguageOfIndex(0);
    c.run = 1;
    c.hold = -1;  // the flag takes the absolute value
    c.displaySound = 1;
    int recaptions = 0;
    qel::StoreDisplaySettings(c, [&] {
        ++recaptions;
        EXPECT_EQ(qel::Lang("MainForm", 1), "MainForm 1");
        EXPECT_FALSE(read("SetComm.ini").contains("[Language]"));
    });
    EXPECT_EQ(recaptions, 1);
    EXPECT_EQ(read("SetComm.ini"),
              Crlf("[FileSaveSec]\nFileSave=0\n"
                   "[Language]\nLanguage=KOR\n"
                   "[ButtonSet]\nDisbuttonRun=1\nDisbuttonHold=1\nDisplayStatus=0\nDisplaySound=1\n"
                   "[CommData]\nCommDataSave=1\n"));
    EXPECT_EQ(qel::FileSave, 0);
    EXPECT_EQ(qel::DisbuttonHold, 1);
    EXPECT_EQ(errorLines(), QStringList());
}

TEST_F(DisplayStoreTest, UnchangedSettingsWriteOnlyTheThreeSwitches) {
    write("SetComm.ini", Crlf("[Language]\nLanguage=ENG\n[ButtonSet]\nDisbuttonRun=1\nDisplayStatus=0\n"));
    qel::Language = "ENG";
    qel::DisbuttonRun = 1;
    qel::DisplayChoice c = choiceInForce();
    c.displayStatus = 1;
    bool recaptioned = false;
    qel::StoreDisplaySettings(c, [&] { recaptioned = true; });
    EXPECT_FALSE(recaptioned);
    EXPECT_EQ(read("SetComm.ini"),
              Crlf("[Language]\nLanguage=ENG\n[ButtonSet]\nDisbuttonRun=1\nDisplayStatus=1\n"
                   "DisplaySound=0\n[CommData]\nCommDataSave=0\n"));
}

TEST_F(DisplayStoreTest, ALanguageThatDoesNotLoadSkipsTheRest) {
    qel::Language = "ENG";
    qel::DisplayChoice c = choiceInForce();
    c.fileSave = 12;
    c.language = "CHN";  // no file
    c.run = 1;
    qel::StoreDisplaySettings(c);
    EXPECT_EQ(errorLines(), QStringList{"Invalid procedure call or argumentfrmCommSet.Command1_Click_Err"});
    EXPECT_EQ(read("SetComm.ini"), Crlf("[FileSaveSec]\nFileSave=12\n"));
    EXPECT_EQ(qel::Language, "CHN");
    EXPECT_EQ(qel::DisbuttonRun, 0);
}

}  // namespace
