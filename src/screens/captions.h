// Indexes into the language tables for the main frame's texts, kept in one
// place (data/app/LANGUAGE-INDEX.md lists every index).
#pragma once

namespace qel::captions {

inline constexpr const char* kMainSection = "MainForm";
inline constexpr int kMainTitle = 1;
// Tool tips of toolbar keys 1 to 11.
inline constexpr int kToolTips[11] = {12, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
inline constexpr int kExitQuestion = 13;
inline constexpr int kNoChamberShown = 14;   // a page key with no chamber on display
inline constexpr int kChamberNotReady = 15;  // a chamber switched off or not answering

}  // namespace qel::captions
