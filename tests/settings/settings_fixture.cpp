#include "settings_fixture.h"

#include "errorlog.h"
#include "settings_state.h"
#include "state.h"

#include <QFile>

void PrintTo(const QByteArray& bytes, std::ostream* os) {
    // Printable ASCII as it is; line ends, CP949 and other bytes as %XX.
    *os << '"' << bytes.toPercentEncoding(" !\"#$&'()*+,-./:;<=>?@[\\]^_`{|}~").toStdString() << '"';
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
    QStringList lines;
    for (const QString& line : app.errorLog().split(QStringLiteral("\r\n"), Qt::SkipEmptyParts))
        lines << line.mid(19);  // "YYYYMMDD HH:MM:SS" and two blanks
    return lines;
}

void SettingsTest::resetState() {
    qel::ResetAllState();
    qel::ResetSettingsState();
    qel::AppPath = app.path();
    QFile::remove(qel::ErrorLogPath());
    linkCalls.clear();
}

QByteArray Crlf(const char* text) { return QByteArray(text).replace("\n", "\r\n"); }

QByteArray Section(const QByteArray& name, int count, const std::function<QByteArray(int)>& line) {
    QByteArray s = "[" + name + "]\r\n";
    for (int i = 1; i <= count; ++i)
        if (const QByteArray l = line(i); !l.isEmpty()) s += l + "\r\n";
    return s;
}

const LanguageSectionSize kLanguageFileLayout[14] = {
    {"Configration", 20},    {"DIUserName", 1},  {"DisplaySet", 15}, {"GraphSetting", 18}, {"LampSelect", 4},
    {"PTGraphSetScreen", 4}, {"FunctionSet", 8}, {"UserTag", 14},    {"WaitOperSet", 10},  {"MainForm", 20},
    {"PublicForm", 19},      {"QELForm", 35},    {"QELMessage", 15}, {"Pattern", 72},
};

QByteArray LanguageFile(const char* omitSection, int omitKey) {
    QByteArray file;
    for (const auto& s : kLanguageFileLayout)
        file += Section(s.name, s.count, [&](int k) {
            if (omitSection && qstrcmp(omitSection, s.name) == 0 && k == omitKey) return QByteArray();
            return QByteArray::number(k) + "=" + s.name + " " + QByteArray::number(k) + "/";
        });
    return file;
}
