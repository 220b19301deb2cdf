#include "commands.h"

#include <QStringList>

namespace qelsim {

namespace {

bool ParseNumber(const QString& text, long long* out) {
    bool ok = false;
    QString t = text.trimmed();
    const bool negative = t.startsWith('-');
    if (negative) t = t.mid(1);
    long long v = t.startsWith("0x", Qt::CaseInsensitive) ? t.mid(2).toLongLong(&ok, 16) : t.toLongLong(&ok, 10);
    if (!ok || t.isEmpty()) return false;
    *out = negative ? -v : v;
    return true;
}

// The addresses a command names: one number, or "*" for every chamber.
bool Targets(Bus& bus, const QString& text, std::vector<int>* out, QString* error) {
    if (text == "*") {
        for (Chamber* c : bus.chambers()) out->push_back(c->address());
        return true;
    }
    long long a = 0;
    if (!ParseNumber(text, &a) || !bus.chamber(static_cast<int>(a))) {
        *error = QString("no chamber at address %1").arg(text);
        return false;
    }
    out->push_back(static_cast<int>(a));
    return true;
}

CommandResult Error(const QString& why) { return {"error: " + why, false}; }

}  // namespace

bool ParseRegister(const QString& text, int* reg) {
    long long v = 0;
    if (!ParseNumber(text, &v) || v < 0 || v > 0xFFFF) return false;
    *reg = static_cast<int>(v);
    return true;
}

bool ParseValue(const QString& text, uint16_t* value) {
    long long v = 0;
    if (!ParseNumber(text, &v) || v < -32768 || v > 0xFFFF) return false;
    *value = static_cast<uint16_t>(v & 0xFFFF);
    return true;
}

QString CommandHelp() {
    return QStringLiteral(
        "Commands on stdin, one per line (ADDR may be * for every chamber where shown):\n"
        "  normal ADDR|*          answer properly again\n"
        "  silent ADDR|*          carry requests out, send no reply\n"
        "  badcrc ADDR|*          replies with a wrong CRC (RTU) / LRC (ASCII) / MBAP length (TCP);\n"
        "                         badlrc is the same\n"
        "  short ADDR|*           send only the first half of each reply\n"
        "  exception ADDR|*       answer every request with exception 04, carry nothing out\n"
        "  garbage ADDR|*         send random bytes of the reply's length\n"
        "  delay ADDR|* MS        send each reply MS milliseconds late (0..600000)\n"
        "  twice ADDR|*           send each reply two times, back to back\n"
        "  wrongaddr ADDR|*       reply from the next address (ADDR + 1, 247 wraps to 1), checksum valid;\n"
        "                         TCP: the unit id after the request's, wrapped the same way\n"
        "  wrongtid ADDR|*        TCP: the request's transaction id + 1; serial: as wrongaddr\n"
        "  wrongpid ADDR|*        TCP: protocol id 1; serial: as wrongaddr\n"
        "  wrongfunc ADDR|*       another function code (0x04 for 0x03, else 0x04), checksum valid\n"
        "  badcount ADDR|*        byte count one less than the data that follows (on a write's echo:\n"
        "                         the byte after the function code), checksum valid\n"
        "  header ADDR|*          only address, function and byte count with a valid checksum;\n"
        "                         TCP: MBAP header, unit, function, byte count, length 3\n"
        "  huge ADDR|*            a 64 KiB reply: the reply's bytes, zero filler, valid checksum;\n"
        "                         TCP: length field 0xFFFF and as many bytes behind it\n"
        "  noise ADDR|*           a few bytes of junk on the line (ASCII: hex digits), then the reply\n"
        "  babble ADDR|*          from the next request on, no replies but an endless stream of junk\n"
        "                         (ASCII: hex digits) until another mode is set or the peer goes away\n"
        "  drop ADDR|*            TCP: the first half of the reply, then the connection is closed;\n"
        "                         serial: as short\n"
        "  mixed ADDR|* [MS]      each request draws normal or one of the modes above but babble;\n"
        "                         delayed replies are MS late (default 500); --seed repeats a run\n"
        "  Any mode takes a rate as its last word, @P (P 0..100): only that share of the requests,\n"
        "  drawn from --seed, gets the fault, the rest are answered properly (default @100).\n"
        "  count ADDR|*           print the requests the chamber(s) received so far, of any function,\n"
        "                         faulted or not, on or off the line: \"ok N\"\n"
        "  set ADDR|* REG VALUE   write a register (REG, VALUE decimal or 0x.., VALUE may be negative);\n"
        "                         a live chamber recomputes the registers it drives (status, PV, SP,\n"
        "                         MV, counters, end date) at once, taking a set PV over as its own:\n"
        "                         freeze it first to make them hold any value\n"
        "  get ADDR REG [COUNT]   print registers as unsigned decimals\n"
        "  key ADDR CH KEY        press a key on channel CH: 1 run, 2 hold, 3 step, 4 stop, 5 user key\n"
        "  freeze ADDR|*          stop time and live values; registers hold what is written, keys do nothing\n"
        "  thaw ADDR|*            live again\n"
        "  stop ADDR|*            take the chamber off the line (TCP: stop listening)\n"
        "  start ADDR|*           put it back\n"
        "  hangup                 serial: the line goes dead and comes back on a new pseudo-terminal\n"
        "                         (--link follows it): \"ok NEWPATH\"\n"
        "  help                   this list\n"
        "  quit                   end qelsim\n"
        "Each command answers one line: \"ok ...\" or \"error: ...\".\n");
}

CommandResult RunCommand(Bus& bus, const QString& line) {
    const QStringList w = line.simplified().split(' ', Qt::SkipEmptyParts);
    if (w.isEmpty() || w[0].startsWith('#')) return {};
    const QString cmd = w[0].toLower();
    QString error;
    std::vector<int> targets;

    if (cmd == "quit" || cmd == "exit") return {"ok", true};
    if (cmd == "help") return {CommandHelp().trimmed() + "\nok", false};

    if (ParseFaultMode(cmd)) {
        if (w.size() < 2) return Error("usage: " + cmd + " ADDR|* [ARG] [@P]");
        QStringList args = w.mid(2);
        const QString rate = !args.isEmpty() && args.last().startsWith('@') ? args.takeLast() : QString();
        Fault f;
        if (!ParseFault(cmd, args, rate, &f, &error)) return Error(error);
        if (!Targets(bus, w[1], &targets, &error)) return Error(error);
        for (int a : targets) bus.setFault(a, f);
        return {"ok", false};
    }

    if (cmd == "count") {
        if (w.size() != 2) return Error("usage: count ADDR|*");
        if (!Targets(bus, w[1], &targets, &error)) return Error(error);
        uint64_t sum = 0;
        for (int a : targets) sum += bus.requests(a);
        return {"ok " + QString::number(sum), false};
    }

    if (cmd == "set") {
        int reg = 0;
        uint16_t value = 0;
        if (w.size() != 4) return Error("usage: set ADDR REG VALUE");
        if (!Targets(bus, w[1], &targets, &error)) return Error(error);
        if (!ParseRegister(w[2], &reg)) return Error("register must be 0..65535");
        if (!ParseValue(w[3], &value)) return Error("value must be -32768..65535");
        bus.stepAll();
        for (int a : targets) bus.chamber(a)->setRegister(reg, value);
        return {"ok", false};
    }

    if (cmd == "get") {
        int reg = 0;
        long long count = 1;
        if (w.size() != 3 && w.size() != 4) return Error("usage: get ADDR REG [COUNT]");
        if (w[1] == "*" || !Targets(bus, w[1], &targets, &error))
            return Error(error.isEmpty() ? "get wants one address" : error);
        if (!ParseRegister(w[2], &reg)) return Error("register must be 0..65535");
        if (w.size() == 4 && (!ParseNumber(w[3], &count) || count < 1 || reg + count > 65536))
            return Error("count must keep within the 65536 registers");
        bus.stepAll();
        QStringList values;
        for (int i = 0; i < count; ++i) values << QString::number(bus.chamber(targets[0])->reg(reg + i));
        return {"ok " + values.join(' '), false};
    }

    if (cmd == "key") {
        long long ch = 0, key = 0;
        if (w.size() != 4) return Error("usage: key ADDR CH KEY");
        if (!Targets(bus, w[1], &targets, &error)) return Error(error);
        if (!ParseNumber(w[2], &ch) || !ParseNumber(w[3], &key) || key < 1 || key > 5)
            return Error("key wants CH and KEY 1..5");
        bus.stepAll();
        for (int a : targets) {
            Chamber* c = bus.chamber(a);
            if (ch < 1 || ch > c->channelCount()) return Error(QString("chamber %1 has no channel %2").arg(a).arg(ch));
            c->pressKey(static_cast<int>(ch), static_cast<int>(key));
        }
        return {"ok", false};
    }

    if (cmd == "freeze" || cmd == "thaw" || cmd == "stop" || cmd == "start") {
        if (w.size() != 2) return Error("usage: " + cmd + " ADDR");
        if (!Targets(bus, w[1], &targets, &error)) return Error(error);
        bus.stepAll();
        for (int a : targets) {
            if (cmd == "freeze")
                bus.chamber(a)->setFrozen(true);
            else if (cmd == "thaw")
                bus.chamber(a)->setFrozen(false);
            else
                bus.setOnline(a, cmd == "start");
        }
        return {"ok", false};
    }

    return Error(QString("unknown command \"%1\" (try help)").arg(w[0]));
}

}  // namespace qelsim
