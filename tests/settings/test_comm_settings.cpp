// ReadCOMINI and the "CommSet" writer against SetComm.ini files written here.
#include "comm_settings.h"
#include "language.h"
#include "link.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"

#include <QDir>

namespace {

const QString kInvalid = QStringLiteral("Invalid procedure call or argumentmodFunc.ReadCOMINI");

// Every key of SetComm.ini with a value other than its default.
const char* const kFullSetComm =
    "[CommSet]\n"
    "Protocol=ASC/\n"
    "RemotePort=1502\n"
    "Port Number=3\n"
    "Baud Rate=38400\n"
    "Parity=2\n"
    "Stop Bit=2\n"
    "Data Len=7\n"
    "PCSpeed=800\n"
    "[Ports]\n"
    "COM1=/dev/ttyUSB0\n"
    "COM3= /dev/ttyACM1 \n"
    "COM4=\n"
    "[FileSaveSec]\n"
    "FileSave=10\n"
    "[Language]\n"
    "Language=KOR\n"
    "[ButtonSet]\n"
    "DisbuttonRun=1\n"
    "DisbuttonStop=0\n"
    "DisbuttonAdv=1\n"
    "DisbuttonHold=1\n"
    "DisbuttonAuto=1\n"
    "DisplayStatus=1\n"
    "DisplaySound=1\n"
    "[CommData]\n"
    "CommDataSave=1\n";

class ReadCominiTest : public SettingsTest {
protected:
    // SetComm.ini with one line replaced ("" drops it).
    void writeSetComm(const char* key = nullptr, const char* line = "") {
        QByteArray text = Crlf(kFullSetComm);
        if (key) {
            const qsizetype at = text.indexOf(QByteArray("\n") + key + "=") + 1;
            const qsizetype end = text.indexOf("\r\n", at) + 2;
            text.replace(at, end - at, line[0] ? Crlf(line) + "\r\n" : QByteArray());
        }
        write("SetComm.ini", text);
    }
};

TEST_F(ReadCominiTest, HandWrittenFileLoadsIntoEveryGlobal) {
    qel::SerialPortDevices.insert(9, "/dev/stale");
    writeSetComm();
    // Korean entry 1 of "MainForm": "챔버" in CP949.
    QByteArray language = LanguageFile("MainForm", 1);
    language.replace("[MainForm]\r\n", "[MainForm]\r\n1=\xC3\xA8\xB9\xF6/\r\n");
    write("string-rkr.xml", language);

    qel::ReadCOMINI();

    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::Protocol, "ASC");
    EXPECT_EQ(qel::RemotePort, 1502);
    EXPECT_EQ(qel::PortNumber, 3);
    EXPECT_EQ(qel::BaudRate, "38400");
    EXPECT_EQ(qel::Parity, "Even");
    EXPECT_EQ(qel::StopBit, "2");
    EXPECT_EQ(qel::DataLen, "7");
    EXPECT_EQ(qel::PCSpeed, 800);
    EXPECT_EQ(qel::FileSave, 10);
    EXPECT_EQ(qel::Language, "KOR");
    EXPECT_EQ(qel::DisbuttonRun, 1);
    EXPECT_EQ(qel::DisbuttonStop, 0);
    EXPECT_EQ(qel::DisbuttonAdv, 1);
    EXPECT_EQ(qel::DisbuttonHold, 1);
    EXPECT_EQ(qel::DisbuttonAuto, 1);
    EXPECT_EQ(qel::DisplayStatus, 1);
    EXPECT_EQ(qel::DisplaySound, 1);
    EXPECT_EQ(qel::CommDataSave, 1);
    EXPECT_EQ(qel::Lang("MainForm", 1), QStringLiteral(u"챔버"));
    EXPECT_EQ(qel::Lang("Pattern", 72), "Pattern 72");
    // Ports: listed devices only, blanks trimmed, the old map cleared.
    EXPECT_EQ(qel::SerialPortDevices, (QMap<int, QString>{{1, "/dev/ttyUSB0"}, {3, "/dev/ttyACM1"}}));
    EXPECT_EQ(linkCalls, (QStringList{"close", "open"}));
}

TEST_F(ReadCominiTest, AbsentFileStopsAtTheProtocol) {
    qel::Protocol = "ETH";
    qel::ReadCOMINI();
    // The port is closed first; the protocol's default "RTU" has no "/".
    EXPECT_EQ(errorLines(), QStringList{kInvalid});
    EXPECT_EQ(linkCalls, QStringList{"close"});
    EXPECT_EQ(qel::Protocol, "ETH");
    EXPECT_EQ(qel::RemotePort, 502);
    EXPECT_EQ(qel::FileSave, 30);
}

TEST_F(ReadCominiTest, OverlongProtocolLosesItsTerminator) {
    writeSetComm("Protocol", "Protocol=ETHERNET1/");  // 10 characters, 9 are read
    qel::ReadCOMINI();
    EXPECT_EQ(errorLines(), QStringList{kInvalid});
    EXPECT_EQ(qel::Protocol, "RTU");
    EXPECT_EQ(linkCalls, QStringList{"close"});
}

TEST_F(ReadCominiTest, NumberTooLargeForItsIntegerStopsTheLoader) {
    writeSetComm("RemotePort", "RemotePort=70000");
    qel::ReadCOMINI();
    EXPECT_EQ(errorLines(), QStringList{"OverflowmodFunc.ReadCOMINI"});
    EXPECT_EQ(qel::Protocol, "ASC");  // read before the failure
    EXPECT_EQ(qel::RemotePort, 502);
    EXPECT_EQ(qel::PortNumber, 2);
}

TEST_F(ReadCominiTest, ParityAbsentOrEmptyIsNoneAndUnknownValuesChangeNothing) {
    write("string-rkr.xml", LanguageFile());
    const struct {
        const char* line;
        const char* before;
        const char* after;
    } cases[] = {
        {"", "", "None"},            // absent
        {"Parity=", "Odd", "None"},  // empty
        {"Parity=1", "Odd", "None"},
        {"Parity=2", "None", "Even"},
        {"Parity=3", "None", "Odd"},
        {"Parity=7", "Even", "Even"},
        {"Parity=x", "Odd", "Odd"},
    };
    for (const auto& c : cases) {
        writeSetComm("Parity", c.line);
        qel::Parity = c.before;
        qel::ReadCOMINI();
        EXPECT_EQ(qel::Parity, c.after) << c.line;
    }
    EXPECT_EQ(errorLines(), QStringList());
}

TEST_F(ReadCominiTest, FileSaveBelowOneIsUsedAsOneAndTheFileKeepsIt) {
    write("string-rkr.xml", LanguageFile());
    for (const char* line : {"FileSave=0", "FileSave=-5"}) {
        writeSetComm("FileSave", line);
        const QByteArray before = read("SetComm.ini");
        qel::ReadCOMINI();
        EXPECT_EQ(qel::FileSave, 1) << line;
        EXPECT_EQ(read("SetComm.ini"), before);
    }
}

TEST_F(ReadCominiTest, OnlyTheFirstThreeLettersOfTheLanguageCount) {
    write("string-rkr.xml", LanguageFile());
    writeSetComm("Language", "Language=KORxx");
    qel::ReadCOMINI();
    EXPECT_EQ(qel::Language, "KOR");
    EXPECT_EQ(qel::Lang("QELForm", 33), "QELForm 33");
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(linkCalls.last(), "open");
}

TEST_F(ReadCominiTest, UnknownLanguageStopsBeforeTheKeysAndTheLink) {
    write("string-ren.xml", LanguageFile());
    writeSetComm("Language", "Language=eng");  // the file is found by "ENG" only
    qel::ReadCOMINI();
    EXPECT_EQ(errorLines(), QStringList{kInvalid});
    EXPECT_EQ(qel::Language, "eng");
    EXPECT_EQ(qel::FileSave, 10);     // read before the language
    EXPECT_EQ(qel::DisbuttonRun, 0);  // not reached
    EXPECT_EQ(qel::CommDataSave, 0);
    EXPECT_EQ(qel::Lang("Configration", 1), "");
    EXPECT_EQ(linkCalls, QStringList{"close"});
}

TEST_F(ReadCominiTest, LanguageFileShortByOneKeyLeavesTheStationWithoutALine) {
    writeSetComm();
    write("string-rkr.xml", LanguageFile("Pattern", 72));
    qel::ReadCOMINI();
    EXPECT_EQ(errorLines(), QStringList{kInvalid});
    EXPECT_EQ(qel::Lang("Pattern", 71), "Pattern 71");
    EXPECT_EQ(qel::Lang("Pattern", 72), "");
    EXPECT_EQ(qel::DisplayStatus, 0);
    EXPECT_EQ(linkCalls, QStringList{"close"});
}

class CommSetWriterTest : public SettingsTest {};

qel::CommChoice ChoiceInForce() {
    qel::CommChoice c;
    c.protocol = qel::Protocol;
    c.remotePort = qel::RemotePort;
    c.portNumber = qel::PortNumber;
    c.baudRate = qel::BaudRate;
    c.parity = qel::Parity;
    c.stopBit = qel::StopBit;
    c.dataLen = qel::DataLen;
    c.pcSpeed = qel::PCSpeed;
    return c;
}

TEST_F(CommSetWriterTest, WritesOnlyTheChangedKeysInPlace) {
    write("SetComm.ini",
          Crlf("[CommSet]\nProtocol=RTU/\nRemotePort=502\nParity=1\n[Language]\nLanguage=ENG\n"));
    qel::CommChoice c = ChoiceInForce();
    c.protocol = "ETH";
    c.parity = "Odd";
    qel::StoreCommSettings(c);
    EXPECT_EQ(read("SetComm.ini"),
              Crlf("[CommSet]\nProtocol=ETH/\nRemotePort=502\nParity=3\n[Language]\nLanguage=ENG\n"));
    EXPECT_EQ(qel::Protocol, "ETH");
    EXPECT_EQ(qel::Parity, "Odd");
}

TEST_F(CommSetWriterTest, EveryKeyChangedGoesInTheOrderOfTheFile) {
    qel::CommChoice c;
    c.protocol = "ASC";
    c.remotePort = 1502;
    c.portNumber = 4;
    c.baudRate = "19200";
    c.parity = "Even";
    c.stopBit = "2";
    c.dataLen = "7";
    c.pcSpeed = 900;
    qel::StoreCommSettings(c);
    EXPECT_EQ(read("SetComm.ini"), Crlf("[CommSet]\n"
                                        "Protocol=ASC/\n"
                                        "RemotePort=1502\n"
                                        "Port Number=4\n"
                                        "Baud Rate=19200\n"
                                        "Parity=2\n"
                                        "Stop Bit=2\n"
                                        "Data Len=7\n"
                                        "PCSpeed=900\n"));
}

TEST_F(CommSetWriterTest, AFileThatCannotBeWrittenIsLoggedAndEndsTheStore) {
    QDir().mkpath(app.file("SetComm.ini"));  // a folder in the file's place
    qel::CommChoice c = ChoiceInForce();
    c.protocol = "ETH";
    c.pcSpeed = 999;
    qel::StoreCommSettings(c);
    EXPECT_EQ(errorLines(), QStringList{"Path/File access errorfrmCommSet.Command1_Click_Err"});
    EXPECT_EQ(qel::Protocol, "ETH");  // set in the step that failed
    EXPECT_EQ(qel::PCSpeed, 300);     // not reached
}

}  // namespace
