// The sentences the loaders put on the list of settings problems
// (config_report.h): what is wrong, in which file and key, and what the
// station does about it. The loaders' fallbacks stay as they are; these only
// say so.
#pragma once

#include "profile.h"

#include <QChar>
#include <QString>

namespace qel {

// What is wrong with the file as a whole, as the start of a sentence
// ("SetComm.ini is missing", "SetComm.ini could not be read as text (UTF-16?)");
// "" when it is a text file.
QString FileProblem(const ProfileFile& ini, const QString& fileName);

// Why a text value has no terminator to cut at, as the start of a sentence:
// the key is absent ("SetUserTag.ini has no key 5 in [Model] (the model of
// chamber 5)", with `note` in brackets when there is one), the value lacks it
// ("Model of chamber 5 \"QEL2000\" in SetUserTag.ini lacks its closing
// \"/\"", `label` first) or is cut off by the read size ("... is too long
// (only 29 characters fit before the \"/\")"). `limit` is what a read
// delivers (the read size minus one).
QString TerminatorProblem(const ProfileFile& ini, const QString& fileName, const QString& section, const QString& key,
                          const QString& label, const QString& note, QChar terminator, int limit);

// A number that does not fit the integer it is kept in:
// "RemotePort 70000 in SetComm.ini is too large (at most 32767)".
QString OverflowProblem(const QString& fileName, const QString& key, const QString& text, double value, double lowest,
                        double highest);

// The value in quotes, as the messages show what the file holds.
QString Quoted(const QString& text);

// One of the five controller models, QEL2000 to QEL2400, written as the
// station matches them (capitals).
bool IsKnownModel(const QString& model);

// "chamber 3 is" / "chambers 3 to 5 are"
QString ChambersAre(int first, int last);

}  // namespace qel
