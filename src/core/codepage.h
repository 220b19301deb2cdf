// Text files are in the system's ANSI code page (CP949) on disk and Unicode
// in memory. Conversion happens only at the file edge, through these two.
#pragma once

#include <QByteArray>
#include <QString>

namespace qel {

// Unicode to CP949. A character CP949 cannot hold becomes "?".
QByteArray ToCodePage(const QString& text);

// CP949 to Unicode. A byte sequence that is not CP949 becomes U+FFFD.
QString FromCodePage(const QByteArray& bytes);

}  // namespace qel
