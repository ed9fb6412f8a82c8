// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QSocketNotifier;
struct xcb_connection_t;

namespace quillo {

// Control-shift-space from anywhere on an X11 desktop: a key grab on the X server's root
// window, whichever application has the focus. Where there is no X server (Wayland without
// XWayland, a headless start) nothing is registered and `registered()` says so; `quillo --open`
// bound in the desktop's own settings does the same there.
class GlobalHotKey : public QObject {
    Q_OBJECT

public:
    // `display` names the X server; empty means $DISPLAY.
    explicit GlobalHotKey(const QString& display = {}, QObject* parent = nullptr);
    ~GlobalHotKey() override;

    bool registered() const { return m_keycode != 0; }

Q_SIGNALS:
    void pressed();

private:
    void readEvents();

    xcb_connection_t* m_connection = nullptr;
    unsigned int m_root = 0;
    unsigned char m_keycode = 0;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace quillo
