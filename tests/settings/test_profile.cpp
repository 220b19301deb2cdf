// The profile reader and writer against files written byte by byte here, as
// the Windows profile calls read and write them.
#include "profile.h"
#include "settings_fixture.h"

#include <QDir>
#include <QFile>

using qel::ProfileEditor;
using qel::ProfileFile;
using qel::ReadProfileString;
using qel::WriteProfileString;

namespace {

// "온도" and "챔버" in CP949 (checked with iconv -t CP949).
const QByteArray kOndo("\xBF\xC2\xB5\xB5");
const QByteArray kChamber("\xC3\xA8\xB9\xF6");
const QString kOndoText = QStringLiteral(u"온도");
const QString kChamberText = QStringLiteral(u"챔버");

class ProfileTest : public SettingsTest {
protected:
    QString get(const char* section, const char* key, const char* def = "-", int size = 100,
                int buffer = qel::kNoBuffer) {
        return ReadProfileString(QLatin1String(section), QLatin1String(key), QLatin1String(def), buffer, size,
                                 app.file("t.ini"));
    }
    bool put(const QString& section, const QString& key, const QString& value) {
        return WriteProfileString(section, key, value, app.file("t.ini"));
    }
};

TEST_F(ProfileTest, LookupIgnoresCaseAndBlanksAndTakesTheFirstMatch) {
    write("t.ini", Crlf("Orphan=before any section\n"
                        "[CommSet]\n"
                        "  Protocol =  ETH/  \n"
                        "protocol=RTU/\n"
                        "Baud Rate=19200\n"
                        "[ commset ]\n"
                        "Data Len=7\n"
                        "[Other]\n"
                        "Key=\n"));
    EXPECT_EQ(get("COMMSET", "PROTOCOL"), "ETH/");  // case and blanks, first key wins
    EXPECT_EQ(get("commset", "baud rate"), "19200");
    EXPECT_EQ(get("CommSet", "Data Len"), "-");  // only the first section of a name counts
    EXPECT_EQ(get("CommSet", "Orphan"), "-");    // keys before any section belong to none
    EXPECT_EQ(get("Other", "Key"), "");          // present but empty: no default

    write("t.ini", QByteArray("[A]\nLf=one\nCr=two\rCrLf=three\r\nLast=four"));  // any line end
    EXPECT_EQ(get("A", "Lf"), "one");
    EXPECT_EQ(get("A", "Cr"), "two");
    EXPECT_EQ(get("A", "CrLf"), "three");
    EXPECT_EQ(get("A", "Last"), "four");  // no line end at all
}

TEST_F(ProfileTest, DefaultForAbsentFileSectionOrKey) {
    EXPECT_EQ(get("A", "K", "RTU"), "RTU");  // no file
    write("t.ini", Crlf("[A]\nK=v\n"));
    EXPECT_EQ(get("B", "K", "dflt"), "dflt");
    EXPECT_EQ(get("A", "X", "dflt"), "dflt");
    EXPECT_EQ(get("A", "X", "dflt  "), "dflt");         // trailing blanks of a default are dropped
    EXPECT_EQ(get("A", "X", "0123456789", 5), "0123");  // the default obeys the size too
}

TEST_F(ProfileTest, SizeDeliversAtMostSizeMinusOneBytes) {
    write("t.ini", Crlf("[A]\nNine=123456789\nTen=123456789/\nQuoted=\"ETH/\"\nSingle='x'\nHalf=\"abc\n") +
                       "Kor=" + kOndo + kChamber + "/\r\n");
    EXPECT_EQ(get("A", "Nine", "", 10), "123456789");
    EXPECT_EQ(get("A", "Ten", "", 10), "123456789");  // the "/" is cut away
    EXPECT_EQ(get("A", "Ten", "", 10, 5), "12345");   // a smaller buffer holds less
    EXPECT_EQ(get("A", "Ten", "", 1), "");
    EXPECT_EQ(get("A", "Quoted"), "ETH/");  // enclosing quotes are dropped
    EXPECT_EQ(get("A", "Single"), "x");
    EXPECT_EQ(get("A", "Half"), "\"abc");
    EXPECT_EQ(get("A", "Kor", "", 100), kOndoText + kChamberText + "/");
    EXPECT_EQ(get("A", "Kor", "", 8), kOndoText + kChamberText.left(1));  // 7 bytes: 3 characters
    EXPECT_EQ(get("A", "Kor", "", 7), kOndoText + kChamberText.left(1));
    EXPECT_EQ(get("A", "Kor", "", 6), kOndoText);  // never half a character
}

TEST_F(ProfileTest, BrokenFilesReadWithoutHarm) {
    // A NUL ends the value as the caller sees it.
    write("t.ini", QByteArray("[A]\r\nK=RT\0U/\r\nL=ok\r\n", 21));
    EXPECT_EQ(get("A", "K"), "RT");
    EXPECT_EQ(get("A", "L"), "ok");

    // A file cut off inside a header, or inside a double-byte character.
    write("t.ini", QByteArray("[A]\r\nK=") + kOndo.left(3));
    EXPECT_EQ(get("A", "K").left(1), kOndoText.left(1));
    write("t.ini", QByteArray("[A]\r\nK=1\r\n[B"));
    EXPECT_EQ(get("A", "K"), "1");
    EXPECT_EQ(get("B", "K"), "-");

    // Binary noise: every byte value, many lines without "=", NULs.
    QByteArray noise;
    for (int round = 0; round < 64; ++round)
        for (int b = 0; b < 256; ++b) noise.append(static_cast<char>((b * 37 + round) & 0xFF));
    write("t.ini", noise);
    EXPECT_EQ(get("A", "K", "dflt"), "dflt");

    // A folder where the file should be.
    QDir().mkpath(app.file("t.ini.d"));
    EXPECT_EQ(ReadProfileString("A", "K", "dflt", 100, 100, app.file("t.ini.d")), "dflt");
    EXPECT_EQ(ReadProfileString("A", "K", "dflt", 100, 100, app.path()), "dflt");
}

TEST_F(ProfileTest, WriteReplacesOnlyTheValueBytes) {
    const QByteArray before =
        QByteArray("; comment line\r\n[Name]\r\n1 = ") + kChamber + "1/  \r\n2=B/\n\r\n[Set]\r\nX=1\r\n";
    write("t.ini", before);
    ASSERT_TRUE(put("name", "1", kOndoText + "/"));
    EXPECT_EQ(read("t.ini"),
              QByteArray("; comment line\r\n[Name]\r\n1 = ") + kOndo + "/  \r\n2=B/\n\r\n[Set]\r\nX=1\r\n");
    ASSERT_TRUE(put("NAME", "2", ""));
    EXPECT_EQ(read("t.ini"),
              QByteArray("; comment line\r\n[Name]\r\n1 = ") + kOndo + "/  \r\n2=\n\r\n[Set]\r\nX=1\r\n");
    EXPECT_EQ(get("Name", "1"), kOndoText + "/");
}

TEST_F(ProfileTest, WriteAddsAMissingKeyBehindTheSectionsLastLine) {
    write("t.ini", Crlf("[A]\nK1=1\n\n[B]\nK=b\n"));
    ASSERT_TRUE(put("A", "K2", "2"));
    EXPECT_EQ(read("t.ini"), Crlf("[A]\nK1=1\nK2=2\n\n[B]\nK=b\n"));
    ASSERT_TRUE(put("B", "New", "x"));  // the last section, file ending in CR LF
    EXPECT_EQ(read("t.ini"), Crlf("[A]\nK1=1\nK2=2\n\n[B]\nK=b\nNew=x\n"));

    write("t.ini", QByteArray("[A]\r\nK1=1"));  // the last line has no line end
    ASSERT_TRUE(put("A", "K2", "2"));
    EXPECT_EQ(read("t.ini"), Crlf("[A]\nK1=1\nK2=2\n"));

    write("t.ini", Crlf("[Empty]\n[B]\n"));  // a section with no keys yet
    ASSERT_TRUE(put("Empty", "K", "v"));
    EXPECT_EQ(read("t.ini"), Crlf("[Empty]\nK=v\n[B]\n"));
}

TEST_F(ProfileTest, WriteAddsAMissingSectionAtTheEndAndCreatesTheFile) {
    ASSERT_TRUE(put("CommSet", "Protocol", "ETH/"));
    EXPECT_EQ(read("t.ini"), Crlf("[CommSet]\nProtocol=ETH/\n"));
    ASSERT_TRUE(put("Language", "Language", "KOR"));
    EXPECT_EQ(read("t.ini"), Crlf("[CommSet]\nProtocol=ETH/\n[Language]\nLanguage=KOR\n"));

    write("t.ini", QByteArray("[A]\nK=1"));  // no final line end: one is added first
    ASSERT_TRUE(put("B", "K", "2"));
    EXPECT_EQ(read("t.ini"), QByteArray("[A]\nK=1\r\n[B]\r\nK=2\r\n"));
}

TEST_F(ProfileTest, KoreanTextRoundTripsAsCp949) {
    ASSERT_TRUE(put(kChamberText, kOndoText, kOndoText + "/"));
    EXPECT_EQ(read("t.ini"), "[" + kChamber + "]\r\n" + kOndo + "=" + kOndo + "/\r\n");
    EXPECT_EQ(ReadProfileString(kChamberText, kOndoText, "", 100, 100, app.file("t.ini")), kOndoText + "/");
}

TEST_F(ProfileTest, WriteFailsWithoutHarmWhereNoFileCanBe) {
    EXPECT_FALSE(WriteProfileString("A", "K", "v", app.file("no-such-folder/t.ini")));
    EXPECT_FALSE(QFile::exists(app.file("no-such-folder")));
    EXPECT_FALSE(WriteProfileString("A", "K", "v", app.path()));
}

TEST_F(ProfileTest, EditorGivesTheBytesOfSingleWrites) {
    const QByteArray start = Crlf("[S2]\nLamp 01=old/\n\n[S1]\nx=1");
    write("t.ini", start);
    write("u.ini", start);
    ProfileEditor editor(app.file("u.ini"));
    for (const char* s : {"S1", "S2", "S3"}) {
        for (int i = 1; i <= 3; ++i) {
            const QString key = QStringLiteral("Lamp %1").arg(i, 2, 10, QLatin1Char('0'));
            ASSERT_TRUE(put(QLatin1String(s), key, key + "=1/"));
            editor.write(QLatin1String(s), key, key + "=1/");
        }
    }
    EXPECT_EQ(read("u.ini"), start);  // nothing on disk before save()
    ASSERT_TRUE(editor.save());
    EXPECT_EQ(read("u.ini"), read("t.ini"));
    EXPECT_EQ(get("S2", "Lamp 01"), "Lamp 01=1/");
}

}  // namespace
