// What the pattern-transfer tests share: a controller modelled as a register
// memory that answers reads (03) and writes (06, 16) on the scripted RTU line
// and runs its command on a write to the command register, and a fixture that
// puts one chamber of a model on that line under a manual clock, with the
// shipped language files and the transfer's boxes and stop key recorded.
#pragma once

#include "app_dir.h"
#include "clock.h"
#include "fake_serial.h"
#include "pattern_transfer.h"

#include <QMap>
#include <QStringList>
#include <array>
#include <gtest/gtest.h>

namespace qeltest {

struct RegisterController {
    explicit RegisterController(int commandRegister) : commandRegister_(commandRegister) {}
    virtual ~RegisterController() = default;
    virtual void command(int code) = 0;
    QByteArray answer(const QByteArray& request);

    QMap<int, uint16_t> regs;
    QStringList bodies;  // requests without address and checksum, upper-case hex

private:
    int commandRegister_;
};

class TransferLine : public ::testing::Test {
protected:
    // Chamber 1 at address 1, of `model`, with the channels' decimal places.
    void start(const QString& model, const std::array<QString, 3>& dp, RegisterController& controller);
    void TearDown() override;

    AppDir dir;
    qel::ManualClock clock;
    FakeSerialPort* port = nullptr;
    qel::TransferUi ui;     // boxes recorded; the stop key reads "STOP" from request `stopAfter` on
    QStringList boxes;      // "title|text"
    int stopAfter = -1;
    bool silent = false;    // the controller stops answering
};

}  // namespace qeltest
