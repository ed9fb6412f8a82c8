// SPDX-License-Identifier: Apache-2.0
#include "ProfileSettings.h"

#include "EnumChoices.h"
#include "desktop/LoginItem.h"
#include "model/Languages.h"
#include "model/TextHelpers.h"
#include "repository/ChatRepository.h"

#include <QVariantMap>

namespace quillo {

ProfileSettings::ProfileSettings(ChatRepository& repository, LoginItem& loginItem, QObject* parent)
    : QObject(parent)
    , m_repository(repository)
    , m_loginItem(loginItem) {
    connect(&repository, &ChatRepository::stateChanged, this, &ProfileSettings::documentChanged);
}

bool ProfileSettings::setupCompleted() const {
    return m_repository.state().profile.setupCompleted;
}

QString ProfileSettings::displayName() const {
    return m_repository.state().profile.displayName;
}

void ProfileSettings::setDisplayName(const QString& name) {
    m_repository.editing().saveProfile(
        [name](UserProfile& profile) { profile.displayName = name; });
}

QString ProfileSettings::nativeLanguage() const {
    return m_repository.state().profile.nativeLanguage;
}

void ProfileSettings::setNativeLanguage(const QString& language) {
    m_repository.editing().saveProfile(
        [language](UserProfile& profile) { profile.nativeLanguage = language; });
}

QString ProfileSettings::about() const {
    return m_repository.state().profile.about;
}

void ProfileSettings::setAbout(const QString& about) {
    m_repository.editing().saveProfile([about](UserProfile& profile) { profile.about = about; });
}

QString ProfileSettings::interests() const {
    return m_repository.state().profile.interests.join(QStringLiteral(", "));
}

void ProfileSettings::setInterests(const QString& interests) {
    m_repository.editing().saveProfile(
        [list = parseList(interests)](UserProfile& profile) { profile.interests = list; });
}

bool ProfileSettings::progressiveDifficulty() const {
    return m_repository.state().profile.progressiveDifficulty;
}

void ProfileSettings::setProgressiveDifficulty(bool on) {
    m_repository.editing().saveProfile(
        [on](UserProfile& profile) { profile.progressiveDifficulty = on; });
}

QVariantList ProfileSettings::languages() const {
    QVariantList languages;
    for (const LanguageSettings& settings : m_repository.state().profile.languages)
        languages.append(QVariantMap{
            {QStringLiteral("language"), settings.language},
            {QStringLiteral("level"), indexOf(settings.level)},
            {QStringLiteral("replyLength"), indexOf(settings.replyLength)},
            {QStringLiteral("corrections"), indexOf(settings.corrections)},
            {QStringLiteral("showsRomanization"), settings.showsRomanization},
            {QStringLiteral("supportsRomanization"), supportsRomanization(settings.language)}});
    return languages;
}

bool ProfileSettings::botsCanStartConversations() const {
    return m_repository.state().botsCanStartConversations;
}

void ProfileSettings::setBotsCanStartConversations(bool on) {
    m_repository.editing().setBotsCanStartConversations(on);
}

bool ProfileSettings::notificationsEnabled() const {
    return m_repository.state().notificationsEnabled;
}

void ProfileSettings::setNotificationsEnabled(bool on) {
    m_repository.editing().setNotificationsEnabled(on);
}

bool ProfileSettings::keepRunningWhenClosed() const {
    return m_repository.state().keepRunningWhenClosed;
}

void ProfileSettings::setKeepRunningWhenClosed(bool on) {
    m_repository.editing().setKeepRunningWhenClosed(on);
}

bool ProfileSettings::wordTranslations() const {
    return m_repository.state().wordTranslations;
}

void ProfileSettings::setWordTranslations(bool on) {
    m_repository.editing().setWordTranslations(on);
}

int ProfileSettings::theme() const {
    return indexOf(m_repository.state().theme);
}

void ProfileSettings::setTheme(int index) {
    m_repository.editing().setTheme(caseAt(index, m_repository.state().theme));
}

double ProfileSettings::textSize() const {
    return m_repository.state().textSettings.textSize;
}

void ProfileSettings::setTextSize(double size) {
    setTextSetting(&TextSettings::textSize, size);
}

double ProfileSettings::lineSpacing() const {
    return m_repository.state().textSettings.lineSpacing;
}

void ProfileSettings::setLineSpacing(double spacing) {
    setTextSetting(&TextSettings::lineSpacing, spacing);
}

double ProfileSettings::readingSize() const {
    return m_repository.state().textSettings.readingSize;
}

void ProfileSettings::setReadingSize(double size) {
    setTextSetting(&TextSettings::readingSize, size);
}

double ProfileSettings::readingGap() const {
    return m_repository.state().textSettings.readingGap;
}

void ProfileSettings::setReadingGap(double gap) {
    setTextSetting(&TextSettings::readingGap, gap);
}

void ProfileSettings::setTextSetting(double TextSettings::*field, double value) {
    TextSettings settings = m_repository.state().textSettings;
    settings.*field = value;
    m_repository.editing().setTextSettings(settings);
}

void ProfileSettings::editLanguage(const QString& language,
                                   const std::function<void(LanguageSettings&)>& edit) {
    LanguageSettings settings = m_repository.state().profile.settings(language);
    edit(settings);
    m_repository.editing().saveLanguage(settings);
}

void ProfileSettings::resetTextSettings() {
    m_repository.editing().setTextSettings(TextSettings());
}

bool ProfileSettings::openAtLogin() const {
    return m_loginItem.isOn();
}

void ProfileSettings::setOpenAtLogin(bool on) {
    if (const auto failure = m_loginItem.set(on))
        Q_EMIT problem(*failure);
    Q_EMIT openAtLoginChanged();
}

bool ProfileSettings::managedByInstaller() const {
    return m_loginItem.managedByInstaller();
}

QStringList ProfileSettings::levelTitles() {
    return titlesOf<CefrLevel>();
}

QStringList ProfileSettings::replyLengthTitles() {
    return titlesOf<ReplyLength>();
}

QStringList ProfileSettings::correctionTitles() {
    return titlesOf<CorrectionLevel>();
}

QStringList ProfileSettings::themeTitles() {
    return titlesOf<ThemeChoice>();
}

int ProfileSettings::ageGroup() const {
    return indexOf(m_repository.state().profile.ageGroup);
}

void ProfileSettings::setAgeGroup(int index) {
    const UserAgeGroup group = caseAt(index, m_repository.state().profile.ageGroup);
    m_repository.editing().saveProfile([group](UserProfile& profile) { profile.ageGroup = group; });
}

QStringList ProfileSettings::ageGroupTitles() {
    return titlesOf<UserAgeGroup>();
}

void ProfileSettings::completeOnboarding(const QString& name, const QString& nativeLanguage,
                                         const QStringList& languages, const QString& interests,
                                         int ageGroup) {
    // Setting up starts every profile as an adult's; the choice on the screen follows at once.
    m_repository.editing().completeOnboarding(name, nativeLanguage, languages,
                                              parseList(interests));
    if (m_repository.state().profile.setupCompleted)
        setAgeGroup(ageGroup);
}

void ProfileSettings::setLevel(const QString& language, int level) {
    editLanguage(language, [level](LanguageSettings& settings) {
        settings.level = caseAt(level, settings.level);
    });
}

void ProfileSettings::setReplyLength(const QString& language, int length) {
    editLanguage(language, [length](LanguageSettings& settings) {
        settings.replyLength = caseAt(length, settings.replyLength);
    });
}

void ProfileSettings::setCorrections(const QString& language, int level) {
    editLanguage(language, [level](LanguageSettings& settings) {
        settings.corrections = caseAt(level, settings.corrections);
    });
}

void ProfileSettings::setPronunciation(const QString& language, bool on) {
    editLanguage(language, [on](LanguageSettings& settings) { settings.showsRomanization = on; });
}

void ProfileSettings::addLanguage(const QString& name) {
    m_repository.editing().addLanguage(name);
}

void ProfileSettings::removeLanguage(const QString& name) {
    m_repository.editing().removeLanguage(name);
}

QString ProfileSettings::toggleListItem(const QString& list, const QString& item) {
    return quillo::toggleListItem(list, item);
}

bool ProfileSettings::listHolds(const QString& list, const QString& item) {
    const QStringList entries = parseList(list);
    return std::any_of(entries.cbegin(), entries.cend(), [&item](const QString& entry) {
        return entry.compare(item, Qt::CaseInsensitive) == 0;
    });
}

} // namespace quillo
