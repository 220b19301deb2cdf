// What the fuzzers and the sanitizer build found, as plain tests that run in
// every build: settings values that existing SetUserTag.ini files may hold
// and no integer of the station takes. In the sanitizer build the old code
// ended the process here with "outside the range of representable values".
#include "lamp_select.h"
#include "app_dir.h"
#include "clock.h"
#include "data_log.h"
#include "data_log_file.h"
#include "fake_serial.h"
#include "link.h"
#include "remote_keys.h"
#include "state.h"

#include <QDir>
#include <QtEndian>
#include <gtest/gtest.h>

using namespace qel;

namespace {

class OutOfRangeSettings : public ::testing::Test {
protected:
    void SetUp() override {
        SetClock(&clock);
        ResetRunState();
        MaxChamberNo = 1;
        ChamberName[0] = QStringLiteral("C1");
        ChamberModel[0] = QStringLiteral("QEL2000");
        Chamber[0].ChannelCount = 1;
    }
    void TearDown() override { RemoveLink(); }

    qeltest::AppDir dir;
    ManualClock clock;
};

// Guards against MODEL_ZZ "9e+99" converted out of int range by the data log: the run of a
// chamber that is not heat-cool (only 1 is) goes to the per-channel file with 28-byte rows.
TEST_F(OutOfRangeSettings, ModelZzBeyondAnIntLogsAPlainChannel) {
    ChamberVariant[0] = QStringLiteral("9e+99");
    ChamberRec& r = Chamber[0];
    r.Status[0] = 1;  // program run
    r.PTNo[0] = 3;
    r.PV[0] = 25.5;
    r.SP[0] = 30.0;
    r.MV[0] = 40.0;
    r.MV[1] = 99.0;  // what a heat-cool row would carry behind
    RunProc(1);  // the run begins
    clock.advanceMs(1000);
    RunProc(1);  // its first row

    const QStringList files = QDir(dir.file("DATA/C1")).entryList(QDir::Files);
    ASSERT_EQ(files, QStringList{"20240131081507_1.log"});
    const QByteArray bytes = dir.read("DATA/C1/20240131081507_1.log");
    // Header of two 40-byte texts, then int32 seconds and PV, SP, MV as float64: 28 bytes.
    ASSERT_EQ(bytes.size(), 80 + 28);
    EXPECT_EQ(qFromLittleEndian<qint32>(bytes.constData() + 80), 1);
    EXPECT_EQ(qFromLittleEndian<double>(bytes.constData() + 84), 25.5);
    EXPECT_EQ(qFromLittleEndian<double>(bytes.constData() + 100), 40.0);
    EXPECT_EQ(ReadDataLog(dir.file("DATA/C1/20240131081507_1.log")).rows.size(), 1);
}

// Guards against an AddressNo of 40000 converted out of 16-bit range as a key is sent: the
// write is refused (no slave address), said in the error log, and nothing reaches the line.
TEST_F(OutOfRangeSettings, KeyToAnAddressBeyond16BitsIsRefused) {
    qeltest::FakeSerialPort* port = qeltest::InstallFakeSerialPort();
    OpenLink();
    ChamberAddress[0] = QStringLiteral("40000");
    SetStartPT(1);
    EXPECT_TRUE(port->sent.isEmpty());
    EXPECT_TRUE(dir.errorLog().contains("ADR:1 address \"40000\" is no slave address, not sent")) << dir.errorLog().toStdString();
}

}  // namespace

// Guards against a lamp flag beyond an int ("=1e10") converted out of range: it counts as set.
TEST(LampFlags, FlagBeyondAnIntCountsAsSet) {
    EXPECT_NE(qel::LampFlag("DI 3=1e10"), 0);
    EXPECT_NE(qel::LampFlag("DI 3=-9e99"), 0);
    EXPECT_EQ(qel::LampFlag("DI 3=0"), 0);
}
