// The folder tree under AppPath and the start-up clean-up of trend files.
#pragma once

#include <QString>

namespace qel {

// Makes, one level at a time and in this order, "DATA/", "DATA/<name>" for
// chambers 1 to MaxChamberNo, "Message/", "Message/<name>", "Error/", "PTN/",
// "FILE_TEXT/", "FILE_EXCEL/", "FILE_JPG/". A folder that cannot be made
// ends the routine quietly: the later folders stay unmade.
void MakeFolders();

// Makes the data and message folders of one chamber name (set-up form).
void MakeChamberFolders(const QString& name);

// Deletes "<n>OPData.csv" for chambers 1 to MaxChamberNo, so that a trend
// lasts for one run of the station.
void DeleteTrendFiles();

}  // namespace qel
