// The profile reader and writer on any file. The sections and keys looked
// up are the ones the file itself seems to hold (and a few it does not);
// the input's first byte sets the read size. Besides never crashing:
//  - a read delivers at most size - 1 bytes of CP949;
//  - a value written is read back, into a section of the file or a new one;
//  - many writes kept in memory and saved once give the same bytes as the
//    same writes made one by one.
#include "fuzz_support.h"

#include "codepage.h"
#include "profile.h"

#include <QList>
#include <QMap>
#include <algorithm>

using namespace qel;
using qelfuzz::Expect;

namespace {

// Names as a person would give them: no brackets, "=", line ends or blanks at the ends.
bool PlainName(const QByteArray& name) {
    if (name.isEmpty() || name.size() > 40 || name.front() == ' ' || name.back() == ' ') return false;
    for (char c : name)
        if (c < ' ' || c > '~' || c == '[' || c == ']' || c == '=' || c == '"' || c == '\'') return false;
    return true;
}

// The section and key names the file seems to hold, in order.
void NamesOf(const QByteArray& bytes, QList<QByteArray>& sections, QList<QByteArray>& keys) {
    for (const QByteArray& raw : bytes.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('[') && line.contains(']')) {
            if (sections.size() < 6) sections << line.mid(1, line.indexOf(']') - 1).trimmed();
        } else if (line.contains('=') && keys.size() < 12) {
            keys << line.left(line.indexOf('=')).trimmed();
        }
    }
    sections << "CommSet" << "NoSuchSection";
    keys << "Protocol" << "NoSuchKey";
}

QString Name(const QByteArray& b) { return FromCodePage(b); }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::Input in(data, size);
    const int readSize = in.byte() % 40;
    const QByteArray bytes = in.rest();
    const QString path = qelfuzz::AppDir() + QStringLiteral("a.ini");
    qelfuzz::WriteAppFile(QStringLiteral("a.ini"), bytes);

    QList<QByteArray> sections, keys;
    NamesOf(bytes, sections, keys);
    {
        const ProfileFile ini(path);
        (void)ini.shape();
        for (const QByteArray& s : sections) {
            (void)ini.hasSection(Name(s));
            for (const QByteArray& k : keys) {
                (void)ini.contains(Name(s), Name(k));
                (void)ini.fullValue(Name(s), Name(k));
                for (int buffer : {readSize, 5, kNoBuffer}) {
                    const QString v = ini.read(Name(s), Name(k), QStringLiteral("기본값 default"), buffer, readSize);
                    Expect(ToCodePage(v).size() <= std::max(0, std::min(buffer, readSize - 1)),
                           "a read delivers at most size - 1 bytes", v);
                }
            }
        }
    }

    // Writes into the first plain section and key of the file, and a new section.
    QByteArray section = "Fuzz";
    for (const QByteArray& s : sections)
        if (PlainName(s)) {
            section = s;
            break;
        }
    QByteArray key = "FuzzKey";
    for (const QByteArray& k : keys)
        if (PlainName(k)) {
            key = k;
            break;
        }
    const QList<QPair<QString, QString>> writes = {{Name(section), Name(key)},
                                                   {Name(section), QStringLiteral("AddedKey")},
                                                   {QStringLiteral("AddedSection"), Name(key)}};
    ProfileEditor editor(path);
    Expect(editor.ok(), "the file can be read");
    int n = 0;
    for (const auto& [s, k] : writes) editor.write(s, k, QStringLiteral("값 %1").arg(++n));
    Expect(editor.save(), "the file can be written");
    const QByteArray batched = qelfuzz::ReadAppFile(QStringLiteral("a.ini"));

    qelfuzz::WriteAppFile(QStringLiteral("a.ini"), bytes);
    n = 0;
    for (const auto& [s, k] : writes)
        Expect(WriteProfileString(s, k, QStringLiteral("값 %1").arg(++n), path), "the file can be written");
    const QByteArray oneByOne = qelfuzz::ReadAppFile(QStringLiteral("a.ini"));
    Expect(batched == oneByOne, "saving once gives the bytes of writing one by one");

    // The last write to a section and key (names compared without case) is what it holds.
    QMap<QPair<QString, QString>, QString> expected;
    n = 0;
    for (const auto& [s, k] : writes) expected[{s.toCaseFolded(), k.toCaseFolded()}] = QStringLiteral("값 %1").arg(++n);
    const ProfileFile after(path);
    for (const auto& [s, k] : writes) {
        const QString v = after.read(s, k, QString(), kNoBuffer, kNoBuffer);
        Expect(v == expected.value({s.toCaseFolded(), k.toCaseFolded()}), "a value written is read back",
               QStringLiteral("[%1] %2 = %3").arg(s, k, v));
    }
    return 0;
}
