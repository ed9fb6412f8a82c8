// SPDX-License-Identifier: Apache-2.0
#include "BackgroundPortal.h"

#include "DesktopLog.h"
#include "PortalRequest.h"

#include <QLoggingCategory>

namespace quillo {

namespace {

const QString backgroundInterface = QStringLiteral("org.freedesktop.portal.Background");

} // namespace

BackgroundPortal::BackgroundPortal(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus)) {}

void BackgroundPortal::request(const QString& reason) {
    if (m_answer != Answer::NotAsked)
        return;
    if (!m_bus.isConnected()) {
        qCInfo(lcBackground) << "no session bus to ask for running in the background";
        settle(Answer::Unavailable);
        return;
    }
    m_answer = Answer::Waiting;
    const QVariantMap options{{QStringLiteral("handle_token"), portal::nextToken()},
                              {QStringLiteral("reason"), reason},
                              {QStringLiteral("autostart"), false}};
    // No parent window: the window has just closed.
    portal::request(m_bus, backgroundInterface, QStringLiteral("RequestBackground"),
                    {QString(), options}, this, SLOT(responded(uint, QVariantMap)),
                    [this](const QString& message) {
                        qCInfo(lcBackground) << "no background portal:" << message;
                        settle(Answer::Unavailable);
                    });
}

void BackgroundPortal::responded(uint response, const QVariantMap& results) {
    if (m_answer != Answer::Waiting)
        return;
    // 0 granted, 1 the user said no, 2 ended otherwise; a grant may still leave the background out.
    if (response == 0 && results.value(QStringLiteral("background"), true).toBool()) {
        qCInfo(lcBackground) << "the desktop lets Quillo run in the background";
        settle(Answer::Allowed);
        return;
    }
    qCWarning(lcBackground) << "the desktop did not allow running in the background (answer"
                            << response << "); it may stop Quillo while the window is closed";
    settle(Answer::Refused);
}

void BackgroundPortal::settle(Answer answer) {
    m_answer = answer;
    Q_EMIT answered();
}

} // namespace quillo
