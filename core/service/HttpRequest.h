// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Cancellation.h"

#include <QByteArray>
#include <QNetworkRequest>
#include <QString>

#include <QCoroTask>

#include <chrono>
#include <memory>
#include <optional>

class QNetworkAccessManager;

namespace quillo {

// How long one request may take: `inactivity` without a byte moving, `overall` from start to end
// (the inactivity limit alone never ends a peer that trickles bytes forever).
struct HttpLimits {
    std::chrono::milliseconds inactivity{45'000};
    std::chrono::milliseconds overall{60'000};
};

// What one request came to. An HTTP error status is an answer like any other; `failure` is for
// a transfer that never got one, or that broke off.
struct HttpAnswer {
    enum class Cut { None, Inactivity, Overall, Cancelled };

    // Absent when no HTTP answer came: no connection, a limit ran out, the caller cancelled.
    std::optional<int> status;
    QByteArray body;
    // The network's own words for what went wrong; empty when the answer came whole.
    QString failure;
    // Which limit, if any, ended the request.
    Cut cut = Cut::None;

    bool whole() const { return failure.isEmpty(); }
    bool succeeded() const { return whole() && status && *status >= 200 && *status <= 299; }
};

// A network manager for requests. It is deleted later rather than at once: whoever lets go of
// it last may be resuming inside one of its replies' signals.
std::shared_ptr<QNetworkAccessManager> newNetwork();

// The one way the app makes an HTTP request: `method` to `request`'s URL with `body`, within
// `limits`, given up as soon as `cancel` is cancelled. Everything it needs is held in its own
// frame (the manager through the shared pointer), so a request in flight finishes cleanly even
// when whoever started it is gone. Statuses are not interpreted here.
QCoro::Task<HttpAnswer> sendRequest(std::shared_ptr<QNetworkAccessManager> network,
                                    QByteArray method, QNetworkRequest request,
                                    std::optional<QByteArray> body, HttpLimits limits,
                                    CancelToken cancel = {});

} // namespace quillo
