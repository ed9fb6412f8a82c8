// SPDX-License-Identifier: Apache-2.0
#include "GlobalHotKey.h"

#include "DesktopLog.h"

#include <QLoggingCategory>
#include <QSocketNotifier>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>

namespace quillo {

namespace {

constexpr xcb_keysym_t spaceKeysym = 0x20; // XK_space
constexpr uint16_t controlShift = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT;
// Num Lock and Caps Lock must not stop the key: it is grabbed with and without them.
constexpr uint16_t numLock = XCB_MOD_MASK_2;
constexpr uint16_t ignored[] = {0, XCB_MOD_MASK_LOCK, numLock, XCB_MOD_MASK_LOCK | numLock};

} // namespace

GlobalHotKey::GlobalHotKey(const QString& display, QObject* parent)
    : QObject(parent) {
    const QByteArray name = display.toLocal8Bit();
    if (display.isEmpty() && !std::getenv("DISPLAY"))
        return;
    int screenNumber = 0;
    m_connection = xcb_connect(display.isEmpty() ? nullptr : name.constData(), &screenNumber);
    if (xcb_connection_has_error(m_connection)) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    m_root = screens.data->root;

    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(m_connection);
    xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, spaceKeysym);
    const xcb_keycode_t keycode = codes ? codes[0] : 0;
    std::free(codes);
    xcb_key_symbols_free(symbols);
    if (keycode == 0)
        return;

    bool taken = true;
    for (const uint16_t extra : ignored) {
        const xcb_void_cookie_t grab =
            xcb_grab_key_checked(m_connection, 1, m_root, controlShift | extra, keycode,
                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        if (xcb_generic_error_t* error = xcb_request_check(m_connection, grab)) {
            taken = false;
            std::free(error);
        }
    }
    if (!taken) {
        // Another program holds control-shift-space.
        qCWarning(lcHotKey) << "control-shift-space is taken by another program";
        xcb_ungrab_key(m_connection, keycode, m_root, XCB_MOD_MASK_ANY);
        xcb_flush(m_connection);
        return;
    }
    m_keycode = keycode;
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection),
                                                   QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &GlobalHotKey::readEvents);
}

GlobalHotKey::~GlobalHotKey() {
    m_notifier.reset();
    if (!m_connection)
        return;
    if (m_keycode)
        xcb_ungrab_key(m_connection, m_keycode, m_root, XCB_MOD_MASK_ANY);
    xcb_flush(m_connection);
    xcb_disconnect(m_connection);
}

void GlobalHotKey::readEvents() {
    bool press = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        if ((event->response_type & 0x7f) == XCB_KEY_PRESS) {
            const auto* key = reinterpret_cast<xcb_key_press_event_t*>(event);
            press =
                press || (key->detail == m_keycode && (key->state & controlShift) == controlShift);
        }
        std::free(event);
    }
    // The handler only hands the press on; the window comes forward from the event loop.
    if (press)
        Q_EMIT pressed();
}

} // namespace quillo
