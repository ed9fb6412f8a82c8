// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "LocalApp.h"
#include "ToolIO.h"

#include "language/FreeTranslator.h"
#include "service/HttpRequest.h"

#include <QJsonObject>

namespace quillo::tool {

namespace {

// One exchange with the service, read as a JSON object whatever the status: /readyz and the
// model check say what is wrong in the body of a 503.
struct ServiceAnswer {
    std::optional<int> status;
    QJsonObject json;
    QString failure;
};

ServiceAnswer ask(const QUrl& base, const QByteArray& method, const QString& path,
                  const std::optional<QString>& token) {
    QNetworkRequest request(base.resolved(QUrl(path)));
    request.setRawHeader("Accept", "application/json");
    if (token)
        request.setRawHeader("Authorization", "Bearer " + token->toUtf8());
    std::optional<QByteArray> body;
    if (method == "POST") {
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          QByteArrayLiteral("application/json"));
        body = QByteArrayLiteral("{}");
    }
    const HttpLimits limits{std::chrono::seconds(20), std::chrono::seconds(60)};
    const HttpAnswer answer =
        waitForResult(sendRequest(newNetwork(), method, request, std::move(body), limits));
    return {answer.status, QJsonDocument::fromJson(answer.body).object(), answer.failure};
}

// "name": "what" lines, their names lined up.
void say(const char* what, const QString& line) {
    printLine(QByteArray(what).leftJustified(11) + line.toUtf8());
}

QString text(const QJsonObject& object, QStringView key) {
    return object.value(key).toString();
}

// "llama3.2 at http://127.0.0.1:11434/v1", from what the service said.
QString modelAt(const QJsonObject& model) {
    const QString name = text(model, u"name");
    const QString url = text(model, u"url");
    if (name.isEmpty())
        return url;
    return url.isEmpty() ? name : name + QStringLiteral(" at ") + url;
}

const QString startModel =
    QStringLiteral("Start Ollama or llama.cpp on the service's computer, or set QUILLO_MODEL_URL "
                   "for the service.");

// The model as the service sees it, and a one-token test reply when someone is signed in.
bool checkModel(const QUrl& base, const QJsonObject& readiness,
                const std::optional<QString>& token) {
    const QJsonObject model = readiness.value(u"model").toObject();
    if (!model.value(u"ready").toBool()) {
        // The service's own finding says what it tried and what to do.
        const QString problem = text(model, u"problem");
        say("model",
            QStringLiteral("not answering: ") + (problem.isEmpty() ? startModel : problem + u'.'));
        return false;
    }
    if (!token) {
        say("model", QStringLiteral("ok: ") + modelAt(model) +
                         QStringLiteral(" (sign in to try a test reply)"));
        return true;
    }
    const ServiceAnswer check = ask(base, "POST", QStringLiteral("/v1/model/check"), token);
    const QString where = modelAt(check.json.isEmpty() ? model : check.json);
    if (check.status == 200 && check.json.value(u"ok").toBool()) {
        say("model", QStringLiteral("ok: ") + where + QStringLiteral(" gave a test reply"));
        return true;
    }
    if (check.status == 402) {
        say("model", QStringLiteral("found: ") + where +
                         QStringLiteral(", but today's replies are used up, so no test reply"));
        return true;
    }
    QString why = text(check.json, u"error");
    if (why.isEmpty())
        why = check.status ? QStringLiteral("status %1").arg(*check.status) : check.failure;
    say("model",
        where + QStringLiteral(" gave no test reply: ") + why + QStringLiteral(". ") + startModel);
    return false;
}

void checkDictation(const QJsonObject& readiness) {
    const QJsonObject transcribe = readiness.value(u"transcribe").toObject();
    if (transcribe.value(u"configured").toBool()) {
        const QString url = text(transcribe, u"url");
        say("dictation",
            QStringLiteral("ok: recordings go to ") +
                (url.isEmpty() ? QStringLiteral("the service's speech endpoint") : url));
    } else {
        say("dictation", QStringLiteral("off: set QUILLO_TRANSCRIBE_URL for the service to a "
                                        "speech-to-text endpoint to dictate"));
    }
}

void checkTranslation() {
    const FreeTranslator translator;
    const auto word = waitForResult(translator.lookup(
        QStringLiteral("hello"), QStringLiteral("English"), QStringLiteral("Spanish")));
    const auto batch = waitForResult(translator.translateMany(
        {QStringLiteral("good morning")}, QStringLiteral("English"), QStringLiteral("Spanish")));
    if (word.ok() && batch.ok()) {
        say("translate", QStringLiteral("ok: the public translate endpoints answer"));
        return;
    }
    const QString why = word.ok() ? batch.error().description() : word.error().description();
    say("translate", QStringLiteral("not reached: ") + why +
                         QStringLiteral(". Meanings on hover need them; the rest works without "
                                        "(QUILLO_TRANSLATE_URL points elsewhere)."));
}

} // namespace

int doctorCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Checks, in order, the service, the session, the model, dictation and the public "
        "translate endpoints, one line each. Exit status 0 when the service and the model "
        "answer, 1 otherwise."));
    if (const auto done = parseCommand(parser, QStringLiteral("doctor"), arguments))
        return *done;

    LocalApp app;
    const QUrl base = app.api.baseURL();
    const ServiceAnswer ready = ask(base, "GET", QStringLiteral("/readyz"), std::nullopt);
    if (!ready.status) {
        say("service", QStringLiteral("nothing answers at ") + base.toString() +
                           QStringLiteral(". Start it (scripts/run) or set QUILLO_API_URL."));
        return NoResult;
    }
    if (ready.json.isEmpty()) {
        say("service", QStringLiteral("something answers at ") + base.toString() +
                           QStringLiteral(", but not Quillo's service (status %1). Check "
                                          "QUILLO_API_URL.")
                               .arg(*ready.status));
        return NoResult;
    }
    const QString version = text(ready.json, u"version");
    say("service", QStringLiteral("ok: ") + base.toString() +
                       (version.isEmpty() ? QString() : QStringLiteral(", version ") + version));

    std::optional<QString> token = app.session.token();
    if (!token) {
        say("session", QStringLiteral("not signed in. Sign in in the app, or run quillo-tool "
                                      "sign-in --code CODE"));
    } else {
        const auto account = waitForResult(app.api.account(*token));
        if (account.ok()) {
            say("session", QStringLiteral("ok: signed in as ") + account->account.email);
        } else if (account.error().hasStatus(401)) {
            say("session", QStringLiteral("ended: the service no longer knows this sign-in. "
                                          "Sign in again."));
            token.reset();
        } else {
            say("session", QStringLiteral("not checked: ") + account.error().description());
        }
    }

    const bool modelAnswers = checkModel(base, ready.json, token);
    checkDictation(ready.json);
    checkTranslation();
    return modelAnswers ? Success : NoResult;
}

} // namespace quillo::tool
