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
#include <functional>
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
    // Globals, error log and link calls as at the start: for the next row of a table.
    void resetState();

    qeltest::AppDir app;
    qel::ManualClock clock;
    QStringList linkCalls;  // "close" and "open", in the order ReadCOMINI made them

private:
    qel::SettingsLinkCalls savedLinkCalls_;
};

// Windows line ends for a file written by hand: every "\n" becomes CR LF.
QByteArray Crlf(const char* text);

// "[name]" and line(1) .. line(count), each with CR LF; empty lines left out.
QByteArray Section(const QByteArray& name, int count, const std::function<QByteArray(int)>& line);

// The sections of a language file and their key counts.
struct LanguageSectionSize { const char* name; int count; };
extern const LanguageSectionSize kLanguageFileLayout[14];

// A complete language file whose entry k of section s reads "<s> <k>/",
// except that entry `omitKey` of section `omitSection` is left out.
QByteArray LanguageFile(const char* omitSection = nullptr, int omitKey = 0);
