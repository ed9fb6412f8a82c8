// SPDX-License-Identifier: Apache-2.0
#include "Clock.h"

#include <QCoro/QCoroSignal>
#include <QDateTime>
#include <QTimer>

#include <algorithm>
#include <limits>

namespace quillo {

qint64 SystemClock::nowMillis() const {
    return QDateTime::currentMSecsSinceEpoch();
}

QCoro::Task<bool> SystemClock::sleep(qint64 millis, CancelToken cancel) const {
    if (cancel.isCancelled())
        co_return false;
    // Either the timer or the token ends the wait.
    Trigger done;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &done, &Trigger::fire);
    QObject::connect(cancel.trigger(), &Trigger::fired, &done, &Trigger::fire);
    timer.start(int(std::clamp<qint64>(millis, 0, std::numeric_limits<int>::max())));
    co_await qCoro(&done, &Trigger::fired);
    co_return !cancel.isCancelled();
}

} // namespace quillo
