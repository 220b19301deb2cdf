// ReadUserTag and the chamber-table writer against SetUserTag.ini files laid out here key by key.
#include "lamp_select.h"
#include "settings_fixture.h"
#include "state.h"
#include "user_tag.h"

#include <QDir>
#include <QMap>

namespace {

using UserTagTest = SettingsTest;

// Guards each SetUserTag.ini key's section and name, names cut at "/", addresses at "E", CP949, channel counts.
TEST_F(UserTagTest, HandWrittenTableLoads) {
    const QMap<QByteArray, QByteArray> own = {  // "Section/key" of its own; every other key of 30 chambers plain
        {"Name/2", "Lab/B/"},    {"IPAddNo/2", "HOSTE.localE"}, {"Model/1", "QEL2000/"},   {"Model/2", "QEL2100/"},
        {"Model/3", "QEL2400/"}, {"Model/4", "QEL9999/"},      {"Board/1", "1"},          {"MODEL_ZZ/2", "1"},
        {"UNIT_1/1", "\xA1\xC9/"}, {"UNIT_3/30", "kPa/"}};
    QByteArray file;
    const auto section = [&](const QByteArray& name, const QByteArray& prefix, const QByteArray& plain) {
        file += Section(name, 30, [&](int c) {
            const QByteArray n = QByteArray::number(c), key = prefix.isEmpty() ? n : prefix + n.rightJustified(2, '0');
            return key + "=" + own.value(name + "/" + key, QByteArray(plain).replace("#", n));
        });
    };
    section("Set", "Chamber ", "#");
    file += "MAX_CHAMBER_NO=3\r\n";
    section("AddNo", "AddressNo ", "#");
    section("Name", "", "C#/");
    section("IPAddNo", "", "10.0.0.#E");
    section("Model", "", "QEL2200/");
    for (const char* s : {"Board", "MODEL_ZZ"}) section(s, "", "0");
    for (const char* s : {"SDP_1", "SDP_2", "SDP_3"}) section(s, "", "0/");
    for (const char* s : {"UNIT_1", "UNIT_2", "UNIT_3"}) section(s, "", "%/");
    write("SetUserTag.ini", file);
    qel::ReadUserTag();

    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ((QStringList{qel::ChamberName[1], qel::ChamberName[29], qel::ChamberIP[1], qel::ChamberIP[29]}),
              (QStringList{"Lab", "C30", "HOST", "10.0.0.30"}));
    QStringList models;
    for (int c = 0; c < 5; ++c) models << qel::ChamberModel[c] + " " + QString::number(qel::Chamber[c].ChannelCount);
    EXPECT_EQ(models, (QStringList{"QEL2000 1", "QEL2100 2", "QEL2400 3", "QEL9999 0", "QEL2200 0"}));
    EXPECT_EQ(qel::ChamberBoard[0] + qel::ChamberBoard[1] + qel::ChamberVariant[1], "101");
    EXPECT_EQ(qel::ChamberUnit[0][0] + qel::ChamberUnit[2][29], QStringLiteral(u"℃kPa"));
}

// Guards the written layout (sections in the order of first writes, MAX_CHAMBER_NO last in [Set]) and beside it.
TEST_F(UserTagTest, ChamberTableIsWrittenRowByRowInTheKeyOrderOfTheForm) {
    qel::Protocol = "ETH";
    std::array<qel::ChamberRow, 30> rows;
    rows[0] = {true, "Alpha", "1", "127.0.0.11", "QEL2000", "1", "0"};
    rows[1] = {true, "Beta", "2", "127.0.0.12", "QEL2100", "0", "1"};
    rows[2] = {false, "Gamma", "3", "127.0.0.13", "", "0", "0"};
    qel::StoreChamberTable(rows);

    QByteArray expected;
    for (const QByteArray s : {"Set", "Board", "MODEL_ZZ", "Name", "IPAddNo", "AddNo", "Model"}) {
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
    EXPECT_EQ(qel::MaxChamberNo, 2);  // the last used row
    EXPECT_TRUE(QDir(app.file("DATA/Alpha")).exists() && QDir(app.file("Message/Beta")).exists());
    qel::ReadLampSelect(2);  // the model changed: the loader finds every entry of both its files
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::Log[1].Lamp2000[1][57], "DI 17=0");  // Board 0
}

}  // namespace
