// A fresh application folder in a temporary directory, with the globals
// reset and AppPath pointing into it; removed again with the object.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <ostream>

// Readable failure messages for Qt strings.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
inline void PrintTo(const QStringList& l, std::ostream* os) { *os << "{\"" << l.join("\", \"").toStdString() << "\"}"; }

namespace qeltest {

class AppDir {
public:
    AppDir();
    ~AppDir();
    const QString& path() const { return path_; }  // ends in "/"
    QString file(const QString& name) const { return path_ + name; }
    QByteArray read(const QString& name) const;
    void write(const QString& name, const QByteArray& bytes) const;
    QString errorLog() const;  // today's error log (by the current clock), decoded from CP949

private:
    QTemporaryDir dir_;
    QString path_;
};

}  // namespace qeltest
