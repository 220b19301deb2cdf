#include "qel2200_poll.h"

#include "errorlog.h"
#include "poll_steps.h"
#include "reply_text.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"
#include "vbtext.h"

namespace qel {

namespace {

constexpr int k2200First = 0x0000;
constexpr int k2200Last = 0x006C;
constexpr int k2300Block1 = 0x0002;
constexpr int k2300Block1Last = 0x0053;
constexpr int k2300Block2 = 0x008C;
constexpr int k2300Block2Last = 0x00DD;

void Decode2200(int16_t chamber, const QString& r) {
    ChamberRec& rec = Chamber[ChamberIndex(chamber)];
    auto reg = [&](int a) { return RegisterAt(r, k2200First, a); };
    auto scaled = [&](int a, int ch) { return Scaled(reg(a), rec.DP[ch]); };

    rec.PV[0] = scaled(0x0000, 0);
    rec.PV[1] = scaled(0x0002, 1);
    rec.SP[0] = scaled(0x0003, 0);
    rec.SP[1] = scaled(0x0004, 1);
    rec.TSP[0] = scaled(0x0008, 0);
    rec.TSP[1] = scaled(0x0009, 1);
    rec.MV[0] = scaled(0x0005, 0);
    rec.MV[1] = scaled(0x0006, 1);
    rec.PVStat[0] = reg(0x000B);
    rec.PVStat[1] = reg(0x000C);
    rec.PIDNo[0] = reg(0x0007);
    rec.EvtWordD[0] = reg(0x000D);
    rec.EvtWordC[0] = reg(0x000E);
    rec.EvtWordA[0] = reg(0x000F);
    rec.RelayWordB = reg(0x0010);
    rec.RelayWordA = reg(0x0011);
    rec.RunTime[0] = HoursMinutesSeconds(reg(0x0017), reg(0x0018), reg(0x0019));
    rec.PTNo[0] = reg(0x0012);
    rec.SegNo[0] = reg(0x0013);
    rec.EvtMode[0] = reg(0x0015);  // overwritten from 0x0054 below: that one counts
    rec.SegTime[0] = TimeFormA(reg(0x001A), reg(0x001B));
    rec.PTRpt[0] = reg(0x0033);
    rec.PTRptSet[0] = reg(0x0034);
    rec.SegRpt[0] = reg(0x0035);
    rec.SegRptSet[0] = reg(0x0036);
    rec.SegTimeSet[0] = TimeFormA(reg(0x0037), reg(0x0038));
    rec.EndShown[0] = reg(0x0068);
    // Status is decoded further down, so a chamber that has just started
    // shows its end time from its second cycle on, as it always has.
    if (rec.Status[0] & 3) StoreEndDate(chamber, 1, reg(0x003E), reg(0x003F), reg(0x0040), reg(0x0041), reg(0x0042));
    const int16_t fix = reg(0x0063);
    if (fix != rec.FixMode[0]) {
        rec.FixMode[0] = fix;
        if (Hooks.fixModeChanged) Hooks.fixModeChanged(chamber, 1, fix);
    }
    rec.EndShown[0] = reg(0x0068);
    rec.TempDev[0] = scaled(0x006B, 0);
    rec.TempDev[1] = scaled(0x006C, 1);
    rec.FixTime[0] = TimeFormA(reg(0x0069), reg(0x006A));
    rec.Status[0] = reg(0x0043);  // the whole register on this model
    rec.RelayWordD = reg(0x0050);
    rec.RelayWordC = reg(0x0051);
    rec.UserKeyState[0] = reg(0x0048);
    rec.EvtMode[0] = reg(0x0054);
}

void Decode2300Block1(const QString& r, ChamberRec& rec) {
    auto reg = [&](int a) { return RegisterAt(r, k2300Block1, a); };
    rec.Status[0] = LowByteAt(r, k2300Block1, 0x0005);
    for (int i = 0; i < 3; ++i) {
        rec.PVStat[i] = reg(0x0002 + i);
        rec.PV[i] = Scaled(reg(0x0006 + i), rec.DP[i]);
        rec.SP[i] = Scaled(reg(0x0009 + i), rec.DP[i]);
        rec.MV[i] = Scaled(reg(0x000C + i), rec.DP[i]);
        rec.PIDNo[i] = reg(0x000F + i);
    }
    rec.EvtWordD[0] = reg(0x0012);
    rec.EvtWordC[0] = reg(0x0013);
    rec.EvtWordA[0] = reg(0x0014);
    rec.RelayWordB = reg(0x0015);
    rec.RelayWordA = reg(0x0016);
    rec.RunTime[0] = HoursMinutesSeconds(reg(0x0017), reg(0x0018), reg(0x0019));
    rec.PTNo[0] = reg(0x001A);
    // Four characters from char 246: the last digit of 0x003D and the first
    // three of 0x003E. Installed controllers are read this way, so it stays.
    rec.RelayWordD = static_cast<int16_t>(Val(QStringLiteral("&H") + Mid(r, 246, 4)));
    rec.RelayWordC = reg(0x0025);
    rec.SegTime[0] = TimeFormA(reg(0x001C), reg(0x001D));
}

void Decode2300Block2(int16_t chamber, const QString& r, ChamberRec& rec) {
    auto reg = [&](int a) { return RegisterAt(r, k2300Block2, a); };
    rec.PTRpt[0] = reg(0x008C);
    rec.PTRptSet[0] = reg(0x008D);
    rec.EvtMode[0] = reg(0x00B8);
    // Bit value 1 here, where the QEL2200 tests the mask 3.
    if (rec.Status[0] & 1) StoreEndDate(chamber, 1, reg(0x0097), reg(0x0098), reg(0x0099), reg(0x009A), reg(0x009B));
    rec.SegTimeSet[0] = TimeFormA(reg(0x0090), reg(0x0091));
    rec.UserKeyState[0] = reg(0x00A2);
    rec.Side = reg(0x00B5);
    rec.SideMark = reg(0x00B9);
    rec.SideAltA = reg(0x00B6);
    rec.SideAltB = reg(0x00B7);
}

// Data log, event detection (once: these models have one event word set)
// and the trend.
void AfterDecode(int16_t chamber) {
    if (Hooks.runProc) Hooks.runProc(chamber);
    if (Hooks.eventScan) Hooks.eventScan(chamber, 1);
    OperationGraphIfDue(chamber);
}

}  // namespace

void QEL2200_ReadCommBlock(int16_t chamber) {
    try {
        if (Val(ChamberUse[ChamberIndex(chamber)]) == 0) return;
        const QString r = ReadBlock(chamber, QStringLiteral("&H3DA"), 446, QStringLiteral("030000006D"), k2200First, k2200Last);
        if (r.isEmpty()) return;
        Decode2200(chamber, r);
        AfterDecode(chamber);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modCommControl.QEL2200_ReadCommBlock"));
    }
}

void QEL2300_ReadCommBlock(int16_t chamber) {
    try {
        const int i = ChamberIndex(chamber);
        if (Val(ChamberUse[i]) == 0) return;
        const QString r1 =
            ReadBlock(chamber, QStringLiteral("&H3A4"), 334, QStringLiteral("0300020052"), k2300Block1, k2300Block1Last);
        if (r1.isEmpty()) return;
        Decode2300Block1(r1, Chamber[i]);
        const QString r2 =
            ReadBlock(chamber, QStringLiteral("&H3A4"), 334, QStringLiteral("03008C0052"), k2300Block2, k2300Block2Last);
        if (r2.isEmpty()) return;
        Decode2300Block2(chamber, r2, Chamber[i]);
        AfterDecode(chamber);
    } catch (const RuntimeError& e) {
        // This block has always logged under the QEL2200's name; the line stays.
        ErrorTail(e.description(), QStringLiteral("modCommControl.QEL2200_ReadCommBlock"));
    }
}

}  // namespace qel
