// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Trigger.h"

#include <memory>

namespace quillo {

// A way to end waits early: copies share one flag, and whoever holds a copy may cancel. A
// default-constructed token can be cancelled too; it just has nobody else listening.
class CancelToken {
public:
    CancelToken()
        : m_state(std::make_shared<State>()) {}

    void cancel() const {
        if (m_state->cancelled)
            return;
        m_state->cancelled = true;
        m_state->trigger.fire();
    }
    bool isCancelled() const { return m_state->cancelled; }

    // Fires once, when the token is cancelled.
    const Trigger* trigger() const { return &m_state->trigger; }

private:
    struct State {
        bool cancelled = false;
        Trigger trigger;
    };
    std::shared_ptr<State> m_state;
};

} // namespace quillo
