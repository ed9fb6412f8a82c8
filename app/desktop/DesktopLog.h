// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLoggingCategory>

namespace quillo {

// The desktop integration's log categories, each defined once.
Q_DECLARE_LOGGING_CATEGORY(lcHotKey)     // quillo.hotkey: the X11 grab and the shortcuts portal
Q_DECLARE_LOGGING_CATEGORY(lcTray)       // quillo.tray: looking for a system tray
Q_DECLARE_LOGGING_CATEGORY(lcBackground) // quillo.background: running with the window closed

} // namespace quillo
