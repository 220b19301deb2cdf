// The per-chamber tables beside SetUserTag.ini, against files written here:
// trend scales and colours, DI names, and the lamp tables with their form.
#include "di_names.h"
#include "graph_settings.h"
#include "lamp_select.h"
#include "settings_fixture.h"

#include <QMap>

namespace {

using qel::LampForm;
using TableTest = SettingsTest;

// Guards the key names of trend scales and colours, the pattern scale and DI names (CP949, cut at the first "/").
TEST_F(TableTest, KeysOfTrendScalesAndDINames) {
    write("SetScreensGraphInfo.ini", Crlf("[Set_3]\nMAX_3_1=150\nMAX_1_3=99\n[Set_7]\nCOLOR_3_7=16777215\n"
                                          "COLOR_7_3=111\n[PATTERN_Set]\nMAX=180\n"));
    const QMap<QByteArray, QByteArray> own = {{"1/1", "\xB0\xE6\xBA\xB8/"}, {"2/32", "Door/open/"}};
    QByteArray file;
    for (int c = 1; c <= 30; ++c)
        file += Section("DIERRORNAME_" + QByteArray::number(c), 32, [&](int n) {
            const QByteArray cn = QByteArray::number(c) + "/" + QByteArray::number(n);
            return QByteArray::number(n) + "=" + own.value(cn, "c" + QByteArray(cn).replace('/', 'n') + "/");
        });
    write("SetDIErrorName.ini", file);
    qel::ReadDataGraph(0);
    qel::ReadDIErrorName();
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::GraphInfo[3].Max, (std::array<int16_t, 3>{150, 10, 10}));  // MAX_1_3 would be chamber 1's
    EXPECT_EQ((std::pair{qel::GraphInfo[7].Color[2], qel::GraphInfo[3].Color[6]}), (std::pair{16777215, 0}));
    EXPECT_EQ((QStringList{qel::DIErrorName[0][0], qel::DIErrorName[1][31], qel::DIErrorName[29][31]}),
              (QStringList{QStringLiteral(u"경보"), "Door", "c30n32"}));
    EXPECT_EQ(qel::PatternGraph.Max, 10);
    qel::ReadDataGraph(99);
    EXPECT_EQ(qel::PatternGraph.Max, 180);
}

QByteArray LampKey(int i) { return "Lamp " + QByteArray::number(i).rightJustified(2, '0'); }

// Section "<word>_<chamber>" with entries 1..count "<prefix><i>=1/".
QByteArray Lamps(const char* word, int chamber, int count, const char* prefix) {
    return Section(word + QByteArray("_") + QByteArray::number(chamber), count,
                   [&](int i) { return LampKey(i) + "=" + prefix + QByteArray::number(i) + "=1/"; });
}

// Guards the lamp form's entries by flag and Board, and the stored bytes: every entry, others' sections kept.
TEST_F(TableTest, LampFormShowsByFlagAndBoardAndStoresEveryEntry) {
    const auto label = [](int i) { return qel::DefaultLampLabel(LampForm::Lamp2100, i); };
    qel::LampTable& table = qel::Log[6].Lamp2000[1];  // chamber 7, channel 2
    for (int i = 1; i <= 105; ++i) table[i] = label(i) + "=1";
    table[2] = "IS 2=0";
    table[3] = "IS 3";  // no flag: off
    const struct { const char* board; int i; const char* shownOn; } rows[] = {
        {"1", 2, "10"}, {"1", 3, "10"}, {"1", 57, "11"}, {"0", 57, "00"}, {"0", 89, "11"}, {"", 1, "10"},
    };
    for (const auto& r : rows) {
        qel::ChamberBoard[6] = r.board;
        const qel::LampFormView v = qel::LoadLampForm(LampForm::Lamp2100, 7, 2);
        EXPECT_EQ(QStringLiteral("%1%2").arg(int(v.shown[r.i])).arg(int(v.on[r.i])), r.shownOn) << r.board << r.i;
    }
    qel::LoadLampForm(LampForm::Lamp2100, 7, 4);  // no channel 4
    EXPECT_EQ(errorLines(), QStringList{"Subscript out of rangefrmLampSelectCh1.Form_Load_Err"});

    const QByteArray other = Lamps("QEL2100", 6, 2, "keep ");
    write("SetLamp_2100.ini", other + Lamps("QEL2100", 7, 105, "old "));
    qel::LampSwitches on{};
    for (int i : {3, 40, 104}) on[i] = true;
    EXPECT_EQ(qel::StoreLampForm(LampForm::Lamp2100, 7, 2, on), (QStringList{"IS 3", "SAL 4", "D0 32"}));
    EXPECT_EQ(table[1] + " " + table[3], "IS 1=0 IS 3=1");
    EXPECT_EQ(read("SetLamp_2100.ini"), other + Section("QEL2100_7", 105, [&](int i) {
                  return LampKey(i) + "=" + label(i).toLatin1() + (on[i] ? "=1/" : "=0/");
              }));
}

}  // namespace
