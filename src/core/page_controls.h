// The controls of the 30 chamber pages, one set per chamber. The page logic
// fills them on every refresh; event detection paints the lamps and DI
// names, the data log writes its start-time and file-name captions. They
// live as long as the program, as the pages do.
#pragma once

#include "controls.h"

namespace qel {

// The page of a chamber, 1 to 30. Raises RuntimeError "Subscript out of
// range" for any other number.
ControlSet& PageControls(int chamber);

// The caption of a control the page has by its model's layout ("Start_Time"
// gives "Start_Time2000(2)" or "Start_Time2200"); nothing for a model
// outside the five.
void SetLayoutCaption(int chamber, const QString& base, int channel, const QString& text);

// Empties all 30 sets (program start, tests).
void ClearPageControls();

}  // namespace qel
