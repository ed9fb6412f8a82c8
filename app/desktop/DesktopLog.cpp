// SPDX-License-Identifier: Apache-2.0
#include "DesktopLog.h"

namespace quillo {

Q_LOGGING_CATEGORY(lcHotKey, "quillo.hotkey")
Q_LOGGING_CATEGORY(lcTray, "quillo.tray")
Q_LOGGING_CATEGORY(lcBackground, "quillo.background")

} // namespace quillo
