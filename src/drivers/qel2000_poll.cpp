#include "qel2000_poll.h"

#include "errorlog.h"
#include "poll_steps.h"
#include "reply_text.h"
#include "runtime_error.h"
#include "state.h"
#include "station_hooks.h"
#include "vbtext.h"

namespace qel {

namespace {

constexpr int kBlock1 = 0x0002;
constexpr int kBlock1Last = 0x0079;
constexpr int kBlock2 = 0x039C;
constexpr int kBlock2Last = 0x03ED;

void DecodeBlock1(int16_t chamber, const QString& r) {
    ChamberRec& rec = Chamber[ChamberIndex(chamber)];
    auto reg = [&](int a) { return RegisterAt(r, kBlock1, a); };
    auto scaled = [&](int a, int ch) { return Scaled(reg(a), rec.DP[ch]); };

    rec.PVStat[0] = reg(0x0002);
    rec.PVStat[1] = reg(0x0003);
    rec.Status[0] = LowByteAt(r, kBlock1, 0x0004);
    rec.Status[1] = LowByteAt(r, kBlock1, 0x0006);
    rec.PV[0] = scaled(0x0009, 0);
    rec.PV[1] = scaled(0x000A, 1);
    rec.SP[0] = scaled(0x000B, 0);
    rec.SP[1] = scaled(0x000C, 1);
    rec.TSP[0] = scaled(0x0037, 0);
    rec.TSP[1] = scaled(0x0038, 1);
    rec.MV[0] = scaled(0x000D, 0);
    rec.MV[1] = scaled(0x000E, 1);
    rec.PIDNo[0] = reg(0x0011);
    rec.PIDNo[1] = reg(0x0012);
    rec.EvtWordD[0] = reg(0x0013);
    rec.EvtWordD[1] = reg(0x0014);
    rec.EvtWordC[0] = reg(0x0015);
    rec.EvtWordC[1] = reg(0x0016);
    rec.EvtWordA[0] = reg(0x0017);
    rec.EvtWordA[1] = reg(0x0018);
    rec.EvtWordB[0] = reg(0x0019);
    rec.EvtWordB[1] = reg(0x001A);
    rec.UserKeyState[0] = reg(0x0048);
    rec.UserKeyState[1] = reg(0x0049);
    rec.EvtMode[0] = reg(0x0054);
    rec.EvtMode[1] = reg(0x0055);
    rec.RelayWordB = reg(0x001B);
    rec.RelayWordA = reg(0x001C);
    rec.RelayWordD = reg(0x0045);
    rec.RelayWordC = reg(0x0046);
    rec.RunTime[0] = TimeFormB(reg(0x001D), reg(0x001E), reg(0x001F));
    rec.RunTime[1] = TimeFormB(reg(0x0020), reg(0x0021), reg(0x0022));
    rec.PTNo[0] = reg(0x0023);
    rec.PTNo[1] = reg(0x0025);
    rec.SegNo[0] = reg(0x0024);
    rec.SegNo[1] = reg(0x0026);
    rec.PTRpt[0] = reg(0x0027);
    rec.PTRpt[1] = reg(0x0029);
    rec.PTRptSet[0] = reg(0x0028);
    rec.PTRptSet[1] = reg(0x002A);
    rec.SegRpt[0] = reg(0x002B);
    rec.SegRpt[1] = reg(0x002D);
    rec.SegRptSet[0] = reg(0x002C);
    rec.SegRptSet[1] = reg(0x002E);
    rec.SegTime[0] = TimeFormA(reg(0x002F), reg(0x0030));
    rec.SegTimeSet[0] = TimeFormA(reg(0x0031), reg(0x0032));
    rec.SegTime[1] = TimeFormA(reg(0x0033), reg(0x0034));
    rec.SegTimeSet[1] = TimeFormA(reg(0x0035), reg(0x0036));
    rec.LinkedRun = reg(0x006D);

    const int fixRegs[2] = {0x006E, 0x0075};
    for (int k = 0; k < 2; ++k) {
        const int16_t fix = reg(fixRegs[k]);
        if (fix != rec.FixMode[k]) {
            rec.FixMode[k] = fix;
            if (Hooks.fixModeChanged) Hooks.fixModeChanged(chamber, k + 1, fix);
        }
    }
    rec.EndShown[0] = reg(0x0070);
    rec.EndShown[1] = reg(0x0077);
    rec.FixTime[0] = TimeFormA(reg(0x0071), reg(0x0072));
    rec.FixTime[1] = TimeFormA(reg(0x0078), reg(0x0079));

    // Chars 495 and 499 lie past the end of this block, so the deviations
    // come out 0 on every cycle; these models carry them elsewhere.
    for (int k = 0; k < 2; ++k) {
        const auto raw = static_cast<int16_t>(Val(QStringLiteral("&H") + Mid(r, 495 + 4 * k, 4)));
        rec.TempDev[k] = Scaled(raw, rec.DP[k]);
    }
}

void DecodeBlock2(int16_t chamber, const QString& r) {
    const int firsts[2] = {0x039C, 0x03A6};
    for (int k = 0; k < 2; ++k) {
        auto reg = [&](int offset) { return RegisterAt(r, kBlock2, firsts[k] + offset); };
        StoreEndDate(chamber, k + 1, reg(0), reg(1), reg(2), reg(3), reg(4));
    }
}

}  // namespace

void ReadCommBlock(int16_t chamber) {
    try {
        const int i = ChamberIndex(chamber);
        if (Val(ChamberUse[i]) == 0) return;

        const QString r1 = ReadBlock(chamber, QStringLiteral("&H3F0"), 490, QStringLiteral("0300020078"), kBlock1, kBlock1Last);
        if (r1.isEmpty()) return;
        DecodeBlock1(chamber, r1);

        ChamberRec& rec = Chamber[i];
        if ((rec.Status[0] & 3) || (rec.Status[1] & 3)) {
            const QString r2 =
                ReadBlock(chamber, QStringLiteral("&H3A4"), 334, QStringLiteral("03039C0052"), kBlock2, kBlock2Last);
            if (r2.isEmpty()) return;
            DecodeBlock2(chamber, r2);
        }

        if (rec.LinkedRun != 0) {
            if (Hooks.runProc2) Hooks.runProc2(chamber);
        } else if (Hooks.runProc) {
            Hooks.runProc(chamber);
        }
        if (Hooks.eventScan) {
            Hooks.eventScan(chamber, 1);
            Hooks.eventScan(chamber, 2);
        }
        OperationGraphIfDue(chamber);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modCommControl.ReadCommBlock"));
    }
}

}  // namespace qel
