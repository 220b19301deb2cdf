// Helpers shared by the qelsim tests.
#pragma once

#include <QByteArray>
#include <QString>
#include <memory>
#include <ostream>

#include "bus.h"

#include <gtest/gtest.h>
#include <initializer_list>

// Readable failure messages for Qt strings and bytes (bytes as hex).
inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }
inline void PrintTo(const QByteArray& bytes, std::ostream* os) { *os << bytes.toHex(' ').toStdString(); }

namespace simtest {

inline QByteArray H(const char* hex) { return QByteArray::fromHex(hex); }

// Chambers 1 (QEL2000) and 2 (QEL2100), noise off, time standing at noon:
// every status register 0, so a read of register 0x0004 answers 03 02 00 00.
inline std::unique_ptr<qelsim::Bus> TwoChambers(uint64_t seed = 1) {
    auto bus = std::make_unique<qelsim::Bus>([] { return QDateTime(QDate(2024, 5, 1), QTime(12, 0)); }, seed);
    for (int a : {1, 2}) bus->add(qelsim::MakeChamber({a, a == 1 ? "QEL2000" : "QEL2100", {}, false}));
    return bus;
}

// One write to a chamber as the station sends it: 06 comes back echoed, 10 as
// its first five bytes.
inline void Send(qelsim::Chamber& c, const QByteArray& hex) {
    const QByteArray req = QByteArray::fromHex(hex);
    EXPECT_EQ(c.handlePdu(req), req[0] == '\x06' ? req : req.left(5)) << hex.constData();
}
inline void Send(qelsim::Chamber& c, std::initializer_list<QByteArray> bodies) {
    for (const QByteArray& b : bodies) Send(c, b);
}

}  // namespace simtest
