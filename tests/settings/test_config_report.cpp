// What the loaders of a start-up tell the operator about the shipped settings folder with one thing broken.
#include "config_report.h"
#include "di_names.h"
#include "graph_settings.h"
#include "profile.h"
#include "settings_fixture.h"
#include "user_tag.h"

#include <QDir>
#include <QFile>
#include <QMap>

namespace {

const QString kShipped = QStringLiteral(QEL_DEFAULT_APP_DIR "/");

using Edit = std::function<void(qeltest::AppDir&)>;

Edit Set(const char* file, const char* section, const char* key, const char* value) {
    return [=](qeltest::AppDir& app) { ASSERT_TRUE(qel::WriteProfileString(section, key, value, app.file(file))); };
}
Edit Tag(const char* section, const char* key, const char* v) { return Set("SetUserTag.ini", section, key, v); }
Edit Remove(const char* file) { return [=](qeltest::AppDir& a) { QFile::remove(a.file(file)); }; }

class ConfigReportTest : public SettingsTest {
protected:
    void loadShippedFolder() {
        resetState();
        for (const QString& name : QDir(kShipped).entryList(QDir::Files)) {
            QFile::remove(app.file(name));
            QFile::copy(kShipped + name, app.file(name));
        }
    }
    void startUp() {  // the loaders of a start-up, in their order
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
            {"RemotePort", QString::number(qel::RemotePort)}, {"Language", qel::Language},
            {"Model", qel::ChamberModel[i]}, {"Address", qel::ChamberAddress[i]}, {"DI", qel::DIErrorName[i][0]},
            {"Max", QString::number(qel::GraphInfo[size_t(n)].Max[0])}, {"link", linkCalls.join(',')},
            {"error", errorLines().join(" | ")}};
        EXPECT_TRUE(state.contains(what.section(' ', 0, 0))) << "no probe " << what.toStdString();
        return state.value(what.section(' ', 0, 0));
    }
};

const QString kDefaultLine = ": using the defaults (RTU on serial port 2, /dev/ttyS1), and no language is loaded";

// Guards one problem of each kind: its one line, nothing else, and what the loader falls back to.
TEST_F(ConfigReportTest, EachKindOfProblemIsReportedWithItsFallback) {
    const QString kInvalid = "Invalid procedure call or argumentmodFunc.";
    // The shipped line is ETH on TCP port 1502 in English; chambers 1 to 4.
    const QMap<QString, QString> defaults = {{"Protocol", "RTU"}, {"PortNumber", "2"}, {"Language", ""},
                                             {"link", "close"},   {"error", kInvalid + "ReadCOMINI"}};
    const Edit utf16 = [](qeltest::AppDir& a) {  // the file's Latin text as UTF-16 little-endian
        QByteArray bytes("\xFF\xFE");
        for (const char c : a.read("SetComm.ini")) bytes += c, bytes += '\0';
        a.write("SetComm.ini", bytes);
    };
    const struct { Edit edit; QStringList problems; QMap<QString, QString> after; } rows[] = {
        {[](qeltest::AppDir&) {}, {}, {{"link", "close,open"}, {"error", ""}}},
        {Remove("SetComm.ini"), {"SetComm.ini is missing" + kDefaultLine}, defaults},
        {utf16, {"SetComm.ini could not be read as text (UTF-16? It must be saved as ANSI/CP949)" + kDefaultLine},
         defaults},
        {Set("SetComm.ini", "CommSet", "Protocol", "XYZ/"),
         {R"(Protocol "XYZ" in SetComm.ini is not RTU, ASC or ETH: no chamber can be polled)"},
         {{"link", "close,open"}}},
        // A number too wide ends the loader: what came before stays, the port keeps its default.
        {Set("SetComm.ini", "CommSet", "RemotePort", "70000"),
         {"RemotePort 70000 in SetComm.ini is too large (at most 32767): SetComm.ini is read no further, and no "
          "language is loaded"},
         {{"Protocol", "ETH"}, {"RemotePort", "502"}, {"Language", ""}, {"error", "OverflowmodFunc.ReadCOMINI"}}},
        {Set("SetComm.ini", "Language", "Language", "eng"),
         {R"(Language "eng" in SetComm.ini is not KOR, ENG or CHN: the screens lack captions, and SetComm.ini is )"
          "read no further"},
         {{"link", "close"}, {"error", kInvalid + "ReadCOMINI"}}},
        {Tag("Set", "MAX_CHAMBER_NO", "31"),
         {"MAX_CHAMBER_NO 31 in SetUserTag.ini is outside 0 to 30: only chambers 1 to 30 are polled"}, {}},
        {Tag("Model", "3", "QEL9999/"), {R"(Chamber 3 has model "QEL9999" in SetUserTag.ini: it is not polled)"},
         {{"Model 4", "QEL2100"}}},
        {Tag("AddNo", "AddressNo 02", "0"),
         {R"(Chamber 2 has address "0" in SetUserTag.ini, not a slave address from 1 to 247: the chamber cannot )"
          "be reached"},
         {{"Address 2", "0"}}},
        // A text without its terminator ends the loader: the chambers whose model is not yet read are not polled.
        {Tag("IPAddNo", "2", "127.0.0.12"),
         {R"(IPAddNo of chamber 2 "127.0.0.12" in SetUserTag.ini lacks its closing "E": SetUserTag.ini is read no )"
          "further, so chambers 2 to 4 are not polled"},
         {{"Model 1", "QEL2000"}, {"Model 2", ""}, {"error", kInvalid + "ReadUserTag"}}},
        {Remove("SetDIErrorName.ini"), {"SetDIErrorName.ini is missing: the DI alarms have no names"},
         {{"DI 1", ""}, {"error", kInvalid + "ReadDIErrorName"}}},
        {Remove("SetScreensGraphInfo.ini"),
         {"SetScreensGraphInfo.ini is missing: the trend graphs use the default scales"},
         {{"Max 3", "10"}, {"error", ""}}},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.problems.value(0, "shipped").toStdString());
        loadShippedFolder();
        r.edit(app);
        startUp();
        EXPECT_EQ(qel::ConfigProblems(), r.problems);
        for (auto it = r.after.cbegin(); it != r.after.cend(); ++it)
            EXPECT_EQ(probe(it.key()), it.value()) << it.key().toStdString();
    }
}

}  // namespace
