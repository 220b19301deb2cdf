// A fresh application folder per settings test: globals reset, a fixed clock
// (the error log's name is known), and ReadCOMINI's link calls recorded
// instead of a port opened.
#pragma once

#include "app_dir.h"
#include "clock.h"
#include "comm_settings.h"
#include "errorlog.h"
#include "settings_state.h"
#include "state.h"

#include <QFile>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>

inline void PrintTo(const QByteArray& bytes, std::ostream* os) {  // line ends and CP949 as %XX
    *os << '"' << bytes.toPercentEncoding(" !\"#$&'()*+,-./:;<=>?@[\\]^_`{|}~").toStdString() << '"';
}

class SettingsTest : public ::testing::Test {
protected:
    SettingsTest() : saved_(qel::LinkCallsOfSettings()) {
        qel::SetClock(&clock);
        qel::ResetSettingsState();
        qel::LinkCallsOfSettings() = {[this](int16_t) { linkCalls << "close"; },
                                      [this] { linkCalls << "open"; return int16_t{0}; }};
    }
    ~SettingsTest() override {
        qel::LinkCallsOfSettings() = saved_;
        qel::ResetSettingsState();
        qel::SetClock(nullptr);
    }
    void write(const QString& name, const QByteArray& bytes) { app.write(name, bytes); }
    QByteArray read(const QString& name) const { return app.read(name); }
    QStringList errorLines() const {  // today's error-log texts, without the time stamp
        QStringList lines;
        for (const QString& line : app.errorLog().split("\r\n", Qt::SkipEmptyParts)) lines << line.mid(19);
        return lines;
    }
    void resetState() {  // globals, error log and link calls as at the start
        qel::ResetAllState();
        qel::ResetSettingsState();
        qel::AppPath = app.path();
        QFile::remove(qel::ErrorLogPath());
        linkCalls.clear();
    }

    qeltest::AppDir app;
    qel::ManualClock clock;
    QStringList linkCalls;  // "close" and "open", in the order ReadCOMINI made them

private:
    qel::SettingsLinkCalls saved_;
};

inline QByteArray Crlf(const char* text) { return QByteArray(text).replace("\n", "\r\n"); }

// "[name]" and line(1) .. line(count), each with CR LF; empty lines left out.
inline QByteArray Section(const QByteArray& name, int count, const std::function<QByteArray(int)>& line) {
    QByteArray s = "[" + name + "]\r\n";
    for (int i = 1; i <= count; ++i)
        if (const QByteArray l = line(i); !l.isEmpty()) s += l + "\r\n";
    return s;
}
