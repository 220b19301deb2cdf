// What the process tests of the controller models share: qelsim options for a
// frozen chamber, the fields of qelpoll's and the station's JSON records, and
// qelpoll's command line.
#pragma once

#include "line_fixture.h"

#include <QJsonArray>
#include <gtest/gtest.h>

namespace qeltest {

inline const QString kQelPoll = QStringLiteral(QELPOLL_PATH);
inline const QString kStation = QStringLiteral(QELSTATION_PATH);

// One register a frozen chamber serves: address and the raw word (as written
// with --set; negative words are two's complement).
struct Served {
    int reg;
    int raw;
};

// A field of a JSON record: its name, the channel (element), and the value.
struct Field {
    const char* name;
    int channel;
    double value;
};

// qelsim's options for a frozen chamber that serves `regs` and nothing live.
inline QStringList Frozen(const QList<std::pair<int, QList<Served>>>& chambers) {
    QStringList args = {"--frozen", "--no-noise"};
    for (const auto& [address, regs] : chambers)
        for (const Served& s : regs)
            args << "--set" << QStringLiteral("%1:0x%2:%3").arg(address).arg(s.reg, 4, 16, QChar('0')).arg(s.raw);
    return args;
}

// A record field whether it is one number per chamber or one per channel.
inline double Value(const QJsonObject& o, const Field& f) {
    const QJsonValue v = o[f.name];
    return v.isArray() ? v.toArray()[f.channel].toDouble() : v.toDouble();
}

inline void ExpectFields(const QJsonObject& o, const QList<Field>& want) {
    for (const Field& f : want) EXPECT_DOUBLE_EQ(Value(o, f), f.value) << f.name << "[" << f.channel << "]";
}

inline QString EndDate(const QJsonObject& o, int channel = 0) {
    return o["EndDate"].toArray()[channel].toVariant().toString();
}

// qelpoll's command line for the chamber at `address` of the line, its model and more options.
inline QStringList PollArgs(const SimLine& line, int address, const char* model, const QStringList& more) {
    return line.link(address) + QStringList{"--address", QString::number(address), "--model", model,
                                            "--app-dir", line.folder()} + more;
}

}  // namespace qeltest
