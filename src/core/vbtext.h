// Number and date texts in the forms the controllers' files and screens use.
#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>

namespace qel {

// The number in the leading part of a text; 0 when there is none. Blanks and
// tabs between digits are skipped. With an "&H" prefix the digits are
// hexadecimal: up to four digits are a 16-bit two's complement value, up to
// eight a 32-bit one, so "&HFF38" is -200 and "&H3F0" is 1008.
double Val(const QString& text);
// The value of one hex digit (either case), or -1 for any other character.
int HexDigitValue(char16_t c);

// A number under a picture such as "###0.0", "##0.", "00", "000#": "0" is a
// digit always printed, "#" one printed if needed, the places after "." are
// rounded half away from zero. A picture ending in "." keeps the point.
QString Format(double value, const QString& picture);

// A date and time under a picture of yyyy, mm, dd, hh, mm/nn, ss (any case;
// "mm" right after an hour is minutes). Other characters are copied.
QString FormatDate(const QDateTime& when, const QString& picture);

// The date from parts, with months and days out of range rolling over
// (month 13 is January of the next year, day 0 the last of the month before).
// Years 0 to 99 are two-digit years: 0 to 29 are 2000 to 2029, 30 to 99 1930 to 1999.
// An impossible date gives an invalid QDateTime.
QDateTime DateSerial(int year, int month, int day);

// 1-based substring that is empty or short past the end, never failing.
QString Mid(const QString& text, int start, int length);

// Parses "yyyy-mm-dd hh:mm:ss" (and the "yyyy/mm/dd" form); invalid for other texts.
QDateTime ParseTimeText(const QString& text);

// The controllers' mark of an unset date, 1970-01-01 00:00.
QDateTime UnsetDate();

}  // namespace qel
