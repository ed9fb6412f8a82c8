// SPDX-License-Identifier: Apache-2.0
#include "Account.h"

#include <algorithm>
#include <limits>

namespace quillo {

Account::Account(QString email_, QString name_, QString plan_, int repliesToday_, int dailyLimit_)
    : email(std::move(email_))
    , name(std::move(name_))
    , plan(std::move(plan_))
    , repliesToday(repliesToday_)
    , dailyLimit(dailyLimit_) {}

int Account::repliesLeft() const {
    // In 64 bits and clamped, so that odd counters from the service cannot wrap around.
    const qint64 left = qint64(dailyLimit) - qint64(repliesToday);
    return int(std::clamp<qint64>(left, 0, std::numeric_limits<int>::max()));
}

Decoded<Account> Account::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    Account account;
    account.email = r.required<QString>(QStringLiteral("email"));
    if (r.failed())
        return r.error();
    account.name = r.lenient<QString>(QStringLiteral("name")).value_or(account.name);
    account.plan = r.lenient<QString>(QStringLiteral("plan")).value_or(account.plan);
    account.planExpiresAt = r.lenient<qint64>(QStringLiteral("planExpiresAt"));
    account.repliesToday =
        r.lenient<int>(QStringLiteral("repliesToday")).value_or(account.repliesToday);
    account.dailyLimit = r.lenient<int>(QStringLiteral("dailyLimit")).value_or(account.dailyLimit);
    account.plusDailyLimit =
        r.lenient<int>(QStringLiteral("plusDailyLimit")).value_or(account.plusDailyLimit);
    account.planSource = r.lenient<QString>(QStringLiteral("planSource"));
    return account;
}

QJsonObject Account::toJson() const {
    QJsonObject object{
        {QStringLiteral("email"), email},
        {QStringLiteral("name"), name},
        {QStringLiteral("plan"), plan},
        {QStringLiteral("repliesToday"), repliesToday},
        {QStringLiteral("dailyLimit"), dailyLimit},
        {QStringLiteral("plusDailyLimit"), plusDailyLimit},
    };
    if (planExpiresAt)
        object.insert(QStringLiteral("planExpiresAt"), *planExpiresAt);
    if (planSource)
        object.insert(QStringLiteral("planSource"), *planSource);
    return object;
}

} // namespace quillo
