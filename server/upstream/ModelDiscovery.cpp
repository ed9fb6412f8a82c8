// SPDX-License-Identifier: Apache-2.0
#include "ModelDiscovery.h"

#include "ModelList.h"
#include "UpstreamHttp.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/experimental/concurrent_channel.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <algorithm>
#include <chrono>
#include <exception>

namespace quillo::server {

namespace asio = boost::asio;

namespace {

QString nameFrom(const QStringList& listed, const QString& url, const QString& configured,
                 const std::optional<ModelEndpoint>& previous) {
    if (!configured.isEmpty())
        return configured;
    if (previous && previous->url == url && listed.contains(previous->name))
        return previous->name;
    return listed.first();
}

// Why an endpoint that answered GET /models cannot serve replies.
QString unusable(const QString& url, int status, const std::optional<QStringList>& listed) {
    const QString shown = shownUrl(url);
    if (listed)
        return shown + QStringLiteral(" answers but has no model; pull or load one");
    if (status < 200 || status > 299)
        return shown + QStringLiteral(" answers /models with %1").arg(status);
    return shown + QStringLiteral(" answers /models, but not with a list of models");
}

} // namespace

// One look under way. Its channel carries nothing: closing it wakes every request that joined.
struct ModelDiscovery::Look {
    explicit Look(const asio::any_io_executor& executor)
        : ended(executor, 0) {}
    asio::experimental::concurrent_channel<void(boost::system::error_code)> ended;
};

// Ends a look however its coroutine ends, so that no request waits on it for ever.
struct ModelDiscovery::LookEnd {
    ModelDiscovery& discovery;
    std::shared_ptr<Look> look;
    LookEnd(ModelDiscovery& owner, std::shared_ptr<Look> ended)
        : discovery(owner)
        , look(std::move(ended)) {}
    LookEnd(const LookEnd&) = delete;
    LookEnd& operator=(const LookEnd&) = delete;
    ~LookEnd() {
        {
            std::lock_guard lock(discovery.m_mutex);
            if (discovery.m_look == look)
                discovery.m_look.reset();
        }
        look->ended.close();
    }
};

ModelDiscovery::ModelDiscovery(const ServerConfig& config, const Clock& clock)
    : m_config(config)
    , m_clock(clock)
    , m_problem(QStringLiteral("not looked for yet")) {}

ModelDiscovery::~ModelDiscovery() = default;

ModelFinding ModelDiscovery::last() const {
    std::lock_guard lock(m_mutex);
    return findingLocked();
}

ModelFinding ModelDiscovery::findingLocked() const {
    return m_endpoint ? ModelFinding{m_endpoint, {}} : ModelFinding{std::nullopt, m_problem};
}

bool ModelDiscovery::dueLocked() const {
    if (!m_lookedAt)
        return true;
    const qint64 now = m_clock.nowMillis();
    return now < *m_lookedAt || now - *m_lookedAt >= retryMillis;
}

asio::awaitable<ModelFinding> ModelDiscovery::forUse() {
    if (!m_config.modelUrl.isEmpty() && !m_config.modelName.isEmpty())
        co_return ModelFinding{ModelEndpoint{m_config.modelUrl, m_config.modelName}, {}};
    ModelFinding found;
    bool look = false;
    {
        std::lock_guard lock(m_mutex);
        found = findingLocked();
        look = !m_endpoint && (m_look || dueLocked());
    }
    if (!look)
        co_return found;
    auto looking = lookNow();
    co_return co_await std::move(looking);
}

asio::awaitable<ModelFinding> ModelDiscovery::lookNow() {
    const auto executor = co_await asio::this_coro::executor;
    std::shared_ptr<Look> look;
    std::optional<ModelEndpoint> previous;
    bool joining = false;
    {
        std::lock_guard lock(m_mutex);
        joining = m_look != nullptr;
        if (!joining)
            m_look = std::make_shared<Look>(executor);
        look = m_look;
        previous = m_endpoint;
    }
    if (joining) {
        auto ended = look->ended.async_receive(asio::as_tuple(asio::use_awaitable));
        co_await std::move(ended);
        co_return last();
    }

    const LookEnd end(*this, look);
    auto probing = probe(std::move(previous));
    ModelFinding found = co_await std::move(probing);
    {
        std::lock_guard lock(m_mutex);
        m_endpoint = found.endpoint;
        m_problem = found.problem;
        m_lookedAt = m_clock.nowMillis();
    }
    co_return found;
}

void ModelDiscovery::lookInBackgroundIfDue(const asio::any_io_executor& executor) {
    {
        std::lock_guard lock(m_mutex);
        if (m_endpoint || m_look || !dueLocked())
            return;
    }
    asio::co_spawn(executor, lookNow(), asio::detached);
}

ModelFinding ModelDiscovery::lookBlocking() {
    asio::io_context loop;
    std::optional<ModelFinding> found;
    asio::co_spawn(loop, lookNow(), [&found](const std::exception_ptr&, ModelFinding finding) {
        found = std::move(finding);
    });
    loop.run();
    return found ? *found : last();
}

void ModelDiscovery::forget(const ModelEndpoint& endpoint) {
    std::lock_guard lock(m_mutex);
    if (m_endpoint != endpoint)
        return;
    m_endpoint.reset();
    m_problem = shownUrl(endpoint.url) + QStringLiteral(" stopped answering");
    m_lookedAt.reset();
}

void ModelDiscovery::answered(const ModelEndpoint& endpoint) {
    std::lock_guard lock(m_mutex);
    m_endpoint = endpoint;
    m_problem.clear();
    m_lookedAt = m_clock.nowMillis();
}

asio::awaitable<ModelFinding> ModelDiscovery::probe(std::optional<ModelEndpoint> previous) const {
    const bool urlConfigured = !m_config.modelUrl.isEmpty();
    QStringList urls = urlConfigured ? QStringList{m_config.modelUrl} : m_config.modelCandidates;
    // The endpoint serving now is asked first, so that looking again does not move replies.
    if (previous && urls.contains(previous->url)) {
        urls.removeAll(previous->url);
        urls.prepend(previous->url);
    }

    const std::chrono::seconds timeout(std::max(1, m_config.modelProbeSeconds));
    QString problem;
    QStringList tried; // nothing answered there, or nothing that serves models
    for (const QString& url : urls) {
        auto endpoint = parseEndpoint(url);
        if (!endpoint) {
            tried += shownUrl(url);
            continue;
        }
        // The key is for the endpoint it was given with, not for whatever listens on loopback.
        UpstreamRequest call{
            "GET", "/models", {}, {}, urlConfigured ? m_config.modelKey : QString()};
        auto exchange =
            callUpstream(QStringLiteral("model"), std::move(*endpoint), std::move(call), timeout);
        const auto answer = co_await std::move(exchange);
        if (!answer) {
            tried += shownUrl(url);
            continue;
        }
        const bool success = answer->status >= 200 && answer->status <= 299;
        const auto listed =
            success ? listedModels(QByteArray::fromStdString(answer->body)) : std::nullopt;
        if (listed && !listed->isEmpty()) {
            co_return ModelFinding{
                ModelEndpoint{url, nameFrom(*listed, url, m_config.modelName, previous)}, {}};
        }
        if (!listed && urlConfigured) {
            // An endpoint named with its model needs no list: some want a key for /models,
            // some have none, and complete all the same.
            if (!m_config.modelName.isEmpty())
                co_return ModelFinding{ModelEndpoint{url, m_config.modelName}, {}};
            problem =
                unusable(url, answer->status, listed) + QStringLiteral("; set QUILLO_MODEL_NAME");
        } else if (listed && problem.isEmpty()) {
            problem = unusable(url, answer->status, listed);
        } else {
            tried += shownUrl(url); // on loopback, something that is not a model server
        }
    }
    if (problem.isEmpty() && urlConfigured)
        problem = shownUrl(m_config.modelUrl) + QStringLiteral(" does not answer");
    if (problem.isEmpty()) {
        problem = QStringLiteral("no model server answers at %1; start one or set QUILLO_MODEL_URL")
                      .arg(tried.isEmpty() ? QStringLiteral("no address")
                                           : tried.join(QStringLiteral(", ")));
    }
    co_return ModelFinding{std::nullopt, problem};
}

} // namespace quillo::server
