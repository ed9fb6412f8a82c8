// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "config/ServerConfig.h"

#include <QString>

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>

#include <memory>
#include <mutex>
#include <optional>

namespace quillo::server {

// Where replies come from: a base URL ("/chat/completions" is appended) and the model name.
struct ModelEndpoint {
    QString url;
    QString name;
    friend bool operator==(const ModelEndpoint&, const ModelEndpoint&) = default;
};

// What the last look found: an endpoint, or one short line saying why there is none.
struct ModelFinding {
    std::optional<ModelEndpoint> endpoint;
    QString problem;
};

// Finds the model that serves replies. With QUILLO_MODEL_URL set only that endpoint is asked;
// without it the loopback candidates of the configuration are, in order, and the first whose
// GET {url}/models lists a model wins. Without QUILLO_MODEL_NAME the name is the first model the
// endpoint lists.
//
// A finding holds until a call finds the endpoint gone (forget()). When there is none, a
// request that needs the model looks again once the last look is older than retryMillis on the
// service's clock; requests asking at the same time share one look. An endpoint named in full
// (URL and model) is not looked for: every request tries it, and looks only report on it. Safe
// from any thread.
class ModelDiscovery {
public:
    static constexpr qint64 retryMillis = 30'000;

    ModelDiscovery(const ServerConfig& config, const Clock& clock);
    ~ModelDiscovery();
    ModelDiscovery(const ModelDiscovery&) = delete;
    ModelDiscovery& operator=(const ModelDiscovery&) = delete;

    // The last finding, without looking; before the first look, none.
    ModelFinding last() const;

    // For a request that needs the model: the endpoint found, else a fresh look when one is due
    // (or the one under way); an endpoint named in full, always.
    boost::asio::awaitable<ModelFinding> forUse();
    // Looks now, or joins the look under way. An endpoint still found is kept, and so is its
    // listed name, so that asking does not move replies elsewhere.
    boost::asio::awaitable<ModelFinding> lookNow();
    // Starts a look on `executor` when forUse() would look, and returns at once.
    void lookInBackgroundIfDue(const boost::asio::any_io_executor& executor);
    // Looks on an event loop of its own, for start-up; returns when done.
    ModelFinding lookBlocking();

    // A call to `endpoint` found nothing listening: the next request that needs the model looks
    // again at once. Nothing when the finding has moved on already.
    void forget(const ModelEndpoint& endpoint);
    // `endpoint` gave a completion: it is the finding now.
    void answered(const ModelEndpoint& endpoint);

private:
    struct Look;
    struct LookEnd;

    bool dueLocked() const;
    ModelFinding findingLocked() const;
    boost::asio::awaitable<ModelFinding> probe(std::optional<ModelEndpoint> previous) const;

    const ServerConfig m_config;
    const Clock& m_clock;

    mutable std::mutex m_mutex;
    std::optional<ModelEndpoint> m_endpoint;
    QString m_problem;
    std::optional<qint64> m_lookedAt;
    std::shared_ptr<Look> m_look; // the look under way
};

} // namespace quillo::server
