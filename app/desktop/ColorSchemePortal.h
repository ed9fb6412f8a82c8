// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

namespace quillo {

// The desktop's colour scheme, as the appearance portal reports it: asked once at start, without
// waiting, and followed as it changes. Without a portal nothing is ever reported.
class ColorSchemePortal : public QObject {
    Q_OBJECT

public:
    explicit ColorSchemePortal(QDBusConnection bus, QObject* parent = nullptr);

Q_SIGNALS:
    // 1 dark, 2 light, 0 no preference (the portal's own values).
    void schemeChanged(uint scheme);

private Q_SLOTS:
    void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);
};

} // namespace quillo
