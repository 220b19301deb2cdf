#include "page_controls.h"

#include "page_layout.h"
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

void SetLayoutCaption(int chamber, const QString& base, int channel, const QString& text) {
    const page::Layout layout = page::LayoutOf(ChamberModel[ChamberIndex(chamber)]);
    if (layout != page::Layout::None) PageControls(chamber).setCaption(page::Name(layout, base, channel), text);
}

}  // namespace qel
