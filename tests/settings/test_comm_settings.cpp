// ReadCOMINI against SetComm.ini files written here.
#include "language.h"
#include "link.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"

#include <QFile>
#include <vector>

namespace {

// Every key of SetComm.ini, each with a value other than its default.
const char* const kFullSetComm =
    "[CommSet]\nProtocol=ASC/\nRemotePort=1502\nPort Number=3\nBaud Rate=38400\nParity=2\n"
    "Stop Bit=2\nData Len=7\nPCSpeed=800\n[Ports]\nCOM1=/dev/ttyUSB0\nCOM3= /dev/ttyACM1 \nCOM4=\n"
    "[FileSaveSec]\nFileSave=10\n[Language]\nLanguage=KOR\n"
    "[ButtonSet]\nDisbuttonRun=1\nDisbuttonStop=0\nDisbuttonAdv=1\nDisbuttonHold=1\nDisbuttonAuto=1\n"
    "DisplayStatus=1\nDisplaySound=1\n[CommData]\nCommDataSave=1\nFastReply=1\n";

class ReadCominiTest : public SettingsTest {
protected:
    void SetUp() override {
        for (const QString f : {"string-rkr.xml", "string-ren.xml"})
            QFile::copy(QStringLiteral(QEL_DEFAULT_APP_DIR "/") + f, app.file(f));
    }
};

// Guards each key's section, name and conversion into its global.
TEST_F(ReadCominiTest, HandWrittenFileLoadsIntoEveryGlobal) {
    qel::SerialPortDevices.insert(9, "/dev/stale");
    write("SetComm.ini", Crlf(kFullSetComm));
    qel::ReadCOMINI();
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(linkCalls, (QStringList{"close", "open"}));
    EXPECT_EQ((QStringList{qel::Protocol, qel::BaudRate, qel::Parity, qel::StopBit, qel::DataLen, qel::Language}),
              (QStringList{"ASC", "38400", "Even", "2", "7", "KOR"}));
    EXPECT_EQ((std::vector<int>{qel::RemotePort, qel::PortNumber, qel::PCSpeed, qel::FileSave, qel::DisbuttonRun,
                                qel::DisbuttonStop, qel::DisbuttonAdv, qel::DisbuttonHold, qel::DisbuttonAuto,
                                qel::DisplayStatus, qel::DisplaySound, qel::CommDataSave, qel::FastReply}),
              (std::vector<int>{1502, 3, 800, 10, 1, 0, 1, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(qel::Lang("MainForm", 1), QStringLiteral(u"QEL 챔버 모니터링 시스템"));  // the Korean file, from CP949
    EXPECT_FALSE(qel::Lang("Pattern", 72).isEmpty());
    // Ports: the listed devices only, blanks trimmed, the old map cleared.
    EXPECT_EQ(qel::SerialPortDevices, (QMap<int, QString>{{1, "/dev/ttyUSB0"}, {3, "/dev/ttyACM1"}}));
}

// Guards the fallback of each SetComm.ini value, and a stop of the loader keeping what it read before.
TEST_F(ReadCominiTest, OneKeyChangedLoadsOrStopsTheLoaderKeepingWhatWasRead) {
    const struct { const char *key, *line; bool stops; const char* loaded; } rows[] = {
        {"Parity", "", false, "None,10,KOR,1,1"},  // absent
        {"Parity", "Parity=", false, "None,10,KOR,1,1"},
        {"Parity", "Parity=1", false, "None,10,KOR,1,1"},
        {"Parity", "Parity=3", false, "Odd,10,KOR,1,1"},
        {"Parity", "Parity=7", false, "old,10,KOR,1,1"},  // any other value: unchanged
        {"FileSave", "FileSave=0", false, "Even,1,KOR,1,1"},
        {"Language", "Language=KORxx", false, "Even,10,KOR,1,1"},  // three letters count
        {"Language", "Language=eng", true, "Even,10,eng,0,0"},     // only "ENG" has a file
        {"FastReply", "FastReply=yes", false, "Even,10,KOR,1,0"},  // the opt-in fast reply: on for 1 only
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        resetState();
        qel::Parity = "old";  // shows whether the loader set it
        QByteArray text = Crlf(kFullSetComm);
        const qsizetype at = text.indexOf(QByteArray("\n") + r.key + "=") + 1;
        text.replace(at, text.indexOf("\r\n", at) + 2 - at, r.line[0] ? Crlf(r.line) + "\r\n" : QByteArray());
        write("SetComm.ini", text);
        const QByteArray before = read("SetComm.ini");
        qel::ReadCOMINI();
        EXPECT_EQ(QStringList({qel::Parity, QString::number(qel::FileSave), qel::Language,
                               QString::number(qel::DisbuttonRun), QString::number(qel::FastReply)}).join(','),
                  r.loaded);
        EXPECT_EQ(qel::Protocol + QString::number(qel::RemotePort), "ASC1502");
        EXPECT_EQ(errorLines(), r.stops ? QStringList{"Invalid procedure call or argumentmodFunc.ReadCOMINI"}
                                        : QStringList());
        EXPECT_EQ(linkCalls, r.stops ? QStringList{"close"} : (QStringList{"close", "open"}));
        EXPECT_EQ(read("SetComm.ini"), before);  // the loader never writes the file back
    }
}

}  // namespace
