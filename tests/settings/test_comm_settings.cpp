// ReadCOMINI against SetComm.ini files written here.
#include "language.h"
#include "link.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"

#include <QFile>
#include <vector>

namespace {

const char* const kInvalid = "Invalid procedure call or argumentmodFunc.ReadCOMINI";

// Every key of SetComm.ini, each with a value other than its default.
const char* const kFullSetComm =
    "[CommSet]\nProtocol=ASC/\nRemotePort=1502\nPort Number=3\nBaud Rate=38400\nParity=2\n"
    "Stop Bit=2\nData Len=7\nPCSpeed=800\n"
    "[Ports]\nCOM1=/dev/ttyUSB0\nCOM3= /dev/ttyACM1 \nCOM4=\n"
    "[FileSaveSec]\nFileSave=10\n"
    "[Language]\nLanguage=KOR\n"
    "[ButtonSet]\nDisbuttonRun=1\nDisbuttonStop=0\nDisbuttonAdv=1\nDisbuttonHold=1\nDisbuttonAuto=1\n"
    "DisplayStatus=1\nDisplaySound=1\n"
    "[CommData]\nCommDataSave=1\n";

class ReadCominiTest : public SettingsTest {
protected:
    void SetUp() override {
        // The Korean file with "챔버" in CP949 as entry 1 of "MainForm".
        write("string-rkr.xml", LanguageFile().replace("1=MainForm 1/", "1=\xC3\xA8\xB9\xF6/"));
        write("string-ren.xml", LanguageFile());
    }
    // SetComm.ini with the line of `key` replaced by `line` ("" drops it).
    void writeSetComm(const char* key = nullptr, const char* line = "") {
        QByteArray text = Crlf(kFullSetComm);
        if (key) {
            const qsizetype at = text.indexOf(QByteArray("\n") + key + "=") + 1;
            text.replace(at, text.indexOf("\r\n", at) + 2 - at, line[0] ? Crlf(line) + "\r\n" : QByteArray());
        }
        write("SetComm.ini", text);
    }
};

TEST_F(ReadCominiTest, HandWrittenFileLoadsIntoEveryGlobal) {
    qel::SerialPortDevices.insert(9, "/dev/stale");
    writeSetComm();
    qel::ReadCOMINI();

    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(linkCalls, (QStringList{"close", "open"}));
    EXPECT_EQ((QStringList{qel::Protocol, qel::BaudRate, qel::Parity, qel::StopBit, qel::DataLen, qel::Language}),
              (QStringList{"ASC", "38400", "Even", "2", "7", "KOR"}));
    EXPECT_EQ((std::vector<int>{qel::RemotePort, qel::PortNumber, qel::PCSpeed, qel::FileSave}),
              (std::vector<int>{1502, 3, 800, 10}));
    EXPECT_EQ((std::vector<int>{qel::DisbuttonRun, qel::DisbuttonStop, qel::DisbuttonAdv, qel::DisbuttonHold,
                                qel::DisbuttonAuto, qel::DisplayStatus, qel::DisplaySound, qel::CommDataSave}),
              (std::vector<int>{1, 0, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(qel::Lang("MainForm", 1), QStringLiteral(u"챔버"));
    EXPECT_EQ(qel::Lang("Pattern", 72), "Pattern 72");
    // Ports: the listed devices only, blanks trimmed, the old map cleared.
    EXPECT_EQ(qel::SerialPortDevices, (QMap<int, QString>{{1, "/dev/ttyUSB0"}, {3, "/dev/ttyACM1"}}));
}

// Protocol, RemotePort, Parity, FileSave, Language and DisbuttonRun (the
// first key behind the language) as the loader left them.
QString Loaded() {
    return QStringList{qel::Protocol,           QString::number(qel::RemotePort), qel::Parity,
                       QString::number(qel::FileSave), qel::Language, QString::number(qel::DisbuttonRun)}
        .join(',');
}

TEST_F(ReadCominiTest, OneKeyChangedLoadsOrStopsTheLoaderKeepingWhatWasRead) {
    const struct { const char *key, *line, *error, *loaded; } rows[] = {  // key null: no file at all
        {"Parity", "", "", "ASC,1502,None,10,KOR,1"},  // absent
        {"Parity", "Parity=", "", "ASC,1502,None,10,KOR,1"},
        {"Parity", "Parity=1", "", "ASC,1502,None,10,KOR,1"},
        {"Parity", "Parity=2", "", "ASC,1502,Even,10,KOR,1"},
        {"Parity", "Parity=3", "", "ASC,1502,Odd,10,KOR,1"},
        {"Parity", "Parity=7", "", "ASC,1502,old,10,KOR,1"},  // any other value: unchanged
        {"FileSave", "FileSave=0", "", "ASC,1502,Even,1,KOR,1"},
        {"FileSave", "FileSave=-5", "", "ASC,1502,Even,1,KOR,1"},
        {"Language", "Language=KORxx", "", "ASC,1502,Even,10,KOR,1"},  // three letters count
        {"Language", "Language=eng", kInvalid, "ASC,1502,Even,10,eng,0"},  // only "ENG" has a file
        {"Protocol", "Protocol=ETHERNET1/", kInvalid, "old,502,old,30,,0"},  // 9 of 10 read: no "/"
        {"RemotePort", "RemotePort=70000", "OverflowmodFunc.ReadCOMINI", "ASC,502,old,30,,0"},
        {nullptr, "", kInvalid, "old,502,old,30,,0"},  // the default protocol "RTU" has no "/"
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.key ? r.line : "no file");
        resetState();
        qel::Protocol = qel::Parity = "old";  // shows whether the loader set them
        QFile::remove(app.file("SetComm.ini"));
        if (r.key) writeSetComm(r.key, r.line);
        const QByteArray before = read("SetComm.ini");
        qel::ReadCOMINI();
        EXPECT_EQ(Loaded(), r.loaded);
        EXPECT_EQ(errorLines(), r.error[0] ? QStringList{r.error} : QStringList());
        EXPECT_EQ(linkCalls, r.error[0] ? QStringList{"close"} : (QStringList{"close", "open"}));
        EXPECT_EQ(read("SetComm.ini"), before);  // the file keeps what it holds
    }
}

}  // namespace
