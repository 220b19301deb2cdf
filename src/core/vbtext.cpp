#include "vbtext.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <cstdio>
#include <string>

namespace qel {

double Val(const QString& text) {
    // Blanks, tabs and line feeds are skipped wherever they stand.
    QString s;
    s.reserve(text.size());
    for (QChar c : text)
        if (c != u' ' && c != u'\t' && c != u'\n' && c != u'\r') s.append(c);

    if (s.size() >= 2 && s[0] == u'&' && (s[1] == u'H' || s[1] == u'h')) {
        quint64 v = 0;
        int digits = 0;
        for (int i = 2; i < s.size(); ++i) {
            int d = QChar(s[i]).isDigit()                                ? s[i].unicode() - '0'
                    : (s[i].toUpper() >= u'A' && s[i].toUpper() <= u'F') ? s[i].toUpper().unicode() - 'A' + 10
                                                                         : -1;
            if (d < 0) break;
            v = (v << 4) | static_cast<quint64>(d);
            if (++digits >= 16) break;
        }
        if (digits == 0) return 0;
        if (digits <= 4) return static_cast<int16_t>(static_cast<uint16_t>(v));
        if (digits <= 8) return static_cast<int32_t>(static_cast<uint32_t>(v));
        return static_cast<double>(v);
    }

    // Sign, digits, point, digits, exponent: the longest numeric prefix.
    std::string num;
    int i = 0;
    const int n = s.size();
    if (i < n && (s[i] == u'+' || s[i] == u'-')) num += static_cast<char>(s[i++].unicode());
    bool any = false;
    while (i < n && s[i].isDigit() && s[i].unicode() < 128) {
        num += static_cast<char>(s[i++].unicode());
        any = true;
    }
    if (i < n && s[i] == u'.') {
        num += '.';
        ++i;
        while (i < n && s[i].isDigit() && s[i].unicode() < 128) {
            num += static_cast<char>(s[i++].unicode());
            any = true;
        }
    }
    if (!any) return 0;
    if (i < n && (s[i] == u'E' || s[i] == u'e' || s[i] == u'D' || s[i] == u'd')) {
        int j = i + 1;
        std::string exp = "e";
        if (j < n && (s[j] == u'+' || s[j] == u'-')) exp += static_cast<char>(s[j++].unicode());
        bool expDigits = false;
        while (j < n && s[j].isDigit() && s[j].unicode() < 128) {
            exp += static_cast<char>(s[j++].unicode());
            expDigits = true;
        }
        if (expDigits) num += exp;
    }
    return std::strtod(num.c_str(), nullptr);
}

namespace {

// Decimal digits of |value| rounded half away from zero to `places` places,
// from its 15 significant digits (so 2.675 rounds to 2.68 as people expect).
std::string RoundedDigitsSlow(double value, int places, int& intDigits);

// The same digits by integer arithmetic, for the values a screen shows: a
// few places, fewer than twelve digits, and not so near a half that the
// fifteen significant digits could decide otherwise.
bool RoundedDigitsFast(double value, int places, int& intDigits, std::string& digits) {
    static constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
    if (places < 0 || places > 9 || !std::isfinite(value)) return false;
    const double x = std::fabs(value) * kPowers[places];
    if (x >= 1e12) return false;
    const double whole = std::floor(x);
    const double frac = x - whole;
    if (std::fabs(frac - 0.5) <= 1e-13 * std::max(x, 1.0)) return false;
    const auto n = static_cast<unsigned long long>(whole) + (frac > 0.5 ? 1 : 0);
    digits = std::to_string(n);
    if (static_cast<int>(digits.size()) < places + 1)
        digits.insert(0, static_cast<size_t>(places + 1) - digits.size(), '0');
    intDigits = static_cast<int>(digits.size()) - places;
    return true;
}

std::string RoundedDigits(double value, int places, int& intDigits) {
    std::string digits;
    if (RoundedDigitsFast(value, places, intDigits, digits)) return digits;
    return RoundedDigitsSlow(value, places, intDigits);
}

std::string RoundedDigitsSlow(double value, int places, int& intDigits) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.14e", std::fabs(value));
    std::string mant;
    const char* p = buf;
    for (; *p && *p != 'e'; ++p)
        if (*p != '.') mant += *p;
    int exp10 = std::atoi(p + 1);
    // mant holds 15 digits, the first being units of 10^exp10.
    // Position in mant of the last kept digit: units at index exp10.
    int keep = exp10 + 1 + places;  // number of mantissa digits kept
    if (keep < 0) {                 // every kept place is zero
        intDigits = 1;
        return std::string(static_cast<size_t>(1 + places), '0');
    }
    bool roundUp = keep < static_cast<int>(mant.size()) && mant[static_cast<size_t>(keep)] >= '5';
    std::string digits = mant.substr(0, static_cast<size_t>(std::min<int>(keep, static_cast<int>(mant.size()))));
    while (static_cast<int>(digits.size()) < keep) digits += '0';
    if (roundUp) {
        int k = static_cast<int>(digits.size()) - 1;
        while (k >= 0 && digits[static_cast<size_t>(k)] == '9') digits[static_cast<size_t>(k--)] = '0';
        if (k >= 0)
            ++digits[static_cast<size_t>(k)];
        else {
            digits.insert(digits.begin(), '1');
            ++exp10;
        }
    }
    intDigits = static_cast<int>(digits.size()) - places;
    if (intDigits <= 0) {
        digits.insert(0, static_cast<size_t>(1 - intDigits), '0');
        intDigits = 1;
    }
    return digits;
}

}  // namespace

QString Format(double value, const QString& picture) {
    const int point = picture.indexOf(u'.');
    const QString intPic = point < 0 ? picture : picture.left(point);
    const QString decPic = point < 0 ? QString() : picture.mid(point + 1);
    int places = 0, requiredPlaces = 0, minInt = 0;
    for (QChar c : decPic) {
        if (c == u'0') {
            ++places;
            requiredPlaces = places;
        } else if (c == u'#')
            ++places;
    }
    for (QChar c : intPic)
        if (c == u'0') ++minInt;

    int intDigits = 0;
    std::string digits = RoundedDigits(value, places, intDigits);
    std::string ip = digits.substr(0, static_cast<size_t>(intDigits));
    std::string dp = digits.substr(static_cast<size_t>(intDigits));
    while (ip.size() > 1 && ip[0] == '0') ip.erase(0, 1);
    if (ip == "0") ip.clear();
    while (static_cast<int>(ip.size()) < minInt) ip.insert(ip.begin(), '0');
    // Optional places ("#") drop trailing zeros, required ones stay.
    while (static_cast<int>(dp.size()) > requiredPlaces && !dp.empty() && dp.back() == '0') dp.pop_back();

    bool allZero = true;
    for (char c : ip + dp)
        if (c != '0') allZero = false;

    QString out;
    if (value < 0 && !allZero) out += u'-';
    out += QString::fromStdString(ip);
    if (point >= 0) {
        out += u'.';
        out += QString::fromStdString(dp);
    }
    return out;
}

QString FormatDate(const QDateTime& when, const QString& picture) {
    const QDate d = when.date();
    const QTime t = when.time();
    QString out;
    bool afterHour = false;
    for (int i = 0; i < picture.size();) {
        const QString rest = picture.mid(i).toLower();
        if (rest.startsWith(u"yyyy")) {
            out += QString::number(d.year()).rightJustified(4, u'0');
            i += 4;
        } else if (rest.startsWith(u"mm")) {
            out += QString::number(afterHour ? t.minute() : d.month()).rightJustified(2, u'0');
            i += 2;
        } else if (rest.startsWith(u"nn")) {
            out += QString::number(t.minute()).rightJustified(2, u'0');
            i += 2;
        } else if (rest.startsWith(u"dd")) {
            out += QString::number(d.day()).rightJustified(2, u'0');
            i += 2;
        } else if (rest.startsWith(u"hh")) {
            out += QString::number(t.hour()).rightJustified(2, u'0');
            afterHour = true;
            i += 2;
            continue;
        } else if (rest.startsWith(u"ss")) {
            out += QString::number(t.second()).rightJustified(2, u'0');
            i += 2;
        } else {
            out += picture[i];
            ++i;
            continue;
        }
        afterHour = false;
    }
    return out;
}

QDateTime DateSerial(int year, int month, int day) {
    // Two-digit years are read as 1930 to 2029, as the date functions always did.
    if (year >= 0 && year < 30)
        year += 2000;
    else if (year >= 30 && year < 100)
        year += 1900;
    // Months roll into years, then days into months.
    int m0 = month - 1;
    int y = year + (m0 >= 0 ? m0 / 12 : -((11 - m0) / 12));
    int m = ((m0 % 12) + 12) % 12 + 1;
    QDate first(y, m, 1);
    if (!first.isValid()) return QDateTime();
    return QDateTime(first.addDays(day - 1), QTime(0, 0));
}

int HexDigitValue(char16_t c) {
    return c >= u'0' && c <= u'9' ? c - u'0' : c >= u'A' && c <= u'F' ? c - u'A' + 10 : c >= u'a' && c <= u'f' ? c - u'a' + 10 : -1;
}

QString Mid(const QString& text, int start, int length) {
    if (start < 1 || start > text.size() || length <= 0) return QString();
    return text.mid(start - 1, length);
}

namespace {
// The digits of text from `at`, `n` of them, or -1 if any is not a digit.
int DigitsAt(QStringView text, qsizetype at, int n) {
    int v = 0;
    for (qsizetype i = at; i < at + n; ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9') return -1;
        v = v * 10 + (c - u'0');
    }
    return v;
}

// "yyyy-mm-dd hh:mm[:ss]" (or with '/'), every field at its full width: the
// form the station writes, read without Qt's general parser, which costs
// about a thousand times as much. Anything else gives nullopt.
std::optional<QDateTime> CanonicalTime(QStringView t) {
    if (t.size() != 16 && t.size() != 19) return std::nullopt;
    const char16_t sep = t[4].unicode();
    if ((sep != u'-' && sep != u'/') || t[7] != QChar(sep) || t[10] != u' ' || t[13] != u':') return std::nullopt;
    if (t.size() == 19 && t[16] != u':') return std::nullopt;
    const int y = DigitsAt(t, 0, 4), mo = DigitsAt(t, 5, 2), d = DigitsAt(t, 8, 2);
    const int h = DigitsAt(t, 11, 2), mi = DigitsAt(t, 14, 2), s = t.size() == 19 ? DigitsAt(t, 17, 2) : 0;
    if (y < 0 || mo < 0 || d < 0 || h < 0 || mi < 0 || s < 0) return std::nullopt;
    const QDate date(y, mo, d);
    const QTime time(h, mi, s);
    if (!date.isValid() || !time.isValid()) return QDateTime();
    return QDateTime(date, time);
}
}  // namespace

QDateTime ParseTimeText(const QString& text) {
    if (const auto fast = CanonicalTime(QStringView(text).trimmed())) return *fast;
    QString t = text.trimmed();
    t.replace(u'/', u'-');
    // Both forms need their separators; without them Qt's parser would only
    // spend its time finding that out ("0", the start value, costs it a millisecond).
    if (t.count(u'-') < 2 || !t.contains(u':') || !t.contains(u' ')) return QDateTime();
    QDateTime dt = QDateTime::fromString(t, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!dt.isValid()) dt = QDateTime::fromString(t, QStringLiteral("yyyy-MM-dd HH:mm"));
    return dt;
}

QDateTime UnsetDate() {
    static const QDateTime unset(QDate(1970, 1, 1), QTime(0, 0));  // made once: every poll asks for it
    return unset;
}

}  // namespace qel
