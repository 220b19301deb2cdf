#include "page_controls.h"

#include "state.h"

#include <array>

namespace qel {

namespace {
std::array<ControlSet, kMaxChambers> g_pages;
}

ControlSet& PageControls(int chamber) { return g_pages[static_cast<size_t>(ChamberIndex(chamber))]; }

void ClearPageControls() {
    for (ControlSet& s : g_pages) s.clear();
}

}  // namespace qel
