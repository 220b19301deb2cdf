#include "transfer_line.h"

#include "app_folder.h"
#include "language.h"
#include "link.h"
#include "settings_state.h"
#include "state.h"

namespace qeltest {

QByteArray RegisterController::answer(const QByteArray& req) {
    bodies << QString::fromLatin1(req.mid(1, req.size() - 3).toHex().toUpper());
    const auto word = [&](int at) { return static_cast<uint16_t>(uint8_t(req[at]) << 8 | uint8_t(req[at + 1])); };
    const int fn = uint8_t(req[1]), first = word(2);
    if (fn == 3) return WithCrc(ReadReplyBody(1, first, word(4), [this](int r) { return regs.value(r, 0); }));
    const int count = fn == 6 ? 1 : word(4);
    for (int k = 0; k < count; ++k) {
        regs[first + k] = word(fn == 6 ? 4 : 7 + 2 * k);
        if (first + k == commandRegister_) command(regs[first + k]);
    }
    return WithCrc(req.left(6));
}

void TransferLine::start(const QString& model, const std::array<QString, 3>& dp, RegisterController& controller) {
    qel::ResetSettingsState();
    qel::FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
    qel::Language = "ENG";
    qel::LoadLanguage();
    qel::SetClock(&clock);
    port = InstallFakeSerialPort();
    port->reply = [this, &controller](const QByteArray& req) {
        if (!silent) return controller.answer(req);
        controller.bodies << QString::fromLatin1(req.mid(1, req.size() - 3).toHex().toUpper());
        return QByteArray();
    };
    qel::MaxChamberNo = 1;
    qel::ChamberModel[0] = model;
    qel::ChamberAddress[0] = "1";
    qel::Chamber[0].DP = dp;
    qel::OpenLink();
    ui.message = [this](const QString& title, const QString& text) { boxes << title + "|" + text; };
    ui.stopped = [this, &controller] { return stopAfter >= 0 && controller.bodies.size() >= stopAfter; };
    qel::TailDirty = 0;
}

void TransferLine::TearDown() {
    qel::RemoveLink();
    qel::ClearLanguageTables();
    qel::ResetSettingsState();
}

}  // namespace qeltest
