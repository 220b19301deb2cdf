#include "app_dir.h"
#include "language.h"
#include "overview_screen.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"

#include <gtest/gtest.h>

using namespace qel;

namespace {

constexpr Color kNavy = Color::rgb(0, 0, 128), kDeepNavy = Color::rgb(0, 0, 32), kGrey = Color::rgb(192, 192, 192);

class OverviewScreenTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        QByteArray file;  // every entry reads "<section> <key>"
        for (const LanguageSection& s : kLanguageSections) {
            file += QByteArray("[") + s.name + "]\r\n";
            for (int k = 1; k <= s.count; ++k) file += QByteArray::number(k) + '=' + s.name + ' ' + QByteArray::number(k) + "/\r\n";
        }
        dir.write("string-ren.xml", file);
        Language = "ENG";
        LoadLanguage();
        MaxChamberNo = 4;
    }
    void TearDown() override { ClearLanguageTables(), ResetSettingsState(); }
    // Chamber 1 alive as `model`, polled once on `s`.
    static void Poll(OverviewScreen& s, const char* model) {
        ChamberModel[0] = model, ChamberName[0] = "Oven";
        int16_t n = 1;
        s.ReadComm(n);
    }
    // Captions of "<base>k(1)" for each base and k = 1..3.
    static QStringList Captions(const OverviewScreen& s, QStringList bases) {
        QStringList out;
        for (const QString& b : bases)
            for (int k = 1; k <= 3; ++k) out << s.controls().get(QString("%1%2(1)").arg(b).arg(k)).caption;
        return out;
    }
    static const Control& C(const OverviewScreen& s, const QString& name) { return s.controls().get(name); }

    qeltest::AppDir dir;
};

TEST_F(OverviewScreenTest, CellsFollowTheChamberCount) {
    const int rows[][2] = {{-1, 1}, {0, 1},   {1, 1},   {2, 4},   {4, 4},   {5, 9},   {9, 9},
                           {10, 16}, {16, 16}, {17, 25}, {25, 25}, {26, 30}, {30, 30}, {31, 4}};  // 31: screen 1
    for (const auto& r : rows) EXPECT_EQ(OverviewCellsFor(r[0]), r[1]) << r[0];
    MaxChamberNo = 7;  // screen 2 in use; the others keep their full grid
    const int cells[] = {4, 9, 16, 25, 30};
    for (int screen = 1; screen <= 5; ++screen) EXPECT_EQ(OverviewScreen(screen).cellCount(), cells[screen - 1]);
}

TEST_F(OverviewScreenTest, SetOverviewCellsChoosesTheKindAndRowLabelsByModel) {
    const struct { const char* model; int shown; QStringList rows; } rows[] = {
        {"QEL2000", 1, {}},
        {"QEL2100", 2, {"[MainForm 19]", "[MainForm 20]"}},
        {"QEL2200", 2, {"[CH1]", "[CH2]"}},
        {"QEL2300", 3, {"[CH1]", "[CH2]", "[CH3]"}},
        {"QEL2400", 3, {"[MainForm 16]", "[MainForm 17]", "[MainForm 18]"}},
        {"QEL9999", 0, {}},  // an unknown model leaves the frames as they are
    };
    for (const auto& r : rows) {
        OverviewScreen s(1);
        ChamberModel[1] = r.model, ChamberAddress[1] = "0";
        s.Form_Load();
        for (int k = 1; k <= 3; ++k) EXPECT_EQ(C(s, QString("CH%1(2)").arg(k)).visible, k == r.shown) << r.model << k;
        QStringList labels;
        for (int k = 1; k <= r.rows.size(); ++k) labels << C(s, QString("lbl_CH%1_%2(2)").arg(r.shown).arg(k)).caption;
        EXPECT_EQ(labels, r.rows) << r.model;
        EXPECT_EQ(C(s, "lbl_Chamber_Name_CH1(2)").caption, QString("[%1]").arg(r.model));
    }
    OverviewScreen s(1);
    MaxChamberNo = 3, ChamberAddress[0] = "5";
    s.Form_Load();
    EXPECT_EQ(StatusPanel3, "0");
    EXPECT_EQ(C(s, "lbl_Chamber_Name_CH3(1)").caption, "");
    EXPECT_EQ(Captions(s, {"PV_CH3_"}), QStringList(3, "--.-"));
    EXPECT_EQ(C(s, "lbl_SP_CH3").caption, "QELForm 2");
    for (const char* kind : {"CH1(4)", "CH2(4)", "CH3(4)"}) EXPECT_FALSE(C(s, kind).visible) << "above the count";
}

// Alive, unused (named or not) and lost cells: colours, texts, formats; the
// smaller cells' labels follow in caption, fore and back colour.
TEST_F(OverviewScreenTest, ReadCommPaintsAliveUnusedAndLostCellsAndTheMirrorsFollow) {
    const struct { const char* use; int16_t commError; Color name, inside; QStringList values; } rows[] = {
        {"1", 0, kNavy, kDeepNavy, {"25", "1.3", "-3.50", "30", "40.0", "0.12", "100.0", "5.0", "-1.0"}},
        {"0", 0, kGrey, kGrey, QStringList(9, "-.-")},
        {"0", -1, kGrey, kGrey, QStringList(9, "-.-")},
        {"1", -1, colors::kRed, Color{}, QStringList(9, "-.-")},
    };
    for (const auto& r : rows) {
        OverviewScreen s(1);
        ChamberUse[0] = r.use, CommError[0] = r.commError;
        Chamber[0].PV = {25.0, 1.25, -3.5}, Chamber[0].DP = {"", "0", "00"};
        Chamber[0].SP = {30.0, 40.0, 0.123}, Chamber[0].MV = {99.96, 5, -1.04};
        Poll(s, "QEL2400");
        EXPECT_EQ(C(s, "lbl_Chamber_Name_CH3(1)").caption, "  [Oven]");
        EXPECT_EQ(C(s, "lbl_Chamber_Name_CH3(1)").back, r.name) << r.use << r.commError;
        EXPECT_EQ(C(s, "frm_CH3(1)").back, r.inside) << r.use << r.commError;
        EXPECT_EQ(Captions(s, {"PV_CH3_", "SP_CH3_", "MV_CH3_"}), r.values) << r.use << r.commError;
        s.controls().setBack("MV_CH3_2(1)", colors::kBlue);
        for (const char* pair : {"lbl_Chamber_Name_CH3 lbl_Chamber_Name_CH1", "lbl_Chamber_Name_CH3 lbl_Chamber_Name_CH2",
                                 "PV_CH3_1 PV_CH1", "PV_CH3_1 PV_CH2_1", "PV_CH3_2 PV_CH2_2", "SP_CH3_1 SP_CH1",
                                 "SP_CH3_1 SP_CH2_1", "SP_CH3_2 SP_CH2_2", "MV_CH3_1 MV_CH1", "MV_CH3_1 MV_CH2_1",
                                 "MV_CH3_2 MV_CH2_2", "frm_CH3 frm_CH1", "frm_CH3 frm_CH2_1", "frm_CH3 frm_CH2_2"}) {
            const QStringList names = QString(pair).split(' ');
            const Control &a = C(s, names[0] + "(1)"), &b = C(s, names[1] + "(1)");
            EXPECT_TRUE(a.caption == b.caption && a.fore == b.fore && a.back == b.back) << pair;
        }
    }
    OverviewScreen s(1);  // the target set point when the graph setting asks for it
    CommError[0] = 0, Chamber[0].TSP[0] = 55, GraphInfo[1].CurrentOrTargetSP = 1;
    Poll(s, "QEL2400");
    EXPECT_EQ(C(s, "SP_CH3_1(1)").caption, "55");
}

// Screen 1 prints a QEL2300's rooms 2 and 3 with the places of room 1; the
// bigger screens keep PV's own places and put room 3's SP over room 2's.
TEST_F(OverviewScreenTest, Qel2300DiffersBetweenScreenOneAndTheOthers) {
    const struct { int screen; const char* model; QStringList shown; } rows[] = {
        {1, "QEL2300", {"1.3", "2.5", "3.0", "55.0", "20.0", "30.0"}},
        {3, "QEL2300", {"1.3", "2.50", "3", "55.0", "30.0", "old"}},
        {3, "QEL2400", {"1.3", "2.50", "3", "55.0", "66.00", "77"}},
    };
    for (const auto& r : rows) {
        OverviewScreen s(r.screen);
        Chamber[0].DP = {"0", "00", ""}, Chamber[0].PV = {1.26, 2.5, 3};
        Chamber[0].SP = {10, 20, 30}, Chamber[0].TSP = {55, 66, 77};
        GraphInfo[1].CurrentOrTargetSP = 1;  // room 1 only on a QEL2300
        s.controls().setCaption("SP_CH3_3(1)", "old");
        Poll(s, r.model);
        EXPECT_EQ(Captions(s, {"PV_CH3_", "SP_CH3_"}), r.shown) << r.screen << r.model;
    }
}

TEST_F(OverviewScreenTest, ClickOnFrameValueOrNameSelectsTheChamber) {
    const struct { const char* name; bool selects; } rows[] = {
        {"PV_CH3_2(3)", true},  {"frm_CH2_1(3)", true},  {"CH1(3)", true},      {"lbl_Chamber_Name_CH1(3)", true},
        {"CH3(3)", false},      {"SP_CH3_1(3)", false},  {"MV_CH1(3)", false},   {"lbl_CH3_1(3)", false},
        {"PV_CH3_1(5)", false} /* beyond the 4 cells */, {"PV_CH3_1", false},    {"PV_CH3_1(x)", false},
    };
    for (const auto& r : rows) {
        OverviewScreen s(1);
        StatusPanel2 = "0";
        EXPECT_EQ(s.click(r.name), r.selects) << r.name;
        EXPECT_EQ(StatusPanel2, r.selects ? "3" : "0") << r.name;
        EXPECT_EQ(C(s, "CH3(3)").back, r.selects ? colors::kRed : Color{}) << r.name;
        EXPECT_EQ(C(s, "CH2(1)").back, r.selects ? colors::kButtonFace : Color{}) << r.name;
        s.Form_GotFocus();
        EXPECT_EQ(C(s, "CH3(3)").back, colors::kButtonFace);
    }
}

// A chamber number outside 1..30 is a run-time failure of the refresh: one
// error-log line, nothing changed, nothing thrown. The load's cell routine
// raises it for its caller's frame.
TEST_F(OverviewScreenTest, ChamberOutOfRangeIsLoggedNotThrown) {
    OverviewScreen s(1);
    const uint64_t before = s.controls().revision();
    for (int16_t n : {int16_t(0), int16_t(31), int16_t(-1), int16_t(9) /* no cell: silent */}) EXPECT_NO_THROW(s.ReadComm(n));
    EXPECT_EQ(s.controls().revision(), before);
    EXPECT_EQ(dir.errorLog().count("Subscript out of rangefrmMenu.ReadComm_Notify_Err"), 3);
    EXPECT_THROW(s.SetOverviewCells(0, 1), RuntimeError);
}

}  // namespace
