// Lamp selection: which status bits of a chamber's controller count. Each
// chamber has lamp tables in LogRec (Lamp2000[channel], Lamp2200, Lamp2300),
// entries 1 to 105 of the form "label=flag" ("DI 3=1"); a selected entry gets
// a lamp on the chamber page and takes part in event detection.
//
// Files: SetLamp_2000.ini (channel 1 of QEL2000, QEL2100, QEL2400),
// SetLamp_2100.ini (their channel 2), SetLamp_2400.ini (channel 3),
// SetLamp_2200.ini, SetLamp_2300.ini; section the model word of the file and
// the chamber ("QEL2100_7"), key "Lamp 01" .. "Lamp 105", value the entry and
// "/".
#pragma once

#include <QString>
#include <QStringList>
#include <array>
#include <cstdint>

namespace qel {

inline constexpr int kLampEntries = 105;
using LampTable = std::array<QString, kLampEntries + 1>;  // index 0 unused
using LampSwitches = std::array<bool, kLampEntries + 1>;  // index 0 unused

// The three lamp forms, each with its entry layout: frmLamp2100 serves
// QEL2000, QEL2100 and QEL2400 (104 entries), frmLamp2200 QEL2200 (100),
// frmLamp2300 QEL2300 (92).
enum class LampForm { Lamp2100, Lamp2200, Lamp2300 };

// The form of a model; false for a name outside the five.
bool LampFormOf(const QString& model, LampForm* form);

// Entries of the form's layout: 104, 100 or 92.
int LampLayoutEntries(LampForm form);

// Default label of entry i: "IS n", "TS n", "AL n", "SAL n", "DI n", "D0 n"
// by the layout's ranges; "" past the layout's last entry.
QString DefaultLampLabel(LampForm form, int i);

// True for the entries of the second DI/DO board (DI 17..32, D0 17..32).
bool IsSecondBoardEntry(LampForm form, int i);

// The default entry: label "=1", or "=0" for a second-board entry when the
// board choice is "0". Entries past the layout up to 105 are spares "=0".
QString DefaultLampEntry(LampForm form, int i, const QString& board);

// Reads the chamber's lamp tables by its model: QEL2000 one file, QEL2100
// two, QEL2400 three (105 entries each), QEL2200 105 entries, QEL2300 92;
// other models nothing. Each entry is read with default "1" and a 10-byte
// read and cut at "/"; the first entry without "/" ends the loader with
// "<description>modFunc.ReadLampSelect" (so a QEL2100 whose first file has
// only 104 entries does not reach its second file). Entries read stay.
void ReadLampSelect(int16_t chamber);

// The set-up form's default lamp entries for a chamber whose model changed:
// every file ReadLampSelect reads for the model, entries 1 to 105. Every
// section holds all 105 entries so that the loader finds each one. Raises
// RuntimeError when a file cannot be written.
void WriteDefaultLampEntries(int16_t chamber, const QString& model, const QString& board);

// --- the lamp forms, without widgets ---------------------------------------

// The label of an entry: the text left of the first "=", or the whole text
// when it has none.
QString LampLabel(const QString& entry);

// The flag of an entry: Val of the text behind the first "=", 0 without one.
int LampFlag(const QString& entry);

// The lamp table a form shows for the chamber and channel (1 to 3 on
// frmLamp2100, ignored on the others). Raises RuntimeError "Subscript out of
// range" for a chamber or channel out of range.
LampTable& LampTableOf(LampForm form, int16_t chamber, int channel);

// What the form shows at load: switch i is on when the entry's flag is not
// 0. With Board "1" all entries are shown and set; with "0" the second DI
// board's entries are neither shown nor set; with any other value all are
// shown and none is set. A failure is logged
// "<description>frmLampSelectCh1.Form_Load_Err" and gives all off.
struct LampFormView {
    LampSwitches on{};
    LampSwitches shown{};
};
LampFormView LoadLampForm(LampForm form, int16_t chamber, int channel);

// The select-all key: Board "1" every layout entry on; "0" the first-board
// entries on and the second-board entries off; any other value all off.
LampSwitches SelectAllLamps(LampForm form, const QString& board);

// The store key: for i = 1 to 105 the entry becomes its label with "=1" or
// "=0" by the switch, in memory and in the file. Returns the captions of the
// page's lamps: the labels of the selected entries in order, so that the
// page fills its lamps from the first without gaps. A failure is logged
// "<description>frmLampSelectCh1.Command1_Click_Err"; entries stored before
// it stay.
QStringList StoreLampForm(LampForm form, int16_t chamber, int channel, const LampSwitches& on);

}  // namespace qel
