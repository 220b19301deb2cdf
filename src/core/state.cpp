#include "state.h"

#include "runtime_error.h"

namespace qel {

std::array<ChamberRec, kMaxChambers> Chamber;
std::array<LogRec, kMaxChambers> Log;
std::array<QString, kMaxChambers> ChamberUse;
std::array<QString, kMaxChambers> ChamberName;
std::array<QString, kMaxChambers> ChamberAddress;
std::array<QString, kMaxChambers> ChamberIP;
std::array<QString, kMaxChambers> ChamberModel;
std::array<QString, kMaxChambers> ChamberBoard;
std::array<QString, kMaxChambers> ChamberVariant;
std::array<std::array<QString, kMaxChambers>, 3> ChamberUnit;
std::array<int16_t, kMaxChambers> CommError;
std::array<int16_t, kMaxChambers> FailCount;

QString AppPath;
QString Protocol;
int16_t PortNumber;
QString BaudRate;
QString Parity;
QString StopBit;
QString DataLen;
int16_t RemotePort;
int16_t PCSpeed;
int32_t FileSave;
int16_t CommDataSave;
int16_t FastReply;
int32_t LastTick;
int16_t MaxChamberNo;
int16_t ScreenNo;
int16_t HoldLatch;
int16_t WaitLatch;
int16_t ThirdLatch;
std::array<std::array<int16_t, kMaxChambers>, 5> RunLatch;
std::array<std::array<int16_t, kMaxChambers>, 5> StopLatch;
QString StatusPanel1;
QString StatusPanel2;
QString StatusPanel3;
std::array<std::array<QString, 3>, kMaxChambers> StartPattern;
std::array<std::array<int16_t, 3>, kMaxChambers> GraphBlock;
std::array<int32_t, 16> BitTable;

namespace {
struct Defaults {
    Defaults() { ResetAllState(); }
} defaults;
}  // namespace

int16_t ChannelCountOf(const QString& model) {
    if (model == QLatin1String("QEL2000")) return 1;
    if (model == QLatin1String("QEL2100")) return 2;
    if (model == QLatin1String("QEL2400")) return 3;
    return 0;
}

bool IsSlaveAddress(const QString& text) {
    const QString t = text.trimmed();
    if (t.isEmpty() || t.size() > 3) return false;
    for (QChar c : t)
        if (!c.isDigit()) return false;
    const int a = t.toInt();
    return a >= 1 && a <= 247;
}

int ChamberIndex(int chamber) {
    if (chamber < 1 || chamber > kMaxChambers) throw RuntimeError(err::SubscriptOutOfRange);
    return chamber - 1;
}

int ChannelIndex(int channel) {
    if (channel < 1 || channel > kMaxChannels) throw RuntimeError(err::SubscriptOutOfRange);
    return channel - 1;
}

void ResetAllState() {
    Chamber.fill(ChamberRec{});
    Log.fill(LogRec{});
    ChamberUse.fill(QStringLiteral("1"));
    ChamberName.fill(QStringLiteral("1"));
    ChamberAddress.fill(QStringLiteral("1"));
    ChamberIP.fill(QString());
    ChamberModel.fill(QString());
    ChamberBoard.fill(QString());
    ChamberVariant.fill(QString());
    for (auto& u : ChamberUnit) u.fill(QString());
    CommError.fill(0);
    FailCount.fill(0);

    AppPath.clear();
    Protocol = QStringLiteral("RTU");
    PortNumber = 2;
    BaudRate = QStringLiteral("9600");
    Parity = QStringLiteral("None");
    StopBit = QStringLiteral("1");
    DataLen = QStringLiteral("8");
    RemotePort = 502;
    PCSpeed = 300;
    FileSave = 30;
    CommDataSave = 0;
    FastReply = 0;
    LastTick = 0;
    MaxChamberNo = 0;
    ScreenNo = 1;
    HoldLatch = 0;
    WaitLatch = 0;
    ThirdLatch = 0;
    for (auto& r : RunLatch) r.fill(0);
    for (auto& s : StopLatch) s.fill(-1);
    StatusPanel1.clear();
    StatusPanel2 = QStringLiteral("0");
    StatusPanel3 = QStringLiteral("1");
    BitTable.fill(0);
    for (auto& p : StartPattern) p.fill(QString());
    for (auto& g : GraphBlock) g.fill(0);
}

void ResetRunState() {
    for (int c = 0; c < kMaxChambers; ++c) {
        for (int k = 0; k < kMaxChannels; ++k) {
            Log[c].LastSave[k] = QStringLiteral("0");
            Chamber[c].StartTime[k] = QDateTime();
            StopLatch[k][c] = -1;
            RunLatch[k][c] = 0;
        }
        Log[c].GraphTime = QStringLiteral("0");
        Log[c].Running = false;
    }
    HoldLatch = 0;
    WaitLatch = 0;
    ThirdLatch = 0;
    LastTick = 0;
}

void FillBitTables() {
    for (int i = 0; i < 16; ++i) BitTable[i] = 1 << i;
}

}  // namespace qel
