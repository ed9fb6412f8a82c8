// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Cancellation.h"

namespace quillo {

// The one way a coroutine learns that the object that started it is gone. The object holds a
// Lifetime and ends it first thing in its destructor (or when it closes); a coroutine takes a
// watch by value before its first co_await and, after each one, stops if the watch says its
// owner has ended. A watch is also a CancelToken, so a sleep given it ends as soon as its owner
// does.
class Lifetime {
public:
    class Watch {
    public:
        bool ended() const { return m_token.isCancelled(); }
        const CancelToken& token() const { return m_token; }

    private:
        friend class Lifetime;
        explicit Watch(CancelToken token)
            : m_token(std::move(token)) {}
        CancelToken m_token;
    };

    Lifetime() = default;
    ~Lifetime() { end(); }
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    Watch watch() const { return Watch(m_token); }
    bool ended() const { return m_token.isCancelled(); }
    void end() { m_token.cancel(); }

private:
    CancelToken m_token;
};

} // namespace quillo
