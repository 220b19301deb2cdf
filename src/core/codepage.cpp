#include "codepage.h"

#include <iconv.h>
#include <cerrno>

namespace qel {

namespace {

// One converter each way, opened once; the station has one thread.
iconv_t ToCp949() {
    static iconv_t cd = iconv_open("CP949", "UTF-8");
    return cd;
}

iconv_t FromCp949() {
    static iconv_t cd = iconv_open("UTF-8", "CP949");
    return cd;
}

int Utf8Length(unsigned char lead) {
    if (lead < 0x80) return 1;
    if ((lead >> 5) == 0x6) return 2;
    if ((lead >> 4) == 0xE) return 3;
    if ((lead >> 3) == 0x1E) return 4;
    return 1;
}

// Runs iconv over the whole input; on an unconvertible sequence it writes
// `replacement` and skips `skip(in)` bytes.
template <typename Skip>
QByteArray Convert(iconv_t cd, const QByteArray& input, const QByteArray& replacement, Skip skip) {
    QByteArray out;
    if (cd == reinterpret_cast<iconv_t>(-1)) return input;  // no converter: pass through
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    char* in = const_cast<char*>(input.constData());
    size_t inLeft = static_cast<size_t>(input.size());
    char buf[4096];
    while (inLeft > 0) {
        char* o = buf;
        size_t oLeft = sizeof buf;
        size_t r = iconv(cd, &in, &inLeft, &o, &oLeft);
        out.append(buf, static_cast<qsizetype>(o - buf));
        if (r == static_cast<size_t>(-1)) {
            if (errno == E2BIG) continue;
            // EILSEQ or EINVAL (truncated sequence at the end)
            out.append(replacement);
            size_t n = std::min(inLeft, static_cast<size_t>(skip(static_cast<unsigned char>(*in))));
            in += n;
            inLeft -= n;
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
        }
    }
    return out;
}

}  // namespace

QByteArray ToCodePage(const QString& text) {
    return Convert(ToCp949(), text.toUtf8(), QByteArrayLiteral("?"), Utf8Length);
}

QString FromCodePage(const QByteArray& bytes) {
    return QString::fromUtf8(
        Convert(FromCp949(), bytes, QByteArrayLiteral("\xEF\xBF\xBD"), [](unsigned char) { return 1; }));
}

}  // namespace qel
