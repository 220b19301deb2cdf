// What the loaders tell the operator about a settings folder: the shipped
// folder with one thing broken per row, read in the order of a start-up.
// Each row checks the list of problems (the line, once, and nothing else)
// and that the loaders still fall back as they always did.
#include "config_report.h"
#include "di_names.h"
#include "graph_settings.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"
#include "user_tag.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <functional>
#include <optional>

namespace {

const QString kShipped = QStringLiteral(QEL_DEFAULT_APP_DIR "/");

// The profile file `name` with key `key` of `section` set to `value`, or its
// line removed when there is no value. Every other byte stays.
void EditKey(qeltest::AppDir& app, const QString& name, const QByteArray& section, const QByteArray& key,
             const std::optional<QByteArray>& value) {
    QList<QByteArray> lines = app.read(name).split('\n');
    bool inside = false;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QByteArray line = lines[i].trimmed();
        if (line.startsWith('[')) {
            inside = line.toLower() == "[" + section.toLower() + "]";
            continue;
        }
        if (inside && line.left(line.indexOf('=')).trimmed().toLower() == key.toLower()) {
            if (value)
                lines[i] = key + "=" + *value + "\r";
            else
                lines.removeAt(i);
            app.write(name, lines.join('\n'));
            return;
        }
    }
    ADD_FAILURE() << "no key " << key.toStdString() << " in [" << section.toStdString() << "] of " << name.toStdString();
}

QByteArray Utf16(const QByteArray& latin, bool byteOrderMark) {
    const QString text = QString::fromLatin1(latin);
    QByteArray bytes = byteOrderMark ? QByteArray("\xFF\xFE") : QByteArray();
    for (const QChar c : text) bytes += char(c.unicode() & 0xFF), bytes += char(c.unicode() >> 8);
    return bytes;
}

using Edit = std::function<void(qeltest::AppDir&)>;

Edit Set(const char* file, const char* section, const char* key, const QByteArray& value) {
    return [=](qeltest::AppDir& app) { EditKey(app, file, section, key, value); };
}
Edit Drop(const char* file, const char* section, const char* key) {
    return [=](qeltest::AppDir& app) { EditKey(app, file, section, key, std::nullopt); };
}
Edit Replace(const char* file, const QByteArray& bytes) {
    return [=](qeltest::AppDir& app) { app.write(file, bytes); };
}
Edit Remove(const char* file) {
    return [=](qeltest::AppDir& app) { QFile::remove(app.file(file)); };
}
Edit Both(const Edit& a, const Edit& b) {
    return [=](qeltest::AppDir& app) { a(app), b(app); };
}
Edit ToUtf16(const char* file, bool byteOrderMark) {
    return [=](qeltest::AppDir& app) { app.write(file, Utf16(app.read(file), byteOrderMark)); };
}

struct Row {
    const char* label;
    Edit edit;
    QStringList problems;         // the whole list after a start-up's reads
    QMap<QString, QString> after;  // what the loaders left: see Probe()
};

class ConfigReportTest : public SettingsTest {
protected:
    void loadShippedFolder() {
        resetState();
        for (const QString& name : QDir(kShipped).entryList(QDir::Files)) {
            QDir(app.file(name)).removeRecursively();  // a row may have put a folder in its place
            QFile::remove(app.file(name));
            QFile::copy(kShipped + name, app.file(name));
        }
    }
    // The loaders of a start-up, in their order.
    void startUp() {
        qel::ReadUserTag();
        qel::ReadCOMINI();
        qel::ReadDIErrorName();
        qel::ReadDataGraph(0);
    }
    QString probe(const QString& what) const {
        if (what == "Protocol") return qel::Protocol;
        if (what == "PortNumber") return QString::number(qel::PortNumber);
        if (what == "RemotePort") return QString::number(qel::RemotePort);
        if (what == "PCSpeed") return QString::number(qel::PCSpeed);
        if (what == "Parity") return qel::Parity;
        if (what == "Language") return qel::Language;
        if (what == "MaxChamberNo") return QString::number(qel::MaxChamberNo);
        if (what.startsWith("Model ")) return qel::ChamberModel[what.mid(6).toInt() - 1];
        if (what.startsWith("Address ")) return qel::ChamberAddress[what.mid(8).toInt() - 1];
        if (what.startsWith("DI ")) return qel::DIErrorName[size_t(what.mid(3).toInt() - 1)][0];
        if (what == "Max 3") return QString::number(qel::GraphInfo[3].Max[0]);
        if (what == "link") return linkCalls.join(',');
        if (what == "error") return errorLines().join(" | ");
        ADD_FAILURE() << "no probe " << what.toStdString();
        return {};
    }
    void runRows(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.label);
            loadShippedFolder();
            row.edit(app);
            startUp();
            EXPECT_EQ(qel::ConfigProblems(), row.problems);
            for (auto it = row.after.cbegin(); it != row.after.cend(); ++it)
                EXPECT_EQ(probe(it.key()), it.value()) << it.key().toStdString();
        }
    }
};

const QString kInvalidComm = "Invalid procedure call or argumentmodFunc.ReadCOMINI";
const QString kInvalidUserTag = "Invalid procedure call or argumentmodFunc.ReadUserTag";
const QString kDefaultLine = "using the defaults (RTU on serial port 2, /dev/ttyS1), and no language is loaded";

TEST_F(ConfigReportTest, TheShippedFolderReportsNothing) {
    loadShippedFolder();
    startUp();
    qel::ReadDataGraph(99);
    EXPECT_EQ(qel::ConfigProblems(), QStringList());
    EXPECT_EQ(errorLines(), QStringList());
}

TEST_F(ConfigReportTest, SetCommProblems) {
    // The shipped line is ETH on TCP port 1502 in English; chambers 1 to 4.
    const QMap<QString, QString> defaults = {
        {"Protocol", "RTU"}, {"PortNumber", "2"}, {"Language", ""}, {"link", "close"}, {"error", kInvalidComm}};
    runRows({
        {"missing", Remove("SetComm.ini"), {"SetComm.ini is missing: " + kDefaultLine}, defaults},
        {"empty", Replace("SetComm.ini", ""), {"SetComm.ini is empty: " + kDefaultLine}, defaults},
        {"blank lines", Replace("SetComm.ini", "\r\n  \r\n\t\r\n"), {"SetComm.ini is empty: " + kDefaultLine}, defaults},
        {"a folder", Both(Remove("SetComm.ini"), [](qeltest::AppDir& a) { QDir().mkdir(a.file("SetComm.ini")); }),
         {"SetComm.ini cannot be opened: " + kDefaultLine}, defaults},
        {"prose", Replace("SetComm.ini", "Protocol is ETH, port 1502\r\n"),
         {"SetComm.ini has no [CommSet] section: " + kDefaultLine}, defaults},
        {"binary", Replace("SetComm.ini", QByteArray("\x7F" "ELF\x02\x01\x01\0\0\0\0\0\0\0\0\0\x03\0>\0", 20)),
         {"SetComm.ini could not be read as text (it holds binary data): " + kDefaultLine}, defaults},
        {"UTF-16 with mark", ToUtf16("SetComm.ini", true),
         {"SetComm.ini could not be read as text (UTF-16? It must be saved as ANSI/CP949): " + kDefaultLine}, defaults},
        {"UTF-16 without mark", ToUtf16("SetComm.ini", false),
         {"SetComm.ini could not be read as text (UTF-16? It must be saved as ANSI/CP949): " + kDefaultLine}, defaults},
        {"no Protocol", Drop("SetComm.ini", "CommSet", "Protocol"),
         {"SetComm.ini has no key Protocol in [CommSet]: " + kDefaultLine}, defaults},
        {"Protocol without /", Set("SetComm.ini", "CommSet", "Protocol", "ETH"),
         {R"(Protocol "ETH" in SetComm.ini lacks its closing "/": )" + kDefaultLine}, defaults},
        {"Protocol too long", Set("SetComm.ini", "CommSet", "Protocol", "ETHERNET1/"),
         {R"(Protocol "ETHERNET1/" in SetComm.ini is too long (only 8 characters fit before the "/"): )" + kDefaultLine},
         defaults},
        {"lower-case protocol", Set("SetComm.ini", "CommSet", "Protocol", "eth/"),
         {R"(Protocol "eth" in SetComm.ini is not RTU, ASC or ETH (in capitals): no chamber can be polled)"},
         {{"Protocol", "eth"}, {"link", "close,open"}, {"error", ""}}},
        {"unknown protocol", Set("SetComm.ini", "CommSet", "Protocol", "XYZ/"),
         {R"(Protocol "XYZ" in SetComm.ini is not RTU, ASC or ETH: no chamber can be polled)"},
         {{"Protocol", "XYZ"}, {"Language", "ENG"}, {"link", "close,open"}, {"error", ""}}},
        {"RemotePort too wide", Set("SetComm.ini", "CommSet", "RemotePort", "70000"),
         {"RemotePort 70000 in SetComm.ini is too large (at most 32767): SetComm.ini is read no further, and no "
          "language is loaded"},
         {{"Protocol", "ETH"}, {"RemotePort", "502"}, {"Language", ""}, {"link", "close"},
          {"error", "OverflowmodFunc.ReadCOMINI"}}},
        {"RemotePort 0", Set("SetComm.ini", "CommSet", "RemotePort", "0"),
         {R"(RemotePort "0" in SetComm.ini is not a TCP port: no chamber can be reached)"},
         {{"RemotePort", "0"}, {"link", "close,open"}}},
        {"PCSpeed 0", Set("SetComm.ini", "CommSet", "PCSpeed", "0"),
         {R"(PCSpeed "0" in SetComm.ini is not a positive number of milliseconds: the controllers get no time to reply)"},
         {{"PCSpeed", "0"}, {"link", "close,open"}, {"error", ""}}},
        {"PCSpeed text", Set("SetComm.ini", "CommSet", "PCSpeed", "fast"),
         {R"(PCSpeed "fast" in SetComm.ini is not a positive number of milliseconds: the controllers get no time to reply)"},
         {{"PCSpeed", "0"}}},
        {"PCSpeed negative", Set("SetComm.ini", "CommSet", "PCSpeed", "-300"),
         {R"(PCSpeed "-300" in SetComm.ini is not a positive number of milliseconds: the controllers get no time to reply)"},
         {{"PCSpeed", "-300"}}},
        {"Parity 7", Set("SetComm.ini", "CommSet", "Parity", "7"),
         {R"(Parity "7" in SetComm.ini is not 1 (None), 2 (Even) or 3 (Odd): the parity stays None)"},
         {{"Parity", "None"}, {"link", "close,open"}}},
        {"serial port 0", Both(Set("SetComm.ini", "CommSet", "Protocol", "RTU/"), Set("SetComm.ini", "CommSet", "Port Number", "0")),
         {R"(Port Number "0" in SetComm.ini is not a serial port (1 or more): the line cannot be opened)"},
         {{"Protocol", "RTU"}, {"PortNumber", "0"}, {"link", "close,open"}}},
        {"port 0 on ETH does not matter", Set("SetComm.ini", "CommSet", "Port Number", "0"), {}, {{"link", "close,open"}}},
        {"baud rate text", Both(Set("SetComm.ini", "CommSet", "Protocol", "ASC/"), Set("SetComm.ini", "CommSet", "Baud Rate", "fast")),
         {R"(Baud Rate "fast" in SetComm.ini is not a line speed: the line cannot be opened)"}, {{"link", "close,open"}}},
        {"lower-case language", Set("SetComm.ini", "Language", "Language", "eng"),
         {R"(Language "eng" in SetComm.ini is not KOR, ENG or CHN: the screens lack captions, and SetComm.ini is read )"
          "no further"},
         {{"Language", "eng"}, {"link", "close"}, {"error", kInvalidComm}}},
        {"no language", Drop("SetComm.ini", "Language", "Language"),
         {"SetComm.ini names no language (KOR, ENG or CHN): the screens lack captions, and SetComm.ini is read no "
          "further"},
         {{"Language", ""}, {"link", "close"}, {"error", kInvalidComm}}},
        {"language file missing", Remove("string-ren.xml"),
         {"The language file string-ren.xml is missing: the screens lack captions, and SetComm.ini is read no further"},
         {{"Language", "ENG"}, {"link", "close"}, {"error", kInvalidComm}}},
        {"language file short of a caption", Drop("string-ren.xml", "MainForm", "5"),
         {"string-ren.xml has no key 5 in [MainForm]: the screens lack captions, and SetComm.ini is read no further"},
         {{"link", "close"}, {"error", kInvalidComm}}},
        {"caption without /", Set("string-ren.xml", "QELForm", "3", "Run"),
         {R"(Caption 3 of [QELForm] "Run" in string-ren.xml lacks its closing "/": the screens lack captions, and )"
          "SetComm.ini is read no further"},
         {{"link", "close"}, {"error", kInvalidComm}}},
        {"key switch too wide", Set("SetComm.ini", "ButtonSet", "DisbuttonRun", "99999"),
         {"DisbuttonRun 99999 in SetComm.ini is too large (at most 32767): SetComm.ini is read no further"},
         {{"Language", "ENG"}, {"link", "close"}, {"error", "OverflowmodFunc.ReadCOMINI"}}},
        {"ETH chamber without an address", Set("SetUserTag.ini", "IPAddNo", "2", "E"),
         {"Chamber 2 has no IP address in SetUserTag.ini: on ETH it cannot be polled"}, {{"link", "close,open"}}},
        {"serial chamber without an address", Both(Set("SetComm.ini", "CommSet", "Protocol", "RTU/"), Set("SetUserTag.ini", "IPAddNo", "2", "E")),
         {}, {{"link", "close,open"}}},
    });
}

TEST_F(ConfigReportTest, SetUserTagProblems) {
    const QString kNoneSetUp = "no chamber is set up, so none is polled";
    const QMap<QString, QString> noTable = {{"MaxChamberNo", "0"}, {"Model 1", ""}, {"error", kInvalidUserTag}};
    runRows({
        {"missing", Remove("SetUserTag.ini"), {"SetUserTag.ini is missing: " + kNoneSetUp}, noTable},
        {"empty", Replace("SetUserTag.ini", ""), {"SetUserTag.ini is empty: " + kNoneSetUp}, noTable},
        {"UTF-16", ToUtf16("SetUserTag.ini", true),
         {"SetUserTag.ini could not be read as text (UTF-16? It must be saved as ANSI/CP949): " + kNoneSetUp}, noTable},
        {"no MAX_CHAMBER_NO", Drop("SetUserTag.ini", "Set", "MAX_CHAMBER_NO"),
         {"SetUserTag.ini has no MAX_CHAMBER_NO in [Set]: " + kNoneSetUp}, {{"MaxChamberNo", "0"}, {"error", ""}}},
        {"MAX_CHAMBER_NO 0", Set("SetUserTag.ini", "Set", "MAX_CHAMBER_NO", "0"),
         {"MAX_CHAMBER_NO is 0 in SetUserTag.ini: " + kNoneSetUp}, {{"MaxChamberNo", "0"}}},
        {"MAX_CHAMBER_NO -1", Set("SetUserTag.ini", "Set", "MAX_CHAMBER_NO", "-1"),
         {"MAX_CHAMBER_NO -1 in SetUserTag.ini is outside 0 to 30: no chamber is polled"},
         {{"MaxChamberNo", "-1"}, {"Model 1", "QEL2000"}, {"error", ""}}},
        {"MAX_CHAMBER_NO 31", Set("SetUserTag.ini", "Set", "MAX_CHAMBER_NO", "31"),
         {"MAX_CHAMBER_NO 31 in SetUserTag.ini is outside 0 to 30: only chambers 1 to 30 are polled"},
         {{"MaxChamberNo", "31"}}},
        {"MAX_CHAMBER_NO text", Set("SetUserTag.ini", "Set", "MAX_CHAMBER_NO", "four"),
         {R"(MAX_CHAMBER_NO "four" in SetUserTag.ini is not a number: no chamber is polled)"}, {{"MaxChamberNo", "0"}}},
        {"MAX_CHAMBER_NO too wide", Set("SetUserTag.ini", "Set", "MAX_CHAMBER_NO", "99999"),
         {"MAX_CHAMBER_NO 99999 in SetUserTag.ini is outside 0 to 30: no chamber is polled, and SetUserTag.ini is "
          "read no further"},
         {{"MaxChamberNo", "0"}, {"Model 1", ""}, {"error", "OverflowmodFunc.ReadUserTag"}}},
        {"unknown model", Set("SetUserTag.ini", "Model", "3", "QEL9999/"),
         {R"(Chamber 3 has model "QEL9999" in SetUserTag.ini: it is not polled)"},
         {{"Model 3", "QEL9999"}, {"Model 4", "QEL2100"}, {"error", ""}}},
        {"lower-case model", Set("SetUserTag.ini", "Model", "3", "qel2000/"),
         {R"(Chamber 3 has model "qel2000" in SetUserTag.ini: it is not polled)"}, {{"Model 3", "qel2000"}}},
        {"no model", Set("SetUserTag.ini", "Model", "3", "/"), {"Chamber 3 has no model in SetUserTag.ini: it is not polled"},
         {{"Model 3", ""}}},
        {"unknown model of a chamber past MAX_CHAMBER_NO", Set("SetUserTag.ini", "Model", "7", "QEL9999/"), {}, {}},
        {"unknown model of a chamber switched off",
         Both(Set("SetUserTag.ini", "Set", "Chamber 03", "0"), Set("SetUserTag.ini", "Model", "3", "QEL9999/")), {}, {}},
        {"address x1", Set("SetUserTag.ini", "AddNo", "AddressNo 02", "x1"),
         {R"(Chamber 2 has address "x1" in SetUserTag.ini, not a slave address from 1 to 247: the chamber cannot be reached)"},
         {{"Address 2", "0"}, {"error", ""}}},
        {"address empty", Set("SetUserTag.ini", "AddNo", "AddressNo 02", ""),
         {R"(Chamber 2 has address "" in SetUserTag.ini, not a slave address from 1 to 247: the chamber cannot be reached)"},
         {{"Address 2", "0"}}},
        {"address 0", Set("SetUserTag.ini", "AddNo", "AddressNo 02", "0"),
         {R"(Chamber 2 has address "0" in SetUserTag.ini, not a slave address from 1 to 247: the chamber cannot be reached)"},
         {{"Address 2", "0"}}},
        {"address 248", Set("SetUserTag.ini", "AddNo", "AddressNo 02", "248"),
         {R"(Chamber 2 has address "248" in SetUserTag.ini, not a slave address from 1 to 247: the chamber cannot be reached)"},
         {{"Address 2", "248"}}},
        {"address 300", Set("SetUserTag.ini", "AddNo", "AddressNo 02", "300"),
         {R"(Chamber 2 has address "300" in SetUserTag.ini, not a slave address from 1 to 247: the chamber cannot be reached)"},
         {{"Address 2", "300"}}},
        {"address -1", Set("SetUserTag.ini", "AddNo", "AddressNo 02", "-1"),
         {R"(Chamber 2 has address "-1" in SetUserTag.ini, not a slave address from 1 to 247: the chamber cannot be reached)"},
         {{"Address 2", "-1"}}},
        {"address 247", Set("SetUserTag.ini", "AddNo", "AddressNo 02", "247"), {}, {{"Address 2", "247"}}},
        {"address absent: the default 1", Drop("SetUserTag.ini", "AddNo", "AddressNo 02"), {}, {{"Address 2", "1"}}},
        {"bad address of a chamber past MAX_CHAMBER_NO", Set("SetUserTag.ini", "AddNo", "AddressNo 09", "x1"), {}, {}},
        {"model without /", Set("SetUserTag.ini", "Model", "3", "QEL2000"),
         {R"(Model of chamber 3 "QEL2000" in SetUserTag.ini lacks its closing "/": SetUserTag.ini is read no further, )"
          "so chambers 3 to 4 are not polled"},
         {{"Model 2", "QEL2100"}, {"Model 3", ""}, {"Model 4", ""}, {"error", kInvalidUserTag}}},
        {"no name", Drop("SetUserTag.ini", "Name", "4"),
         {"SetUserTag.ini has no key 4 in [Name] (Name of chamber 4): SetUserTag.ini is read no further, so chamber 4 "
          "is not polled"},
         {{"Model 3", "QEL2000"}, {"Model 4", ""}, {"error", kInvalidUserTag}}},
        {"name too long", Set("SetUserTag.ini", "Name", "1", QByteArray(30, 'N') + "/"),
         {R"(Name of chamber 1 ")" + QString(30, 'N') +
          R"(/" in SetUserTag.ini is too long (only 29 characters fit before the "/"): SetUserTag.ini is read no )"
          "further, so chambers 1 to 4 are not polled"},
         {{"Model 1", ""}, {"error", kInvalidUserTag}}},
        {"IP address without E", Set("SetUserTag.ini", "IPAddNo", "2", "127.0.0.12"),
         {R"(IPAddNo of chamber 2 "127.0.0.12" in SetUserTag.ini lacks its closing "E": SetUserTag.ini is read no )"
          "further, so chambers 2 to 4 are not polled"},
         {{"Model 1", "QEL2000"}, {"Model 2", ""}}},
        {"places without /", Set("SetUserTag.ini", "SDP_1", "2", "1"),
         {R"(SDP_1 of chamber 2 "1" in SetUserTag.ini lacks its closing "/": SetUserTag.ini is read no further, so )"
          "chambers 3 to 4 are not polled"},
         {{"Model 2", "QEL2100"}, {"Model 3", ""}}},
        {"last unit missing", Drop("SetUserTag.ini", "UNIT_3", "30"),
         {"SetUserTag.ini has no key 30 in [UNIT_3] (UNIT_3 of chamber 30): SetUserTag.ini is read no further"},
         {{"Model 4", "QEL2100"}, {"error", kInvalidUserTag}}},
    });
}

TEST_F(ConfigReportTest, DINamesAndTrendScaleProblems) {
    runRows({
        {"DI names missing", Remove("SetDIErrorName.ini"), {"SetDIErrorName.ini is missing: the DI alarms have no names"},
         {{"DI 1", ""}, {"error", "Invalid procedure call or argumentmodFunc.ReadDIErrorName"}}},
        {"a DI name missing", Drop("SetDIErrorName.ini", "DIERRORNAME_2", "5"),
         {"SetDIErrorName.ini has no key 5 in [DIERRORNAME_2] (DI name 5 of chamber 2): the DI alarms from there on "
          "have no names"},
         {{"error", "Invalid procedure call or argumentmodFunc.ReadDIErrorName"}}},
        {"trend scales missing", Remove("SetScreensGraphInfo.ini"),
         {"SetScreensGraphInfo.ini is missing: the trend graphs use the default scales"}, {{"Max 3", "10"}, {"error", ""}}},
        {"trend scale too wide", Set("SetScreensGraphInfo.ini", "Set_3", "MAX_3_1", "99999"),
         {"MAX_3_1 99999 in SetScreensGraphInfo.ini is too large (at most 32767): SetScreensGraphInfo.ini is read no "
          "further"},
         {{"Max 3", "0"}, {"error", "OverflowmodFunc.ReadDataGraph"}}},
    });
}

TEST_F(ConfigReportTest, EveryProblemOfAStartUpIsListedOnceAndTheNextStartUpStartsAfresh) {
    loadShippedFolder();
    Remove("SetComm.ini")(app);
    Set("SetUserTag.ini", "Model", "2", "QEL9999/")(app);
    Set("SetUserTag.ini", "AddNo", "AddressNo 03", "0")(app);
    startUp();
    startUp();  // a second reading of the same folder lists the same problems, not twice
    const QStringList both = {R"(Chamber 2 has model "QEL9999" in SetUserTag.ini: it is not polled)",
                              R"(Chamber 3 has address "0" in SetUserTag.ini, not a slave address from 1 to 247: )"
                              "the chamber cannot be reached",
                              "SetComm.ini is missing: " + kDefaultLine};
    EXPECT_EQ(qel::ConfigProblems(), both);

    // Put right, the folder reads clean: nothing stays from before.
    QFile::copy(kShipped + "SetComm.ini", app.file("SetComm.ini"));
    QFile::remove(app.file("SetUserTag.ini"));
    QFile::copy(kShipped + "SetUserTag.ini", app.file("SetUserTag.ini"));
    startUp();
    EXPECT_EQ(qel::ConfigProblems(), QStringList());
}

}  // namespace
