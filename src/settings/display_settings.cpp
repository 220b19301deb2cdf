#include "display_settings.h"

#include "errorlog.h"
#include "language.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "value_forms.h"

#include <cstdlib>

namespace qel {

namespace {

void Write(const char* section, const char* key, const QString& value) {
    WriteSetting(QLatin1String(section), QLatin1String(key), value, SettingsPath(QStringLiteral("SetComm.ini")));
}

void StoreFlag(int16_t box, int16_t& flag, const char* key) {
    if (box == flag) return;
    flag = static_cast<int16_t>(std::abs(box));
    Write("ButtonSet", key, QString::number(flag));
}

}  // namespace

QString LanguageOfIndex(int index) {
    switch (index) {
        case 0:
            return QStringLiteral("KOR");
        case 1:
            return QStringLiteral("ENG");
        case 2:
            return QStringLiteral("CHN");
        default:
            return QString();
    }
}

void StoreDisplaySettings(const DisplayChoice& choice, const std::function<void()>& recaption) {
    try {
        if (choice.fileSave != FileSave) {
            FileSave = choice.fileSave;
            Write("FileSaveSec", "FileSave", QString::number(FileSave));
        }
        if (choice.language != Language) {
            Language = choice.language;
            LoadLanguage();
            if (recaption) recaption();
            Write("Language", "Language", Language);
        }
        StoreFlag(choice.run, DisbuttonRun, "DisbuttonRun");
        StoreFlag(choice.stop, DisbuttonStop, "DisbuttonStop");
        StoreFlag(choice.hold, DisbuttonHold, "DisbuttonHold");
        StoreFlag(choice.adv, DisbuttonAdv, "DisbuttonAdv");
        DisplayStatus = choice.displayStatus;
        Write("ButtonSet", "DisplayStatus", QString::number(DisplayStatus));
        DisplaySound = choice.displaySound;
        Write("ButtonSet", "DisplaySound", QString::number(DisplaySound));
        Write("CommData", "CommDataSave", QString::number(CommDataSave));
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("frmCommSet.Command1_Click_Err"));
    }
}

}  // namespace qel
