// The value forms of the settings files: a text ends in its terminator, a
// number is read as Val and stored in a fixed-width integer, and every file
// lies in the application folder.
#pragma once

#include <QChar>
#include <QString>
#include <cstdint>

namespace qel {

// The text left of the first terminator ("/" behind names, models, units and
// the protocol, "E" behind an IP address). A text without it - an absent key
// whose default has none, or a value cut by the read size - raises
// RuntimeError "Invalid procedure call or argument".
QString CutAtTerminator(const QString& text, QChar terminator);

// A number stored into a 16- or 32-bit integer: rounded half to even, and
// out of range raises RuntimeError "Overflow".
int16_t ToInt16(double value);
int32_t ToInt32(double value);

// A number kept as text ("9600"), as a number assigned to a text shows.
QString NumberText(double value);

// A settings write that must not fail silently: raises RuntimeError "Path
// not found" when the file's folder is missing and "Path/File access error"
// when the file cannot be written, for the writing routine's failure frame.
void WriteSetting(const QString& section, const QString& key, const QString& value, const QString& path);
class ProfileEditor;
void SaveSettings(ProfileEditor& editor);

// The path of a settings file: AppPath and the name. Names with a leading
// separator ("/SetLamp_2000.ini") give a doubled one, which is harmless.
QString SettingsPath(const QString& name);

}  // namespace qel
