// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/LanguageSettings.h"
#include "model/TextSettings.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace quillo {

class ChatRepository;
class LoginItem;

// What the onboarding and settings screens read and change: the profile, the practised
// languages with their settings, the preference switches, the theme and the reading settings.
// Every change goes through the repository's edit step; the properties follow the document.
class ProfileSettings : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns the settings")
    Q_PROPERTY(bool setupCompleted READ setupCompleted NOTIFY documentChanged)
    Q_PROPERTY(QString displayName READ displayName WRITE setDisplayName NOTIFY documentChanged)
    Q_PROPERTY(
        QString nativeLanguage READ nativeLanguage WRITE setNativeLanguage NOTIFY documentChanged)
    Q_PROPERTY(QString about READ about WRITE setAbout NOTIFY documentChanged)
    // An index into ageGroupTitles; an under-18 user never gets a flirty contact.
    Q_PROPERTY(int ageGroup READ ageGroup WRITE setAgeGroup NOTIFY documentChanged)
    Q_PROPERTY(QStringList ageGroupTitles READ ageGroupTitles CONSTANT)
    // The interests as the comma-separated field shows them.
    Q_PROPERTY(QString interests READ interests WRITE setInterests NOTIFY documentChanged)
    Q_PROPERTY(bool progressiveDifficulty READ progressiveDifficulty WRITE setProgressiveDifficulty
                   NOTIFY documentChanged)
    // [{language, level, replyLength, showsRomanization, supportsRomanization}], levels and
    // lengths as picker indexes.
    Q_PROPERTY(QVariantList languages READ languages NOTIFY documentChanged)
    Q_PROPERTY(bool botsCanStartConversations READ botsCanStartConversations WRITE
                   setBotsCanStartConversations NOTIFY documentChanged)
    Q_PROPERTY(bool notificationsEnabled READ notificationsEnabled WRITE setNotificationsEnabled
                   NOTIFY documentChanged)
    // Closing the window leaves Quillo running where there is no tray to stay in.
    Q_PROPERTY(bool keepRunningWhenClosed READ keepRunningWhenClosed WRITE setKeepRunningWhenClosed
                   NOTIFY documentChanged)
    Q_PROPERTY(bool wordTranslations READ wordTranslations WRITE setWordTranslations NOTIFY
                   documentChanged)
    Q_PROPERTY(int theme READ theme WRITE setTheme NOTIFY documentChanged)
    Q_PROPERTY(double textSize READ textSize WRITE setTextSize NOTIFY documentChanged)
    Q_PROPERTY(double lineSpacing READ lineSpacing WRITE setLineSpacing NOTIFY documentChanged)
    Q_PROPERTY(double readingSize READ readingSize WRITE setReadingSize NOTIFY documentChanged)
    Q_PROPERTY(double readingGap READ readingGap WRITE setReadingGap NOTIFY documentChanged)
    Q_PROPERTY(bool openAtLogin READ openAtLogin WRITE setOpenAtLogin NOTIFY openAtLoginChanged)
    // Installed as a service of the user's session: the switch above is not how it starts.
    Q_PROPERTY(bool managedByInstaller READ managedByInstaller CONSTANT)
    Q_PROPERTY(QStringList levelTitles READ levelTitles CONSTANT)
    Q_PROPERTY(QStringList replyLengthTitles READ replyLengthTitles CONSTANT)
    // How much of what the user writes is corrected: "Off", "When I ask", ...
    Q_PROPERTY(QStringList correctionTitles READ correctionTitles CONSTANT)
    Q_PROPERTY(QStringList themeTitles READ themeTitles CONSTANT)

public:
    ProfileSettings(ChatRepository& repository, LoginItem& loginItem, QObject* parent = nullptr);

    bool setupCompleted() const;
    QString displayName() const;
    void setDisplayName(const QString& name);
    QString nativeLanguage() const;
    void setNativeLanguage(const QString& language);
    QString about() const;
    void setAbout(const QString& about);
    QString interests() const;
    void setInterests(const QString& interests);
    bool progressiveDifficulty() const;
    void setProgressiveDifficulty(bool on);
    QVariantList languages() const;
    bool botsCanStartConversations() const;
    void setBotsCanStartConversations(bool on);
    bool notificationsEnabled() const;
    void setNotificationsEnabled(bool on);
    bool keepRunningWhenClosed() const;
    void setKeepRunningWhenClosed(bool on);
    bool wordTranslations() const;
    void setWordTranslations(bool on);
    int theme() const;
    void setTheme(int index);
    double textSize() const;
    void setTextSize(double size);
    double lineSpacing() const;
    void setLineSpacing(double spacing);
    double readingSize() const;
    void setReadingSize(double size);
    double readingGap() const;
    void setReadingGap(double gap);
    bool openAtLogin() const;
    void setOpenAtLogin(bool on);
    bool managedByInstaller() const;
    static QStringList levelTitles();
    static QStringList replyLengthTitles();
    static QStringList correctionTitles();
    static QStringList themeTitles();
    int ageGroup() const;
    void setAgeGroup(int index);
    static QStringList ageGroupTitles();

    // Sets the user up as onboarding does, then records the age group they chose (an index into
    // ageGroupTitles).
    Q_INVOKABLE void completeOnboarding(const QString& name, const QString& nativeLanguage,
                                        const QStringList& languages, const QString& interests,
                                        int ageGroup);
    Q_INVOKABLE void setLevel(const QString& language, int level);
    Q_INVOKABLE void setReplyLength(const QString& language, int length);
    Q_INVOKABLE void setCorrections(const QString& language, int level);
    Q_INVOKABLE void setPronunciation(const QString& language, bool on);
    Q_INVOKABLE void addLanguage(const QString& name);
    Q_INVOKABLE void removeLanguage(const QString& name);
    Q_INVOKABLE void resetTextSettings();

    // The interest chips: `item` added to or removed from the comma-separated `list`.
    Q_INVOKABLE static QString toggleListItem(const QString& list, const QString& item);
    Q_INVOKABLE static bool listHolds(const QString& list, const QString& item);

Q_SIGNALS:
    void documentChanged();
    void openAtLoginChanged();
    // Turning the login item on or off failed; `line` says so.
    void problem(const QString& line);

private:
    void setTextSetting(double TextSettings::*field, double value);
    void editLanguage(const QString& language, const std::function<void(LanguageSettings&)>& edit);

    ChatRepository& m_repository;
    LoginItem& m_loginItem;
};

} // namespace quillo
