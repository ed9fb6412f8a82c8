#include "Clock.h"

#include <QDateTime>

namespace quillo {

qint64 SystemClock::nowMillis() const {
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace quillo
