// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace quillo {

class ChatRepository;
struct StoredState;

// What the main window shows: the conversation on screen and the sheet above it. Selecting a
// conversation tells the repository, so that its replies arrive read and without notification.
class Navigation : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns its model")
    Q_PROPERTY(QString selectedBotId READ selectedBotId NOTIFY selectionChanged)
    Q_PROPERTY(Sheet sheet READ sheet NOTIFY sheetChanged)

public:
    enum class Sheet { None, Settings, NewContact, EditContact };
    Q_ENUM(Sheet)

    explicit Navigation(ChatRepository& repository, QObject* parent = nullptr);

    // Empty when no conversation is open.
    QString selectedBotId() const { return m_selected.value_or(QString()); }
    Sheet sheet() const { return m_sheet; }

    // Opens a contact's conversation and marks it read; an unknown contact changes nothing.
    Q_INVOKABLE void select(const QString& botId);
    Q_INVOKABLE void clearSelection();
    // Opens the conversation the user most likely wants now (see mostRelevantChat).
    Q_INVOKABLE void focusMostRelevantChat();

    Q_INVOKABLE void showSheet(quillo::Navigation::Sheet sheet);
    Q_INVOKABLE void closeSheet() { showSheet(Sheet::None); }

    // Whether the main window is on screen: a hidden window shows no conversation, so its
    // replies count as unread and raise notifications.
    bool windowShown() const { return m_windowShown; }
    void setWindowShown(bool shown);

    // A contact with unread messages (the newest unread first), else the most recent
    // conversation, else the first active contact; nothing without contacts.
    static std::optional<QString> mostRelevantChat(const StoredState& state);

Q_SIGNALS:
    void selectionChanged();
    void sheetChanged();

private:
    void setSelected(std::optional<QString> botId);

    ChatRepository& m_repository;
    std::optional<QString> m_selected;
    Sheet m_sheet = Sheet::None;
    bool m_windowShown = true;
};

} // namespace quillo
