// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>

#include <functional>

namespace quillo::apptest {

// Turns the event loop until `done` holds, for answers that come from another process (a bus
// daemon, an X server); gives up after five seconds. Whether it came true.
inline bool eventsUntil(const std::function<bool()>& done) {
    QElapsedTimer waited;
    waited.start();
    while (!done() && waited.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

} // namespace quillo::apptest
