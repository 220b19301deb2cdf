// DI error names: ReadDIErrorName and the frmDIErrName logic.
#include "di_names.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"

#include <functional>

namespace {

// SetDIErrorName.ini for 30 chambers by 32 names; name(c, n) gives the value,
// or an empty array to leave the key out.
QByteArray DINameFile(const std::function<QByteArray(int, int)>& name) {
    QByteArray f;
    for (int c = 1; c <= 30; ++c) {
        f += "[DIERRORNAME_" + QByteArray::number(c) + "]\r\n";
        for (int n = 1; n <= 32; ++n) {
            const QByteArray v = name(c, n);
            if (!v.isEmpty()) f += QByteArray::number(n) + "=" + v + "\r\n";
        }
    }
    return f;
}

QByteArray Plain(int c, int n) { return "c" + QByteArray::number(c) + "n" + QByteArray::number(n) + "/"; }

class DINameTest : public SettingsTest {};

TEST_F(DINameTest, HandWrittenNamesLoad) {
    write("SetDIErrorName.ini", DINameFile([](int c, int n) -> QByteArray {
              if (c == 1 && n == 1) return "\xB0\xE6\xBA\xB8/";  // "경보" in CP949
              if (c == 2 && n == 32) return "Door/open/";
              if (c == 3 && n == 3) return "/";
              return Plain(c, n);
          }));
    qel::ReadDIErrorName();
    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(qel::DIErrorName[0][0], QStringLiteral(u"경보"));
    EXPECT_EQ(qel::DIErrorName[1][31], "Door");
    EXPECT_EQ(qel::DIErrorName[2][2], "");
    EXPECT_EQ(qel::DIErrorName[29][31], "c30n32");
}

TEST_F(DINameTest, FirstAbsentNameEndsTheTable) {
    write("SetDIErrorName.ini",
          DINameFile([](int c, int n) { return c == 2 && n == 5 ? QByteArray() : Plain(c, n); }));
    qel::ReadDIErrorName();
    EXPECT_EQ(errorLines(), QStringList{"Invalid procedure call or argumentmodFunc.ReadDIErrorName"});
    EXPECT_EQ(qel::DIErrorName[1][3], "c2n4");
    EXPECT_EQ(qel::DIErrorName[1][5], "");
    EXPECT_EQ(qel::DIErrorName[2][0], "");
}

TEST_F(DINameTest, NinetyNineBytesAreRead) {
    const QByteArray fits(98, 'x'), tooLong(99, 'y');
    write("SetDIErrorName.ini", DINameFile([&](int c, int n) {
              return c == 1 && n == 1 ? fits + "/" : c == 1 && n == 2 ? tooLong + "/" : Plain(c, n);
          }));
    qel::ReadDIErrorName();
    EXPECT_EQ(qel::DIErrorName[0][0], QString(98, u'x'));
    EXPECT_EQ(errorLines(), QStringList{"Invalid procedure call or argumentmodFunc.ReadDIErrorName"});
    EXPECT_EQ(qel::DIErrorName[0][1], "");
}

TEST_F(DINameTest, FormShowsRowsByBoardAndStoresEachWithItsTerminator) {
    for (int n = 0; n < 32; ++n) qel::DIErrorName[4][n] = "N" + QString::number(n + 1);
    qel::ChamberBoard[4] = "1";
    EXPECT_EQ(qel::DINameRowCount(5), 32);
    EXPECT_EQ(qel::LoadDINames(5).size(), 32);
    qel::ChamberBoard[4] = "0";
    EXPECT_EQ(qel::DINameRowCount(5), 16);
    EXPECT_EQ(qel::LoadDINames(5).last(), "N16");
    qel::ChamberBoard[4] = "";
    EXPECT_EQ(qel::DINameRowCount(5), 16);

    write("SetDIErrorName.ini", Crlf("[DIERRORNAME_5]\n1=old/\n[DIERRORNAME_6]\n1=keep/\n"));
    qel::StoreDINames(5, {QStringLiteral(u"온도 이상"), "", "Door"});
    EXPECT_EQ(read("SetDIErrorName.ini"),
              Crlf("[DIERRORNAME_5]\n1=\xBF\xC2\xB5\xB5 "
                   "\xC0\xCC\xBB\xF3/\n2=/\n3=Door/\n[DIERRORNAME_6]\n1=keep/\n"));
    EXPECT_EQ(qel::DIErrorName[4][0], QStringLiteral(u"온도 이상"));
    EXPECT_EQ(qel::DIErrorName[4][3], "N4");  // rows not handed over stay
}

}  // namespace
