// Live state of the station: the chamber table, the shared settings and the
// per-chamber arrays. Plain global state on purpose: every routine runs on the
// one event-loop thread, so nothing here is locked. A timer tick or a socket
// event can only interleave where code yields (WaitSec and the receive loops).
#pragma once

#include <QDateTime>
#include <QString>
#include <array>
#include <cstdint>

namespace qel {

constexpr int kMaxChambers = 30;
constexpr int kMaxChannels = 3;

// One chamber's decoded live values. Arrays are 0-based here; the routines
// take 1-based chamber and channel numbers and index with number - 1.
struct ChamberRec {
    std::array<double, 3> PV{};
    std::array<double, 3> SP{};
    std::array<double, 3> TSP{};
    std::array<double, 3> MV{};
    std::array<QString, 3> DP{};  // "", "0" or "00": decimal places
    std::array<int16_t, 3> Status{};
    std::array<int16_t, 3> PTNo{};
    std::array<int16_t, 4> SegNo{};    // fourth word spare
    std::array<int32_t, 6> RunTime{};  // elements 1 and 2 in use
    std::array<int32_t, 3> SegTime{};
    std::array<int32_t, 3> SegTimeSet{};
    std::array<int16_t, 3> PTRptSet{};
    std::array<int16_t, 3> PTRpt{};
    std::array<int16_t, 3> SegRptSet{};
    std::array<int16_t, 3> SegRpt{};
    std::array<int16_t, 4> PIDNo{};      // fourth word spare
    std::array<QDateTime, 3> EndDate{};  // 1970-01-01 means none; null before the first read
    std::array<int16_t, 3> FixMode{};
    std::array<int16_t, 3> EndShown{};
    std::array<double, 3> TempDev{};
    std::array<int32_t, 3> FixTime{};
    int16_t LinkedRun = 0;
    std::array<int16_t, 3> UserKeyState{};
    std::array<int16_t, 3> EvtMode{};
    std::array<int16_t, 4> PVStat{};       // fourth word spare
    std::array<QDateTime, 3> StartTime{};  // null stands for the value 0
    int16_t ChannelCount = 0;
    std::array<int16_t, 3> EvtWordA{};
    std::array<int16_t, 3> EvtWordB{};
    std::array<int16_t, 3> EvtWordC{};
    std::array<int16_t, 3> EvtWordD{};
    int16_t RelayWordA = 0;
    int16_t RelayWordB = 0;
    int16_t RelayWordC = 0;
    int16_t RelayWordD = 0;
    std::array<int16_t, 3> EvtLatchA{};
    std::array<int16_t, 3> EvtLatchB{};
    std::array<int16_t, 3> EvtLatchC{};
    std::array<int16_t, 3> EvtLatchSpare{};  // the spare group between C and D
    std::array<int16_t, 3> EvtLatchD{};
    int16_t RelayLatchA = 0;
    int16_t RelayLatchB = 0;
    int16_t RelayLatchC = 0;
    int16_t RelayLatchD = 0;
    int16_t Side = 0;
    int16_t SideMark = 0;
    int16_t SideAltA = 0;
    int16_t SideAltB = 0;
};

// Per-chamber sampling state of the data log and trend, and the lamp tables.
struct LogRec {
    std::array<int32_t, 3> Seconds{};
    std::array<double, 3> SampleSP{};
    std::array<double, 3> SamplePV{};
    std::array<double, 3> SampleMV{};
    double SampleHC = 0;
    std::array<QString, 3> FileName{};
    std::array<QString, 3> LastSave{};  // "0" at start, then "yyyy-mm-dd hh:mm:ss"
    QString GraphTime;                  // time of the last trend sample, same form
    bool Running = false;
    std::array<int16_t, 3> SnapStatus{};
    std::array<int16_t, 3> SnapInner{};
    std::array<int16_t, 3> SnapTime{};
    std::array<int16_t, 3> SnapAlarm{};
    std::array<int16_t, 3> SnapSegAlarm{};
    int16_t SnapDO = 0;
    int16_t SnapDI = 0;
    // Lamp tables, entries 1 to 105 (index 0 unused): "label=flag".
    std::array<std::array<QString, 106>, 3> Lamp2000{};  // channels 1..3 of QEL2000/2100/2400
    std::array<QString, 106> Lamp2200{};
    std::array<QString, 106> Lamp2300{};
};

// --- the chamber table -----------------------------------------------------
extern std::array<ChamberRec, kMaxChambers> Chamber;
extern std::array<LogRec, kMaxChambers> Log;
extern std::array<QString, kMaxChambers> ChamberUse;
extern std::array<QString, kMaxChambers> ChamberName;
extern std::array<QString, kMaxChambers> ChamberAddress;
extern std::array<QString, kMaxChambers> ChamberIP;
extern std::array<QString, kMaxChambers> ChamberModel;
extern std::array<QString, kMaxChambers> ChamberBoard;
extern std::array<QString, kMaxChambers> ChamberVariant;
extern std::array<std::array<QString, kMaxChambers>, 3> ChamberUnit;  // [channel][chamber]

extern std::array<int16_t, kMaxChambers> CommError;  // 0 healthy, -1 lost
extern std::array<int16_t, kMaxChambers> FailCount;

// --- shared settings -------------------------------------------------------
extern QString AppPath;   // always ends in the path separator
extern QString Protocol;  // "RTU", "ASC" or "ETH"
extern int16_t PortNumber;
extern QString BaudRate;
extern QString Parity;  // "None", "Even", "Odd"
extern QString StopBit;
extern QString DataLen;
extern int16_t RemotePort;
extern int16_t PCSpeed;       // reply budget in ms
extern int32_t FileSave;      // data-log period in s
extern int16_t CommDataSave;  // 1: trace every exchange into the error log
// 1: a read ends as soon as a whole, valid reply is in, PCSpeed being only
// its time-out ("FastReply" in [CommData]; absent or 0 as ever: every read
// waits out PCSpeed).
extern int16_t FastReply;
extern int32_t LastTick;      // |tick| in ms at the end of the last exchange
extern int16_t MaxChamberNo;
extern int16_t ScreenNo;

extern int16_t HoldLatch;
extern int16_t WaitLatch;
extern int16_t ThirdLatch;
extern std::array<std::array<int16_t, kMaxChambers>, 5> RunLatch;  // [channel][chamber]
extern std::array<std::array<int16_t, kMaxChambers>, 5> StopLatch;

// The three status-bar panels of the main frame carry state, not only text:
// panel 2 is the chamber on display ("0" on an overview screen), panel 3 the
// channel, read by Dec2Hex and the key commands.
extern QString StatusPanel1;
extern QString StatusPanel2;
extern QString StatusPanel3;

// What the page's run key leaves for the trend and pattern views of a
// chamber's channel [chamber - 1][channel - 1]: the pattern number the run
// started with, and whether the trend holds its drawing back (cleared at a
// start).
extern std::array<std::array<QString, 3>, kMaxChambers> StartPattern;
extern std::array<std::array<int16_t, 3>, kMaxChambers> GraphBlock;

// Bit tables used by event decoding: 1, 2, 4 ... (filled once at start-up).
extern std::array<int32_t, 16> BitTable;

// Whether a chamber address as the settings hold it names one slave:
// decimal digits only, 1 to 247. 0 is the broadcast every controller on a
// serial line obeys; above 247 the low byte would name another controller.
bool IsSlaveAddress(const QString& text);

// Channel count of a model: QEL2000 1, QEL2100 2, QEL2400 3, others 0.
int16_t ChannelCountOf(const QString& model);

// Index of a 1-based chamber or channel number; outside the range it raises
// the run-time error "Subscript out of range", which the caller's frame logs.
int ChamberIndex(int chamber);
int ChannelIndex(int channel);

// Restores every global to its declared default (as at program load).
void ResetAllState();

// Start-up reset of the latches and sampling state, run once the settings
// are read and before the poll timer runs.
void ResetRunState();

// The bit tables: filled at start-up.
void FillBitTables();

}  // namespace qel
