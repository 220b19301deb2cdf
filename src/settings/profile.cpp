#include "profile.h"

#include "codepage.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <algorithm>
#include <map>
#include <memory>
#include <vector>

namespace qel {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }

void Trim(const QByteArray& bytes, qsizetype& begin, qsizetype& end) {
    while (begin < end && IsBlank(bytes[begin])) ++begin;
    while (end > begin && IsBlank(bytes[end - 1])) --end;
}

QString Decode(const QByteArray& bytes, qsizetype begin, qsizetype end) {
    const QByteArray part = bytes.mid(begin, end - begin);
    for (char c : part)
        if (static_cast<unsigned char>(c) >= 0x80) return FromCodePage(part);
    return QString::fromLatin1(part);
}

QString Folded(const QByteArray& bytes, qsizetype begin, qsizetype end) {
    return Decode(bytes, begin, end).toCaseFolded();
}

QString FoldedName(const QString& name) { return name.trimmed().toCaseFolded(); }

// One line of the file, classified.
struct Line {
    enum Kind { Header, Entry, Other } kind = Other;
    qsizetype nameBegin = 0, nameEnd = 0;    // section name or key, trimmed
    qsizetype valueBegin = 0, valueEnd = 0;  // Entry: value, trimmed
    qsizetype next = 0;                      // start of the following line
    bool terminated = false;                 // has a line end
    bool blank = true;
};

// Calls f(line) for every line, in order, until f returns false.
template <typename F>
void ForEachLine(const QByteArray& bytes, F f) {
    const qsizetype n = bytes.size();
    qsizetype pos = bytes.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    while (pos < n) {
        Line line;
        qsizetype end = pos;
        while (end < n && bytes[end] != '\n' && bytes[end] != '\r') ++end;
        line.next = end;
        line.terminated = end < n;
        if (line.terminated) line.next += (bytes[end] == '\r' && end + 1 < n && bytes[end + 1] == '\n') ? 2 : 1;

        qsizetype b = pos, e = end;
        Trim(bytes, b, e);
        pos = line.next;
        line.blank = b == e;
        if (!line.blank && bytes[b] == '[') {
            qsizetype close = e - 1;
            while (close > b && bytes[close] != ']') --close;
            if (close > b) {
                line.kind = Line::Header;
                line.nameBegin = b + 1;
                line.nameEnd = close;
                Trim(bytes, line.nameBegin, line.nameEnd);
            }
        }
        if (!line.blank && line.kind == Line::Other) {
            const qsizetype eq = std::find(bytes.cbegin() + b, bytes.cbegin() + e, '=') - bytes.cbegin();
            if (eq < e) {
                line.kind = Line::Entry;
                line.nameBegin = b;
                line.nameEnd = eq;
                Trim(bytes, line.nameBegin, line.nameEnd);
                line.valueBegin = eq + 1;
                line.valueEnd = e;
                Trim(bytes, line.valueBegin, line.valueEnd);
            }
        }
        if (!f(line)) return;
    }
}

// Where a write lands: the value of the first matching key, or the point
// behind the section's last non-blank line, or nowhere (no such section).
struct Spot {
    bool sectionFound = false;
    bool keyFound = false;
    qsizetype valueBegin = 0, valueEnd = 0;
    qsizetype appendAt = 0;
    bool appendNeedsBreak = false;  // that line is the file's last and has no line end
};

Spot Locate(const QByteArray& bytes, const QString& section, const QString& key) {
    const QString wantSection = FoldedName(section);
    const QString wantKey = FoldedName(key);
    Spot spot;
    bool inside = false;
    ForEachLine(bytes, [&](const Line& line) {
        if (line.kind == Line::Header) {
            if (inside) return false;  // the first section of the name has ended
            inside = Folded(bytes, line.nameBegin, line.nameEnd) == wantSection;
            if (inside) {
                spot.sectionFound = true;
                spot.appendAt = line.next;
                spot.appendNeedsBreak = !line.terminated;
            }
            return true;
        }
        if (!inside || line.blank) return true;
        if (line.kind == Line::Entry && Folded(bytes, line.nameBegin, line.nameEnd) == wantKey) {
            spot.keyFound = true;
            spot.valueBegin = line.valueBegin;
            spot.valueEnd = line.valueEnd;
            return false;
        }
        spot.appendAt = line.next;
        spot.appendNeedsBreak = !line.terminated;
        return true;
    });
    return spot;
}

// The first `limit` bytes of CP949 text, never ending in half a character.
QByteArray CutBytes(const QByteArray& text, int limit) {
    if (limit <= 0) return {};
    if (text.size() <= limit) return text;
    qsizetype i = 0;
    while (i < text.size()) {
        const auto c = static_cast<unsigned char>(text[i]);
        const qsizetype width = (c >= 0x81 && c <= 0xFE && i + 1 < text.size()) ? 2 : 1;
        if (i + width > limit) break;
        i += width;
    }
    return text.left(i);
}

QByteArray ReadAll(const QString& path, bool* ok, bool* existed) {
    *ok = true;
    const QFileInfo info(path);
    *existed = info.exists();
    if (!*existed) return {};
    QFile f(path);
    if (!info.isFile() || !f.open(QIODevice::ReadOnly)) {
        *ok = false;
        return {};
    }
    return f.readAll();
}

}  // namespace

// Every section's first occurrence with the value range of each key's first
// occurrence inside it.
struct ProfileFile::Parsed {
    struct Value {
        qsizetype begin, end;
    };
    QHash<QString, QHash<QString, Value>> sections;

    explicit Parsed(const QByteArray& bytes) {
        QHash<QString, Value>* current = nullptr;  // null before the first section and in a repeated one
        ForEachLine(bytes, [&](const Line& line) {
            if (line.kind == Line::Header) {
                const QString name = Folded(bytes, line.nameBegin, line.nameEnd);
                current = sections.contains(name) ? nullptr : &sections[name];
            } else if (line.kind == Line::Entry && current) {
                const QString key = Folded(bytes, line.nameBegin, line.nameEnd);
                if (!current->contains(key)) current->insert(key, {line.valueBegin, line.valueEnd});
            }
            return true;
        });
    }
};

namespace {

ProfileFile::Shape ShapeOf(const QByteArray& bytes, bool ok, bool existed) {
    using Shape = ProfileFile::Shape;
    if (!existed) return Shape::Missing;
    if (!ok) return Shape::Unreadable;
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF")) return Shape::Utf16;
    if (bytes.contains('\0')) {
        // UTF-16 of Latin text without a byte-order mark: NUL in every other byte.
        const QByteArray head = bytes.left(64);
        int evenNul = 0, oddNul = 0;
        for (qsizetype i = 0; i < head.size(); ++i) (i % 2 ? oddNul : evenNul) += head[i] == '\0';
        const qsizetype half = head.size() / 2;
        return (evenNul >= half || oddNul >= half) && half > 0 ? Shape::Utf16 : Shape::Binary;
    }
    qsizetype i = bytes.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    while (i < bytes.size() && (IsBlank(bytes[i]) || bytes[i] == '\r' || bytes[i] == '\n')) ++i;
    return i == bytes.size() ? Shape::Empty : Shape::Text;
}

}  // namespace

ProfileFile::ProfileFile(const QString& path) {
    bool ok = false, existed = false;
    bytes_ = ReadAll(path, &ok, &existed);
    shape_ = ShapeOf(bytes_, ok, existed);
    parsed_ = std::make_unique<Parsed>(bytes_);
}

bool ProfileFile::hasSection(const QString& section) const { return parsed_->sections.contains(FoldedName(section)); }

bool ProfileFile::contains(const QString& section, const QString& key) const {
    const auto s = parsed_->sections.constFind(FoldedName(section));
    return s != parsed_->sections.cend() && s->contains(FoldedName(key));
}

QString ProfileFile::fullValue(const QString& section, const QString& key) const {
    return read(section, key, QString(), kNoBuffer, kNoBuffer);
}

ProfileFile::~ProfileFile() = default;

QString ProfileFile::read(const QString& section, const QString& key, const QString& def, int buffer, int size) const {
    const int limit = std::min(buffer, size - 1);
    const auto s = parsed_->sections.constFind(FoldedName(section));
    if (s != parsed_->sections.cend()) {
        const auto k = s->constFind(FoldedName(key));
        if (k != s->cend()) {
            // The caller sees the value up to a NUL byte; enclosing quotes go.
            QByteArray v = bytes_.mid(k->begin, k->end - k->begin);
            const qsizetype nul = v.indexOf('\0');
            if (nul >= 0) v.truncate(nul);
            qsizetype b = 0, e = v.size();
            Trim(v, b, e);
            v = v.mid(b, e - b);
            if (v.size() >= 2 && (v[0] == '"' || v[0] == '\'') && v.back() == v[0]) v = v.mid(1, v.size() - 2);
            return FromCodePage(CutBytes(v, limit));
        }
    }
    QByteArray d = ToCodePage(def);
    while (!d.isEmpty() && IsBlank(d.back())) d.chop(1);
    return FromCodePage(CutBytes(d, limit));
}

QString ReadProfileString(const QString& section, const QString& key, const QString& def, int buffer, int size,
                          const QString& path) {
    return ProfileFile(path).read(section, key, def, buffer, size);
}

ProfileEditor::ProfileEditor(const QString& path) : path_(path) { bytes_ = ReadAll(path, &ok_, &existed_); }

void ProfileEditor::write(const QString& section, const QString& key, const QString& value) {
    if (!ok_) return;
    const QByteArray v = ToCodePage(value);
    const Spot spot = Locate(bytes_, section, key);
    if (spot.keyFound) {
        bytes_.replace(spot.valueBegin, spot.valueEnd - spot.valueBegin, v);
    } else {
        QByteArray add;
        if (spot.sectionFound) {
            if (spot.appendNeedsBreak) add = "\r\n";
        } else {
            if (!bytes_.isEmpty() && bytes_.back() != '\n' && bytes_.back() != '\r') add = "\r\n";
            add += '[' + ToCodePage(section) + "]\r\n";
        }
        add += ToCodePage(key) + '=' + v + "\r\n";
        bytes_.insert(spot.sectionFound ? spot.appendAt : bytes_.size(), add);
    }
    changed_ = true;
}

namespace {
uint64_t g_saves = 0;  // saves of the station's own, for CachedProfileFile
}  // namespace

bool ProfileEditor::save() {
    if (!ok_) return false;
    if (!changed_ && existed_) return true;
    ++g_saves;
    QSaveFile out(path_);
    out.setDirectWriteFallback(true);
    if (!out.open(QIODevice::WriteOnly)) return false;
    if (out.write(bytes_) != bytes_.size()) {
        out.cancelWriting();
        return false;
    }
    if (!out.commit()) return false;
    existed_ = true;
    changed_ = false;
    return true;
}

bool WriteProfileString(const QString& section, const QString& key, const QString& value, const QString& path) {
    ProfileEditor editor(path);
    if (!editor.ok()) return false;
    editor.write(section, key, value);
    return editor.save();
}

const ProfileFile& CachedProfileFile(const QString& path) {
    struct Entry {
        qint64 size = -1;
        QDateTime modified;
        uint64_t saves = 0;
        std::unique_ptr<ProfileFile> file;
    };
    static std::map<QString, Entry> cache;
    const QFileInfo info(path);
    const qint64 size = info.exists() ? info.size() : -1;
    const QDateTime modified = info.exists() ? info.lastModified() : QDateTime();
    Entry& e = cache[path];
    if (!e.file || e.size != size || e.modified != modified || e.saves != g_saves) {
        e.file = std::make_unique<ProfileFile>(path);
        e.size = size;
        e.modified = modified;
        e.saves = g_saves;
    }
    return *e.file;
}

}  // namespace qel
