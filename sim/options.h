// qelsim's command line.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <vector>

#include "faults.h"
#include "model.h"

namespace qelsim {

struct Options {
    enum class Transport { Tcp, Rtu, Ascii };
    Transport transport = Transport::Tcp;
    QString hostBase = "127.0.0.1";
    int port = 1502;
    bool sameIp = false;
    QString link;
    int baud = 0;

    std::vector<ChamberConfig> chambers;
    struct Set {
        int address;
        int reg;
        uint16_t value;
    };
    std::vector<Set> sets;
    struct Run {
        int address;
        int channel;  // 0: every channel
    };
    std::vector<Run> runs;
    struct FaultAt {
        int address;  // 0: every chamber
        Fault fault;
    };
    std::vector<FaultAt> faults;

    bool frozen = false;
    bool noise = true;
    double speed = 1.0;
    uint32_t seed = 1;
    QDateTime startTime;  // invalid: the wall clock at start
    bool verbose = false;
    bool help = false;
};

// Parses the arguments (without the program name). On failure returns false
// with a one-line reason in error.
bool ParseOptions(const QStringList& args, Options* options, QString* error);

QString HelpText();

}  // namespace qelsim
