// ReadUserTag and the chamber-table writer against SetUserTag.ini files laid
// out here key by key.
#include "lamp_select.h"
#include "settings_fixture.h"
#include "state.h"
#include "user_tag.h"

#include <QDir>
#include <QFile>
#include <QMap>

namespace {

// CP949: "챔버" and "℃".
const QByteArray kChamberCp949("\xC3\xA8\xB9\xF6");
const QByteArray kCelsiusCp949("\xA1\xC9");

// SetUserTag.ini with every key for 30 chambers in the order of the key
// lists; `own` gives "Section/key" a value of its own ("" leaves it out).
QByteArray UserTagFile(const QMap<QByteArray, QByteArray>& own = {}) {
    QByteArray file;
    const auto section = [&](const QByteArray& name, const QByteArray& prefix, const QByteArray& plain) {
        file += "[" + name + "]\r\n";
        if (name == "Set") file += "MAX_CHAMBER_NO=" + own.value("Set/MAX_CHAMBER_NO", "0") + "\r\n";
        for (int c = 1; c <= 30; ++c) {
            const QByteArray n = QByteArray::number(c);
            const QByteArray key = prefix.isEmpty() ? n : prefix + n.rightJustified(2, '0');
            const QByteArray v = own.value(name + "/" + key, QByteArray(plain).replace("#", n));
            if (!v.isEmpty()) file += key + "=" + v + "\r\n";
        }
    };
    section("Set", "Chamber ", "0");
    section("AddNo", "AddressNo ", "#");
    section("Name", "", "C#/");
    section("IPAddNo", "", "10.0.0.#E");
    section("Model", "", "QEL2200/");
    for (const char* s : {"Board", "MODEL_ZZ"}) section(s, "", "0");
    for (const char* s : {"SDP_1", "SDP_2", "SDP_3"}) section(s, "", "0/");
    for (const char* s : {"UNIT_1", "UNIT_2", "UNIT_3"}) section(s, "", "%/");
    return file;
}

using UserTagTest = SettingsTest;

TEST_F(UserTagTest, HandWrittenTableLoads) {
    write("SetUserTag.ini",
          UserTagFile({{"Set/MAX_CHAMBER_NO", "3"}, {"Set/Chamber 01", "1"}, {"Set/Chamber 02", "2"},
                       {"AddNo/AddressNo 02", "17"}, {"Name/1", kChamberCp949 + "1/"}, {"Name/2", "Lab/B/"},
                       {"IPAddNo/1", "192.168.0.5E"}, {"IPAddNo/2", "HOSTE.localE"}, {"Model/1", "QEL2000/"},
                       {"Model/2", "QEL2100/"}, {"Model/3", "QEL2400/"}, {"Model/4", "QEL2300/"},
                       {"Model/5", "QEL9999/"}, {"Board/1", "1"}, {"MODEL_ZZ/2", "1"}, {"SDP_1/1", "00/"},
                       {"SDP_2/1", "/"}, {"UNIT_1/1", kCelsiusCp949 + "/"}, {"UNIT_3/30", "kPa/"}}));
    qel::ReadUserTag();

    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::MaxChamberNo, 3);
    EXPECT_EQ((QStringList{qel::ChamberUse[0], qel::ChamberUse[1], qel::ChamberUse[2], qel::ChamberAddress[1]}),
              (QStringList{"1", "2", "0", "17"}));
    // Names cut at the first "/", addresses at the first "E".
    EXPECT_EQ((QStringList{qel::ChamberName[0], qel::ChamberName[1], qel::ChamberName[29]}),
              (QStringList{QStringLiteral(u"챔버1"), "Lab", "C30"}));
    EXPECT_EQ((QStringList{qel::ChamberIP[0], qel::ChamberIP[1], qel::ChamberIP[29]}),
              (QStringList{"192.168.0.5", "HOST", "10.0.0.30"}));
    QStringList models;  // and their channel counts
    for (int c = 0; c < 6; ++c) models << qel::ChamberModel[c] + " " + QString::number(qel::Chamber[c].ChannelCount);
    EXPECT_EQ(models, (QStringList{"QEL2000 1", "QEL2100 2", "QEL2400 3", "QEL2300 0", "QEL9999 0", "QEL2200 0"}));
    EXPECT_EQ((QStringList{qel::ChamberBoard[0], qel::ChamberBoard[1], qel::ChamberVariant[1]}),
              (QStringList{"1", "0", "1"}));
    EXPECT_EQ((QStringList{qel::Chamber[0].DP.begin(), qel::Chamber[0].DP.end()}), (QStringList{"00", "", "0"}));
    EXPECT_EQ(qel::ChamberUnit[0][0] + qel::ChamberUnit[2][29], QStringLiteral(u"℃kPa"));
}

TEST_F(UserTagTest, TextWithoutItsTerminatorStopsTheLoaderKeepingWhatWasRead) {
    const QByteArray name30 = QByteArray(29, 'N') + "/", name31 = QByteArray(30, 'N') + "/";
    // `loaded`: Name, IP and Model of chambers 1 and 2.
    const struct { bool file; QMap<QByteArray, QByteArray> own; bool fails; QString loaded; } rows[] = {
        {true, {{"Name/2", name30}}, false, "C1,10.0.0.1,QEL2200," + QString(29, 'N') + ",10.0.0.2,QEL2200"},
        {true, {{"Name/2", name31}}, true, "C1,10.0.0.1,QEL2200,1,,"},  // 30 bytes read: "/" cut away
        {true, {{"IPAddNo/2", "10.0.0.2"}}, true, "C1,10.0.0.1,QEL2200,C2,,"},
        {true, {{"Name/2", ""}}, true, "C1,10.0.0.1,QEL2200,1,,"},  // the default "1" has no "/"
        {false, {}, true, "1,,,1,,"},                                // no file: chamber 1's Name
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.loaded.toStdString());
        resetState();
        QFile::remove(app.file("SetUserTag.ini"));
        if (r.file) write("SetUserTag.ini", UserTagFile(r.own));
        qel::ReadUserTag();
        EXPECT_EQ(errorLines(), r.fails ? QStringList{"Invalid procedure call or argumentmodFunc.ReadUserTag"}
                                        : QStringList());
        const QStringList loaded{qel::ChamberName[0], qel::ChamberIP[0], qel::ChamberModel[0],
                                 qel::ChamberName[1], qel::ChamberIP[1], qel::ChamberModel[1]};
        EXPECT_EQ(loaded.join(','), r.loaded);
    }
}

TEST_F(UserTagTest, ChamberTableIsWrittenRowByRowInTheKeyOrderOfTheForm) {
    qel::Protocol = "ETH";
    std::array<qel::ChamberRow, 30> rows;
    rows[0] = {true, "Alpha", "1", "127.0.0.11", "QEL2000", "1", "0"};
    rows[1] = {true, "Beta", "2", "127.0.0.12", "QEL2100", "0", "1"};
    rows[2] = {false, "Gamma", "3", "127.0.0.13", "", "0", "0"};
    write("3OPData.csv", "old trend");

    qel::StoreChamberTable(rows);

    // A fresh file: each section where its first key was written, MAX_CHAMBER_NO last.
    QByteArray expected;
    for (const char* section : {"Set", "Board", "MODEL_ZZ", "Name", "IPAddNo", "AddNo", "Model"}) {
        const QByteArray s(section);
        expected += Section(s, 30, [&](int c) {
            const qel::ChamberRow& r = rows[c - 1];
            const QByteArray n = QByteArray::number(c), nn = n.rightJustified(2, '0');
            if (s == "Set") return "Chamber " + nn + "=" + (r.used ? n : "0");
            if (s == "AddNo") return "AddressNo " + nn + "=" + r.address.toLatin1();
            const QString v = s == "Board" ? r.board : s == "MODEL_ZZ" ? r.variant
                            : s == "Name"  ? r.name + "/" : s == "IPAddNo" ? r.ip + "E" : r.model + "/";
            return n + "=" + v.toLatin1();
        });
        if (s == "Set") expected += "MAX_CHAMBER_NO=2\r\n";
    }
    EXPECT_EQ(read("SetUserTag.ini"), expected);
    EXPECT_EQ(errorLines(), QStringList());

    EXPECT_EQ(qel::MaxChamberNo, 2);  // the last used row
    EXPECT_EQ(qel::Chamber[1].ChannelCount, 2);
    EXPECT_TRUE(QDir(app.file("DATA/Alpha")).exists() && QDir(app.file("Message/Beta")).exists());
    EXPECT_FALSE(QDir(app.file("DATA/Gamma")).exists());  // unused row
    EXPECT_FALSE(QFile::exists(app.file("3OPData.csv")));
    // The models changed: the loader finds every lamp entry it reads for them.
    qel::ReadLampSelect(1);
    qel::ReadLampSelect(2);
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::Log[1].Lamp2000[1][57], "DI 17=0");  // Board 0
}

}  // namespace
