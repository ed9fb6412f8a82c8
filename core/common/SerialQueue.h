// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoroTask>

#include <coroutine>
#include <deque>
#include <memory>
#include <type_traits>
#include <utility>

namespace quillo {

// Runs operations strictly one after another, in the order in which they were handed in. An
// operation waits for the one before it to finish, whatever that one's result; a failure travels
// back to its own caller as a value, so the chain itself never breaks. All on one thread. The
// queue's state is shared with the operations in flight, so one may finish after the queue is
// gone; operations still waiting then never start.
class SerialQueue {
public:
    SerialQueue() = default;
    ~SerialQueue() { m_state->closed = true; }
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    // `operation` is a callable giving a QCoro::Task; it is kept in the queued task, so its
    // captures live until it has run.
    template <typename Operation>
    auto run(Operation operation) -> decltype(operation()) {
        const std::shared_ptr<State> state = m_state;
        co_await Turn{state.get()};
        const Leave leave{state.get()};
        using Value = typename decltype(operation())::value_type;
        if constexpr (std::is_void_v<Value>)
            co_await operation();
        else
            co_return co_await operation();
    }

    // Whether an operation is running now.
    bool busy() const { return m_state->busy; }

private:
    struct State {
        bool busy = false;
        bool closed = false; // the queue is gone: what still waits belongs to objects gone too
        std::deque<std::coroutine_handle<>> waiting;
    };
    struct Turn {
        State* queue;
        bool await_ready() const noexcept;
        void await_suspend(std::coroutine_handle<> waiting) const;
        void await_resume() const noexcept {}
    };
    struct Leave {
        State* queue;
        ~Leave();
    };

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

// Runs `operation` as a task of its own and waits for it. The callable moves into that task, so
// the work goes on to its end with its captures alive even when whoever asked for it has gone.
template <typename Operation>
auto outlivingCaller(Operation operation) -> decltype(operation()) {
    using Value = typename decltype(operation())::value_type;
    if constexpr (std::is_void_v<Value>)
        co_await operation();
    else
        co_return co_await operation();
}

} // namespace quillo
