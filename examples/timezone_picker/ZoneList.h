// The list of zones as text.

#ifndef TIMEZONE_PICKER_ZONELIST_H
#define TIMEZONE_PICKER_ZONELIST_H

#include <ostream>
#include <vector>

#include "TimeZone.h"

// Writes a line per zone, in aligned columns: rank, name, coordinates, comment.
void PrintZones(std::ostream& out, const std::vector<Zone>& zones);

#endif  // TIMEZONE_PICKER_ZONELIST_H
