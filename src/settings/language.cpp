#include "language.h"

#include "profile.h"
#include "settings_report.h"
#include "settings_state.h"
#include "value_forms.h"

#include <string_view>
#include <vector>

namespace qel {

namespace {

// "LampSelect" and "PTGraphSetScreen" are read in turn in one loop.
constexpr size_t kLampSelect = 4;
static_assert(std::string_view(kLanguageSections[kLampSelect].name) == "LampSelect" &&
              std::string_view(kLanguageSections[kLampSelect + 1].name) == "PTGraphSetScreen");

// Entry k of section s at Tables()[s][k]; element 0 unused.
std::array<std::vector<QString>, kLanguageSections.size()>& Tables() {
    static std::array<std::vector<QString>, kLanguageSections.size()> tables = [] {
        std::array<std::vector<QString>, kLanguageSections.size()> t;
        for (size_t s = 0; s < t.size(); ++s) t[s].resize(static_cast<size_t>(kLanguageSections[s].count) + 1);
        return t;
    }();
    return tables;
}

int SectionNo(const QString& name) {
    for (size_t s = 0; s < kLanguageSections.size(); ++s)
        if (name == QLatin1String(kLanguageSections[s].name)) return static_cast<int>(s);
    return -1;
}

void ReadEntry(const ProfileFile& file, size_t s, int key) {
    const QString text = file.read(QLatin1String(kLanguageSections[s].name), QString::number(key), QString(), 100, 100);
    Tables()[s][static_cast<size_t>(key)] = CutAtTerminator(text, u'/');
}

}  // namespace

QString LanguageFileName(const QString& language) {
    if (language == QLatin1String("KOR")) return QStringLiteral("string-rkr.xml");
    if (language == QLatin1String("ENG")) return QStringLiteral("string-ren.xml");
    if (language == QLatin1String("CHN")) return QStringLiteral("string-rch.xml");
    return QString();
}

void LoadLanguage() {
    // With no file name the path is the folder itself: every key reads the
    // default "", so the first one fails.
    const ProfileFile file(SettingsPath(LanguageFileName(Language)));
    for (size_t s = 0; s < kLanguageSections.size(); ++s) {
        if (s == kLampSelect + 1) continue;
        for (int key = 1; key <= kLanguageSections[s].count; ++key) {
            ReadEntry(file, s, key);
            if (s == kLampSelect) ReadEntry(file, s + 1, key);
        }
    }
}

QString LanguageProblem() {
    const QString name = LanguageFileName(Language);
    if (name.isEmpty())
        return Language.isEmpty()
                   ? QStringLiteral("SetComm.ini names no language (KOR, ENG or CHN)")
                   : QStringLiteral("Language %1 in SetComm.ini is not KOR, ENG or CHN").arg(Quoted(Language));
    const ProfileFile file(SettingsPath(name));
    if (const QString whole = FileProblem(file, name); !whole.isEmpty())
        return QStringLiteral("The language file ") + whole;
    // The same order as the load: the first entry it stops at.
    const auto check = [&file, &name](size_t s, int key) {
        const QString section = QLatin1String(kLanguageSections[s].name);
        const QString k = QString::number(key);
        if (file.read(section, k, QString(), 100, 100).contains(u'/')) return QString();
        return TerminatorProblem(file, name, section, k, QStringLiteral("Caption %1 of [%2]").arg(k, section),
                                 QString(), u'/', 99);
    };
    for (size_t s = 0; s < kLanguageSections.size(); ++s) {
        if (s == kLampSelect + 1) continue;
        for (int key = 1; key <= kLanguageSections[s].count; ++key) {
            if (QString why = check(s, key); !why.isEmpty()) return why;
            if (s == kLampSelect)
                if (QString why = check(s + 1, key); !why.isEmpty()) return why;
        }
    }
    return QString();
}

QString Lang(const QString& section, int key) {
    const int s = SectionNo(section);
    if (s < 0 || key < 1 || key > kLanguageSections[static_cast<size_t>(s)].count) return QString();
    return Tables()[static_cast<size_t>(s)][static_cast<size_t>(key)];
}

void ClearLanguageTables() {
    for (auto& table : Tables())
        for (auto& entry : table) entry.clear();
}

}  // namespace qel
