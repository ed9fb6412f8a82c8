// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QUrl>

#include <QCoroTask>

#include <optional>

namespace quillo {

// A desktop release newer than the running one, as the service announced it.
struct MacUpdate {
    QString version; // the newer version, as the service wrote it
    QUrl url;        // absolute: the download page or file

    friend bool operator==(const MacUpdate&, const MacUpdate&) = default;
};

// Asks the service once per start whether a newer desktop release exists. Every failure on the
// way (no network, an error status, a body of the wrong shape, a version that is not numeric)
// simply means there is no update: the banner is a courtesy, never a reason to bother the user.
namespace UpdateCheck {

// Whether `candidate` is a later version than `current`: dot-separated integers compared
// piece by piece, a missing piece counting as 0. Anything else (such as "dev" or "1.5-beta")
// is never newer, nor is anything compared with it.
bool isNewer(const QString& candidate, const QString& current);

// The release published at `server` + "v1/apps/mac", when it is newer than `currentVersion`.
QCoro::Task<std::optional<MacUpdate>> newer(QString currentVersion, QUrl server);

} // namespace UpdateCheck

} // namespace quillo
