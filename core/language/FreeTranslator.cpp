// SPDX-License-Identifier: Apache-2.0
#include "FreeTranslator.h"

#include "common/LogCategories.h"
#include "model/Languages.h"
#include "model/TextHelpers.h"
#include "service/HttpRequest.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QNetworkRequest>
#include <QSet>
#include <QTextBoundaryFinder>
#include <QUrlQuery>

namespace quillo {

namespace {

using Fetched = Result<QByteArray, TranslationFailure>;

// However slowly bytes trickle in, a request ends after this long.
constexpr std::chrono::milliseconds overallLimit{60'000};

HttpLimits limits(std::chrono::milliseconds silence) {
    return {silence, overallLimit};
}
constexpr qsizetype maxAlternatives = 3;

const QHash<QString, QString>& codeTable() {
    // The endpoints' own older codes for Hebrew ("iw") and Filipino ("tl") are the ones they
    // answer best to, and Cantonese readers get Traditional characters.
    static const QHash<QString, QString> table{
        {QStringLiteral("english"), QStringLiteral("en")},
        {QStringLiteral("portuguese"), QStringLiteral("pt")},
        {QStringLiteral("spanish"), QStringLiteral("es")},
        {QStringLiteral("french"), QStringLiteral("fr")},
        {QStringLiteral("german"), QStringLiteral("de")},
        {QStringLiteral("italian"), QStringLiteral("it")},
        {QStringLiteral("dutch"), QStringLiteral("nl")},
        {QStringLiteral("russian"), QStringLiteral("ru")},
        {QStringLiteral("ukrainian"), QStringLiteral("uk")},
        {QStringLiteral("polish"), QStringLiteral("pl")},
        {QStringLiteral("czech"), QStringLiteral("cs")},
        {QStringLiteral("slovak"), QStringLiteral("sk")},
        {QStringLiteral("korean"), QStringLiteral("ko")},
        {QStringLiteral("swedish"), QStringLiteral("sv")},
        {QStringLiteral("norwegian"), QStringLiteral("no")},
        {QStringLiteral("danish"), QStringLiteral("da")},
        {QStringLiteral("finnish"), QStringLiteral("fi")},
        {QStringLiteral("greek"), QStringLiteral("el")},
        {QStringLiteral("turkish"), QStringLiteral("tr")},
        {QStringLiteral("romanian"), QStringLiteral("ro")},
        {QStringLiteral("hungarian"), QStringLiteral("hu")},
        {QStringLiteral("bulgarian"), QStringLiteral("bg")},
        {QStringLiteral("croatian"), QStringLiteral("hr")},
        {QStringLiteral("serbian"), QStringLiteral("sr")},
        {QStringLiteral("japanese"), QStringLiteral("ja")},
        {QStringLiteral("chinese"), QStringLiteral("zh-CN")},
        {QStringLiteral("arabic"), QStringLiteral("ar")},
        {QStringLiteral("hebrew"), QStringLiteral("iw")},
        {QStringLiteral("persian"), QStringLiteral("fa")},
        {QStringLiteral("hindi"), QStringLiteral("hi")},
        {QStringLiteral("urdu"), QStringLiteral("ur")},
        {QStringLiteral("bengali"), QStringLiteral("bn")},
        {QStringLiteral("thai"), QStringLiteral("th")},
        {QStringLiteral("vietnamese"), QStringLiteral("vi")},
        {QStringLiteral("indonesian"), QStringLiteral("id")},
        {QStringLiteral("malay"), QStringLiteral("ms")},
        {QStringLiteral("filipino"), QStringLiteral("tl")},
        {QStringLiteral("swahili"), QStringLiteral("sw")},
        {QStringLiteral("cantonese"), QStringLiteral("zh-TW")},
    };
    return table;
}

// Two characters as a reader counts them (a letter with a combining accent is one), each
// starting with a letter of any script.
bool isTwoLetters(const QString& text) {
    QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    for (qsizetype start = 0, end = graphemes.toNextBoundary(); end != -1;
         start = end, end = graphemes.toNextBoundary()) {
        const QChar lead = text.at(start);
        const char32_t first = lead.isHighSurrogate() && end - start > 1
                                   ? QChar::surrogateToUcs4(lead, text.at(start + 1))
                                   : lead.unicode();
        if (++count > 2 || !QChar::isLetter(first))
            return false;
    }
    return count == 2;
}

// Scheme, host and port of an http(s) URL; nothing else of it.
std::optional<QUrl> originOf(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || url.host().isEmpty() || (scheme != u"http" && scheme != u"https"))
        return std::nullopt;
    QUrl origin;
    origin.setScheme(scheme);
    origin.setHost(url.host());
    origin.setPort(url.port());
    return origin;
}

QUrl endpoint(const QUrl& origin, const QString& path,
              const QList<std::pair<QString, QString>>& items) {
    // QUrlQuery reads "%41" or "+" in a value as already encoded, so every value is encoded here
    // first and the text arrives exactly as it was selected.
    QUrlQuery query;
    for (const auto& [name, value] : items)
        query.addQueryItem(name, QString::fromLatin1(QUrl::toPercentEncoding(value)));
    QUrl url = origin;
    url.setPath(path);
    url.setQuery(query);
    return url;
}

QString sourceCode(const QString& name) {
    return FreeTranslator::languageCode(name).value_or(QStringLiteral("auto"));
}

QString targetCode(const QString& name) {
    return FreeTranslator::languageCode(name).value_or(QStringLiteral("en"));
}

// What an endpoint's answer means here: its body, or why there is none.
QCoro::Task<Fetched> fetch(QCoro::Task<HttpAnswer> sending) {
    const HttpAnswer answer = co_await sending;
    if (answer.status && !answer.succeeded() && answer.whole())
        co_return Fetched(TranslationFailure{FreeTranslatorError::Unavailable, {}});
    if (!answer.whole()) {
        const QString why =
            answer.cut == HttpAnswer::Cut::Overall ? QStringLiteral("the request took too long")
            : answer.cut == HttpAnswer::Cut::Inactivity ? QStringLiteral("no answer came in time")
                                                        : answer.failure;
        co_return Fetched(TranslationFailure{std::nullopt, why});
    }
    if (!answer.succeeded())
        co_return Fetched(TranslationFailure{FreeTranslatorError::Unavailable, {}});
    co_return Fetched(answer.body);
}

QCoro::Task<TranslationResult<Meaning>> meaningOf(QCoro::Task<Fetched> fetching, QString text) {
    Fetched fetched = co_await fetching;
    if (!fetched)
        co_return TranslationResult<Meaning>(std::move(fetched).error());
    std::optional<Meaning> meaning = FreeTranslator::parseLookup(fetched.value(), text);
    if (!meaning)
        co_return TranslationResult<Meaning>(
            TranslationFailure{FreeTranslatorError::NoTranslation, {}});
    co_return TranslationResult<Meaning>(std::move(*meaning));
}

QCoro::Task<TranslationResult<QStringList>> translationsOf(QCoro::Task<Fetched> fetching,
                                                           qsizetype expected) {
    Fetched fetched = co_await fetching;
    if (!fetched)
        co_return TranslationResult<QStringList>(std::move(fetched).error());
    std::optional<QStringList> translations = FreeTranslator::parseBatch(fetched.value(), expected);
    if (!translations)
        co_return TranslationResult<QStringList>(
            TranslationFailure{FreeTranslatorError::Unreadable, {}});
    co_return TranslationResult<QStringList>(std::move(*translations));
}

QCoro::Task<TranslationResult<QStringList>> nothingToTranslate() {
    co_return TranslationResult<QStringList>(QStringList());
}

// The translation of one batch entry: a string, or the string that leads an array (the shape
// used when the endpoint also names the language it detected).
QString batchEntry(const QJsonValue& entry) {
    if (entry.isString())
        return trimmedText(entry.toString());
    if (entry.isArray()) {
        const QJsonValue first = entry.toArray().at(0); // undefined when empty
        if (first.isString())
            return trimmedText(first.toString());
    }
    return {};
}

} // namespace

QString TranslationFailure::description() const {
    if (!error)
        return QStringLiteral("network: ") + network;
    switch (*error) {
    case FreeTranslatorError::Unavailable:
        return QStringLiteral("translation unavailable");
    case FreeTranslatorError::Unreadable:
        return QStringLiteral("translation unreadable");
    case FreeTranslatorError::NoTranslation:
        return QStringLiteral("no translation");
    }
    return {};
}

FreeTranslator::Origins FreeTranslator::Origins::fromEnvironment() {
    Origins origins{QUrl(QStringLiteral("https://translate.googleapis.com")),
                    QUrl(QStringLiteral("https://clients5.google.com"))};
    const QString custom = qEnvironmentVariable("QUILLO_TRANSLATE_URL").trimmed();
    if (custom.isEmpty())
        return origins;
    if (const auto origin = originOf(custom)) {
        origins.lookup = *origin;
        origins.batch = *origin;
    } else {
        qCWarning(lcTranslate).noquote()
            << "QUILLO_TRANSLATE_URL is not an http(s) URL, using the public endpoints:" << custom;
    }
    return origins;
}

FreeTranslator::FreeTranslator(Origins origins, std::chrono::milliseconds silenceLimit)
    : m_origins(std::move(origins))
    , m_silenceLimit(silenceLimit)
    , m_network(newNetwork()) {
    // No disk cache is ever set, and the default cookie jar lives in memory only.
}

FreeTranslator::~FreeTranslator() = default;

std::optional<QString> FreeTranslator::languageCode(const QString& name) {
    const QString key = languageKey(name);
    const auto known = codeTable().constFind(key);
    if (known != codeTable().constEnd())
        return *known;
    // A code given directly, such as "es".
    if (isTwoLetters(key))
        return key;
    return std::nullopt;
}

QCoro::Task<TranslationResult<Meaning>> FreeTranslator::lookup(QString text, QString from,
                                                               QString to) const {
    const QString target = targetCode(to);
    const QUrl url = endpoint(m_origins.lookup, QStringLiteral("/translate_a/single"),
                              {{QStringLiteral("client"), QStringLiteral("gtx")},
                               {QStringLiteral("sl"), sourceCode(from)},
                               {QStringLiteral("tl"), target},
                               {QStringLiteral("hl"), target},
                               {QStringLiteral("dt"), QStringLiteral("t")},
                               {QStringLiteral("dt"), QStringLiteral("bd")},
                               {QStringLiteral("dj"), QStringLiteral("1")},
                               {QStringLiteral("q"), text}});
    QNetworkRequest request(url);
    request.setRawHeader("User-Agent", "Mozilla/5.0");
    return meaningOf(
        fetch(sendRequest(m_network, "GET", request, std::nullopt, limits(m_silenceLimit))),
        std::move(text));
}

QCoro::Task<TranslationResult<QStringList>>
FreeTranslator::translateMany(QStringList texts, QString from, QString to) const {
    // Asking the endpoint to translate nothing could only fail.
    if (texts.isEmpty())
        return nothingToTranslate();
    const QUrl url = endpoint(m_origins.batch, QStringLiteral("/translate_a/t"),
                              {{QStringLiteral("client"), QStringLiteral("dict-chrome-ex")},
                               {QStringLiteral("sl"), sourceCode(from)},
                               {QStringLiteral("tl"), targetCode(to)}});
    QNetworkRequest request(url);
    request.setRawHeader("User-Agent", "Mozilla/5.0");
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QByteArrayLiteral("application/x-www-form-urlencoded"));
    return translationsOf(
        fetch(sendRequest(m_network, "POST", request, batchBody(texts), limits(m_silenceLimit))),
        texts.size());
}

QByteArray FreeTranslator::batchBody(const QStringList& texts) {
    QByteArray body;
    for (const QString& text : texts) {
        if (!body.isEmpty())
            body += '&';
        // Qt leaves "~" alone by default; the endpoint's form-safe set has "*" instead.
        body += "q=" + text.toUtf8().toPercentEncoding("*", "~");
    }
    return body;
}

std::optional<Meaning> FreeTranslator::parseLookup(const QByteArray& body, const QString& text) {
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject answer = document.object();
    const QJsonValue sentences = answer.value(QStringLiteral("sentences"));
    if (!sentences.isArray())
        return std::nullopt;

    QString joined;
    for (const QJsonValue& sentence : sentences.toArray()) {
        const QJsonValue trans = sentence.toObject().value(QStringLiteral("trans"));
        if (trans.isString())
            joined += trans.toString();
    }
    const QString translation = trimmedText(joined);
    const QString folded = translation.toLower();
    // The endpoint hands back what it could not translate.
    if (translation.isEmpty() || folded == trimmedText(text).toLower())
        return std::nullopt;

    QSet<QString> used{folded};
    QStringList alternatives;
    for (const QJsonValue& entry : answer.value(QStringLiteral("dict")).toArray()) {
        for (const QJsonValue& term : entry.toObject().value(QStringLiteral("terms")).toArray()) {
            if (!term.isString() || isBlank(term.toString()))
                continue;
            const QString alternative = term.toString();
            if (used.contains(alternative.toLower()))
                continue;
            used.insert(alternative.toLower());
            alternatives.append(alternative);
            if (alternatives.size() == maxAlternatives)
                return Meaning{translation, alternatives};
        }
    }
    return Meaning{translation, alternatives};
}

std::optional<QStringList> FreeTranslator::parseBatch(const QByteArray& body, qsizetype expected) {
    if (expected == 0)
        return QStringList();
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isArray() || document.array().size() != expected)
        return std::nullopt;
    QStringList translations;
    translations.reserve(expected);
    for (const QJsonValue& entry : document.array())
        translations.append(batchEntry(entry));
    return translations;
}

} // namespace quillo
