// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace quillo::server {

// Why a model (the chat model or the speech model) gave no answer. The service never invents
// one: each kind maps to a status the app knows to retry (429 busy, 502/503/504 failing,
// unreachable or slow).
struct ModelFailure {
    enum class Kind { Busy, Unreachable, Failed, TimedOut };
    Kind kind = Kind::Failed;
    QString detail; // for the log: status and reason, never message text
};

} // namespace quillo::server
