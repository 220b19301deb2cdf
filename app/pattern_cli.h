// qelpoll's pattern transfers: a pattern of the controller into a .PTN file,
// and a .PTN file into the controller, with a progress line on a terminal.
#pragma once

#include <QString>

namespace qel {

// Why a .PTN file may not be written into a controller ("" when it may):
// checked before anything on the controller is cleared, set points against
// the decimal places of the channel.
QString PatternFileProblem(const QString& path, int channel, int* patternNo);

// Both return the exit status: 0 done, 1 the controller did not answer or
// the file could not be written.
int ReadPatternToFile(int patternNo, int channel, const QString& path);
int WritePatternFile(const QString& path, int patternNo, int channel);

}  // namespace qel
