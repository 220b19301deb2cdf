// SetUserTag.ini: the chamber table. ReadUserTag fills it at start-up; the
// set-up form, the graph settings and the chamber page write it.
#pragma once

#include <QString>
#include <array>
#include <cstdint>

namespace qel {

// MAX_CHAMBER_NO, then for chambers 1 to 30: "Chamber NN", "AddressNo NN",
// Name (to "/"), IPAddNo (to "E"), Model (to "/", also sets the channel
// count), Board, MODEL_ZZ, SDP_1..3 (to "/") into DP, UNIT_1..3 (to "/").
// A text without its terminator (an absent file stops at chamber 1's Name)
// ends the loader with "<description>modFunc.ReadUserTag"; values read so
// far stay, the rest keep their defaults.
//
// As the first settings read of a start-up it empties the list of settings
// problems (config_report.h) and then adds, once each: a file that is
// missing, empty or not text; MAX_CHAMBER_NO absent, not a number, 0 or
// outside 0 to 30; the text where the loader stops; and for every chamber in
// use (1 to MAX_CHAMBER_NO, "Chamber NN" not 0) an address that is not 1 to
// 247 and a model that is none of QEL2000 to QEL2400.
void ReadUserTag();

// One row of the set-up form's chamber table.
struct ChamberRow {
    bool used = false;  // the row's switch: only used rows count as chambers
    QString name;
    QString address;
    QString ip;
    QString model;    // "QEL2000" .. "QEL2400"
    QString board;    // "0", "1": second DI/DO board fitted
    QString variant;  // key MODEL_ZZ: "0" plain, "1" heat-cool
};

// The set-up form's store of the table, row by row for chambers 1 to 30:
// "Chamber NN" (the number, or 0 for an unused row; the last used row sets
// MaxChamberNo), "Board", "MODEL_ZZ", "Name" with "/", "IPAddNo" with "E"
// (only when the protocol is "ETH"), "AddressNo NN", the default lamp
// entries when the row's model differs from the one in force, "Model" with
// "/"; after the last row "MAX_CHAMBER_NO". Globals follow the file. A used
// row gets its DATA and Message folders, and every row's trend file
// ("<n>OPData.csv") is removed. SetUserTag.ini is edited in this order and
// saved once at the end; the bytes are those of key-by-key writes. A file
// that cannot be written is logged "<description>frmUserTag.Command1_Click_Err".
void StoreChamberTable(const std::array<ChamberRow, 30>& rows);

// These two raise RuntimeError for the caller's failure frame: "Subscript out
// of range" for a chamber or channel outside 1..30 / 1..3, and the errors of
// WriteSetting when the file cannot be written.

// frmGraphSet: DP of the channel becomes `places` zeros, written to section
// "SDP_<channel>", key the chamber, with "/" behind ("/" alone for none).
void StoreDecimalPlaces(int16_t chamber, int channel, int places);

// Chamber page: the unit caption of a channel, section "UNIT_<channel>",
// key the chamber, with "/" behind.
void StoreUnit(int16_t chamber, int channel, const QString& caption);

}  // namespace qel
