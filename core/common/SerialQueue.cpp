// SPDX-License-Identifier: Apache-2.0
#include "SerialQueue.h"

namespace quillo {

bool SerialQueue::Turn::await_ready() const noexcept {
    if (queue->busy)
        return false;
    queue->busy = true;
    return true;
}

void SerialQueue::Turn::await_suspend(std::coroutine_handle<> waiting) const {
    queue->waiting.push_back(waiting);
}

SerialQueue::Leave::~Leave() {
    // The turn passes straight to the next operation, which runs until it first waits.
    if (queue->waiting.empty() || queue->closed) {
        queue->busy = false;
        return;
    }
    const std::coroutine_handle<> next = queue->waiting.front();
    queue->waiting.pop_front();
    next.resume();
}

} // namespace quillo
