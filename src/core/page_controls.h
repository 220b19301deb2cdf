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

// Empties all 30 sets (program start, tests).
void ClearPageControls();

}  // namespace qel
