// The per-chamber tables beside SetUserTag.ini, against files written here:
// trend scales and colours, DI names, and the lamp tables with their form.
#include "di_names.h"
#include "graph_settings.h"
#include "lamp_select.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"

#include <QMap>

namespace {

using qel::GraphInfo;
using qel::LampForm;
using TableTest = SettingsTest;

TEST_F(TableTest, GraphScaleKeysNameTheChamberFirstAndColourKeysTheTrace) {
    write("SetScreensGraphInfo.ini", Crlf("[Set_3]\nMAX_3_1=150\nMAX_1_3=99\nMin_3_2=-40\nX_MAJOR_3=6\n"
                                          "[Set_7]\nCOLOR_3_7=16777215\nCOLOR_7_3=111\nC_T_SP7=1\n"
                                          "[PATTERN_Set]\nMAX=180\n"));
    qel::ReadDataGraph(0);
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(GraphInfo[3].Max, (std::array<int16_t, 3>{150, 10, 10}));  // MAX_1_3 would be chamber 1's
    EXPECT_EQ(GraphInfo[3].Min, (std::array<int16_t, 3>{0, -40, 0}));
    EXPECT_EQ(GraphInfo[3].XMajor, 6);
    EXPECT_EQ(GraphInfo[7].Color[2], 16777215);  // COLOR_<trace>_<chamber>
    EXPECT_EQ(GraphInfo[3].Color[6], 0);
    EXPECT_EQ(GraphInfo[7].CurrentOrTargetSP, 1);
    EXPECT_EQ(qel::PatternGraph.Max, 10);  // read only with 99
    qel::ReadDataGraph(99);
    EXPECT_EQ(qel::PatternGraph.Max, 180);
}

TEST_F(TableTest, DINamesLoadUntilTheFirstAbsentOne) {
    // 30 chambers by 32 names "c<c>n<n>/"; `own` gives "<c>/<n>" a line of its own ("" leaves it out).
    const auto file = [](const QMap<QByteArray, QByteArray>& own) {
        QByteArray f;
        for (int c = 1; c <= 30; ++c)
            f += Section("DIERRORNAME_" + QByteArray::number(c), 32, [&](int n) {
                const QByteArray cn = QByteArray::number(c) + "/" + QByteArray::number(n);
                const QByteArray v = own.value(cn, "c" + QByteArray(cn).replace('/', 'n') + "/");
                return v.isEmpty() ? v : QByteArray::number(n) + "=" + v;
            });
        return f;
    };
    write("SetDIErrorName.ini", file({{"1/1", "\xB0\xE6\xBA\xB8/"}, {"2/32", "Door/open/"}, {"3/3", "/"}}));
    qel::ReadDIErrorName();
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ((QStringList{qel::DIErrorName[0][0], qel::DIErrorName[1][31], qel::DIErrorName[2][2],
                           qel::DIErrorName[29][31]}),
              (QStringList{QStringLiteral(u"경보"), "Door", "", "c30n32"}));

    resetState();
    write("SetDIErrorName.ini", file({{"2/5", ""}}));
    qel::ReadDIErrorName();
    EXPECT_EQ(errorLines(), QStringList{"Invalid procedure call or argumentmodFunc.ReadDIErrorName"});
    EXPECT_EQ((QStringList{qel::DIErrorName[1][3], qel::DIErrorName[1][4], qel::DIErrorName[2][0]}),
              (QStringList{"c2n4", "", ""}));  // read up to the absent name, not beyond
}

QByteArray LampKey(int i) { return "Lamp " + QByteArray::number(i).rightJustified(2, '0'); }

// Section "<word>_<chamber>" with entries 1..count "<prefix><i>=1/".
QByteArray Lamps(const char* word, int chamber, int count, const char* prefix) {
    return Section(word + QByteArray("_") + QByteArray::number(chamber), count,
                   [&](int i) { return LampKey(i) + "=" + prefix + QByteArray::number(i) + "=1/"; });
}

TEST(LampLayoutTest, DefaultEntriesAtTheLayoutBoundaries) {
    // With Board "0" the second DI/DO board's entries are off; spares past the layout are "=0".
    const auto F2100 = LampForm::Lamp2100, F2200 = LampForm::Lamp2200, F2300 = LampForm::Lamp2300;
    const struct { LampForm form; int i; const char* entry; } rows[] = {
        {F2100, 1, "IS 1=1"},    {F2100, 16, "IS 16=1"},  {F2100, 17, "TS 1=1"},    {F2100, 28, "TS 12=1"},
        {F2100, 29, "AL 1=1"},   {F2100, 36, "AL 8=1"},   {F2100, 37, "SAL 1=1"},   {F2100, 40, "SAL 4=1"},
        {F2100, 41, "DI 1=1"},   {F2100, 56, "DI 16=1"},  {F2100, 57, "DI 17=0"},   {F2100, 72, "DI 32=0"},
        {F2100, 73, "D0 1=1"},   {F2100, 88, "D0 16=1"},  {F2100, 89, "D0 17=0"},   {F2100, 104, "D0 32=0"},
        {F2100, 105, "=0"},      {F2200, 1, "IS 1=1"},    {F2200, 16, "IS 16=1"},   {F2200, 17, "TS 1=1"},
        {F2200, 28, "TS 12=1"},  {F2200, 29, "AL 1=1"},   {F2200, 36, "AL 8=1"},    {F2200, 37, "DI 1=1"},
        {F2200, 52, "DI 16=1"},  {F2200, 53, "DI 17=0"},  {F2200, 68, "DI 32=0"},   {F2200, 69, "D0 1=1"},
        {F2200, 84, "D0 16=1"},  {F2200, 85, "D0 17=0"},  {F2200, 100, "D0 32=0"},  {F2200, 101, "=0"},
        {F2300, 1, "IS 1=1"},    {F2300, 12, "IS 12=1"},  {F2300, 13, "TS 1=1"},    {F2300, 20, "TS 8=1"},
        {F2300, 21, "AL 1=1"},   {F2300, 28, "AL 8=1"},   {F2300, 29, "DI 1=1"},    {F2300, 44, "DI 16=1"},
        {F2300, 45, "DI 17=0"},  {F2300, 60, "DI 32=0"},  {F2300, 61, "D0 1=1"},    {F2300, 76, "D0 16=1"},
        {F2300, 77, "D0 17=0"},  {F2300, 92, "D0 32=0"},  {F2300, 93, "=0"},        {F2300, 105, "=0"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(qel::DefaultLampEntry(r.form, r.i, "0"), r.entry) << static_cast<int>(r.form) << " " << r.i;
    EXPECT_EQ(qel::DefaultLampEntry(F2100, 57, "1"), "DI 17=1");  // the second board fitted
}

TEST_F(TableTest, LampReadStopsAtAnEntryWithoutSlashSoAShortFirstFileHidesTheSecond) {
    qel::ChamberModel[1] = "QEL2100";
    write("SetLamp_2000.ini", Lamps("QEL2000", 2, 104, "A"));
    write("SetLamp_2100.ini", Lamps("QEL2100", 2, 105, "B"));
    qel::ReadLampSelect(2);
    EXPECT_EQ(errorLines(), QStringList{"Invalid procedure call or argumentmodFunc.ReadLampSelect"});
    EXPECT_EQ(qel::Log[1].Lamp2000[0][104], "A104=1");
    EXPECT_EQ(qel::Log[1].Lamp2000[0][105], "");
    EXPECT_EQ(qel::Log[1].Lamp2000[1][1], "");  // never reached

    resetState();
    qel::ChamberModel[1] = "QEL2100";
    write("SetLamp_2000.ini", Lamps("QEL2000", 1, 105, "X") + Lamps("QEL2000", 2, 105, "A"));
    qel::ReadLampSelect(2);
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::Log[1].Lamp2000[0][1], "A1=1");  // its own chamber's section
    EXPECT_EQ(qel::Log[1].Lamp2000[1][105], "B105=1");
    EXPECT_EQ(qel::Log[1].Lamp2000[2][1], "");  // two channels
}

TEST_F(TableTest, LampFormShowsTheFlagsAndHidesTheSecondDiBoardWithBoardZero) {
    qel::LampTable& table = qel::Log[6].Lamp2000[1];  // chamber 7, channel 2
    for (int i = 1; i <= 105; ++i) table[i] = qel::DefaultLampLabel(LampForm::Lamp2100, i) + "=1";
    table[2] = "IS 2=0";
    table[3] = "IS 3";  // no flag: off
    // Shown and on, by Board: "0" hides DI 17..32 only, any other value but "1" sets none.
    const struct { const char* board; int i; const char* shownOn; } rows[] = {
        {"1", 1, "11"}, {"1", 2, "10"}, {"1", 3, "10"}, {"1", 57, "11"}, {"0", 56, "11"},
        {"0", 57, "00"}, {"0", 72, "00"}, {"0", 89, "11"}, {"", 1, "10"},
    };
    for (const auto& r : rows) {
        qel::ChamberBoard[6] = r.board;
        const qel::LampFormView v = qel::LoadLampForm(LampForm::Lamp2100, 7, 2);
        EXPECT_EQ(QStringLiteral("%1%2").arg(int(v.shown[r.i])).arg(int(v.on[r.i])), r.shownOn) << r.board << r.i;
    }
    qel::LoadLampForm(LampForm::Lamp2100, 7, 4);  // no channel 4
    EXPECT_EQ(errorLines(), QStringList{"Subscript out of rangefrmLampSelectCh1.Form_Load_Err"});
}

TEST_F(TableTest, LampStoreWritesEveryEntryAndFillsThePageFromTheFirstLamp) {
    qel::LampTable& table = qel::Log[6].Lamp2000[1];  // chamber 7, channel 2
    const QByteArray other = Lamps("QEL2100", 6, 2, "keep ");
    write("SetLamp_2100.ini", other + Lamps("QEL2100", 7, 105, "old "));
    for (int i = 1; i <= 105; ++i) table[i] = "L" + QString::number(i) + "=1";
    table[5] = "NoFlag";
    qel::LampSwitches on{};
    for (int i : {2, 5, 40, 105}) on[i] = true;

    EXPECT_EQ(qel::StoreLampForm(LampForm::Lamp2100, 7, 2, on), (QStringList{"L2", "NoFlag", "L40", "L105"}));
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(table[1], "L1=0");
    EXPECT_EQ(table[5], "NoFlag=1");
    const QByteArray stored = other + Section("QEL2100_7", 105, [&](int i) {
        return LampKey(i) + "=" + (i == 5 ? "NoFlag" : "L" + QByteArray::number(i)) + (on[i] ? "=1/" : "=0/");
    });
    EXPECT_EQ(read("SetLamp_2100.ini"), stored);
}

}  // namespace
