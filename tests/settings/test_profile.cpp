// The profile reader and writer against files written byte by byte here, as
// the Windows profile calls read and write them.
#include "profile.h"
#include "settings_fixture.h"

#include <QDir>
#include <QFile>

namespace {

// "온도" and "챔버" in CP949 (checked with iconv -t CP949).
const QByteArray kOndo("\xBF\xC2\xB5\xB5");
const QByteArray kChamber("\xC3\xA8\xB9\xF6");
const QString kOndoText = QStringLiteral(u"온도");
const QString kChamberText = QStringLiteral(u"챔버");

using ProfileTest = SettingsTest;

TEST_F(ProfileTest, LookupAndCutOfAHandWrittenFile) {
    const QString path = app.file("t.ini");
    write("t.ini", Crlf("Orphan=before any section\n"
                        "[CommSet]\n"
                        "  Protocol =  ETH/  \n"
                        "protocol=RTU/\n"
                        "[ commset ]\n"
                        "Data Len=7\n"
                        "[A]\n"
                        "Empty=\n"
                        "Ten=123456789/\n"
                        "Quoted=\"ETH/\"\n") +
                       "Kor=" + kOndo + kChamber + "/\r\nLf=one\nCr=two\rLast=four");
    const struct { const char *section, *key, *def; int size; QString expected; } rows[] = {
        {"COMMSET", "PROTOCOL", "-", 100, "ETH/"},              // case and blanks do not count, first key wins
        {"CommSet", "Data Len", "-", 100, "-"},                 // only the first section of a name counts
        {"CommSet", "Orphan", "-", 100, "-"},                   // keys before any section belong to none
        {"A", "Empty", "-", 100, ""},                           // present but empty: no default
        {"B", "K", "dflt  ", 100, "dflt"},                      // absent section; blanks behind a default go
        {"A", "X", "0123456789", 5, "0123"},                    // absent key; the default obeys the size too
        {"A", "Ten", "", 10, "123456789"},                      // size - 1 bytes: the "/" is cut away
        {"A", "Quoted", "", 100, "ETH/"},                       // enclosing quotes are dropped
        {"A", "Kor", "", 100, kOndoText + kChamberText + "/"},
        {"A", "Kor", "", 8, kOndoText + kChamberText.left(1)},  // 7 bytes: 3 characters
        {"A", "Kor", "", 6, kOndoText},                         // never half a character
        {"A", "Lf", "", 100, "one"},                            // any line end
        {"A", "Cr", "", 100, "two"},                          
        {"A", "Last", "", 100, "four"},                         // or none at all
    };
    for (const auto& r : rows)
        EXPECT_EQ(qel::ReadProfileString(r.section, r.key, r.def, qel::kNoBuffer, r.size, path), r.expected)
            << r.section << "/" << r.key << " size " << r.size;
    EXPECT_EQ(qel::ReadProfileString("A", "Ten", "", 5, 10, path), "12345");  // a smaller buffer holds less
    EXPECT_EQ(qel::ReadProfileString("A", "K", "RTU", 100, 100, app.file("none.ini")), "RTU");  // no file
}

TEST_F(ProfileTest, BrokenFilesGiveWhatCanBeFoundAndNeverFail) {
    QByteArray noise;  // every byte value, NULs and lines without "="
    for (int round = 0; round < 64; ++round)
        for (int b = 0; b < 256; ++b) noise.append(static_cast<char>((b * 37 + round) & 0xFF));
    const struct { QByteArray file; const char* key; QString expected; } rows[] = {
        {QByteArray("[A]\r\nK=RT\0U/\r\nL=ok\r\n", 21), "K", "RT"},  // a NUL ends the value
        {QByteArray("[A]\r\nK=RT\0U/\r\nL=ok\r\n", 21), "L", "ok"},  // and not the file
        {"[A]\r\nK=1\r\n[A", "K", "1"},                                // cut inside a header
        {"[A]\r\nK=" + kOndo.left(3), "K", kOndoText.left(1) + QChar::ReplacementCharacter},  // or a character
        {noise, "K", "-"},
    };
    for (const auto& r : rows) {
        write("t.ini", r.file);
        EXPECT_EQ(qel::ReadProfileString("A", r.key, "-", 100, 100, app.file("t.ini")), r.expected) << r.key;
    }
    QDir().mkpath(app.file("d.ini"));  // a folder where the file should be
    EXPECT_EQ(qel::ReadProfileString("A", "K", "-", 100, 100, app.file("d.ini")), "-");
    EXPECT_FALSE(qel::WriteProfileString("A", "K", "v", app.file("d.ini")));
    EXPECT_FALSE(qel::WriteProfileString("A", "K", "v", app.file("no-folder/t.ini")));  // nor the folder made
    EXPECT_FALSE(QFile::exists(app.file("no-folder")));
}

TEST_F(ProfileTest, WriteChangesOnlyTheBytesItMustAndReadsBack) {
    const QByteArray names = "; comment\r\n[Name]\r\n1 = " + kChamber + "1/  \r\n2=B/\n\r\n[Set]\r\nX=1\r\n";
    const struct { QByteArray before; QString section, key, value; QByteArray after; } rows[] = {  // null: no file
        // In place: only the value's bytes change, blanks and a lone LF stay.
        {names, "name", "1", kOndoText + "/",
         "; comment\r\n[Name]\r\n1 = " + kOndo + "/  \r\n2=B/\n\r\n[Set]\r\nX=1\r\n"},
        {names, "NAME", "2", "", "; comment\r\n[Name]\r\n1 = " + kChamber + "1/  \r\n2=\n\r\n[Set]\r\nX=1\r\n"},
        // A missing key: behind the last line of its section.
        {Crlf("[A]\nK1=1\n\n[B]\nK=b\n"), "A", "K2", "2", Crlf("[A]\nK1=1\nK2=2\n\n[B]\nK=b\n")},
        {Crlf("[A]\nK=a\n[B]\nK=b\n"), "b", "New", "x", Crlf("[A]\nK=a\n[B]\nK=b\nNew=x\n")},
        {"[A]\r\nK1=1", "A", "K2", "2", Crlf("[A]\nK1=1\nK2=2\n")},
        {Crlf("[Empty]\n[B]\n"), "Empty", "K", "v", Crlf("[Empty]\nK=v\n[B]\n")},
        // A missing section: at the end of the file, after a line end if it had none.
        {Crlf("[A]\nK=1\n"), "B", "K", "2", Crlf("[A]\nK=1\n[B]\nK=2\n")},
        {"[A]\nK=1", "B", "K", "2", "[A]\nK=1\r\n[B]\r\nK=2\r\n"},
        // A missing file is created; Korean section, key and value in CP949.
        {QByteArray(), "CommSet", "Protocol", "ETH/", Crlf("[CommSet]\nProtocol=ETH/\n")},
        {QByteArray(), kChamberText, kOndoText, kOndoText + "/",
         "[" + kChamber + "]\r\n" + kOndo + "=" + kOndo + "/\r\n"},
    };
    const QString path = app.file("t.ini");
    for (const auto& r : rows) {
        SCOPED_TRACE(r.key.toStdString());
        QFile::remove(path);
        if (!r.before.isNull()) write("t.ini", r.before);
        ASSERT_TRUE(qel::WriteProfileString(r.section, r.key, r.value, path));
        EXPECT_EQ(read("t.ini"), r.after);
        EXPECT_EQ(qel::ReadProfileString(r.section, r.key, "-", 100, 100, path), r.value);
    }
}

}  // namespace
