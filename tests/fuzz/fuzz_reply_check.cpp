// The validation of a reply on all three framings, against bytes from the
// line: a read of 1 to 130 registers from any address, and whatever came
// back. Besides never crashing: a reply taken as good has exactly the
// length, address, function, count and checksum of the request, and a whole
// reply built here around the input's data is always taken, with any one of
// its RTU bytes changed never.
#include "fuzz_support.h"
#include "reply_check.h"

#include <QString>

using namespace qel;
using qelfuzz::Expect;

namespace {

int Byte(const QByteArray& b, qsizetype i) { return static_cast<uint8_t>(b[i]); }

QByteArray Rtu(const QByteArray& pdu) {
    const uint16_t crc = Crc16(pdu);
    return QByteArray(pdu).append(static_cast<char>(crc & 0xFF)).append(static_cast<char>(crc >> 8));
}

QByteArray Ascii(const QByteArray& pdu) {
    int sum = 0;
    for (char c : pdu) sum += static_cast<uint8_t>(c);
    return ':' + (pdu + static_cast<char>(-sum & 0xFF)).toHex().toUpper() + "\r\n";
}

QByteArray Tcp(const QByteArray& unitAndPdu) {
    const int n = static_cast<int>(unitAndPdu.size());
    return QByteArray("\x12\x34\x00\x00", 4).append(static_cast<char>(n >> 8)).append(static_cast<char>(n & 0xFF)) +
           unitAndPdu;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::Input in(data, size);
    const int address = in.byte();
    const int first = in.byte() << 8 | in.byte();
    const int count = 1 + in.byte() % 130;
    const auto request =
        ReadRequestOf(address, QStringLiteral("03%1%2").arg(first, 4, 16, QLatin1Char('0')).arg(count, 4, 16, QLatin1Char('0')));
    Expect(request.has_value(), "a read body is a read");
    const ReadRequest r = *request;
    Expect(r.dataBytes == 2 * count && r.function == 3, "two data bytes a register");
    const int mutateAt = in.byte();
    const QByteArray frame = in.rest();

    // Whatever came: taken only when whole and exact.
    if (CheckRtuReply(frame, r) == ReplyFault::None) {
        Expect(frame.size() == RtuReplyBytes(r), "RTU: taken at its length");
        Expect(Byte(frame, 0) == (address & 0xFF) && Byte(frame, 1) == 3 && Byte(frame, 2) == (r.dataBytes & 0xFF),
               "RTU: taken with its header");
        const uint16_t crc = Crc16(frame, frame.size() - 2);
        Expect(Byte(frame, frame.size() - 2) == (crc & 0xFF) && Byte(frame, frame.size() - 1) == crc >> 8,
               "RTU: taken with its CRC");
    }
    if (CheckAsciiReply(frame, r) == ReplyFault::None) {
        Expect(frame.size() == AsciiReplyChars(r), "ASCII: taken at its length");
        Expect(frame.startsWith(':') && frame.endsWith("\r\n"), "ASCII: taken with its framing");
        const QByteArray bytes = QByteArray::fromHex(frame.mid(1, frame.size() - 3));
        Expect(Byte(bytes, 0) == (address & 0xFF) && Byte(bytes, 1) == 3 && Byte(bytes, 2) == (r.dataBytes & 0xFF),
               "ASCII: taken with its header");
    }
    if (CheckTcpReply(frame, r) == ReplyFault::None) {
        Expect(frame.size() == TcpReplyBytes(r), "TCP: taken at its length");
        Expect(Byte(frame, 0) == 0x12 && Byte(frame, 1) == 0x34 && Byte(frame, 2) == 0 && Byte(frame, 3) == 0,
               "TCP: taken with its transaction and protocol id");
        Expect((Byte(frame, 4) << 8 | Byte(frame, 5)) == 3 + r.dataBytes, "TCP: taken with its length field");
        Expect(Byte(frame, 6) == (address & 0xFF) && Byte(frame, 7) == 3, "TCP: taken from its unit");
    }
    for (auto check : {CheckRtuReply, CheckAsciiReply, CheckTcpReply}) (void)ReplyFaultText(check(frame, r));

    // The input's bytes as the data of a whole reply.
    const QByteArray values = frame.left(r.dataBytes).leftJustified(r.dataBytes, '\0');
    const QByteArray pdu = QByteArray().append(static_cast<char>(address)).append('\x03').append(
                               static_cast<char>(r.dataBytes & 0xFF)) +
                           values;
    const QByteArray rtu = Rtu(pdu);
    Expect(CheckRtuReply(rtu, r) == ReplyFault::None, "RTU: a whole reply is taken");
    Expect(CheckAsciiReply(Ascii(pdu), r) == ReplyFault::None, "ASCII: a whole reply is taken");
    Expect(CheckTcpReply(Tcp(pdu), r) == ReplyFault::None, "TCP: a whole reply is taken");
    QByteArray bent = rtu;
    const qsizetype at = mutateAt % bent.size();
    bent[at] = static_cast<char>(bent[at] ^ (1 + (mutateAt >> 5)));
    Expect(CheckRtuReply(bent, r) != ReplyFault::None, "RTU: a changed byte is refused");
    Expect(CheckRtuReply(rtu.left(rtu.size() - 1 - mutateAt % 4), r) != ReplyFault::None, "RTU: a cut reply is refused");
    Expect(CheckRtuReply(rtu + rtu.left(1 + mutateAt % 8), r) != ReplyFault::None, "RTU: a longer reply is refused");
    return 0;
}
