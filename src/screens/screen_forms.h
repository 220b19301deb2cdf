// The station's screens as data: the 30 chamber pages and the five overview
// screens, created by the main frame's load. While they exist, the poll
// walk's refresh hooks and the drivers' page hooks lead to them: after each
// chamber, ReadComm of the overview screen in use, then the chamber's page.
#pragma once

#include "chamber_page.h"
#include "overview_screen.h"

#include <array>
#include <memory>

namespace qel {

class ScreenForms {
public:
    explicit ScreenForms(Operator& op);
    ~ScreenForms();
    ScreenForms(const ScreenForms&) = delete;
    ScreenForms& operator=(const ScreenForms&) = delete;

    // Creates and loads the overview screens 1 to 5 (the one in use first)
    // and the pages 1 to MaxChamberNo; `step` is called after each, for the
    // splash's progress bar.
    void load(const std::function<void()>& step);

    // The page of a chamber; null for a chamber without one.
    ChamberPage* page(int chamber) const;
    // Overview screen 1 to 5; the one in use is ScreenNo.
    OverviewScreen& overview(int screenNo) const;
    OverviewScreen& current() const;

private:
    void installHooks();

    Operator& op_;
    std::array<std::unique_ptr<ChamberPage>, 30> pages_;
    std::array<std::unique_ptr<OverviewScreen>, 5> overviews_;
};

}  // namespace qel
