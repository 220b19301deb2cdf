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
        } else if (inside && line.left(line.indexOf('=')).trimmed().toLower() == key.toLower()) {
            if (value)
                lines[i] = key + "=" + *value + "\r";
            else
                lines.removeAt(i);
            return app.write(name, lines.join('\n'));
        }
    }
    ADD_FAILURE() << "no key " << key.toStdString() << " in " << name.toStdString();
}

using Edit = std::function<void(qeltest::AppDir&)>;

Edit Set(const char* file, const char* section, const char* key, const std::optional<QByteArray>& value) {
    return [=](qeltest::AppDir& app) { EditKey(app, file, section, key, value); };
}
Edit Drop(const char* file, const char* section, const char* key) { return Set(file, section, key, std::nullopt); }
Edit Comm(const char* key, const char* value) { return Set("SetComm.ini", "CommSet", key, value); }
Edit Tag(const char* section, const char* key, const QByteArray& v) { return Set("SetUserTag.ini", section, key, v); }
Edit Replace(const char* file, const QByteArray& bytes) { return [=](qeltest::AppDir& a) { a.write(file, bytes); }; }
Edit Remove(const char* file) { return [=](qeltest::AppDir& a) { QFile::remove(a.file(file)); }; }
Edit Both(const Edit& x, const Edit& y) { return [=](qeltest::AppDir& a) { x(a), y(a); }; }
// The file's Latin text as UTF-16 little-endian.
Edit ToUtf16(const char* file, bool byteOrderMark) {
    return [=](qeltest::AppDir& app) {
        QByteArray bytes = byteOrderMark ? QByteArray("\xFF\xFE") : QByteArray();
        for (const char c : app.read(file)) bytes += c, bytes += '\0';
        app.write(file, bytes);
    };
}

struct Row {
    Edit edit;
    QStringList problems;          // the whole list after a start-up's reads
    QMap<QString, QString> after;  // what the loaders left: see probe()
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
    // What the loaders left, by name; "Model 3" is chamber 3's, "Max 3" chamber 3's trend scale.
    QString probe(const QString& what) const {
        const int n = what.section(' ', 1).toInt();
        const size_t i = size_t(std::max(n, 1) - 1);
        const QMap<QString, QString> state = {
            {"Protocol", qel::Protocol}, {"PortNumber", QString::number(qel::PortNumber)},
            {"RemotePort", QString::number(qel::RemotePort)}, {"PCSpeed", QString::number(qel::PCSpeed)},
            {"Parity", qel::Parity}, {"Language", qel::Language}, {"MaxChamberNo", QString::number(qel::MaxChamberNo)},
            {"Model", qel::ChamberModel[i]}, {"Address", qel::ChamberAddress[i]}, {"DI", qel::DIErrorName[i][0]},
            {"Max", QString::number(qel::GraphInfo[size_t(n)].Max[0])}, {"link", linkCalls.join(',')},
            {"error", errorLines().join(" | ")}};
        EXPECT_TRUE(state.contains(what.section(' ', 0, 0))) << "no probe " << what.toStdString();
        return state.value(what.section(' ', 0, 0));
    }
    void runRows(const std::vector<Row>& rows) {
        for (size_t k = 0; k < rows.size(); ++k) {
            const Row& row = rows[k];
            SCOPED_TRACE("row " + std::to_string(k + 1) + ": " + row.problems.value(0).toStdString());
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
const QString kDefaultLine = ": using the defaults (RTU on serial port 2, /dev/ttyS1), and no language is loaded";
const QString kUtf16 = " could not be read as text (UTF-16? It must be saved as ANSI/CP949)";
const QString kNoCaptions = ": the screens lack captions, and SetComm.ini is read no further";
const QString kNoTime = " in SetComm.ini is not a positive number of milliseconds: the controllers get no time to "
                        "reply";
const QString kUnreachable = " in SetUserTag.ini, not a slave address from 1 to 247: the chamber cannot be reached";
const QMap<QString, QString> kRanToTheEnd = {{"link", "close,open"}};  // the line was opened: nothing was thrown

TEST_F(ConfigReportTest, TheShippedFolderReportsNothing) {
    loadShippedFolder();
    startUp();
    qel::ReadDataGraph(99);
    EXPECT_EQ(qel::ConfigProblems(), QStringList());
    EXPECT_EQ(errorLines(), QStringList());
}

TEST_F(ConfigReportTest, SetCommProblems) {
    // The shipped line is ETH on TCP port 1502 in English; chambers 1 to 4.
    // SetComm.ini unusable as a whole, or its Protocol unreadable: the defaults.
    const QMap<QString, QString> defaults = {
        {"Protocol", "RTU"}, {"PortNumber", "2"}, {"Language", ""}, {"link", "close"}, {"error", kInvalidComm}};
    const QMap<QString, QString> stopped = {{"link", "close"}, {"error", kInvalidComm}};
    const auto folder = [](qeltest::AppDir& a) { QDir().mkdir(a.file("SetComm.ini")); };
    const QByteArray elf("\x7F" "ELF\x02\x01\x01\0\0\0\0\0\0\0\0\0\x03\0>\0", 20);
    runRows({
        {Remove("SetComm.ini"), {"SetComm.ini is missing" + kDefaultLine}, defaults},
        {Replace("SetComm.ini", "\r\n  \r\n\t\r\n"), {"SetComm.ini is empty" + kDefaultLine}, defaults},
        {Both(Remove("SetComm.ini"), folder), {"SetComm.ini cannot be opened" + kDefaultLine}, defaults},
        {Replace("SetComm.ini", "Protocol is ETH\r\n"), {"SetComm.ini has no [CommSet] section" + kDefaultLine},
         defaults},
        {Replace("SetComm.ini", elf),
         {"SetComm.ini could not be read as text (it holds binary data)" + kDefaultLine}, defaults},
        {ToUtf16("SetComm.ini", true), {"SetComm.ini" + kUtf16 + kDefaultLine}, defaults},
        {ToUtf16("SetComm.ini", false), {"SetComm.ini" + kUtf16 + kDefaultLine}, defaults},
        {Comm("Protocol", "ETH"), {R"(Protocol "ETH" in SetComm.ini lacks its closing "/")" + kDefaultLine}, defaults},
        {Comm("Protocol", "ETHERNET1/"),
         {R"(Protocol "ETHERNET1/" in SetComm.ini is too long (only 8 characters fit before the "/"))" + kDefaultLine},
         defaults},
        {Comm("Protocol", "eth/"),
         {R"(Protocol "eth" in SetComm.ini is not RTU, ASC or ETH (in capitals): no chamber can be polled)"},
         {{"Protocol", "eth"}}},
        {Comm("Protocol", "XYZ/"),
         {R"(Protocol "XYZ" in SetComm.ini is not RTU, ASC or ETH: no chamber can be polled)"}, kRanToTheEnd},
        {Comm("RemotePort", "70000"),
         {"RemotePort 70000 in SetComm.ini is too large (at most 32767): SetComm.ini is read no further, and no "
          "language is loaded"},
         {{"Language", ""}, {"error", "OverflowmodFunc.ReadCOMINI"}}},
        {Comm("RemotePort", "0"), {R"(RemotePort "0" in SetComm.ini is not a TCP port: no chamber can be reached)"},
         kRanToTheEnd},
        // The text as written is quoted; a negative time is as bad as none.
        {Comm("PCSpeed", "fast"), {R"(PCSpeed "fast")" + kNoTime}, {{"PCSpeed", "0"}, {"link", "close,open"}}},
        {Comm("PCSpeed", "-300"), {R"(PCSpeed "-300")" + kNoTime}, {}},
        {Comm("Parity", "7"),
         {R"(Parity "7" in SetComm.ini is not 1 (None), 2 (Even) or 3 (Odd): the parity stays None)"},
         {{"Parity", "None"}, {"link", "close,open"}}},
        {Both(Comm("Protocol", "RTU/"), Comm("Port Number", "0")),
         {R"(Port Number "0" in SetComm.ini is not a serial port (1 or more): the line cannot be opened)"},
         {{"PortNumber", "0"}, {"link", "close,open"}}},
        {Comm("Port Number", "0"), {}, kRanToTheEnd},  // on ETH the serial port does not matter
        {Both(Comm("Protocol", "ASC/"), Comm("Baud Rate", "fast")),
         {R"(Baud Rate "fast" in SetComm.ini is not a line speed: the line cannot be opened)"}, kRanToTheEnd},
        {Set("SetComm.ini", "Language", "Language", "eng"),
         {R"(Language "eng" in SetComm.ini is not KOR, ENG or CHN)" + kNoCaptions}, stopped},
        {Drop("SetComm.ini", "Language", "Language"),
         {"SetComm.ini names no language (KOR, ENG or CHN)" + kNoCaptions}, stopped},
        {Remove("string-ren.xml"), {"The language file string-ren.xml is missing" + kNoCaptions}, stopped},
        {Drop("string-ren.xml", "MainForm", "5"), {"string-ren.xml has no key 5 in [MainForm]" + kNoCaptions}, stopped},
        {Set("string-ren.xml", "QELForm", "3", "Run"),
         {R"(Caption 3 of [QELForm] "Run" in string-ren.xml lacks its closing "/")" + kNoCaptions}, stopped},
        {Set("SetComm.ini", "ButtonSet", "DisbuttonRun", "99999"),
         {"DisbuttonRun 99999 in SetComm.ini is too large (at most 32767): SetComm.ini is read no further"},
         {{"Language", "ENG"}, {"link", "close"}, {"error", "OverflowmodFunc.ReadCOMINI"}}},
        {Tag("IPAddNo", "2", "E"), {"Chamber 2 has no IP address in SetUserTag.ini: on ETH it cannot be polled"},
         kRanToTheEnd},
        {Both(Comm("Protocol", "RTU/"), Tag("IPAddNo", "2", "E")), {}, kRanToTheEnd},  // serial: no IP wanted
    });
}

TEST_F(ConfigReportTest, SetUserTagProblems) {
    const QString kNoneSetUp = ": no chamber is set up, so none is polled";
    const QString kLacks = R"( in SetUserTag.ini lacks its closing "/": SetUserTag.ini is read no further, so )";
    const auto max = [](const char* text) { return Tag("Set", "MAX_CHAMBER_NO", text); };
    const auto address = [](const char* text) { return Tag("AddNo", "AddressNo 02", text); };
    runRows({
        {Remove("SetUserTag.ini"), {"SetUserTag.ini is missing" + kNoneSetUp},
         {{"MaxChamberNo", "0"}, {"Model 1", ""}, {"error", kInvalidUserTag}}},
        {Drop("SetUserTag.ini", "Set", "MAX_CHAMBER_NO"),
         {"SetUserTag.ini has no MAX_CHAMBER_NO in [Set]" + kNoneSetUp}, {{"MaxChamberNo", "0"}, {"error", ""}}},
        {max("0"), {"MAX_CHAMBER_NO is 0 in SetUserTag.ini" + kNoneSetUp}, {}},
        {max("-1"), {"MAX_CHAMBER_NO -1 in SetUserTag.ini is outside 0 to 30: no chamber is polled"},
         {{"Model 1", "QEL2000"}, {"error", ""}}},
        {max("31"), {"MAX_CHAMBER_NO 31 in SetUserTag.ini is outside 0 to 30: only chambers 1 to 30 are polled"}, {}},
        {max("four"), {R"(MAX_CHAMBER_NO "four" in SetUserTag.ini is not a number: no chamber is polled)"},
         {{"MaxChamberNo", "0"}}},
        {max("99999"),
         {"MAX_CHAMBER_NO 99999 in SetUserTag.ini is outside 0 to 30: no chamber is polled, and SetUserTag.ini is "
          "read no further"},
         {{"MaxChamberNo", "0"}, {"Model 1", ""}, {"error", "OverflowmodFunc.ReadUserTag"}}},
        {Tag("Model", "3", "QEL9999/"), {R"(Chamber 3 has model "QEL9999" in SetUserTag.ini: it is not polled)"},
         {{"Model 4", "QEL2100"}}},
        {Tag("Model", "3", "/"), {"Chamber 3 has no model in SetUserTag.ini: it is not polled"}, {}},
        // Chambers past MAX_CHAMBER_NO or switched off are not checked.
        {Tag("Model", "7", "QEL9999/"), {}, {}},
        {Both(Tag("Set", "Chamber 03", "0"), Tag("Model", "3", "QEL9999/")), {}, {}},
        {Tag("AddNo", "AddressNo 09", "x1"), {}, {}},
        // Not digits, and either side of 1 to 247; absent is the default 1.
        {address("x1"), {R"(Chamber 2 has address "x1")" + kUnreachable}, {{"Address 2", "0"}}},
        {address("0"), {R"(Chamber 2 has address "0")" + kUnreachable}, {}},
        {address("248"), {R"(Chamber 2 has address "248")" + kUnreachable}, {}},
        {address("247"), {}, {}},
        {Drop("SetUserTag.ini", "AddNo", "AddressNo 02"), {}, {{"Address 2", "1"}}},
        // A text without its terminator ends the loader: the chambers not yet read are not polled.
        {Tag("Model", "3", "QEL2000"),
         {R"(Model of chamber 3 "QEL2000")" + kLacks + "chambers 3 to 4 are not polled"},
         {{"Model 2", "QEL2100"}, {"Model 3", ""}, {"Model 4", ""}, {"error", kInvalidUserTag}}},
        {Drop("SetUserTag.ini", "Name", "4"),
         {"SetUserTag.ini has no key 4 in [Name] (Name of chamber 4): SetUserTag.ini is read no further, so chamber 4 "
          "is not polled"},
         {{"Model 3", "QEL2000"}, {"Model 4", ""}, {"error", kInvalidUserTag}}},
        {Tag("Name", "1", QByteArray(30, 'N') + "/"),
         {R"(Name of chamber 1 ")" + QString(30, 'N') +
          R"(/" in SetUserTag.ini is too long (only 29 characters fit before the "/"): SetUserTag.ini is read no )"
          "further, so chambers 1 to 4 are not polled"},
         {{"Model 1", ""}, {"error", kInvalidUserTag}}},
        {Tag("IPAddNo", "2", "127.0.0.12"),
         {R"(IPAddNo of chamber 2 "127.0.0.12" in SetUserTag.ini lacks its closing "E": SetUserTag.ini is read no )"
          "further, so chambers 2 to 4 are not polled"},
         {{"Model 1", "QEL2000"}, {"Model 2", ""}}},
        {Tag("SDP_1", "2", "1"),
         {R"(SDP_1 of chamber 2 "1")" + kLacks + "chambers 3 to 4 are not polled"},
         {{"Model 2", "QEL2100"}, {"Model 3", ""}}},
        {Drop("SetUserTag.ini", "UNIT_3", "30"),
         {"SetUserTag.ini has no key 30 in [UNIT_3] (UNIT_3 of chamber 30): SetUserTag.ini is read no further"},
         {{"Model 4", "QEL2100"}, {"error", kInvalidUserTag}}},
    });
}

TEST_F(ConfigReportTest, DINamesAndTrendScaleProblems) {
    const QString kInvalidDI = "Invalid procedure call or argumentmodFunc.ReadDIErrorName";
    runRows({
        {Remove("SetDIErrorName.ini"), {"SetDIErrorName.ini is missing: the DI alarms have no names"},
         {{"DI 1", ""}, {"error", kInvalidDI}}},
        {Drop("SetDIErrorName.ini", "DIERRORNAME_2", "5"),
         {"SetDIErrorName.ini has no key 5 in [DIERRORNAME_2] (DI name 5 of chamber 2): the DI alarms from there on "
          "have no names"},
         {{"error", kInvalidDI}}},
        {Remove("SetScreensGraphInfo.ini"),
         {"SetScreensGraphInfo.ini is missing: the trend graphs use the default scales"},
         {{"Max 3", "10"}, {"error", ""}}},
        {Set("SetScreensGraphInfo.ini", "Set_3", "MAX_3_1", "99999"),
         {"MAX_3_1 99999 in SetScreensGraphInfo.ini is too large (at most 32767): SetScreensGraphInfo.ini is read no "
          "further"},
         {{"Max 3", "0"}, {"error", "OverflowmodFunc.ReadDataGraph"}}},
    });
}

TEST_F(ConfigReportTest, EveryProblemOfAStartUpIsListedOnceAndTheNextStartUpStartsAfresh) {
    loadShippedFolder();
    Remove("SetComm.ini")(app);
    Tag("Model", "2", "QEL9999/")(app);
    Tag("AddNo", "AddressNo 03", "0")(app);
    startUp();
    startUp();  // a second reading of the same folder lists the same problems, not twice
    const QStringList both = {R"(Chamber 2 has model "QEL9999" in SetUserTag.ini: it is not polled)",
                              R"(Chamber 3 has address "0")" + kUnreachable, "SetComm.ini is missing" + kDefaultLine};
    EXPECT_EQ(qel::ConfigProblems(), both);

    // Put right, the folder reads clean: nothing stays from before.
    for (const char* name : {"SetComm.ini", "SetUserTag.ini"}) {
        QFile::remove(app.file(name));
        QFile::copy(kShipped + name, app.file(name));
    }
    startUp();
    EXPECT_EQ(qel::ConfigProblems(), QStringList());
}

}  // namespace
