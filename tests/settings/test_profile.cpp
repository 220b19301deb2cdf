// The profile reader and writer against files written byte by byte here, as the Windows calls read and write them.
#include "profile.h"
#include "settings_fixture.h"

#include <QDir>
#include <QFile>

namespace {

// "온도" and "챔버" in CP949 (checked with iconv -t CP949).
const QByteArray kOndo("\xBF\xC2\xB5\xB5"), kChamber("\xC3\xA8\xB9\xF6");
const QString kOndoText = QStringLiteral(u"온도"), kChamberText = QStringLiteral(u"챔버");

using ProfileTest = SettingsTest;

// Guards the lookup rules: name matching, first hit wins, size cuts, quotes, line ends.
TEST_F(ProfileTest, LookupAndCutOfAHandWrittenFile) {
    const QString path = app.file("t.ini");
    write("t.ini", Crlf("[CommSet]\n  Protocol =  ETH/  \nprotocol=RTU/\n[A]\nEmpty=\nTen=123456789/\n") +
                       "Quoted=\"ETH/\"\r\nKor=" + kOndo + kChamber + "/\r\nCr=two\rEnd=\r\n");
    const struct { const char *section, *key, *def; int size; QString expected; } rows[] = {
        {"COMMSET", "PROTOCOL", "-", 100, "ETH/"},              // case and blanks do not count, first key wins
        {"A", "Empty", "-", 100, ""},                           // present but empty: no default
        {"B", "K", "dflt  ", 100, "dflt"},                      // absent section; blanks behind a default go
        {"A", "X", "0123456789", 5, "0123"},                    // absent key; the default obeys the size too
        {"A", "Ten", "", 10, "123456789"},                      // size - 1 bytes: the "/" is cut away
        {"A", "Quoted", "", 100, "ETH/"},                       // enclosing quotes are dropped
        {"A", "Kor", "", 6, kOndoText},                         // 5 bytes: never half a character
        {"A", "Cr", "", 100, "two"},                            // a lone CR ends a line too
    };
    for (const auto& r : rows)
        EXPECT_EQ(qel::ReadProfileString(r.section, r.key, r.def, qel::kNoBuffer, r.size, path), r.expected)
            << r.section << "/" << r.key << " size " << r.size;
}

// Guards against a crash or a lost value on damaged files and unwritable places.
TEST_F(ProfileTest, BrokenFilesGiveWhatCanBeFoundAndNeverFail) {
    QByteArray noise;  // every byte value, NULs and lines without "="
    for (int i = 0; i < 64 * 256; ++i) noise.append(static_cast<char>((i * 37 + i / 256) & 0xFF));
    const QByteArray nul("[A]\r\nK=RT\0U/\r\nL=ok\r\n", 21);
    const struct { QByteArray file; const char* key; QString expected; } rows[] = {
        {nul, "K", "RT"},                       // a NUL ends the value
        {nul, "L", "ok"},                       // and not the file
        {"[A]\r\nK=" + kOndo.left(3), "K", kOndoText.left(1) + QChar::ReplacementCharacter},  // cut in a character
        {noise, "K", "-"},
    };
    for (const auto& r : rows) {
        write("t.ini", r.file);
        EXPECT_EQ(qel::ReadProfileString("A", r.key, "-", 100, 100, app.file("t.ini")), r.expected) << r.key;
    }
    QDir().mkpath(app.file("d.ini"));  // a folder where the file should be
    EXPECT_EQ(qel::ReadProfileString("A", "K", "-", 100, 100, app.file("d.ini")), "-");
    EXPECT_FALSE(qel::WriteProfileString("A", "K", "v", app.file("d.ini")));
    EXPECT_FALSE(qel::WriteProfileString("A", "K", "v", app.file("no-folder/t.ini")));
}

// Guards every byte the writer must not touch, and where it puts what is new.
TEST_F(ProfileTest, WriteChangesOnlyTheBytesItMust) {
    const struct { QByteArray before; QString section, key, value; QByteArray after; } rows[] = {  // null: no file
        // In place: only the value's bytes change; comments, blanks and a lone LF stay.
        {"; c\r\n[Name]\r\n1 = " + kChamber + "1/  \r\n2=B/\n\r\n[Set]\r\nX=1\r\n", "name", "1", kOndoText + "/",
         "; c\r\n[Name]\r\n1 = " + kOndo + "/  \r\n2=B/\n\r\n[Set]\r\nX=1\r\n"},
        // A missing key behind the last line of its section; a missing section at the end, after a line end.
        {Crlf("[A]\nK1=1\n\n[B]\nK=b\n"), "A", "K2", "2", Crlf("[A]\nK1=1\nK2=2\n\n[B]\nK=b\n")},
        {"[A]\nK=1", "B", "K", "2", "[A]\nK=1\r\n[B]\r\nK=2\r\n"},
        // A missing file is made; Korean section, key and value in CP949.
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
    }
}

}  // namespace

