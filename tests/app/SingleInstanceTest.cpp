// SPDX-License-Identifier: Apache-2.0
#include "desktop/SingleInstance.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <future>

using namespace quillo;

namespace {

// What a crashed instance leaves: a socket file nobody listens on.
void leaveStaleSocket(const QString& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray name = path.toLocal8Bit();
    ASSERT_LT(name.size(), qsizetype(sizeof(address.sun_path)));
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(fd);
}

// Forwards from another thread, as a second process would, while this one serves.
bool forwardWhileServing(const SingleInstance& later, const QStringList& arguments) {
    auto forwarded = std::async(std::launch::async,
                                [&later, arguments] { return later.forwardToRunning(arguments); });
    while (forwarded.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        QCoreApplication::processEvents();
    return forwarded.get();
}

} // namespace

TEST(SingleInstance, ALaterStartHandsItsArgumentsToTheRunningOne) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("quillo.socket"));
    SingleInstance running(path);
    EXPECT_FALSE(running.forwardToRunning({QStringLiteral("--open")}, 200)) << "nobody runs yet";
    ASSERT_TRUE(running.listen());
    QSignalSpy received(&running, &SingleInstance::argumentsReceived);

    SingleInstance later(path);
    const QStringList arguments{
        QStringLiteral("com.googleusercontent.apps.1-a:/oauthredirect?code=x&state=é"),
        QStringLiteral("--open")};
    EXPECT_TRUE(forwardWhileServing(later, arguments));
    ASSERT_EQ(received.count(), 1);
    EXPECT_EQ(received.first().first().toStringList(), arguments);

    EXPECT_FALSE(later.listen()) << "the first one still runs";
    EXPECT_EQ(received.count(), 1) << "finding it running hands over nothing";
}

TEST(SingleInstance, ASocketLeftByACrashDoesNotBlockTheNextStart) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("quillo.socket"));
    leaveStaleSocket(path);
    ASSERT_TRUE(QFile::exists(path));
    SingleInstance next(path);
    EXPECT_FALSE(next.forwardToRunning({QStringLiteral("--open")}, 200));
    ASSERT_TRUE(next.listen());
    QSignalSpy received(&next, &SingleInstance::argumentsReceived);
    SingleInstance later(path);
    EXPECT_TRUE(forwardWhileServing(later, {QStringLiteral("--open")}));
    EXPECT_EQ(received.count(), 1);
}
