// SPDX-License-Identifier: Apache-2.0
#include "service/UpdateCheck.h"
#include "server/ServerTestSupport.h"

#include <QCoreApplication>
#include <QEvent>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

QUrl loopback(int port) {
    return QUrl(QStringLiteral("http://127.0.0.1:") + QString::number(port));
}

// The real service on loopback, asked the way the application asks at start.
class UpdateCheckService : public ApiTest {
protected:
    void publish(const QString& version, const QString& url) {
        config.releaseVersion = version;
        config.releaseUrl = url;
        restart();
    }

    std::optional<MacUpdate> check(const QString& current, const QUrl& server) {
        const std::optional<MacUpdate> update = QCoro::waitFor(UpdateCheck::newer(current, server));
        // The check's manager goes with the next deferred deletion; until then it keeps its
        // connection open, which the service would wait out when it stops or restarts.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return update;
    }
    std::optional<MacUpdate> check(const QString& current) {
        return check(current, loopback(port()));
    }
};

TEST_F(UpdateCheckService, ANewerReleaseGivesItsAddressOnTheService) {
    publish(QStringLiteral("1.10"), QStringLiteral("/downloads/Quillo-1.10.tar.gz"));
    const QUrl expected(
        QStringLiteral("http://127.0.0.1:%1/downloads/Quillo-1.10.tar.gz").arg(port()));
    EXPECT_EQ(check(QStringLiteral("1.4.2")), (MacUpdate{QStringLiteral("1.10"), expected}));
    // The origin as a user might write it, with a trailing slash, asks the same place.
    const QUrl slashed(QStringLiteral("http://127.0.0.1:%1/").arg(port()));
    EXPECT_EQ(check(QStringLiteral("1.4.2"), slashed),
              (MacUpdate{QStringLiteral("1.10"), expected}));

    // An absolute address stays as the service wrote it.
    publish(QStringLiteral("1.4.3"), QStringLiteral("https://downloads.example.com/q.tar.gz"));
    const std::optional<MacUpdate> elsewhere = check(QStringLiteral("1.4.2"));
    ASSERT_TRUE(elsewhere.has_value());
    EXPECT_EQ(elsewhere->url, QUrl(QStringLiteral("https://downloads.example.com/q.tar.gz")));
    // Whatever its scheme: the desktop's opener decides what to do with it.
    for (const QString& link : {QStringLiteral("ftp://mirror.example.org/pub/q-1.4.3.tar.gz"),
                                QStringLiteral("appstream://org.example.Quillo"),
                                QStringLiteral("file:///srv/releases/q-1.4.3.tar.gz")}) {
        publish(QStringLiteral("1.4.3"), link);
        const std::optional<MacUpdate> update = check(QStringLiteral("1.4.2"));
        ASSERT_TRUE(update.has_value()) << link.toStdString();
        EXPECT_EQ(update->url, QUrl(link));
    }
}

TEST_F(UpdateCheckService, NothingUnlessTheReleaseIsNewer) {
    publish(QStringLiteral("1.4.0"), QStringLiteral("/downloads/q.tar.gz"));
    EXPECT_FALSE(check(QStringLiteral("1.4")).has_value());
    EXPECT_FALSE(check(QStringLiteral("2.0")).has_value());
    EXPECT_FALSE(check(QStringLiteral("dev")).has_value());

    publish(QStringLiteral("1.5-beta"), QStringLiteral("/downloads/q.tar.gz"));
    EXPECT_FALSE(check(QStringLiteral("1.4")).has_value());

    // A newer version with an address that cannot be opened is no use either.
    publish(QStringLiteral("1.5"), QStringLiteral("http://[not an address"));
    EXPECT_FALSE(check(QStringLiteral("1.4")).has_value());
    publish(QStringLiteral("1.5"), QStringLiteral("https://example.com/a b.tar.gz"));
    EXPECT_FALSE(check(QStringLiteral("1.4")).has_value());
}

TEST_F(UpdateCheckService, NothingWhenNoReleaseIsPublishedOrTheServiceIsAway) {
    ASSERT_EQ(get("/v1/apps/mac").status, 404);
    EXPECT_FALSE(check(QStringLiteral("1.0")).has_value());

    EXPECT_FALSE(check(QStringLiteral("1.0"), loopback(freeLoopbackPort())).has_value());
}

} // namespace
