// SPDX-License-Identifier: Apache-2.0
#include "HttpRequest.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <QCoroNetworkReply>

namespace quillo {

namespace {

struct DeleteLater {
    void operator()(QObject* object) const { object->deleteLater(); }
};

bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

} // namespace

std::shared_ptr<QNetworkAccessManager> newNetwork() {
    return std::shared_ptr<QNetworkAccessManager>(new QNetworkAccessManager, DeleteLater());
}

QCoro::Task<HttpAnswer> sendRequest(std::shared_ptr<QNetworkAccessManager> network,
                                    QByteArray method, QNetworkRequest request,
                                    std::optional<QByteArray> body, HttpLimits limits,
                                    CancelToken cancel) {
    HttpAnswer answer;
    if (cancel.isCancelled()) {
        answer.failure = QStringLiteral("cancelled");
        answer.cut = HttpAnswer::Cut::Cancelled;
        co_return answer;
    }
    request.setTransferTimeout(int(limits.inactivity.count()));
    // Deleted later: the coroutine resumes inside the reply's own finished signal.
    std::unique_ptr<QNetworkReply, DeleteLater> reply(
        body ? network->sendCustomRequest(request, method, *body)
             : network->sendCustomRequest(request, method));

    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, reply.get(), &QNetworkReply::abort);
    deadline.start(limits.overall);
    const QMetaObject::Connection onCancel =
        QObject::connect(cancel.trigger(), &Trigger::fired, reply.get(), &QNetworkReply::abort);

    co_await reply.get();
    const bool overallRanOut = !deadline.isActive();
    deadline.stop();
    QObject::disconnect(onCancel);

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid())
        answer.status = status.toInt();
    answer.body = reply->readAll();
    // Qt reports an error status as an error too; that is an answer, not a failure.
    const bool answeredWithError = answer.status && !isSuccess(*answer.status);
    if (reply->error() != QNetworkReply::NoError && !answeredWithError) {
        answer.failure = reply->errorString();
        if (cancel.isCancelled())
            answer.cut = HttpAnswer::Cut::Cancelled;
        else if (overallRanOut)
            answer.cut = HttpAnswer::Cut::Overall;
        else if (reply->error() == QNetworkReply::OperationCanceledError)
            answer.cut = HttpAnswer::Cut::Inactivity;
    }
    co_return answer;
}

} // namespace quillo
