// Commands an operator or a test types on qelsim's stdin, one per line.
// Every command answers with one line: "ok", "ok" and values, or
// "error: " and the reason. Blank lines and lines starting with "#" answer
// nothing.
#pragma once

#include <QString>

#include "bus.h"

namespace qelsim {

struct CommandResult {
    QString reply;      // the line to print; empty: print nothing
    bool quit = false;  // "quit" was given
};

CommandResult RunCommand(Bus& bus, const QString& line);

// The command summary, for --help and the "help" command.
QString CommandHelp();

// A register number or value: decimal, or hex with "0x"; values may be
// negative (stored in two's complement). False when the text is none of these
// or out of range.
bool ParseRegister(const QString& text, int* reg);
bool ParseValue(const QString& text, uint16_t* value);

}  // namespace qelsim
