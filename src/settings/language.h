// The language tables: every caption and most messages of the screens, one
// table per section of the language file, addressed by section and 1-based
// key. Screens hold only the index, never the text.
//
// The file is chosen by Language: "KOR" string-rkr.xml, "ENG" string-ren.xml,
// "CHN" string-rch.xml (a profile file in spite of the name). Each key "1" to
// the section's count holds the text with "/" behind it.
#pragma once

#include <QString>
#include <array>

namespace qel {

struct LanguageSection {
    const char* name;
    int count;
};

// The sections in the order they are loaded, with their key counts.
inline constexpr std::array<LanguageSection, 14> kLanguageSections{{
    {"Configration", 20},
    {"DIUserName", 1},
    {"DisplaySet", 15},
    {"GraphSetting", 18},
    {"LampSelect", 4},
    {"PTGraphSetScreen", 4},
    {"FunctionSet", 8},
    {"UserTag", 14},
    {"WaitOperSet", 10},
    {"MainForm", 20},
    {"PublicForm", 19},
    {"QELForm", 35},
    {"QELMessage", 15},
    {"Pattern", 72},
}};

// The file name for a language value; "" for any other value (matched
// exactly: "eng" is not "ENG").
QString LanguageFileName(const QString& language);

// Fills all tables from the file Language names, key by key with a 100-byte
// read. It has no failure frame of its own: the first key that is absent or
// has no "/" raises RuntimeError "Invalid procedure call or argument" to the
// caller, and every entry not yet read keeps its old text.
void LoadLanguage();

// Why LoadLanguage fails for the Language in force, as the start of a
// sentence for the operator ("The language file string-ren.xml is missing",
// "string-ren.xml has no key 5 in [MainForm]"); "" when it loads.
QString LanguageProblem();

// The entry, or "" when the section or key does not exist.
QString Lang(const QString& section, int key);

// Empties every table.
void ClearLanguageTables();

}  // namespace qel
