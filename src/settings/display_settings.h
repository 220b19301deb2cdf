// frmDisplay's store: record interval, language, the page keys' switches,
// the DI banner, the sound and the exchange trace, all in SetComm.ini.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>

namespace qel {

// What frmDisplay holds when its store key is pressed.
struct DisplayChoice {
    int32_t fileSave = 30;  // GraphSampling
    QString language;       // "KOR", "ENG", "CHN" (Combo2 index 0, 1, 2)
    int16_t run = 0;        // check boxes: 0, 1 (the flag takes the absolute value)
    int16_t stop = 0;
    int16_t hold = 0;
    int16_t adv = 0;
    int16_t displayStatus = 0;  // the banner switch
    int16_t displaySound = 0;   // the sound switch
};

// The language choices of Combo2 by list index; "" outside 0..2.
QString LanguageOfIndex(int index);

// In this order: FileSave when it differs (written as chosen, even 0; the
// loader raises it to 1); the language when it differs: Language is set, the
// tables are loaded, `recaption` runs (main frame, overview, pages), then the
// key is written; run, stop, hold, advance each when it differs; then
// DisplayStatus, DisplaySound and CommDataSave in every case. A failure -
// a language file that does not load, a file that cannot be written - is logged
// "<description>frmCommSet.Command1_Click_Err" and skips the rest; what was
// written before it stays.
void StoreDisplaySettings(const DisplayChoice& choice, const std::function<void()>& recaption = {});

}  // namespace qel
