// A data log's bytes as the layout gives them, built in the tests by hand:
// two 40-byte blank-padded texts, then rows of int32 seconds and float64
// fields, little-endian, no padding.
#pragma once

#include <QByteArray>
#include <bit>
#include <cstdint>
#include <vector>

namespace qeltest {

static_assert(std::endian::native == std::endian::little, "the expected rows are built in host order");

inline QByteArray Text40(const char* text) { return QByteArray(text).leftJustified(40, ' '); }

inline QByteArray Row(int32_t seconds, const std::vector<double>& fields) {
    QByteArray b(reinterpret_cast<const char*>(&seconds), 4);
    for (double f : fields) b.append(reinterpret_cast<const char*>(&f), 8);
    return b;
}

}  // namespace qeltest
