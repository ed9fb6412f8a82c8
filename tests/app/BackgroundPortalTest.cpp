// SPDX-License-Identifier: Apache-2.0
#include "desktop/BackgroundPortal.h"
#include "BackgroundPeer.h"
#include "EventsUntil.h"
#include "PrivateBus.h"

#include <gtest/gtest.h>

using namespace quillo;
using quillo::apptest::BackgroundPeer;
using quillo::apptest::eventsUntil;
using quillo::apptest::PrivateBus;
using Answer = BackgroundPortal::Answer;

namespace {

bool answered(const BackgroundPortal& portal) {
    return portal.answer() != Answer::NotAsked && portal.answer() != Answer::Waiting;
}

} // namespace

TEST(BackgroundPortal, AsksOnceWithItsReasonAndNeverForAutostart) {
    PrivateBus bus;
    BackgroundPeer desktop(bus.connect(QStringLiteral("desktop")));
    BackgroundPortal portal(bus.connect(QStringLiteral("quillo")));
    EXPECT_EQ(portal.answer(), Answer::NotAsked);
    portal.request(QStringLiteral("Replies keep arriving."));
    EXPECT_EQ(portal.answer(), Answer::Waiting) << "nothing waits for the portal";
    ASSERT_TRUE(eventsUntil([&] { return answered(portal); }));
    EXPECT_EQ(portal.answer(), Answer::Allowed);

    portal.request(QStringLiteral("Again"));
    QCoreApplication::processEvents();
    ASSERT_EQ(desktop.requests.size(), 1);
    const auto& [parentWindow, options] = desktop.requests.first();
    EXPECT_EQ(parentWindow, QString());
    EXPECT_EQ(options.value(QStringLiteral("reason")).toString(), u"Replies keep arriving.");
    EXPECT_EQ(options.value(QStringLiteral("autostart")), QVariant(false));
    EXPECT_FALSE(options.contains(QStringLiteral("commandline")));
}

TEST(BackgroundPortal, ADeclineARefusalInTheResultsAndNoPortalAreAnswersToo) {
    PrivateBus bus;
    {
        BackgroundPeer desktop(bus.connect(QStringLiteral("desktop")));
        desktop.answer = 1;
        BackgroundPortal declined(bus.connect(QStringLiteral("declined")));
        declined.request(QStringLiteral("Replies keep arriving."));
        ASSERT_TRUE(eventsUntil([&] { return answered(declined); }));
        EXPECT_EQ(declined.answer(), Answer::Refused);

        desktop.answer = 0;
        desktop.results.insert(QStringLiteral("background"), false);
        BackgroundPortal leftOut(bus.connect(QStringLiteral("left-out")));
        leftOut.request(QStringLiteral("Replies keep arriving."));
        ASSERT_TRUE(eventsUntil([&] { return answered(leftOut); }));
        EXPECT_EQ(leftOut.answer(), Answer::Refused);
    }

    BackgroundPortal alone(bus.connect(QStringLiteral("alone")));
    alone.request(QStringLiteral("Replies keep arriving."));
    ASSERT_TRUE(eventsUntil([&] { return answered(alone); }));
    EXPECT_EQ(alone.answer(), Answer::Unavailable);
    BackgroundPortal busless(QDBusConnection(QStringLiteral("not-connected")));
    busless.request(QStringLiteral("Replies keep arriving."));
    EXPECT_EQ(busless.answer(), Answer::Unavailable);
}
