// A fresh application folder for each settings test: globals reset, a fixed
// clock (the error log's name is known), and the link calls of ReadCOMINI
// recorded instead of opening a port.
#pragma once

#include "app_dir.h"
#include "clock.h"
#include "comm_settings.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>
#include <ostream>

// Readable failure messages for bytes (app_dir.h has those for texts).
void PrintTo(const QByteArray& bytes, std::ostream* os);

class SettingsTest : public ::testing::Test {
protected:
    SettingsTest();
    ~SettingsTest() override;

    void write(const QString& name, const QByteArray& bytes) { app.write(name, bytes); }
    QByteArray read(const QString& name) const { return app.read(name); }

    // The texts of today's error-log lines, without the time stamp.
    QStringList errorLines() const;

    // Copies the shipped default application folder into this one.
    void copyDefaultApp();

    qeltest::AppDir app;
    qel::ManualClock clock;
    QStringList linkCalls;  // "close" and "open", in the order ReadCOMINI made them

private:
    qel::SettingsLinkCalls savedLinkCalls_;
};

// Windows line ends for a file written by hand: every "\n" becomes CR LF.
QByteArray Crlf(const char* text);

// The sections of a language file and their key counts, as the language
// files are laid out.
struct LanguageSectionSize {
    const char* name;
    int count;
};
extern const LanguageSectionSize kLanguageFileLayout[14];

// A complete language file whose entry k of section s reads "<s> <k>/",
// except that entry `omitKey` of section `omitSection` is left out.
QByteArray LanguageFile(const char* omitSection = nullptr, int omitKey = 0);
