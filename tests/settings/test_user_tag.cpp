// ReadUserTag and the writers of the chamber table against SetUserTag.ini
// files laid out here key by key.
#include "lamp_select.h"
#include "runtime_error.h"
#include "settings_fixture.h"
#include "state.h"
#include "user_tag.h"

#include <QDir>
#include <QFile>
#include <functional>

namespace {

const QString kInvalid = QStringLiteral("Invalid procedure call or argumentmodFunc.ReadUserTag");

// CP949: "챔버" and "℃".
const QByteArray kChamberCp949("\xC3\xA8\xB9\xF6");
const QByteArray kCelsiusCp949("\xA1\xC9");

// A SetUserTag.ini with every key for 30 chambers; `value(section, key)`
// may give a line of its own for any key (a null array keeps the plain one,
// an empty one drops the key).
QByteArray UserTagFile(const std::function<QByteArray(const QByteArray&, const QByteArray&)>& value = {}) {
    QByteArray file;
    auto section = [&](const QByteArray& name, const std::function<QByteArray(int)>& key,
                       const std::function<QByteArray(int)>& plain, const QByteArray& first = {}) {
        file += "[" + name + "]\r\n" + first;
        for (int c = 1; c <= 30; ++c) {
            QByteArray v = value ? value(name, key(c)) : QByteArray();
            if (v.isNull()) v = plain(c);
            if (!v.isEmpty()) file += key(c) + "=" + v + "\r\n";
        }
    };
    const auto number = [](int c) { return QByteArray::number(c); };
    const auto twoDigits = [](const char* prefix) {
        return [prefix](int c) { return QByteArray(prefix) + QByteArray::number(c).rightJustified(2, '0'); };
    };
    const QByteArray max = value ? value("Set", "MAX_CHAMBER_NO") : QByteArray();
    section(
        "Set", twoDigits("Chamber "), [](int) { return QByteArray("0"); }, "MAX_CHAMBER_NO=" + max + "\r\n");
    section("AddNo", twoDigits("AddressNo "), [](int c) { return QByteArray::number(c); });
    section("Name", number, [](int c) { return "C" + QByteArray::number(c) + "/"; });
    section("IPAddNo", number, [](int c) { return "10.0.0." + QByteArray::number(c) + "E"; });
    section("Model", number, [](int) { return QByteArray("QEL2200/"); });
    section("Board", number, [](int) { return QByteArray("0"); });
    section("MODEL_ZZ", number, [](int) { return QByteArray("0"); });
    for (const char* s : {"SDP_1", "SDP_2", "SDP_3"})
        section(s, number, [](int) { return QByteArray("0/"); });
    for (const char* s : {"UNIT_1", "UNIT_2", "UNIT_3"})
        section(s, number, [](int) { return QByteArray("%/"); });
    return file;
}

class UserTagTest : public SettingsTest {};

TEST_F(UserTagTest, HandWrittenTableLoads) {
    write("SetUserTag.ini", UserTagFile([](const QByteArray& s, const QByteArray& k) -> QByteArray {
              const QByteArray sk = s + "/" + k;
              if (sk == "Set/MAX_CHAMBER_NO") return "3";
              if (sk == "Set/Chamber 01") return "1";
              if (sk == "Set/Chamber 02") return "2";
              if (sk == "AddNo/AddressNo 02") return "17";
              if (sk == "Name/1") return kChamberCp949 + "1/";
              if (sk == "Name/2") return "Lab/B/";  // cut at the first "/"
              if (sk == "IPAddNo/1") return "192.168.0.5E";
              if (sk == "IPAddNo/2") return "HOSTE.localE";  // cut at the first "E"
              if (sk == "Model/1") return "QEL2000/";
              if (sk == "Model/2") return "QEL2100/";
              if (sk == "Model/3") return "QEL2400/";
              if (sk == "Model/4") return "QEL2300/";
              if (sk == "Model/5") return "QEL9999/";
              if (sk == "Board/1") return "1";
              if (sk == "MODEL_ZZ/2") return "1";
              if (sk == "SDP_1/1") return "00/";
              if (sk == "SDP_2/1") return "/";
              if (sk == "UNIT_1/1") return kCelsiusCp949 + "/";
              if (sk == "UNIT_3/30") return "kPa/";
              return {};
          }));
    qel::ReadUserTag();

    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::MaxChamberNo, 3);
    EXPECT_EQ(qel::ChamberUse[0], "1");
    EXPECT_EQ(qel::ChamberUse[1], "2");
    EXPECT_EQ(qel::ChamberUse[2], "0");
    EXPECT_EQ(qel::ChamberAddress[1], "17");
    EXPECT_EQ(qel::ChamberName[0], QStringLiteral(u"챔버1"));
    EXPECT_EQ(qel::ChamberName[1], "Lab");
    EXPECT_EQ(qel::ChamberName[29], "C30");
    EXPECT_EQ(qel::ChamberIP[0], "192.168.0.5");
    EXPECT_EQ(qel::ChamberIP[1], "HOST");
    const QString models[] = {"QEL2000", "QEL2100", "QEL2400", "QEL2300", "QEL9999", "QEL2200"};
    const int channels[] = {1, 2, 3, 0, 0, 0};
    for (int c = 0; c < 6; ++c) {
        EXPECT_EQ(qel::ChamberModel[c], models[c]);
        EXPECT_EQ(qel::Chamber[c].ChannelCount, channels[c]) << models[c].toStdString();
    }
    EXPECT_EQ(qel::ChamberBoard[0], "1");
    EXPECT_EQ(qel::ChamberBoard[1], "0");
    EXPECT_EQ(qel::ChamberVariant[1], "1");
    EXPECT_EQ(qel::Chamber[0].DP[0], "00");
    EXPECT_EQ(qel::Chamber[0].DP[1], "");
    EXPECT_EQ(qel::Chamber[0].DP[2], "0");
    EXPECT_EQ(qel::ChamberUnit[0][0], QStringLiteral(u"℃"));
    EXPECT_EQ(qel::ChamberUnit[2][29], "kPa");
}

TEST_F(UserTagTest, AbsentFileStopsAtTheFirstName) {
    qel::ReadUserTag();
    EXPECT_EQ(errorLines(), QStringList{kInvalid});
    EXPECT_EQ(qel::MaxChamberNo, 0);
    EXPECT_EQ(qel::ChamberUse[0], "1");  // the defaults of the two keys before it
    EXPECT_EQ(qel::ChamberAddress[0], "1");
    EXPECT_EQ(qel::ChamberModel[0], "");  // not reached
}

TEST_F(UserTagTest, MissingTerminatorKeepsWhatWasReadBeforeIt) {
    write("SetUserTag.ini", UserTagFile([](const QByteArray& s, const QByteArray& k) -> QByteArray {
              if (s == "Set" && k == "MAX_CHAMBER_NO") return "45";  // above 30: stored as read
              if (s == "IPAddNo" && k == "2") return "10.0.0.2";     // no "E"
              return {};
          }));
    qel::ReadUserTag();
    EXPECT_EQ(errorLines(), QStringList{kInvalid});
    EXPECT_EQ(qel::MaxChamberNo, 45);
    EXPECT_EQ(qel::ChamberModel[0], "QEL2200");  // chamber 1 complete
    EXPECT_EQ(qel::Chamber[0].DP[2], "0");
    EXPECT_EQ(qel::ChamberName[1], "C2");  // read just before the failure
    EXPECT_EQ(qel::ChamberIP[1], "");
    EXPECT_EQ(qel::ChamberModel[1], "");
}

class ChamberTableWriterTest : public SettingsTest {
protected:
    std::array<qel::ChamberRow, 30> rows;
};

TEST_F(ChamberTableWriterTest, WritesRowByRowInTheDocumentedOrder) {
    qel::Protocol = "ETH";
    rows[0] = {true, "Alpha", "1", "127.0.0.11", "QEL2000", "1", "0"};
    rows[1] = {true, "Beta", "2", "127.0.0.12", "QEL2100", "0", "1"};
    rows[2] = {false, "Gamma", "3", "127.0.0.13", "", "0", "0"};
    write("1OPData.csv", "old trend");
    write("3OPData.csv", "old trend");

    qel::StoreChamberTable(rows);

    // A fresh file: each section appears where its first key was written.
    QByteArray expected;
    const char* order[] = {"Set", "Board", "MODEL_ZZ", "Name", "IPAddNo", "AddNo", "Model"};
    for (const char* section : order) {
        expected += QByteArray("[") + section + "]\r\n";
        for (int c = 1; c <= 30; ++c) {
            const qel::ChamberRow& r = rows[c - 1];
            const QByteArray n = QByteArray::number(c), nn = n.rightJustified(2, '0');
            const QByteArray s(section);
            if (s == "Set") expected += "Chamber " + nn + "=" + (r.used ? n : "0") + "\r\n";
            if (s == "Board") expected += n + "=" + r.board.toLatin1() + "\r\n";
            if (s == "MODEL_ZZ") expected += n + "=" + r.variant.toLatin1() + "\r\n";
            if (s == "Name") expected += n + "=" + r.name.toLatin1() + "/\r\n";
            if (s == "IPAddNo") expected += n + "=" + r.ip.toLatin1() + "E\r\n";
            if (s == "AddNo") expected += "AddressNo " + nn + "=" + r.address.toLatin1() + "\r\n";
            if (s == "Model") expected += n + "=" + r.model.toLatin1() + "/\r\n";
        }
        if (QByteArray(section) == "Set") expected += "MAX_CHAMBER_NO=2\r\n";
    }
    EXPECT_EQ(read("SetUserTag.ini"), expected);

    EXPECT_EQ(qel::MaxChamberNo, 2);  // the last used row
    EXPECT_EQ(qel::ChamberUse[2], "0");
    EXPECT_EQ(qel::ChamberModel[1], "QEL2100");
    EXPECT_EQ(qel::Chamber[1].ChannelCount, 2);
    EXPECT_TRUE(QDir(app.file("DATA/Alpha")).exists());
    EXPECT_TRUE(QDir(app.file("Message/Beta")).exists());
    EXPECT_FALSE(QDir(app.file("DATA/Gamma")).exists());  // unused row
    EXPECT_FALSE(QFile::exists(app.file("1OPData.csv")));
    EXPECT_FALSE(QFile::exists(app.file("3OPData.csv")));

    // The models changed: the lamp files the loader reads for them are complete.
    const QByteArray lamp2000 = read("SetLamp_2000.ini");
    EXPECT_TRUE(lamp2000.startsWith("[QEL2000_1]\r\nLamp 01=IS 1=1/\r\n"));
    EXPECT_TRUE(lamp2000.contains("[QEL2000_2]\r\n"));
    EXPECT_TRUE(lamp2000.contains("Lamp 57=DI 17=0/\r\nLamp 58=DI 18=0/"));  // Board 0 of chamber 2
    EXPECT_TRUE(read("SetLamp_2100.ini").startsWith("[QEL2100_2]\r\n"));
    EXPECT_FALSE(QFile::exists(app.file("SetLamp_2400.ini")));
    qel::ReadLampSelect(2);
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::Log[1].Lamp2000[1][104], "D0 32=0");
    EXPECT_EQ(qel::Log[1].Lamp2000[1][105], "=0");
}

TEST_F(ChamberTableWriterTest, SerialLineWritesNoIpAndUnchangedModelNoLamps) {
    qel::Protocol = "RTU";
    qel::ChamberModel[0] = "QEL2000";
    rows[0] = {true, "A", "1", "1.2.3.4", "QEL2000", "1", "0"};
    qel::StoreChamberTable(rows);
    EXPECT_FALSE(read("SetUserTag.ini").contains("[IPAddNo]"));
    EXPECT_EQ(qel::ChamberIP[0], "");
    EXPECT_FALSE(QFile::exists(app.file("SetLamp_2000.ini")));
}

TEST_F(ChamberTableWriterTest, DecimalPlacesAndUnitsChangeOnlyTheirKey) {
    const QByteArray before = Crlf("[SDP_2]\n7=0/\n[UNIT_1]\n7=%/\n");
    write("SetUserTag.ini", before);
    qel::StoreDecimalPlaces(7, 2, 2);
    EXPECT_EQ(qel::Chamber[6].DP[1], "00");
    EXPECT_EQ(read("SetUserTag.ini"), Crlf("[SDP_2]\n7=00/\n[UNIT_1]\n7=%/\n"));
    qel::StoreDecimalPlaces(7, 2, 0);
    EXPECT_EQ(read("SetUserTag.ini"), Crlf("[SDP_2]\n7=/\n[UNIT_1]\n7=%/\n"));
    qel::StoreUnit(7, 1, QStringLiteral(u"℃"));
    EXPECT_EQ(qel::ChamberUnit[0][6], QStringLiteral(u"℃"));
    EXPECT_EQ(read("SetUserTag.ini"), Crlf("[SDP_2]\n7=/\n[UNIT_1]\n7=") + kCelsiusCp949 + "/\r\n");
    EXPECT_THROW(qel::StoreUnit(31, 1, "x"), qel::RuntimeError);
}

}  // namespace
