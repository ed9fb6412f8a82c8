// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/StoredState.h"

namespace quillo::bench {

// A document of `messageCount` messages over 20 contacts, half of them contact replies with
// glosses, as a long-time user's would look.
StoredState makeDocument(int messageCount);

// Resident memory of this process now and at its peak, in bytes (Linux).
qint64 residentBytes();
qint64 peakResidentBytes();
// Starts a new peak measurement from the current resident size.
void resetPeakResident();

} // namespace quillo::bench
