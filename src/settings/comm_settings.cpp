#include "comm_settings.h"

#include "errorlog.h"
#include "language.h"
#include "link.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "value_forms.h"
#include "vbtext.h"

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

void ReadCOMINI() {
    try {
        LinkCallsOfSettings().closePort(PortNumber);
        const ProfileFile ini(SettingsPath(kSetComm));
        const auto read = [&ini](const char* section, const char* key, const char* def) {
            return ini.read(QLatin1String(section), QLatin1String(key), QLatin1String(def), 20, 10);
        };
        const auto number = [&read](const char* section, const char* key, const char* def) {
            return Val(read(section, key, def));
        };

        Protocol = CutAtTerminator(read("CommSet", "Protocol", "RTU"), u'/');
        RemotePort = ToInt16(number("CommSet", "RemotePort", "502"));
        PortNumber = ToInt16(number("CommSet", "Port Number", "2"));
        BaudRate = NumberText(number("CommSet", "Baud Rate", "9600"));
        ApplyParity(read("CommSet", "Parity", "None"));
        StopBit = NumberText(number("CommSet", "Stop Bit", "1"));
        DataLen = NumberText(number("CommSet", "Data Len", "8"));
        PCSpeed = ToInt16(number("CommSet", "PCSpeed", "300"));
        ReadPortDevices(ini);

        FileSave = ToInt32(number("FileSaveSec", "FileSave", "30"));
        if (FileSave < 1) FileSave = 1;

        Language = read("Language", "Language", "").left(3);
        LoadLanguage();

        DisbuttonRun = ToInt16(number("ButtonSet", "DisbuttonRun", ""));
        DisbuttonStop = ToInt16(number("ButtonSet", "DisbuttonStop", ""));
        DisbuttonAdv = ToInt16(number("ButtonSet", "DisbuttonAdv", ""));
        DisbuttonHold = ToInt16(number("ButtonSet", "DisbuttonHold", ""));
        DisbuttonAuto = ToInt16(number("ButtonSet", "DisbuttonAuto", ""));
        DisplayStatus = ToInt16(number("ButtonSet", "DisplayStatus", ""));
        DisplaySound = ToInt16(number("ButtonSet", "DisplaySound", ""));
        CommDataSave = ToInt16(number("CommData", "CommDataSave", ""));

        LinkCallsOfSettings().openLink();
    } catch (const RuntimeError& e) {
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
