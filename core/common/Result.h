// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>
#include <variant>

namespace quillo {

// A value or the error that prevented it. Errors travel as values in Quillo; nothing is thrown
// across the event loop.
template <typename T, typename E>
class Result {
public:
    Result(T value) // NOLINT(google-explicit-constructor): lets functions `return value;`
        : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(E error) // NOLINT(google-explicit-constructor): lets functions `return error;`
        : m_state(std::in_place_index<1>, std::move(error)) {}

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    const T& value() const& { return std::get<0>(m_state); }
    T& value() & { return std::get<0>(m_state); }
    T&& value() && { return std::get<0>(std::move(m_state)); }
    const T* operator->() const { return &value(); }
    const T& operator*() const& { return value(); }

    const E& error() const& { return std::get<1>(m_state); }
    E&& error() && { return std::get<1>(std::move(m_state)); }

private:
    std::variant<T, E> m_state;
};

} // namespace quillo
