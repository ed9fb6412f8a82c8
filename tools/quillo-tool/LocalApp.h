// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "common/WaitForResult.h"
#include "repository/ChatRepository.h"
#include "service/QuilloAPI.h"
#include "store/AppIdentity.h"
#include "store/AppPaths.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

namespace quillo::tool {

// The app's own files and service, opened the way the desktop app opens them: the support
// directory from QUILLO_SUPPORT_DIR or the usual place, the service from QUILLO_API_URL.
struct LocalApp {
    AppPaths paths = AppPaths::current();
    SystemClock clock;
    SessionStore session{paths.sessionPath()};
    StateStore store{paths.statePath(), clock};
    QuilloAPI api{AppIdentity::apiBaseURL()};
    ChatRepository repository{store, session, api, clock};

    // Sends what changed up at once, as the app does after a quiet moment, and leaves the
    // files as the app would: a command ends long before any quiet period would.
    void finish() {
        QCoro::waitFor(repository.synchronisation().sync(false));
        repository.flush();
    }
};

} // namespace quillo::tool
