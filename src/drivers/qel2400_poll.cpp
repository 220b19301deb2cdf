#include "qel2400_poll.h"

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
constexpr int kBlock1Last = 0x0074;
constexpr int kBlock2 = 0x0087;
constexpr int kBlock2Last = 0x0095;
constexpr int kBlock3 = 0x00C8;
constexpr int kBlock3Last = 0x0149;
constexpr int kChannels = 3;

void DecodeBlock1(const QString& r, ChamberRec& rec) {
    auto reg = [&](int a) { return RegisterAt(r, kBlock1, a); };
    for (int i = 0; i < kChannels; ++i) {
        rec.PV[i] = Scaled(reg(0x0009 + i), rec.DP[i]);
        rec.SP[i] = Scaled(reg(0x000C + i), rec.DP[i]);
        rec.TSP[i] = Scaled(reg(0x000F + i), rec.DP[i]);
        rec.MV[i] = Scaled(reg(0x0012 + i), rec.DP[i]);
        rec.PVStat[i] = reg(0x0021 + i);
        rec.Status[i] = reg(0x0027 + i);  // the whole register on this model
        rec.EvtWordD[i] = reg(0x002D + i);
        rec.EvtWordC[i] = reg(0x0030 + i);
        rec.EvtWordA[i] = reg(0x0033 + i);
        rec.EvtWordB[i] = reg(0x0036 + i);
        rec.UserKeyState[i] = reg(0x002A + i);
        rec.EvtMode[i] = reg(0x0040 + i);
    }
    rec.RelayWordA = reg(0x0002);
    rec.RelayWordC = reg(0x0003);
    rec.RelayWordB = reg(0x0004);
    rec.RelayWordD = reg(0x0005);
}

void DecodeBlock2(int16_t chamber, const QString& r) {
    for (int i = 0; i < kChannels; ++i) {
        auto reg = [&](int k) { return RegisterAt(r, kBlock2, kBlock2 + 5 * i + k); };
        StoreEndDate(chamber, i + 1, reg(0), reg(1), reg(2), reg(3), reg(4));
    }
}

void DecodeBlock3(int16_t chamber, const QString& r, ChamberRec& rec) {
    auto reg = [&](int a) { return RegisterAt(r, kBlock3, a); };
    for (int i = 0; i < kChannels; ++i) {
        const int16_t fix = reg(0x012B + 10 * i);
        if (fix != rec.FixMode[i]) {
            rec.FixMode[i] = fix;
            if (Hooks.fixModeChanged) Hooks.fixModeChanged(chamber, i + 1, fix);
        }
        rec.EndShown[i] = reg(0x012C + 10 * i);
        rec.TempDev[i] = Scaled(reg(0x012D + 10 * i), rec.DP[i]);
        rec.FixTime[i] = TimeFormA(reg(0x012E + 10 * i), reg(0x012F + 10 * i));
    }
    rec.LinkedRun = reg(0x0149);
    for (int i = 0; i < kChannels; ++i) {
        rec.PIDNo[i] = reg(0x00CE + i);
        rec.PTNo[i] = reg(0x00C8 + i);
        rec.SegNo[i] = reg(0x00CB + i);
        rec.PTRpt[i] = reg(0x00D1 + i);
        rec.PTRptSet[i] = reg(0x00D4 + i);
        rec.SegRpt[i] = reg(0x00D7 + i);
        rec.SegRptSet[i] = reg(0x00DA + i);
        rec.SegTime[i] = TimeFormB(reg(0x00DD + 3 * i), reg(0x00DE + 3 * i), reg(0x00DF + 3 * i));
        rec.SegTimeSet[i] = TimeFormB(reg(0x00E6 + 3 * i), reg(0x00E7 + 3 * i), reg(0x00E8 + 3 * i));
        rec.RunTime[i] = TimeFormB(reg(0x00EF + 3 * i), reg(0x00F0 + 3 * i), reg(0x00F1 + 3 * i));
    }
}

}  // namespace

void QEL2400_ReadCommBlock(int16_t chamber) {
    try {
        const int c = ChamberIndex(chamber);
        if (Val(ChamberUse[c]) == 0) return;
        ChamberRec& rec = Chamber[c];
        const QString r1 = ReadBlock(chamber, QStringLiteral("&H3E6"), 470, QStringLiteral("0300020073"), kBlock1, kBlock1Last);
        if (r1.isEmpty()) return;
        DecodeBlock1(r1, rec);
        // The end dates are checked like the other reads: an empty reply is
        // never decoded into dates the controller did not send.
        const QString r2 = ReadBlock(chamber, QStringLiteral("&H31E"), 70, QStringLiteral("030087000F"), kBlock2, kBlock2Last);
        if (r2.isEmpty()) return;
        DecodeBlock2(chamber, r2);
        // 130 registers: the controller's byte count reads 0x04 (260 mod 256).
        const QString r3 = ReadBlock(chamber, QStringLiteral("&H304"), 530, QStringLiteral("0300C80082"), kBlock3, kBlock3Last);
        if (r3.isEmpty()) return;
        DecodeBlock3(chamber, r3, rec);

        if (rec.LinkedRun != 0) {
            if (Hooks.runProc2) Hooks.runProc2(chamber);
        } else if (Hooks.runProc) {
            Hooks.runProc(chamber);
        }
        if (Hooks.eventScan)
            for (int16_t ch = 1; ch <= kChannels; ++ch) Hooks.eventScan(chamber, ch);
        OperationGraphIfDue(chamber);
    } catch (const RuntimeError& e) {
        // Logged under the QEL2000 block's name, as this block always has been.
        ErrorTail(e.description(), QStringLiteral("modCommControl.ReadCommBlock"));
    }
}

}  // namespace qel
