// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace quillo {

class ChatRepository;

// Light or dark: the user's theme, and for "Automatic" the desktop's colour scheme (light until
// the desktop says otherwise). Also how large the interface is drawn: the desktop's font sets
// the scale of every text and size, and follows it when it changes.
class Appearance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns its appearance")
    Q_PROPERTY(bool dark READ dark NOTIFY darkChanged)
    // The desktop font's pixel size over the 13 px the screens were drawn for.
    Q_PROPERTY(double scale READ scale NOTIFY scaleChanged)

public:
    explicit Appearance(ChatRepository& repository, QObject* parent = nullptr);

    bool dark() const { return m_dark; }
    // What the desktop prefers: 1 dark, 2 light, 0 no preference (the portal's values).
    void setDesktopScheme(uint scheme);
    double scale() const { return m_scale; }

    // The colour of initials drawn on a contact's colour: white or near-black, whichever stands
    // out more from it.
    Q_INVOKABLE static QColor initialsColor(const QColor& accent);
    // The WCAG contrast ratio of two opaque colours, 1 to 21.
    static double contrast(const QColor& a, const QColor& b);

Q_SIGNALS:
    void darkChanged();
    void scaleChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void update();
    void updateScale();

    ChatRepository& m_repository;
    uint m_desktopScheme = 0;
    bool m_dark = false;
    double m_scale = 1.0;
};

} // namespace quillo
