// SPDX-License-Identifier: Apache-2.0
#include "AccountScreen.h"

#include "desktop/GoogleSignIn.h"
#include "repository/ChatRepository.h"
#include "service/ServiceAddress.h"

#include <QDir>

namespace quillo {

namespace {

const QString deleteFailed =
    QStringLiteral("Your account couldn't be deleted right now. Try again in a moment.");

// Where scripts/run writes the local user's code: the user's state directory, shown from ~.
QString localCodeHintFor(const QUrl& service) {
    if (!onThisComputer(service))
        return {};
    const QString home = QDir::homePath();
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (state.isEmpty())
        state = home + QStringLiteral("/.local/state");
    QString path = state + QStringLiteral("/quillo/local-access-code");
    if (path.startsWith(home + u'/'))
        path = u'~' + path.mid(home.size());
    return QStringLiteral("Running the service on this computer? scripts/run keeps your code in "
                          "%1.")
        .arg(path);
}

} // namespace

AccountScreen::AccountScreen(ChatRepository& repository, GoogleSignIn* google, const QUrl& service,
                             QObject* parent)
    : QObject(parent)
    , m_repository(repository)
    , m_google(google)
    , m_connectionWarning(travelsInClear(service)
                              ? QStringLiteral("Quillo at %1 is reached over plain http: your "
                                               "sign-in and chats travel unencrypted.")
                                    .arg(service.host())
                              : QString())
    , m_localCodeHint(localCodeHintFor(service)) {
    connect(&repository, &ChatRepository::accountChanged, this, &AccountScreen::accountChanged);
    if (m_google)
        connect(m_google, &GoogleSignIn::waitingChanged, this, &AccountScreen::busyChanged);
}

bool AccountScreen::waitingForBrowser() const {
    return m_google && m_google->waiting();
}

void AccountScreen::continueWithGoogle() {
    if (m_busy || !m_google)
        return;
    signingInWithGoogle();
}

void AccountScreen::cancelGoogle() {
    if (m_google)
        m_google->cancel();
}

AccountScreen::~AccountScreen() {
    m_lifetime.end();
}

bool AccountScreen::signedIn() const {
    return m_repository.account().has_value();
}

QString AccountScreen::email() const {
    const auto& account = m_repository.account();
    return account ? account->email : QString();
}

QString AccountScreen::returningEmail() const {
    return m_repository.accounts().returningEmail().value_or(QString());
}

void AccountScreen::signInWithCode(const QString& code) {
    if (m_busy)
        return;
    signingIn(code);
}

void AccountScreen::signOut() {
    if (m_busy)
        return;
    signingOut();
}

void AccountScreen::deleteAccount() {
    if (m_busy)
        return;
    deleting();
}

QCoro::Task<> AccountScreen::signingIn(QString code) {
    const Lifetime::Watch alive = m_lifetime.watch();
    setFailureLine({});
    setBusy(true);
    auto request = m_repository.accounts().signInWithCode(code);
    const AccountFlows::Outcome outcome = co_await request;
    if (!alive.ended())
        finishSignIn(outcome);
}

QCoro::Task<> AccountScreen::signingInWithGoogle() {
    const Lifetime::Watch alive = m_lifetime.watch();
    setFailureLine({});
    setBusy(true);
    auto browsing = m_google->idToken();
    const GoogleSignIn::Outcome token = co_await browsing;
    if (alive.ended())
        co_return;
    if (!token.ok()) {
        setBusy(false);
        // A cancelled sign-in says nothing.
        setFailureLine(token.error().message);
        co_return;
    }
    auto request = m_repository.accounts().signIn(token.value());
    const AccountFlows::Outcome outcome = co_await request;
    if (!alive.ended())
        finishSignIn(outcome);
}

void AccountScreen::finishSignIn(const AccountFlows::Outcome& outcome) {
    setBusy(false);
    if (!outcome.ok())
        setFailureLine(AccountFlows::failureLine(outcome.error()));
}

QCoro::Task<> AccountScreen::signingOut() {
    const Lifetime::Watch alive = m_lifetime.watch();
    setBusy(true);
    auto request = m_repository.accounts().signOut();
    co_await request;
    if (!alive.ended())
        setBusy(false);
}

QCoro::Task<> AccountScreen::deleting() {
    const Lifetime::Watch alive = m_lifetime.watch();
    setDeleteFailureLine({});
    setBusy(true);
    auto request = m_repository.accounts().deleteAccount();
    const AccountFlows::Outcome outcome = co_await request;
    if (alive.ended())
        co_return;
    setBusy(false);
    if (!outcome.ok())
        setDeleteFailureLine(deleteFailed);
}

void AccountScreen::setBusy(bool busy) {
    if (busy == m_busy)
        return;
    m_busy = busy;
    Q_EMIT busyChanged();
}

void AccountScreen::setFailureLine(const QString& line) {
    if (line == m_failureLine)
        return;
    m_failureLine = line;
    Q_EMIT failureLineChanged();
}

void AccountScreen::setDeleteFailureLine(const QString& line) {
    if (line == m_deleteFailureLine)
        return;
    m_deleteFailureLine = line;
    Q_EMIT deleteFailureLineChanged();
}

} // namespace quillo
