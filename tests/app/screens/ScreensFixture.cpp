// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"

#include "TestRecords.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>

namespace quillo::screentest {

const QString ScreensTest::japaneseId = QStringLiteral("yui");
const QString ScreensTest::russianId = QStringLiteral("sasha");
const QString ScreensTest::spanishId = QStringLiteral("lucia");

namespace {

QStringList* captured = nullptr;
QtMessageHandler previousHandler = nullptr;

// Warnings from QML (bindings, missing properties, type errors) arrive through Qt's message
// handler rather than the engine's signal when they happen at run time.
void capture(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const bool fromQml = QByteArray(context.category ? context.category : "").startsWith("qml") ||
                         QByteArray(context.category ? context.category : "").startsWith("js") ||
                         message.contains(QStringLiteral(".qml"));
    if (captured && type >= QtWarningMsg && fromQml)
        captured->append(message);
    if (previousHandler)
        previousHandler(type, context, message);
}

ChatMessage chatMessage(const QString& botId, MessageRole role, qint64 at, const QString& text,
                        QList<WordGloss> words = {}) {
    return {botId + QString::number(at),
            botId,
            role,
            text,
            std::move(words),
            at,
            role == MessageRole::User ? MessageSource::User : MessageSource::Provider,
            {}};
}

} // namespace

void ScreensTest::SetUp() {
    config.releaseVersion = QStringLiteral("9.1");
    config.releaseUrl = QStringLiteral("/download");
    ApiTest::SetUp();
    ASSERT_TRUE(support.isValid());
    qputenv("QUILLO_SUPPORT_DIR", support.path().toUtf8());
    qputenv("QUILLO_API_URL", QStringLiteral("http://127.0.0.1:%1").arg(port()).toUtf8());
    qputenv("QUILLO_TRANSLATE_URL", translate.url().toUtf8());
    captured = &messages;
    previousHandler = qInstallMessageHandler(capture);
}

void ScreensTest::TearDown() {
    if (controller)
        controller->stop();
    screens.reset();
    context.reset();
    controller.reset();
    // Network managers go with deleteLater; their kept-alive connections would hold the
    // service's shutdown until they time out.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    qInstallMessageHandler(previousHandler);
    captured = nullptr;
    qunsetenv("QUILLO_SUPPORT_DIR");
    qunsetenv("QUILLO_API_URL");
    qputenv("QUILLO_TRANSLATE_URL", "http://127.0.0.1:9");
    ApiTest::TearDown();
}

StoredState ScreensTest::seededDocument() {
    StoredState state;
    state.profile.displayName = QStringLiteral("Ana");
    state.profile.nativeLanguage = QStringLiteral("English");
    state.profile.setupCompleted = true;
    state.profile.interests = {QStringLiteral("music"), QStringLiteral("travel")};

    BotProfile yui = testrecords::contact(japaneseId);
    yui.displayName = QStringLiteral("Yui Tanaka");
    yui.targetLanguage = QStringLiteral("Japanese");
    yui.accent = QStringLiteral("#FF7FA8");
    yui.memories = {QStringLiteral("Ana is going to Kyoto in May")};
    BotProfile sasha = testrecords::contact(russianId);
    sasha.displayName = QStringLiteral("Sasha Volkov");
    sasha.targetLanguage = QStringLiteral("Russian");
    sasha.accent = QStringLiteral("#5BB6FF");
    BotProfile lucia = testrecords::contact(spanishId);
    lucia.displayName = QStringLiteral("Lucía Ortega");
    lucia.targetLanguage = QStringLiteral("Spanish");
    lucia.accent = QStringLiteral("#FF9466");
    state.bots = {yui, sasha, lucia};

    const qint64 t = 1'700'000'000'000;
    state.messages = {
        chatMessage(russianId, MessageRole::Assistant, t - 9'000'000,
                    QStringLiteral("Привет! Как прошла твоя неделя?")),
        chatMessage(russianId, MessageRole::User, t - 8'000'000,
                    QStringLiteral("Хорошо, спасибо! Я много работала.")),
        chatMessage(spanishId, MessageRole::Assistant, t - 7'000'000,
                    QStringLiteral("¡Hola Ana! ¿Qué música escuchas estos días?"),
                    {{QStringLiteral("música"), QStringLiteral("music")}}),
        chatMessage(japaneseId, MessageRole::User, t - 6'000'000,
                    QStringLiteral("こんにちは！京都に行きます。")),
        chatMessage(japaneseId, MessageRole::Assistant, t - 5'000'000,
                    QStringLiteral("すごい！ありがとう、たのしみですね。\nいつ行きますか？"),
                    {{QStringLiteral("すごい"), QStringLiteral("amazing")}}),
    };
    state.lastReadAt.insert(russianId, t - 8'000'000);
    state.lastReadAt.insert(japaneseId, t - 6'000'000);
    state = state.withSyncedLanguages();
    for (LanguageSettings& settings : state.profile.languages) {
        if (settings.language == QStringLiteral("Japanese"))
            settings.showsRomanization = true;
        settings.level = CefrLevel::A2;
    }
    return state;
}

void ScreensTest::seed(const StoredState& state, bool signedIn) {
    StateStore store(support.filePath(QStringLiteral("state.json")));
    store.save(state);
    store.flush();
    if (signedIn) {
        Account account;
        account.email = QStringLiteral("ana@example.com");
        SessionStore(support.filePath(QStringLiteral("session.json")))
            .signedIn({ApiTest::signIn(account.email), account});
    }
}

void ScreensTest::launch(AppContext::Desktop desktop) {
    controller = std::make_unique<AppController>(appClock);
    context = std::make_unique<AppContext>(*controller, std::move(desktop));
    screens = std::make_unique<ScreenEngine>(*context);
    ASSERT_TRUE(screens->loadMainWindow()) << screens->warnings().join(u'\n').toStdString();
    controller->start(*context, false);
    ASSERT_TRUE(spinUntil([this] { return window()->isVisible() && window()->isExposed(); }));
    bool framed = false;
    const QMetaObject::Connection frames = QObject::connect(window(), &QQuickWindow::frameSwapped,
                                                            window(), [&framed] { framed = true; });
    window()->update();
    const bool drawn = spinUntil([&framed] { return framed; });
    QObject::disconnect(frames);
    ASSERT_TRUE(drawn);
}

namespace {

void collect(QQuickItem* item, const QString& objectName, QList<QQuickItem*>& found) {
    if (item->objectName() == objectName)
        found.append(item);
    for (QQuickItem* child : item->childItems())
        collect(child, objectName, found);
}

} // namespace

QList<QQuickItem*> ScreensTest::items(const QString& objectName) const {
    QList<QQuickItem*> found;
    collect(window()->contentItem(), objectName, found);
    return found;
}

QQuickItem* ScreensTest::item(const QString& objectName) const {
    const QList<QQuickItem*> found = items(objectName);
    return found.isEmpty() ? nullptr : found.first();
}

QString ScreensTest::textOf(QQuickItem* item) {
    return item ? item->property("text").toString() : QString();
}

QPoint ScreensTest::centreOf(QQuickItem* item) {
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

void ScreensTest::typeInto(QWindow* window, const QString& text) {
    for (const QChar c : text)
        QTest::keyClick(window, c.toLatin1());
}

QQuickItem* ScreensTest::wordItem(const QString& text) const {
    for (QQuickItem* word : items(QStringLiteral("word"))) {
        if (word->property("piece").toMap().value(QStringLiteral("text")).toString() == text)
            return word;
    }
    return nullptr;
}

int ScreensTest::bubbles() const {
    return int(items(QStringLiteral("bubble")).size());
}

bool ScreensTest::spinUntil(const std::function<bool()>& done, int turns, qint64 step) {
    for (int turn = 0; turn < turns; ++turn) {
        if (done())
            return true;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        animations.step(16);
        if (step > 0)
            appClock.advance(step);
        // Loopback answers come from other threads; give them a moment, not a timer.
        QThread::yieldCurrentThread();
        QThread::usleep(2000);
    }
    return done();
}

void ScreensTest::grab(const QString& name, QQuickWindow* shown) {
    QQuickWindow* target = shown ? shown : window();
    // A second of frames finishes every transition of the screens.
    for (int frame = 0; frame < 60; ++frame) {
        animations.step(16);
        QCoreApplication::processEvents();
    }
    const QImage image = target->grabWindow();
    ASSERT_FALSE(image.isNull()) << name.toStdString();
    const QString folder = QCoreApplication::applicationDirPath() + QStringLiteral("/screens");
    QDir().mkpath(folder);
    ASSERT_TRUE(image.save(folder + u'/' + name + QStringLiteral(".png"))) << name.toStdString();
}

QStringList ScreensTest::warnings() const {
    return screens ? screens->warnings() + messages : messages;
}

} // namespace quillo::screentest
