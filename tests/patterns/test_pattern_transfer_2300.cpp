// Room-program transfers of the QEL2300 against a command window modelled
// here from the controller's table (pattern 0x08FC, range 0x0900/0x0901,
// command 0x0902: 2 load, 3 store, 5 clear; data block 0x0918..0x0943) on a
// scripted RTU line with a manual clock. The requests are checked against a
// sequence written from the table.
#include "pattern_transfer_2300.h"
#include "state.h"
#include "transfer_line.h"

#include <QMap>
#include <gtest/gtest.h>

using namespace qel;

namespace {

// The controller: one data block per pattern, loaded into and stored from
// the registers 0x0918..0x0943.
struct Controller2300 : qeltest::RegisterController {
    Controller2300() : RegisterController(0x0902) {}
    QMap<int, QMap<int, uint16_t>> memory;

    void command(int cmd) override {
        const int p = regs[0x08FC];
        if (cmd == 2) {
            for (int r = 0x0918; r <= 0x0943; ++r) regs[r] = memory.value(p).value(r, 0);
        } else if (cmd == 3) {
            for (int r = 0x0918; r <= 0x0943; ++r) memory[p][r] = regs.value(r, 0);
        } else if (cmd == 5) {
            for (int q = regs[0x0900]; q <= regs[0x0901]; ++q) memory.remove(q);
        }
    }
};

class Transfer2300 : public qeltest::TransferLine {
protected:
    void SetUp() override {
        start("QEL2300", {"0", "00", "00"}, ctl);  // only channel 1's places count
        ui.stopped = nullptr;
        ui.progress = [this](int value, int, const QString&) { progress = value; };
    }
    static PatternRec Sample() {
        PatternRec r;
        r.PatternRepeat = "3";
        r.EndMode2300 = "1";
        r.DefrostType = "1";  // the Ex room is off
        r.HiRoomMode = "2";
        r.DefrostPeriod = "120";
        r.DefrostTime = "90";
        r.DefrostTemp = "-40.0";
        r.SegSP = {"85.0", "20.0", "-40.0"};
        r.SegTime = {"5430", "600", "0"};
        r.SegSP2[1] = "30.0";  // Hi and Lo left empty
        r.SegSignal1 = {"1", "", "", "", "", "", "", "8"};
        r.SegSignal2[0] = "5";
        r.SegSignal3[2] = "3";
        return r;
    }
    Controller2300 ctl;
    int progress = -1;
};

const QString z4 = "0000";

}  // namespace

// Guards the save's requests against the table: clear, select, the block in
// its parts with set points scaled (-40.0 -> FE70), hours plain, the Ex room
// zeroed and then written, empty pre-heat temperatures as -200.0 (F830), the
// Ex room's 0x092A always 0, its signals zeroed below DefrostType 2, store.
TEST_F(Transfer2300, SaveSendsTheTablesSequence) {
    PatternRec r = Sample();
    EXPECT_EQ(QEL2300_PTSave(1, r, 4, ui), -1);
    EXPECT_EQ(ctl.bodies, (QStringList{"100900000306000400040005", "0608FC0004",
                                       "10091800050A" "0003" "0001" "0001" "0002" "0000",
                                       "10091D000306" "0078" "005A" "FE70",
                                       "100920000306" "0352" "00C8" "FE70",
                                       "100923000204" "0001" "0726",  // 5430 s: 1 h, 1830 s
                                       "100925000204" "0000" "0000", "100925000204" "0000" "0258",
                                       "100927000204" "0000" "0000",
                                       "100929000306" "F830" "0000" "F830",
                                       "10092C000810" "0001" + z4.repeated(6) + "0008",
                                       "100934000810" + z4.repeated(8),
                                       "10093C000810" "0000" "0000" "0003" + z4.repeated(5),
                                       "0609020003"}));
    EXPECT_EQ(r.SegSP2[0], "-200.0");
    EXPECT_EQ(r.SegSP2[2], "-200.0");
    EXPECT_TRUE(boxes.isEmpty());
}

// Guards a controller that does not answer: three tries, each logged with
// its count, then the bar at 0, the read-failure text twice under "Error",
// the closing log line; the download keeps the number and the room set-up
// and still fills the form.
TEST_F(Transfer2300, NoAnswerThreeTriesThenTwoBoxes) {
    silent = true;
    Pattern.PatternNo = "6";
    Pattern.RoomConfig = "1";
    Pattern.DefrostPeriod = "99";
    bool shown = false;
    QEL2300_ProgramDownload(1, ui, [&] { shown = true; });
    EXPECT_EQ(ctl.bodies, (QStringList{"0608FC0006", "0609020002", "0309180052", "0309180052", "0309180052"}));
    const QString log = dir.errorLog();
    EXPECT_TRUE(log.contains("1frmPattern2300 Pattern read error"));
    EXPECT_TRUE(log.contains("2frmPattern2300 Pattern read error"));
    EXPECT_TRUE(log.contains("3frmPattern2300 Pattern read error"));
    EXPECT_FALSE(log.contains("4frmPattern2300"));
    EXPECT_TRUE(log.contains("  Pattern read error\r\n"));
    EXPECT_EQ(progress, 0);
    EXPECT_EQ(boxes, QStringList(2, "Error|The pattern could not be read."));
    EXPECT_TRUE(shown);
    EXPECT_EQ(Pattern.PatternNo, "6");
    EXPECT_EQ(Pattern.RoomConfig, "1");
    EXPECT_TRUE(Pattern.DefrostPeriod.isEmpty());
}

