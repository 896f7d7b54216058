// The one rule for a database file that is busy.

#ifndef VORNDATABASE_SRC_BUSYRULE_H
#define VORNDATABASE_SRC_BUSYRULE_H

#include "private/Log.h"

namespace vorn {

// Counts one busy result in `count`, logging from `site`. Below the limit it
// waits and answers false; at the limit it answers true, and the caller makes
// one last attempt.
bool CountBusy(const LogSite& site, int& count);

}  // namespace vorn

#endif  // VORNDATABASE_SRC_BUSYRULE_H
