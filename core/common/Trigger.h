// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>

namespace quillo {

// A signal to await or connect to, fired by whoever holds the trigger.
class Trigger : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    void fire() { Q_EMIT fired(); }

Q_SIGNALS:
    void fired();
};

} // namespace quillo
