// Lamp tables: the default labels of each layout, ReadLampSelect, and the
// logic of the lamp forms, against lamp files laid out here.
#include "lamp_select.h"
#include "settings_fixture.h"
#include "state.h"

#include <functional>

namespace {

using qel::LampForm;

// A lamp section with entries 1..count; entry(i) gives the value ("" leaves
// the key out).
QByteArray LampSection(const char* word, int chamber, int count,
                       const std::function<QByteArray(int)>& entry) {
    QByteArray s = QByteArray("[") + word + "_" + QByteArray::number(chamber) + "]\r\n";
    for (int i = 1; i <= count; ++i) {
        const QByteArray v = entry(i);
        if (!v.isEmpty()) s += "Lamp " + QByteArray::number(i).rightJustified(2, '0') + "=" + v + "\r\n";
    }
    return s;
}

QByteArray Numbered(const char* prefix, int i) { return prefix + QByteArray::number(i) + "=1/"; }

TEST(LampLayoutTest, DefaultLabelsFollowTheDocumentedRanges) {
    const struct {
        LampForm form;
        int i;
        const char* label;
    } rows[] = {
        {LampForm::Lamp2100, 1, "IS 1"},   {LampForm::Lamp2100, 16, "IS 16"},
        {LampForm::Lamp2100, 17, "TS 1"},  {LampForm::Lamp2100, 28, "TS 12"},
        {LampForm::Lamp2100, 29, "AL 1"},  {LampForm::Lamp2100, 36, "AL 8"},
        {LampForm::Lamp2100, 37, "SAL 1"}, {LampForm::Lamp2100, 40, "SAL 4"},
        {LampForm::Lamp2100, 41, "DI 1"},  {LampForm::Lamp2100, 56, "DI 16"},
        {LampForm::Lamp2100, 57, "DI 17"}, {LampForm::Lamp2100, 72, "DI 32"},
        {LampForm::Lamp2100, 73, "D0 1"},  {LampForm::Lamp2100, 88, "D0 16"},
        {LampForm::Lamp2100, 89, "D0 17"}, {LampForm::Lamp2100, 104, "D0 32"},
        {LampForm::Lamp2100, 105, ""},     {LampForm::Lamp2200, 16, "IS 16"},
        {LampForm::Lamp2200, 28, "TS 12"}, {LampForm::Lamp2200, 36, "AL 8"},
        {LampForm::Lamp2200, 37, "DI 1"},  {LampForm::Lamp2200, 52, "DI 16"},
        {LampForm::Lamp2200, 53, "DI 17"}, {LampForm::Lamp2200, 68, "DI 32"},
        {LampForm::Lamp2200, 69, "D0 1"},  {LampForm::Lamp2200, 84, "D0 16"},
        {LampForm::Lamp2200, 85, "D0 17"}, {LampForm::Lamp2200, 100, "D0 32"},
        {LampForm::Lamp2200, 101, ""},     {LampForm::Lamp2300, 12, "IS 12"},
        {LampForm::Lamp2300, 13, "TS 1"},  {LampForm::Lamp2300, 20, "TS 8"},
        {LampForm::Lamp2300, 21, "AL 1"},  {LampForm::Lamp2300, 28, "AL 8"},
        {LampForm::Lamp2300, 29, "DI 1"},  {LampForm::Lamp2300, 44, "DI 16"},
        {LampForm::Lamp2300, 45, "DI 17"}, {LampForm::Lamp2300, 60, "DI 32"},
        {LampForm::Lamp2300, 61, "D0 1"},  {LampForm::Lamp2300, 76, "D0 16"},
        {LampForm::Lamp2300, 77, "D0 17"}, {LampForm::Lamp2300, 92, "D0 32"},
        {LampForm::Lamp2300, 93, ""},
    };
    for (const auto& r : rows) EXPECT_EQ(qel::DefaultLampLabel(r.form, r.i), QLatin1String(r.label)) << r.i;
}

TEST(LampLayoutTest, SecondBoardEntriesAreOffOnlyWithBoardZero) {
    EXPECT_EQ(qel::DefaultLampEntry(LampForm::Lamp2100, 56, "0"), "DI 16=1");
    EXPECT_EQ(qel::DefaultLampEntry(LampForm::Lamp2100, 57, "0"), "DI 17=0");
    EXPECT_EQ(qel::DefaultLampEntry(LampForm::Lamp2100, 57, "1"), "DI 17=1");
    EXPECT_EQ(qel::DefaultLampEntry(LampForm::Lamp2100, 89, "0"), "D0 17=0");
    EXPECT_EQ(qel::DefaultLampEntry(LampForm::Lamp2200, 85, "0"), "D0 17=0");
    EXPECT_EQ(qel::DefaultLampEntry(LampForm::Lamp2300, 45, "0"), "DI 17=0");
    EXPECT_EQ(qel::DefaultLampEntry(LampForm::Lamp2300, 44, "0"), "DI 16=1");
    EXPECT_EQ(qel::DefaultLampEntry(LampForm::Lamp2100, 105, "1"), "=0");  // spare past the layout
    int off = 0;
    for (int i = 1; i <= 105; ++i) off += qel::DefaultLampEntry(LampForm::Lamp2100, i, "0").endsWith("=0");
    EXPECT_EQ(off, 16 + 16 + 1);
}

class LampSelectTest : public SettingsTest {};

TEST_F(LampSelectTest, Qel2000ReadsItsSectionTrimmedAndCut) {
    qel::ChamberModel[6] = "QEL2000";
    write("SetLamp_2000.ini", LampSection("QEL2000", 6, 105, [](int) { return QByteArray("WRONG=1/"); }) +
                                  LampSection("QEL2000", 7, 105, [](int i) {
                                      return i == 3 ? QByteArray("  DI 3=0/junk") : Numbered("IS ", i);
                                  }));
    qel::ReadLampSelect(7);
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::Log[6].Lamp2000[0][1], "IS 1=1");
    EXPECT_EQ(qel::Log[6].Lamp2000[0][3], "DI 3=0");
    EXPECT_EQ(qel::Log[6].Lamp2000[0][105], "IS 105=1");
    EXPECT_EQ(qel::Log[6].Lamp2000[1][1], "");  // one channel only
}

TEST_F(LampSelectTest, Qel2100WithAShortFirstFileNeverReachesItsSecond) {
    qel::ChamberModel[1] = "QEL2100";
    write("SetLamp_2000.ini", LampSection("QEL2000", 2, 104, [](int i) { return Numbered("A", i); }));
    write("SetLamp_2100.ini", LampSection("QEL2100", 2, 105, [](int i) { return Numbered("B", i); }));
    qel::ReadLampSelect(2);
    EXPECT_EQ(errorLines(), QStringList{"Invalid procedure call or argumentmodFunc.ReadLampSelect"});
    EXPECT_EQ(qel::Log[1].Lamp2000[0][104], "A104=1");
    EXPECT_EQ(qel::Log[1].Lamp2000[0][105], "");
    EXPECT_EQ(qel::Log[1].Lamp2000[1][1], "");
}

TEST_F(LampSelectTest, EachModelReadsItsFilesAndCounts) {
    qel::ChamberModel[0] = "QEL2400";
    qel::ChamberModel[1] = "QEL2200";
    qel::ChamberModel[2] = "QEL2300";
    write("SetLamp_2000.ini", LampSection("QEL2000", 1, 105, [](int i) { return Numbered("A", i); }));
    write("SetLamp_2100.ini", LampSection("QEL2100", 1, 105, [](int i) { return Numbered("B", i); }));
    write("SetLamp_2400.ini", LampSection("QEL2400", 1, 105, [](int i) { return Numbered("C", i); }));
    write("SetLamp_2200.ini", LampSection("QEL2200", 2, 105, [](int i) { return Numbered("D", i); }));
    write("SetLamp_2300.ini", LampSection("QEL2300", 3, 92, [](int i) { return Numbered("E", i); }));
    for (int16_t c = 1; c <= 3; ++c) qel::ReadLampSelect(c);
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::Log[0].Lamp2000[0][105], "A105=1");
    EXPECT_EQ(qel::Log[0].Lamp2000[1][105], "B105=1");
    EXPECT_EQ(qel::Log[0].Lamp2000[2][105], "C105=1");
    EXPECT_EQ(qel::Log[1].Lamp2200[105], "D105=1");
    EXPECT_EQ(qel::Log[2].Lamp2300[92], "E92=1");  // 92 entries; 93 on need not exist
    EXPECT_EQ(qel::Log[2].Lamp2300[93], "");
}

TEST_F(LampSelectTest, OtherModelsReadNothingAndBadChambersAreLogged) {
    qel::ChamberModel[0] = "QEL9999";
    qel::ReadLampSelect(1);
    EXPECT_EQ(errorLines(), QStringList());
    qel::ReadLampSelect(0);
    EXPECT_EQ(errorLines(), QStringList{"Subscript out of rangemodFunc.ReadLampSelect"});
}

TEST_F(LampSelectTest, TenByteReadCutsALongEntryBeforeItsTerminator) {
    qel::ChamberModel[0] = "QEL2200";
    write("SetLamp_2200.ini", LampSection("QEL2200", 1, 105, [](int i) {
              return i == 2 ? QByteArray("SAL 12=1/") : i == 3 ? QByteArray("LONGER 3=1/") : Numbered("D", i);
          }));
    qel::ReadLampSelect(1);
    EXPECT_EQ(qel::Log[0].Lamp2200[2], "SAL 12=1");  // nine characters fit
    EXPECT_EQ(errorLines(), QStringList{"Invalid procedure call or argumentmodFunc.ReadLampSelect"});
    EXPECT_EQ(qel::Log[0].Lamp2200[3], "");
}

class LampFormTest : public SettingsTest {
protected:
    qel::LampTable& table() { return qel::Log[6].Lamp2000[1]; }  // chamber 7, channel 2
};

TEST_F(LampFormTest, LoadShowsFlagsAndSkipsTheSecondDiBoardWithBoardZero) {
    for (int i = 1; i <= 105; ++i) table()[i] = qel::DefaultLampLabel(LampForm::Lamp2100, i) + "=1";
    table()[2] = "IS 2=0";
    table()[3] = "IS 3";    // no "=": flag 0
    table()[4] = "IS 4=2";  // any non-zero flag

    qel::ChamberBoard[6] = "1";
    auto view = qel::LoadLampForm(LampForm::Lamp2100, 7, 2);
    EXPECT_TRUE(view.on[1]);
    EXPECT_FALSE(view.on[2]);
    EXPECT_FALSE(view.on[3]);
    EXPECT_TRUE(view.on[4]);
    EXPECT_TRUE(view.on[60] && view.shown[60]);

    qel::ChamberBoard[6] = "0";
    view = qel::LoadLampForm(LampForm::Lamp2100, 7, 2);
    for (int i : {57, 64, 72}) EXPECT_FALSE(view.shown[i] || view.on[i]) << i;
    for (int i : {56, 73, 89, 104}) EXPECT_TRUE(view.shown[i] && view.on[i]) << i;

    qel::ChamberBoard[6] = "";
    view = qel::LoadLampForm(LampForm::Lamp2100, 7, 2);
    for (int i = 1; i <= 105; ++i) EXPECT_FALSE(view.on[i]) << i;
    EXPECT_TRUE(view.shown[57]);

    view = qel::LoadLampForm(LampForm::Lamp2100, 7, 4);  // no channel 4
    EXPECT_EQ(errorLines(), QStringList{"Subscript out of rangefrmLampSelectCh1.Form_Load_Err"});
}

TEST_F(LampFormTest, SelectAllRestoresTheDefaultsByBoard) {
    auto on = qel::SelectAllLamps(LampForm::Lamp2100, "1");
    for (int i = 1; i <= 104; ++i) EXPECT_TRUE(on[i]) << i;
    EXPECT_FALSE(on[105]);
    on = qel::SelectAllLamps(LampForm::Lamp2100, "0");
    for (int i = 1; i <= 104; ++i) EXPECT_EQ(on[i], i <= 56 || (i >= 73 && i <= 88)) << i;
    on = qel::SelectAllLamps(LampForm::Lamp2200, "0");
    for (int i = 1; i <= 100; ++i) EXPECT_EQ(on[i], i <= 52 || (i >= 69 && i <= 84)) << i;
    on = qel::SelectAllLamps(LampForm::Lamp2100, "x");
    for (int i = 1; i <= 105; ++i) EXPECT_FALSE(on[i]) << i;
}

TEST_F(LampFormTest, StoreWritesEveryEntryAndFillsThePageFromTheFirstLamp) {
    const QByteArray other = LampSection("QEL2100", 6, 2, [](int i) { return Numbered("keep ", i); });
    write("SetLamp_2100.ini",
          other + LampSection("QEL2100", 7, 105, [](int i) { return Numbered("old ", i); }));
    for (int i = 1; i <= 105; ++i) table()[i] = "L" + QString::number(i) + "=1";
    table()[5] = "NoFlag";
    qel::LampSwitches on{};
    for (int i : {2, 5, 40, 105}) on[i] = true;

    const QStringList lamps = qel::StoreLampForm(LampForm::Lamp2100, 7, 2, on);

    EXPECT_EQ(lamps, (QStringList{"L2", "NoFlag", "L40", "L105"}));
    EXPECT_EQ(table()[1], "L1=0");
    EXPECT_EQ(table()[5], "NoFlag=1");
    const QByteArray expected =
        other + LampSection("QEL2100", 7, 105, [&](int i) {
            return (i == 5 ? QByteArray("NoFlag") : "L" + QByteArray::number(i)) + (on[i] ? "=1/" : "=0/");
        });
    EXPECT_EQ(read("SetLamp_2100.ini"), expected);
    EXPECT_EQ(errorLines(), QStringList());

    EXPECT_EQ(qel::StoreLampForm(LampForm::Lamp2200, 31, 1, on), QStringList());
    EXPECT_EQ(errorLines(), QStringList{"Subscript out of rangefrmLampSelectCh1.Command1_Click_Err"});
}

TEST_F(LampFormTest, DefaultEntriesAreWrittenForEveryTableOfTheModel) {
    qel::WriteDefaultLampEntries(3, "QEL2400", "0");
    qel::WriteDefaultLampEntries(4, "QEL2300", "1");
    qel::ChamberModel[2] = "QEL2400";
    qel::ChamberModel[3] = "QEL2300";
    qel::ReadLampSelect(3);
    qel::ReadLampSelect(4);
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::Log[2].Lamp2000[2][37], "SAL 1=1");
    EXPECT_EQ(qel::Log[2].Lamp2000[2][72], "DI 32=0");
    EXPECT_EQ(qel::Log[3].Lamp2300[77], "D0 17=1");
    EXPECT_TRUE(read("SetLamp_2300.ini").endsWith("Lamp 105==0/\r\n"));
}

}  // namespace
