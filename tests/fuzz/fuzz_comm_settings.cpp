// SetComm.ini as an installation may hold it: the loader reads it, then the
// set-up form and frmDisplay store their choices into it, and the loader
// must read back exactly what they stored, whatever else the file holds.
#include "fuzz_support.h"

#include "comm_settings.h"
#include "config_report.h"
#include "display_settings.h"
#include "language.h"
#include "settings_state.h"
#include "state.h"

using namespace qel;
using qelfuzz::Expect;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv, {"string-rkr.xml", "string-ren.xml", "string-rch.xml", "SetUserTag.ini"});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    // No line is opened or closed here.
    LinkCallsOfSettings() = {[](int16_t) {}, [] { return int16_t{0}; }};
    qelfuzz::WriteAppFile(QStringLiteral("SetComm.ini"),
                          QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    ReadCOMINI();
    (void)ConfigProblems();
    (void)Lang(QStringLiteral("MainForm"), 1);

    // Every one of the eight line settings differs from what is in force, so each is written.
    Protocol.clear();
    RemotePort = PortNumber = PCSpeed = -1;
    BaudRate = Parity = StopBit = DataLen = QString();
    StoreCommSettings({QStringLiteral("ETH"), 5020, 3, QStringLiteral("19200"), QStringLiteral("Even"),
                       QStringLiteral("2"), QStringLiteral("7"), 450});
    FileSave = -1;
    Language.clear();
    DisbuttonRun = DisbuttonStop = DisbuttonHold = DisbuttonAdv = -1;
    DisplayChoice display;
    display.fileSave = 7;
    display.language = QStringLiteral("ENG");
    display.run = 1;
    display.stop = 0;
    display.hold = 1;
    display.adv = 0;
    StoreDisplaySettings(display);

    ResetAllState();
    ResetSettingsState();
    AppPath = qelfuzz::AppDir();
    ReadCOMINI();
    const QString got = QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 | %9")
                            .arg(Protocol)
                            .arg(RemotePort)
                            .arg(PortNumber)
                            .arg(BaudRate, Parity, StopBit, DataLen)
                            .arg(PCSpeed)
                            .arg(ConfigProblems().join(u'|'));
    Expect(Protocol == u"ETH" && RemotePort == 5020 && PortNumber == 3 && BaudRate == u"19200" && Parity == u"Even" &&
               StopBit == u"2" && DataLen == u"7" && PCSpeed == 450,
           "the line settings read back as stored", got);
    Expect(FileSave == 7 && Language == u"ENG", "record interval and language read back as stored",
           QStringLiteral("%1 %2").arg(FileSave).arg(Language));
    Expect(DisbuttonRun == 1 && DisbuttonStop == 0 && DisbuttonHold == 1 && DisbuttonAdv == 0,
           "the key switches read back as stored");
    return 0;
}
