// The station's error log and the error tail every routine ends in.
//
// Lines are "YYYYMMDD HH:MM:SS", two blanks, the text, CR LF, in CP949; one
// file a day under AppPath "Error/". Each line opens, appends and closes the
// file, so nothing is lost in a crash and any viewer can read it meanwhile.
#pragma once

#include <QString>

namespace qel {

// Opens the file for appending (making it when absent), appends the bytes
// and closes it. The bytes land whole or not at all: what part of them
// reached the disk before a failure is cut off again. False with the
// run-time's description of the failure in `why`.
bool AppendWhole(const QString& filePath, const QByteArray& bytes, QString& why);

// Appends one stamped line to a log file. A missing folder is made again and
// the write tried once more; a second failure raises RuntimeError with the
// description of what went wrong. Used by the error and the message log.
void AppendLogLine(const QString& filePath, const QString& text);

// The path of today's error log.
QString ErrorLogPath();

// One line in today's error log. Raises RuntimeError when it cannot write.
void WriteErrorLog(const QString& text);

// The same for lines whose loss must not change what the caller does (the
// exchange trace, the line of a failed read): false when it could not write.
// A log that cannot be written never makes a chamber lost.
bool TryWriteErrorLog(const QString& text);

// The failure frame's tail: writes the description with the routine's log
// name directly behind it ("Subscript out of rangemodFunc.ReadCOMINI"). It
// never raises: if even the error log fails, the line goes to stderr.
void ErrorTail(const QString& description, const QString& logName);

}  // namespace qel
