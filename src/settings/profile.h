// Profile (INI) files with the behaviour of the Windows private-profile
// calls, which is what existing installations' files were written and read
// with:
//
// - sections and keys are found without regard to case, after trimming the
//   blanks around them; the first section of a name and, inside it, the first
//   key of a name win; keys before the first section belong to none;
// - a value is what stands right of "=" up to the line end (CR LF, LF or a
//   lone CR), blanks trimmed, and read up to a NUL byte; a value enclosed in
//   matching quotes loses the quotes;
// - a read delivers at most size - 1 bytes of the value (and no more than the
//   caller's buffer holds), never half of a double-byte character; an absent
//   file, section or key delivers the default under the same limit.
//
// Files are CP949 on disk and QString in memory; the conversion happens here.
// A file that is short, binary or holds NUL bytes is read as far as it makes
// sense and never fails: what cannot be found gives the default.
#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

namespace qel {

// No buffer limit beyond the size handed to the read.
inline constexpr int kNoBuffer = 1 << 30;

// One profile file read once: all lookups see the contents as they were when
// it was constructed. Loaders read a file through one of these so that a file
// of 3,000 keys is not parsed 3,000 times; nothing is kept open.
class ProfileFile {
public:
    explicit ProfileFile(const QString& path);
    ~ProfileFile();
    ProfileFile(const ProfileFile&) = delete;
    ProfileFile& operator=(const ProfileFile&) = delete;

    // GetPrivateProfileString: the value, or `def`, cut to
    // min(buffer, size - 1) bytes of CP949.
    QString read(const QString& section, const QString& key, const QString& def, int buffer, int size) const;

    // For saying what is wrong with a file; the reads above never fail.
    enum class Shape {
        Text,        // something to read
        Missing,     // no such file
        Unreadable,  // there, but cannot be opened (a folder, no permission)
        Empty,       // nothing but blanks and line ends
        Utf16,       // UTF-16 (a byte-order mark, or every other byte NUL)
        Binary,      // NUL bytes: not a text file
    };
    Shape shape() const { return shape_; }
    bool hasSection(const QString& section) const;
    bool contains(const QString& section, const QString& key) const;
    // The whole value as the file holds it (no read size), "" when absent.
    QString fullValue(const QString& section, const QString& key) const;

private:
    struct Parsed;
    QByteArray bytes_;
    std::unique_ptr<Parsed> parsed_;
    Shape shape_ = Shape::Missing;
};

// One read from a file, as the platform call makes it.
QString ReadProfileString(const QString& section, const QString& key, const QString& def, int buffer, int size,
                          const QString& path);

// Many writes to one file in memory, saved once: the bytes that result are
// those of the same writes made one by one with WriteProfileString. For the
// long regular files (lamp tables) where a save per key would rewrite and
// sync the file hundreds of times.
class ProfileEditor {
public:
    explicit ProfileEditor(const QString& path);
    // False when the file exists but cannot be read; then save() fails.
    bool ok() const { return ok_; }
    void write(const QString& section, const QString& key, const QString& value);
    // Writes the file back (creates it when it was missing). False on failure.
    bool save();
    const QString& path() const { return path_; }

private:
    QString path_;
    QByteArray bytes_;
    bool ok_ = false;
    bool existed_ = false;
    bool changed_ = false;
};

// WritePrivateProfileString: replaces the value of the first matching key in
// place; a missing key is added behind the last line of its section, a
// missing section at the end of the file; a missing file is created (its
// folder is not). Every other byte of the file stays as it was; new lines end
// in CR LF. Returns false when the file cannot be read or written, and then
// leaves it untouched.
bool WriteProfileString(const QString& section, const QString& key, const QString& value, const QString& path);

// A file read once and kept while it stays as it was: the same size and
// modification time, and no save of the station's own since (which counts
// even when the clock of the file system cannot tell the two apart). For
// files read again and again, such as the lamp tables of every chamber.
const ProfileFile& CachedProfileFile(const QString& path);

}  // namespace qel
