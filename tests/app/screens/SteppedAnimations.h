// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAnimationDriver>

namespace quillo::screentest {

// Drives every Qt Quick animation of the process in steps the test takes, so that a sheet that
// fades in or a typing indicator runs in virtual time: nothing waits for it in real time.
class SteppedAnimations final : public QAnimationDriver {
public:
    SteppedAnimations() { install(); }
    ~SteppedAnimations() override { uninstall(); }

    qint64 elapsed() const override { return m_elapsed; }
    void step(qint64 millis) {
        m_elapsed += millis;
        advance();
    }

private:
    qint64 m_elapsed = 0;
};

} // namespace quillo::screentest
