// SetComm.ini: the line settings, the record interval, the language and the
// key switches, read once at start-up by ReadCOMINI; the "CommSet" writer of
// the set-up form.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>

namespace qel {

// The link calls ReadCOMINI makes: the comm library's ClosePort and OpenLink
// unless a test puts recorders here.
struct SettingsLinkCalls {
    std::function<void(int16_t)> closePort;
    std::function<int16_t()> openLink;
};
SettingsLinkCalls& LinkCallsOfSettings();

// Closes the serial port, reads every key in the order of the file's table
// (20-byte buffer, size 10: at most 9 characters count), loads the language
// right behind "Language", and opens the link at its end. Also fills
// SerialPortDevices from the optional section "Ports" ("COM1" to "COM32",
// the Linux device of each port; absent keys stay absent).
//
// A protocol without "/" (an absent file included), an absent or broken
// language file, or a number too large for its integer ends the loader with
// one error-log line "<description>modFunc.ReadCOMINI"; what was read so far
// stays, the rest keeps its value, and the link is not opened.
//
// Adds to the list of settings problems (config_report.h), once each: why
// the loader stopped (a missing, empty or non-text file, a protocol without
// "/", a number too wide, the language), a protocol other than RTU, ASC or
// ETH, a serial port number or baud rate that cannot open the line, a parity
// digit other than 1 to 3, a PCSpeed that is not positive, a TCP port 0, and
// on ETH every chamber in use without an IP address. Runs after ReadUserTag,
// which empties the list.
void ReadCOMINI();

// What the set-up form offers for section "CommSet".
struct CommChoice {
    QString protocol;  // "RTU", "ASC", "ETH"
    int16_t remotePort = 502;
    int16_t portNumber = 2;
    QString baudRate;  // "9600", "19200", "38400"
    QString parity;    // "None", "Even", "Odd"
    QString stopBit;   // "1", "2"
    QString dataLen;   // "7", "8"
    int16_t pcSpeed = 300;
};

// The set-up form's store of the line: each of the eight settings that
// differs from the global in force is set and written by itself, in the
// order Protocol, RemotePort, Port Number, Baud Rate, Parity, Stop Bit,
// Data Len, PCSpeed. Keys not changed keep their text in the file. A write
// that fails is logged "<description>frmCommSet.Command1_Click_Err" and ends
// the store; what was written before it stays.
void StoreCommSettings(const CommChoice& choice);

// "1", "2", "3" for "None", "Even", "Odd" as the file keeps the parity.
QString ParityDigit(const QString& parity);

}  // namespace qel
