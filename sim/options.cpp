#include "options.h"

#include <QHostAddress>

#include "commands.h"

namespace qelsim {

namespace {

bool ToInt(const QString& text, int low, int high, int* out) {
    bool ok = false;
    const int v = text.startsWith("0x", Qt::CaseInsensitive) ? text.mid(2).toInt(&ok, 16) : text.toInt(&ok, 10);
    if (!ok || v < low || v > high) return false;
    *out = v;
    return true;
}

bool ParseChamber(const QString& text, ChamberConfig* c, QString* error) {
    const QStringList p = text.split(':');
    if (p.size() < 2 || p.size() > 3 || !ToInt(p[0], 1, 247, &c->address)) {
        *error = QString("--chamber %1: want ADDR:MODEL[:DP1[,DP2[,DP3]]] with ADDR 1..247").arg(text);
        return false;
    }
    c->model = p[1].toUpper();
    const int channels = ModelChannels(c->model);
    if (channels == 0) {
        *error = QString("--chamber %1: unknown model %2 (known: %3)").arg(text, p[1], KnownModels().join(", "));
        return false;
    }
    if (p.size() == 3) {
        const QStringList dps = p[2].split(',');
        if (dps.size() > channels) {
            *error = QString("--chamber %1: %2 has %3 channel(s)").arg(text, c->model).arg(channels);
            return false;
        }
        for (const QString& d : dps) {
            int dp = 0;
            if (!ToInt(d, 0, 3, &dp)) {
                *error = QString("--chamber %1: decimal places are 0..3").arg(text);
                return false;
            }
            c->decimals.push_back(dp);
        }
    }
    return true;
}

// Chambers 1..4, two of them running, so that a station has something to show.
void AddDemo(Options* o) {
    const char* models[] = {"QEL2000", "QEL2100", "QEL2000", "QEL2100", "QEL2200", "QEL2300", "QEL2400"};
    for (int a = 1; a <= 7; ++a) {
        ChamberConfig c;
        c.address = a;
        c.model = models[a - 1];
        o->chambers.push_back(c);
    }
    // Chamber 1: a fixed run to 35.0 with a two-hour timer.
    o->sets.push_back({1, 0x006E, 1});
    o->sets.push_back({1, 0x0067, 350});
    o->sets.push_back({1, 0x0070, 1});
    o->sets.push_back({1, 0x0071, 2});
    o->runs.push_back({1, 1});
    // Chamber 2: the built-in program on both channels, waiting at segment ends.
    o->sets.push_back({2, 0x0121, 1});
    o->runs.push_back({2, 0});
    // Chamber 4: a sensor fault on channel 2 (burn-out).
    o->sets.push_back({4, 0x0003, 2});
    // Chamber 5 (QEL2200) runs its built-in program on both channels,
    // chamber 6 (QEL2300) its rooms.
    o->runs.push_back({5, 1});
    o->runs.push_back({6, 1});
    // Chamber 7 (QEL2400): channel 1 in a fixed run to 60.0, channel 3
    // running its program, channel 2 standing.
    o->sets.push_back({7, 0x012B, 1});
    o->sets.push_back({7, 0x006A, 600});
    o->runs.push_back({7, 1});
    o->runs.push_back({7, 3});
}

}  // namespace

bool ParseOptions(const QStringList& args, Options* o, QString* error) {
    bool transportGiven = false;
    for (int i = 0; i < args.size(); ++i) {
        QString arg = args[i];
        QString value;
        bool hasValue = false;
        if (arg.startsWith("--") && arg.contains('=')) {
            value = arg.section('=', 1);
            arg = arg.section('=', 0, 0);
            hasValue = true;
        }
        auto next = [&](QString* v) {
            if (hasValue) {
                *v = value;
                return true;
            }
            if (i + 1 >= args.size()) {
                *error = arg + " wants a value";
                return false;
            }
            *v = args[++i];
            return true;
        };
        QString v;
        if (arg == "-h" || arg == "--help") {
            o->help = true;
        } else if (arg == "--tcp" || arg == "--rtu" || arg == "--asc") {
            if (transportGiven) {
                *error = "give only one of --tcp, --rtu, --asc";
                return false;
            }
            transportGiven = true;
            o->transport = arg == "--tcp"   ? Options::Transport::Tcp
                           : arg == "--rtu" ? Options::Transport::Rtu
                                            : Options::Transport::Ascii;
        } else if (arg == "--host-base") {
            if (!next(&v)) return false;
            const QHostAddress h(v);
            if (h.protocol() != QAbstractSocket::IPv4Protocol || (h.toIPv4Address() >> 24) != 127) {
                *error = "--host-base must be an address in 127.0.0.0/8";
                return false;
            }
            o->hostBase = v;
        } else if (arg == "--port") {
            if (!next(&v) || !ToInt(v, 0, 65535, &o->port)) {
                if (error->isEmpty()) *error = "--port wants 0..65535";
                return false;
            }
        } else if (arg == "--same-ip") {
            o->sameIp = true;
        } else if (arg == "--link") {
            if (!next(&o->link)) return false;
        } else if (arg == "--baud") {
            if (!next(&v) || !ToInt(v, 0, 10000000, &o->baud)) {
                if (error->isEmpty()) *error = "--baud wants a line speed, 0 for none";
                return false;
            }
        } else if (arg == "--chamber") {
            ChamberConfig c;
            if (!next(&v) || !ParseChamber(v, &c, error)) return false;
            o->chambers.push_back(c);
        } else if (arg == "--demo") {
            AddDemo(o);
        } else if (arg == "--set") {
            if (!next(&v)) return false;
            const QStringList p = v.split(':');
            Options::Set s{};
            if (p.size() != 3 || !ToInt(p[0], 1, 247, &s.address) || !ParseRegister(p[1], &s.reg) ||
                !ParseValue(p[2], &s.value)) {
                *error = QString("--set %1: want ADDR:REG:VALUE").arg(v);
                return false;
            }
            o->sets.push_back(s);
        } else if (arg == "--run") {
            if (!next(&v)) return false;
            const QStringList p = v.split(':');
            Options::Run r{0, 0};
            if (p.size() > 2 || !ToInt(p[0], 1, 247, &r.address) || (p.size() == 2 && !ToInt(p[1], 1, 3, &r.channel))) {
                *error = QString("--run %1: want ADDR[:CH]").arg(v);
                return false;
            }
            o->runs.push_back(r);
        } else if (arg == "--fault") {
            if (!next(&v)) return false;
            const qsizetype at = v.indexOf('@');
            const QString rate = at < 0 ? QString() : v.mid(at);
            const QStringList p = v.left(at < 0 ? v.size() : at).split(':');
            Options::FaultAt f{0, {}};
            QString why = "want ADDR:MODE[:ARG][@P] with ADDR 1..247 or *";
            if (p.size() < 2 || (p[0] != "*" && !ToInt(p[0], 1, 247, &f.address)) ||
                !ParseFault(p[1], p.mid(2), rate, &f.fault, &why)) {
                *error = QString("--fault %1: %2").arg(v, why);
                return false;
            }
            o->faults.push_back(f);
        } else if (arg == "--frozen") {
            o->frozen = true;
        } else if (arg == "--no-noise") {
            o->noise = false;
        } else if (arg == "--speed") {
            bool ok = false;
            if (!next(&v)) return false;
            o->speed = v.toDouble(&ok);
            if (!ok || o->speed < 0 || o->speed > 100000) {
                *error = "--speed wants a factor 0..100000";
                return false;
            }
        } else if (arg == "--seed") {
            bool ok = false;
            if (!next(&v)) return false;
            o->seed = v.toUInt(&ok);
            if (!ok) {
                *error = "--seed wants a whole number";
                return false;
            }
        } else if (arg == "--time") {
            if (!next(&v)) return false;
            o->startTime = QDateTime::fromString(v, "yyyy-MM-dd HH:mm:ss");
            if (!o->startTime.isValid()) o->startTime = QDateTime::fromString(v, Qt::ISODate);
            if (!o->startTime.isValid()) {
                *error = "--time wants \"YYYY-MM-DD HH:MM:SS\"";
                return false;
            }
        } else if (arg == "--verbose" || arg == "-v") {
            o->verbose = true;
        } else {
            *error = QString("unknown option %1").arg(args[i]);
            return false;
        }
    }
    if (o->help) return true;
    if (o->chambers.empty()) {
        *error = "no chambers: give --chamber ADDR:MODEL (or --demo)";
        return false;
    }
    for (size_t a = 0; a < o->chambers.size(); ++a) {
        o->chambers[a].noise = o->noise;
        o->chambers[a].seed = o->seed;
        for (size_t b = 0; b < a; ++b) {
            if (o->chambers[a].address == o->chambers[b].address) {
                *error = QString("chamber address %1 is given twice").arg(o->chambers[a].address);
                return false;
            }
        }
    }
    if (o->transport == Options::Transport::Tcp) {
        for (const ChamberConfig& c : o->chambers) {
            const quint32 base = QHostAddress(o->hostBase).toIPv4Address();
            if (!o->sameIp && ((base + c.address - 1) >> 24) != 127) {
                *error = QString("chamber %1 would listen outside 127.0.0.0/8; lower --host-base").arg(c.address);
                return false;
            }
            if (o->sameIp && o->port != 0 && o->port + c.address - 1 > 65535) {
                *error = QString("chamber %1 would listen past port 65535; lower --port").arg(c.address);
                return false;
            }
        }
    }
    if (!o->link.isEmpty() && o->transport == Options::Transport::Tcp) {
        *error = "--link is for --rtu and --asc";
        return false;
    }
    return true;
}

QString HelpText() {
    return QStringLiteral(
               "qelsim - virtual QEL climate chamber controllers on Modbus.\n"
               "\n"
               "Usage:\n"
               "  qelsim --tcp [--host-base IP] [--port N] [--same-ip] --chamber ADDR:MODEL[:DP1[,DP2[,DP3]]] ...\n"
               "  qelsim --rtu|--asc [--link PATH] [--baud N] --chamber ADDR:MODEL[:DP1[,DP2[,DP3]]] ...\n"
               "  qelsim --demo [--tcp|--rtu|--asc]\n"
               "\n"
               "Line:\n"
               "  --tcp              Modbus/TCP (the default). Chamber ADDR listens on host-base + (ADDR-1),\n"
               "                     port N: with the defaults chamber 1 is 127.0.0.1:1502, chamber 3\n"
               "                     127.0.0.3:1502. Unit id must be ADDR, 0 or 255.\n"
               "  --host-base IP     first loopback address (default 127.0.0.1; must be in 127.0.0.0/8)\n"
               "  --port N           TCP port (default 1502); 0 lets the system pick a free port per chamber\n"
               "  --same-ip          all chambers on host-base, chamber ADDR on port N + (ADDR-1)\n"
               "  --rtu              Modbus RTU on a new pseudo-terminal; all chambers share the line\n"
               "  --asc              Modbus ASCII on a new pseudo-terminal\n"
               "  --link PATH        also make PATH a symbolic link to the terminal (removed at exit)\n"
               "  --baud N           pace serial replies as at N baud (default 0: at once)\n"
               "\n"
               "Chambers:\n"
               "  --chamber ADDR:MODEL[:DP1[,DP2[,DP3]]]\n"
               "                     a chamber at Modbus address ADDR (1..247); MODEL QEL2000 (1 channel),\n"
               "                     QEL2100 (2 channels), QEL2200 (temperature and humidity, one run state),\n"
               "                     QEL2300 (rooms Hi, Ex, Lo, one run state) or QEL2400 (3 independent\n"
               "                     channels); DPn decimal places of channel n (default 1, so 25.0 is raw 250)\n"
               "  --demo             chambers 1..7: QEL2000, QEL2100, QEL2000, QEL2100, QEL2200, QEL2300,\n"
               "                     QEL2400; chamber 1 in a fixed run to 35.0 with a 2 h timer, chamber 2\n"
               "                     running its program, chamber 4 with a sensor burn-out on channel 2,\n"
               "                     chambers 5 and 6 running their programs, chamber 7 with channel 1 in a\n"
               "                     fixed run to 60.0 and channel 3 running its program\n"
               "  --set ADDR:REG:VALUE\n"
               "                     write a register at start (decimal or 0x..; negative values allowed),\n"
               "                     e.g. --set 1:0x0009:-200 puts PV of chamber 1 at -20.0\n"
               "  --run ADDR[:CH]    press the run key at start (every channel without CH); on a QEL2000/2100\n"
               "                     register 0x006E/0x0075 (FixMode) non-zero starts a fixed run, 0 the\n"
               "                     program; on a QEL2200 0x0063 does so for both channels, on a QEL2400\n"
               "                     0x012B + 10 x (CH - 1) for its channel\n"
               "  --fault ADDR:MODE[:ARG][@P]\n"
               "                     misbehave from the start; ADDR may be *; MODE and ARG as the commands\n"
               "                     below (delay:MS, mixed[:MS]), @P the share of requests faulted\n"
               "  --frozen           every chamber a plain register memory (no live values, keys stored)\n"
               "  --no-noise         no ripple on the process values\n"
               "  --speed X          simulated time runs X times as fast (default 1)\n"
               "  --seed N           seed of the ripple, of garbage and babble bytes and of the draws of\n"
               "                     mixed faults and rates (default 1)\n"
               "  --time \"YYYY-MM-DD HH:MM:SS\"\n"
               "                     simulated clock starts here instead of now\n"
               "  --verbose, -v      trace every request and reply on stderr\n"
               "  --help, -h         this text\n"
               "\n"
               "On stdout qelsim prints \"listen ADDR IP:PORT\" per chamber (TCP) or \"pty PATH\" (serial),\n"
               "then \"ready\". Live behaviour: PV follows SP with a lag; keys 1 run, 2 hold (toggle),\n"
               "3 step, 4 stop, 5 user key. QEL2000/2100: keys to 0x0065 (channel 1) or 0x0066 (channel 2),\n"
               "fixed set point 0x0067/0x0068, pattern number 0x0063/0x0064. QEL2200: keys to 0x0516,\n"
               "fixed set points 0x0513/0x0514, pattern number 0x0515. QEL2300: keys to 0x0032 (3 moves\n"
               "on to the next room), pattern number 0x0031; no fixed run. QEL2400: keys to 0x0064..0x0066\n"
               "(channels 1..3), fixed set points 0x006A..0x006C, pattern numbers 0x006D..0x006F, FixMode\n"
               "0x012B/0x0135/0x013F. Patterns stored through the controllers' command windows run when\n"
               "their number is started. Reads of 1..130 registers; unknown functions get exception 01.\n"
               "\n") +
           CommandHelp() +
           QStringLiteral(
               "\n"
               "Examples:\n"
               "  qelsim --demo\n"
               "  qelsim --tcp --port 5020 --same-ip --chamber 1:QEL2000 --chamber 2:QEL2100:1,0\n"
               "  qelsim --tcp --chamber 1:QEL2200:1,0 --chamber 2:QEL2300:1,1,2\n"
               "  qelsim --rtu --link /tmp/qel-line --chamber 1:QEL2000 --chamber 2:QEL2100 --fault 2:badcrc\n"
               "  qelsim --tcp --chamber 1:QEL2000 --fault 1:mixed:300@20 --seed 7\n");
}

}  // namespace qelsim
