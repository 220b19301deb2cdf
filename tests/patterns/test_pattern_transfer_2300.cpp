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

// Guards a save read back with the Ex room in use: room times as saved (no
// added hour), the Ex room's signals kept, its pre-heat temperature 0
// whatever the record said, DefrostTime as the register's hex text.
TEST_F(Transfer2300, SavedAndReadBackAsSaved) {
    PatternRec saved = Sample();
    saved.DefrostType = "2";
    saved.SegSP2[0] = "45.5";
    QEL2300_PTSave(1, saved, 7, ui);
    EXPECT_EQ(ctl.memory.value(7).value(0x092A), 0);
    const PatternRec back = QEL2300_PTRead(1, 7, ui);
    EXPECT_EQ(back.PatternRepeat, "3");
    EXPECT_EQ(back.EndMode2300, "1");
    EXPECT_EQ(back.DefrostType, "2");
    EXPECT_EQ(back.HiRoomMode, "2");
    EXPECT_EQ(back.LoRoomMode, "0");
    EXPECT_EQ(back.DefrostPeriod, "120");
    EXPECT_EQ(back.DefrostTime, "&h005A");
    EXPECT_EQ(back.DefrostTemp, "-40.0");
    EXPECT_EQ(back.SegSP[0], "85.0");
    EXPECT_EQ(back.SegSP[2], "-40.0");
    EXPECT_EQ(back.SegTime[0], "5430");
    EXPECT_EQ(back.SegTime[1], "600");
    EXPECT_EQ(back.SegTime[2], "0");
    EXPECT_EQ(back.SegSP2[0], "45.5");
    EXPECT_EQ(back.SegSP2[1], "0.0");
    EXPECT_EQ(back.SegSP2[2], "-200.0");
    EXPECT_EQ(back.SegSignal1[7], "8");
    EXPECT_EQ(back.SegSignal2[0], "5");
    EXPECT_EQ(back.SegSignal3[2], "3");
    EXPECT_TRUE(boxes.isEmpty());
    // Saved again as read, the block is the same: no hour creeps in.
    const QMap<int, uint16_t> before = ctl.memory.value(7);
    PatternRec again = back;
    QEL2300_PTSave(1, again, 7, ui);
    EXPECT_EQ(ctl.memory.value(7), before);
}

// Guards the decoding of every word of the block against memory laid out
// here by hand, and the read's requests.
TEST_F(Transfer2300, ReadDecodesTheTable) {
    QMap<int, uint16_t>& m = ctl.memory[6];
    m = {{0x0918, 5}, {0x0919, 1}, {0x091A, 3}, {0x091B, 1}, {0x091C, 2}, {0x091D, 60}, {0x091E, 0x0130},
         {0x091F, 0xFF38}, {0x0920, 100}, {0x0921, 200}, {0x0922, 300}, {0x0923, 1}, {0x0924, 61},
         {0x0925, 0}, {0x0926, 59}, {0x0927, 2}, {0x0928, 0}, {0x0929, 11}, {0x092A, 22}, {0x092B, 0xFFFF}};
    for (int j = 0; j < 8; ++j) {
        m[0x092C + j] = static_cast<uint16_t>(10 + j);
        m[0x0934 + j] = static_cast<uint16_t>(20 + j);
        m[0x093C + j] = static_cast<uint16_t>(30 + j);
    }
    const PatternRec r = QEL2300_PTRead(1, 6, ui);
    EXPECT_EQ(ctl.bodies, (QStringList{"0608FC0006", "0609020002", "0309180052"}));
    EXPECT_EQ(r.PatternRepeat, "5");
    EXPECT_EQ(r.EndMode2300, "1");
    EXPECT_EQ(r.DefrostType, "3");
    EXPECT_EQ(r.HiRoomMode, "1");
    EXPECT_EQ(r.LoRoomMode, "2");
    EXPECT_EQ(r.DefrostPeriod, "60");
    EXPECT_EQ(r.DefrostTime, "&h0130");  // not 304
    EXPECT_EQ(r.DefrostTemp, "-20.0");
    EXPECT_EQ(r.SegSP[0], "10.0");
    EXPECT_EQ(r.SegSP[1], "20.0");
    EXPECT_EQ(r.SegSP[2], "30.0");
    EXPECT_EQ(r.SegTime[0], "3661");
    EXPECT_EQ(r.SegTime[1], "59");
    EXPECT_EQ(r.SegTime[2], "7200");
    EXPECT_EQ(r.SegSP2[0], "1.1");
    EXPECT_EQ(r.SegSP2[1], "2.2");
    EXPECT_EQ(r.SegSP2[2], "-0.1");
    EXPECT_EQ(r.SegSignal1[0], "10");
    EXPECT_EQ(r.SegSignal1[7], "17");
    EXPECT_EQ(r.SegSignal2[0], "20");
    EXPECT_EQ(r.SegSignal3[7], "37");
    EXPECT_TRUE(r.PatternNo.isEmpty());  // the block holds no number
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

// Guards the retry: a controller that answers the second try is read without
// boxes, after one logged failure.
TEST_F(Transfer2300, SecondTryTakesTheBlock) {
    ctl.memory[2][0x0918] = 4;
    int reads = 0;
    port->reply = [&](const QByteArray& req) {
        ctl.bodies << QString::fromLatin1(req.mid(1, req.size() - 3).toHex().toUpper());
        return uint8_t(req[1]) == 3 && ++reads == 1 ? QByteArray() : ctl.answer(req);
    };
    EXPECT_EQ(QEL2300_PTRead(1, 2, ui).PatternRepeat, "4");
    EXPECT_EQ(reads, 2);
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_TRUE(dir.errorLog().contains("1frmPattern2300 Pattern read error"));
    EXPECT_FALSE(dir.errorLog().contains("2frmPattern2300"));
}

// Guards a save for a chamber outside the table: logged under the save's
// name, nothing sent, nothing shown.
TEST_F(Transfer2300, BadChamberIsLoggedNotShown) {
    PatternRec r = Sample();
    EXPECT_EQ(QEL2300_PTSave(31, r, 4, ui), 0);
    EXPECT_TRUE(ctl.bodies.isEmpty());
    EXPECT_TRUE(boxes.isEmpty());
    EXPECT_TRUE(dir.errorLog().contains("Subscript out of rangemodQEL2300.QEL2300_PTSave_Err"));
}
