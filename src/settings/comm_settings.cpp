#include "comm_settings.h"

#include "config_report.h"
#include "errorlog.h"
#include "language.h"
#include "link.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_report.h"
#include "settings_state.h"
#include "state.h"
#include "value_forms.h"
#include "vbtext.h"

#include <algorithm>

namespace qel {

namespace {

const QString kSetComm = QStringLiteral("SetComm.ini");
constexpr int kMaxPortKeys = 32;

void ReadPortDevices(const ProfileFile& ini) {
    SerialPortDevices.clear();
    for (int n = 1; n <= kMaxPortKeys; ++n) {
        const QString device = ini.read(QStringLiteral("Ports"), QStringLiteral("COM%1").arg(n), QString(), 260, 260);
        if (!device.isEmpty()) SerialPortDevices.insert(n, device);
    }
}

void ApplyParity(const QString& text) {
    // An absent or empty key counts as "None", so that old files without it
    // still give a usable line setting.
    if (text.isEmpty() || text == QLatin1String("None")) {
        Parity = QStringLiteral("None");
        return;
    }
    const double v = Val(text);
    if (v == 1)
        Parity = QStringLiteral("None");
    else if (v == 2)
        Parity = QStringLiteral("Even");
    else if (v == 3)
        Parity = QStringLiteral("Odd");
}

void Write(const QString& key, const QString& value) {
    WriteSetting(QStringLiteral("CommSet"), key, value, SettingsPath(kSetComm));
}

void StoreChangedCommSettings(const CommChoice& c) {
    if (c.protocol != Protocol) {
        Protocol = c.protocol;
        Write(QStringLiteral("Protocol"), Protocol + u'/');
    }
    if (c.remotePort != RemotePort) {
        RemotePort = c.remotePort;
        Write(QStringLiteral("RemotePort"), QString::number(RemotePort));
    }
    if (c.portNumber != PortNumber) {
        PortNumber = c.portNumber;
        Write(QStringLiteral("Port Number"), QString::number(PortNumber));
    }
    if (c.baudRate != BaudRate) {
        BaudRate = c.baudRate;
        Write(QStringLiteral("Baud Rate"), BaudRate);
    }
    if (c.parity != Parity) {
        Parity = c.parity;
        Write(QStringLiteral("Parity"), ParityDigit(Parity));
    }
    if (c.stopBit != StopBit) {
        StopBit = c.stopBit;
        Write(QStringLiteral("Stop Bit"), StopBit);
    }
    if (c.dataLen != DataLen) {
        DataLen = c.dataLen;
        Write(QStringLiteral("Data Len"), DataLen);
    }
    if (c.pcSpeed != PCSpeed) {
        PCSpeed = c.pcSpeed;
        Write(QStringLiteral("PCSpeed"), QString::number(PCSpeed));
    }
}

}  // namespace

SettingsLinkCalls& LinkCallsOfSettings() {
    static SettingsLinkCalls calls{[](int16_t port) { ClosePort(port); }, [] { return OpenLink(); }};
    return calls;
}

namespace {

// The line the station is set to, as the messages name it.
QString LineInForce() {
    if (Protocol == u"ETH") return QStringLiteral("ETH, TCP port %1").arg(static_cast<uint16_t>(RemotePort));
    return QStringLiteral("%1 on serial port %2, %3").arg(Protocol).arg(PortNumber).arg(SerialDeviceName(PortNumber));
}

bool IsProtocolName(const QString& p) { return p == u"RTU" || p == u"ASC" || p == u"ETH"; }

bool IsSerial() { return Protocol == u"RTU" || Protocol == u"ASC"; }

// Values that were read but cannot work are told to the operator; the
// station goes on with them as the loader left them.
void CheckProtocol() {
    if (!IsProtocolName(Protocol)) {
        const QString hint = IsProtocolName(Protocol.toUpper()) ? QStringLiteral(" (in capitals)") : QString();
        ReportConfigProblem(QStringLiteral("Protocol %1 in %2 is not RTU, ASC or ETH%3: no chamber can be polled")
                                .arg(Quoted(Protocol), kSetComm, hint));
    }
    if (Protocol == u"ETH") {
        // Chambers without a model are told of already: they are not polled anyway.
        const int last = std::min<int>(MaxChamberNo, kMaxChambers);
        for (int c = 1; c <= last; ++c)
            if (Val(ChamberUse[c - 1]) != 0 && IsKnownModel(ChamberModel[c - 1]) &&
                ChamberIP[c - 1].trimmed().isEmpty())
                ReportConfigProblem(
                    QStringLiteral("Chamber %1 has no IP address in SetUserTag.ini: on ETH it cannot be polled")
                        .arg(c));
    }
}

void CheckRemotePort(const QString& text) {
    if (Protocol == u"ETH" && RemotePort == 0)
        ReportConfigProblem(QStringLiteral("RemotePort %1 in %2 is not a TCP port: no chamber can be reached")
                                .arg(Quoted(text), kSetComm));
}

void CheckPortNumber(const QString& text) {
    if (IsSerial() && PortNumber < 1)
        ReportConfigProblem(
            QStringLiteral("Port Number %1 in %2 is not a serial port (1 or more): the line cannot be opened")
                .arg(Quoted(text), kSetComm));
}

void CheckBaudRate(const QString& text) {
    if (IsSerial() && Val(text) <= 0)
        ReportConfigProblem(QStringLiteral("Baud Rate %1 in %2 is not a line speed: the line cannot be opened")
                                .arg(Quoted(text), kSetComm));
}

void CheckParity(const QString& text) {
    const double v = Val(text);
    if (!text.isEmpty() && text != u"None" && v != 1 && v != 2 && v != 3)
        ReportConfigProblem(QStringLiteral("Parity %1 in %2 is not 1 (None), 2 (Even) or 3 (Odd): the parity stays %3")
                                .arg(Quoted(text), kSetComm, Parity));
}

void CheckPCSpeed(const QString& text) {
    if (PCSpeed <= 0)
        ReportConfigProblem(QStringLiteral("PCSpeed %1 in %2 is not a positive number of milliseconds: the "
                                           "controllers get no time to reply")
                                .arg(Quoted(text), kSetComm));
}

}  // namespace

void ReadCOMINI() {
    // Each reason the loader ends early is told once, with what it means.
    bool stopTold = false;
    bool languageLoaded = false;
    const auto tellStop = [&](const QString& why) {
        ReportConfigProblem(why +
                            (languageLoaded
                                 ? QStringLiteral(": %1 is read no further").arg(kSetComm)
                                 : QStringLiteral(": %1 is read no further, and no language is loaded").arg(kSetComm)));
        stopTold = true;
    };
    const auto tellLanguage = [&] {
        QString why = LanguageProblem();
        if (why.isEmpty()) why = QStringLiteral("The language %1 could not be loaded").arg(Quoted(Language));
        ReportConfigProblem(why +
                            QStringLiteral(": the screens lack captions, and %1 is read no further").arg(kSetComm));
        stopTold = true;
    };
    try {
        LinkCallsOfSettings().closePort(PortNumber);
        const ProfileFile ini(SettingsPath(kSetComm));
        const auto read = [&ini](const char* section, const char* key, const char* def) {
            return ini.read(QLatin1String(section), QLatin1String(key), QLatin1String(def), 20, 10);
        };
        const auto number = [&read](const char* section, const char* key, const char* def) {
            return Val(read(section, key, def));
        };
        // A number too wide for its 16 bits ends the loader.
        const auto int16Of = [&tellStop](const char* key, const QString& text) {
            const double v = Val(text);
            try {
                return ToInt16(v);
            } catch (const RuntimeError&) {
                tellStop(OverflowProblem(kSetComm, QLatin1String(key), text, v, -32768, 32767));
                throw;
            }
        };
        const auto number16 = [&read, &int16Of](const char* section, const char* key, const char* def) {
            return int16Of(key, read(section, key, def));
        };

        const QString protocol = read("CommSet", "Protocol", "RTU");
        if (!protocol.contains(u'/')) {
            QString why = FileProblem(ini, kSetComm);
            if (why.isEmpty() && !ini.hasSection(QStringLiteral("CommSet")))
                why = kSetComm + QStringLiteral(" has no [CommSet] section");
            if (why.isEmpty())
                why = TerminatorProblem(ini, kSetComm, QStringLiteral("CommSet"), QStringLiteral("Protocol"),
                                        QStringLiteral("Protocol"), QString(), u'/', 9);
            ReportConfigProblem(
                why + QStringLiteral(": using the defaults (%1), and no language is loaded").arg(LineInForce()));
            stopTold = true;
        }
        Protocol = CutAtTerminator(protocol, u'/');
        CheckProtocol();
        const QString remotePortText = read("CommSet", "RemotePort", "502");
        RemotePort = int16Of("RemotePort", remotePortText);
        CheckRemotePort(remotePortText);
        const QString portText = read("CommSet", "Port Number", "2");
        PortNumber = int16Of("Port Number", portText);
        CheckPortNumber(portText);
        const QString baudText = read("CommSet", "Baud Rate", "9600");
        BaudRate = NumberText(Val(baudText));
        CheckBaudRate(baudText);
        const QString parityText = read("CommSet", "Parity", "None");
        ApplyParity(parityText);
        CheckParity(parityText);
        StopBit = NumberText(number("CommSet", "Stop Bit", "1"));
        DataLen = NumberText(number("CommSet", "Data Len", "8"));
        const QString pcSpeedText = read("CommSet", "PCSpeed", "300");
        PCSpeed = int16Of("PCSpeed", pcSpeedText);
        CheckPCSpeed(pcSpeedText);
        ReadPortDevices(ini);

        FileSave = ToInt32(number("FileSaveSec", "FileSave", "30"));
        if (FileSave < 1) FileSave = 1;

        Language = read("Language", "Language", "").left(3);
        try {
            LoadLanguage();
        } catch (const RuntimeError&) {
            tellLanguage();
            throw;
        }
        languageLoaded = true;

        DisbuttonRun = number16("ButtonSet", "DisbuttonRun", "");
        DisbuttonStop = number16("ButtonSet", "DisbuttonStop", "");
        DisbuttonAdv = number16("ButtonSet", "DisbuttonAdv", "");
        DisbuttonHold = number16("ButtonSet", "DisbuttonHold", "");
        DisbuttonAuto = number16("ButtonSet", "DisbuttonAuto", "");
        DisplayStatus = number16("ButtonSet", "DisplayStatus", "");
        DisplaySound = number16("ButtonSet", "DisplaySound", "");
        CommDataSave = number16("CommData", "CommDataSave", "");
        // Opt-in, and never a reason to refuse a file: anything but 1 is off.
        FastReply = Val(read("CommData", "FastReply", "")) == 1 ? 1 : 0;

        LinkCallsOfSettings().openLink();
    } catch (const RuntimeError& e) {
        if (!stopTold) tellStop(QStringLiteral("%1 could not be read to its end (%2)").arg(kSetComm, e.description()));
        ErrorTail(e.description(), QStringLiteral("modFunc.ReadCOMINI"));
    }
}

QString ParityDigit(const QString& parity) {
    if (parity == QLatin1String("Even")) return QStringLiteral("2");
    if (parity == QLatin1String("Odd")) return QStringLiteral("3");
    return QStringLiteral("1");
}

void StoreCommSettings(const CommChoice& c) {
    try {
        StoreChangedCommSettings(c);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("frmCommSet.Command1_Click_Err"));
    }
}

}  // namespace qel
