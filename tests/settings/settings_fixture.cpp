#include "settings_fixture.h"

#include "codepage.h"
#include "errorlog.h"
#include "settings_state.h"

#include <QDir>
#include <QFile>

void PrintTo(const QByteArray& bytes, std::ostream* os) {
    *os << '"';
    for (char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '\r')
            *os << "\\r";
        else if (c == '\n')
            *os << "\\n";
        else if (u < 0x20 || u >= 0x7F)
            *os << "\\x"
                << "0123456789ABCDEF"[u >> 4] << "0123456789ABCDEF"[u & 15];
        else
            *os << c;
    }
    *os << '"';
}

SettingsTest::SettingsTest() {
    qel::SetClock(&clock);
    qel::ResetSettingsState();
    savedLinkCalls_ = qel::LinkCallsOfSettings();
    qel::LinkCallsOfSettings() = {[this](int16_t) { linkCalls << QStringLiteral("close"); },
                                  [this] {
                                      linkCalls << QStringLiteral("open");
                                      return int16_t{0};
                                  }};
}

SettingsTest::~SettingsTest() {
    qel::LinkCallsOfSettings() = savedLinkCalls_;
    qel::ResetSettingsState();
    qel::SetClock(nullptr);
}

QStringList SettingsTest::errorLines() const {
    QFile f(qel::ErrorLogPath());
    if (!f.open(QIODevice::ReadOnly)) return {};
    QStringList lines;
    for (const QString& line :
         qel::FromCodePage(f.readAll()).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts))
        lines << line.mid(19);  // "YYYYMMDD HH:MM:SS" and two blanks
    return lines;
}

void SettingsTest::copyDefaultApp() {
    const QDir from(QStringLiteral(QEL_DEFAULT_APP_DIR));
    for (const QString& name : from.entryList(QDir::Files)) QFile::copy(from.filePath(name), app.file(name));
}

QByteArray Crlf(const char* text) { return QByteArray(text).replace("\n", "\r\n"); }

const LanguageSectionSize kLanguageFileLayout[14] = {
    {"Configration", 20},    {"DIUserName", 1},  {"DisplaySet", 15}, {"GraphSetting", 18}, {"LampSelect", 4},
    {"PTGraphSetScreen", 4}, {"FunctionSet", 8}, {"UserTag", 14},    {"WaitOperSet", 10},  {"MainForm", 20},
    {"PublicForm", 19},      {"QELForm", 35},    {"QELMessage", 15}, {"Pattern", 72},
};

QByteArray LanguageFile(const char* omitSection, int omitKey) {
    QByteArray file;
    for (const auto& s : kLanguageFileLayout) {
        file += QByteArray("[") + s.name + "]\r\n";
        for (int k = 1; k <= s.count; ++k) {
            if (omitSection && qstrcmp(omitSection, s.name) == 0 && k == omitKey) continue;
            file += QByteArray::number(k) + "=" + s.name + " " + QByteArray::number(k) + "/\r\n";
        }
    }
    return file;
}
