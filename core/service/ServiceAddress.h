// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QUrl>

namespace quillo {

// Whether what is sent to the service at `url` can be read on the way: plain http to a host
// beyond this computer. Loopback (127.0.0.0/8, ::1, "localhost") never leaves the machine.
bool travelsInClear(const QUrl& url);

// Whether the service at `url` runs on this computer (a loopback host).
bool onThisComputer(const QUrl& url);

} // namespace quillo
