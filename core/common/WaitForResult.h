// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoroTask>

#include <optional>

namespace quillo {

namespace detail {
template <typename T>
QCoro::Task<std::optional<T>> settled(QCoro::Task<T> task) {
    co_return co_await task;
}
} // namespace detail

// Runs the event loop until `task` is done and gives its result, which (unlike with
// QCoro::waitFor) need not have a default value: a Result has none. For command-line tools and
// tests; the app itself never blocks on a task.
template <typename T>
T waitForResult(QCoro::Task<T> task) {
    return *QCoro::waitFor(detail::settled(std::move(task)));
}

} // namespace quillo
