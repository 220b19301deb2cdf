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
