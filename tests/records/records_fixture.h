// A station folder with the records' state at program start, a manual clock
// at 2024-01-31 08:15:07 and the page's history rows caught.
#pragma once

#include "app_dir.h"
#include "clock.h"
#include "page_controls.h"
#include "record_hooks.h"
#include "settings_state.h"
#include "state.h"
#include "station_hooks.h"

#include <QDir>
#include <QStringList>
#include <gtest/gtest.h>

namespace qeltest {

class RecordsTest : public ::testing::Test {
protected:
    void SetUp() override {
        qel::ResetSettingsState();
        qel::ClearPageControls();
        qel::ResetRunState();
        qel::InstallRecordHooks();
        qel::SetClock(&clock);
        qel::MaxChamberNo = 2;
        for (int c = 0; c < 2; ++c) {
            qel::ChamberName[c] = QStringLiteral("C%1").arg(c + 1);
            QDir().mkpath(dir.file(QStringLiteral("DATA/C%1").arg(c + 1)));
        }
        qel::Hooks.historyRow = [this](int16_t chamber, const QString& time, const QString& text) {
            history << QStringLiteral("%1|%2|%3").arg(chamber).arg(time, text);
        };
    }
    void TearDown() override {
        qel::RemoveRecordHooks();
        qel::Hooks.historyRow = nullptr;
        qel::ResetSettingsState();
        qel::ClearPageControls();
    }
    QString messageLog(int chamber = 1) const {
        return QString::fromUtf8(dir.read(QStringLiteral("Message/C%1/20240131_M.log").arg(chamber)));
    }

    AppDir dir;
    qel::ManualClock clock;
    QStringList history;  // "chamber|time|text"
};

}  // namespace qeltest
