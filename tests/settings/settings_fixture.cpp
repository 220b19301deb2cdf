#include "settings_fixture.h"

#include "codepage.h"
#include "errorlog.h"
#include "settings_state.h"

#include <QDir>
#include <QFile>

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
    for (const QString& line : qel::FromCodePage(f.readAll()).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts))
        lines << line.mid(19);  // "YYYYMMDD HH:MM:SS" and two blanks
    return lines;
}

void SettingsTest::copyDefaultApp() {
    const QDir from(QStringLiteral(QEL_DEFAULT_APP_DIR));
    for (const QString& name : from.entryList(QDir::Files)) QFile::copy(from.filePath(name), app.file(name));
}

QByteArray Crlf(const char* text) { return QByteArray(text).replace("\n", "\r\n"); }
