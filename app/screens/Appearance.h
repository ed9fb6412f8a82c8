// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace quillo {

class ChatRepository;

// Light or dark: the user's theme, and for "Automatic" the desktop's colour scheme (light until
// the desktop says otherwise).
class Appearance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns its appearance")
    Q_PROPERTY(bool dark READ dark NOTIFY darkChanged)

public:
    explicit Appearance(ChatRepository& repository, QObject* parent = nullptr);

    bool dark() const { return m_dark; }
    // What the desktop prefers: 1 dark, 2 light, 0 no preference (the portal's values).
    void setDesktopScheme(uint scheme);

Q_SIGNALS:
    void darkChanged();

private:
    void update();

    ChatRepository& m_repository;
    uint m_desktopScheme = 0;
    bool m_dark = false;
};

} // namespace quillo
