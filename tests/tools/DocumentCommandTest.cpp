// SPDX-License-Identifier: Apache-2.0
#include "ToolRunner.h"

#include "model/StoredState.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QTemporaryDir>

using namespace quillo;

namespace {

ToolRun document(const QStringList& arguments) {
    return runQuilloTool(QStringList{QStringLiteral("document")} + arguments);
}

const QString check = QStringLiteral("check");
const QString normalize = QStringLiteral("normalize");

// Two contacts, one of them inactive, and three messages, one of which lost its contact.
const char* const sample = R"({
    "profile": {"displayName": "Ana", "setupCompleted": true,
                "languages": [{"language": "Spanish", "level": "B2"},
                              {"language": "Japanese"}]},
    "bots": [
        {"id": "l", "displayName": "Lucía", "targetLanguage": "Spanish", "topic": "food",
         "personality": "warm", "styleNote": "casual"},
        {"id": "k", "displayName": "Kenji", "targetLanguage": "Japanese", "topic": "trains",
         "personality": "calm", "styleNote": "polite", "isEnabled": false}],
    "messages": [
        {"id": "1", "botId": "l", "role": "USER", "text": "hola", "createdAt": 1},
        {"id": "2", "botId": "l", "role": "ASSISTANT", "text": "¡hola!", "createdAt": 2},
        {"id": "3", "botId": "gone", "role": "USER", "text": "?", "createdAt": 3}],
    "theme": "NEON", "someOldKey": 1})";

class DocumentCommandTest : public ::testing::Test {
protected:
    QString write(const char* name, const QByteArray& content) {
        const QString path = m_dir.filePath(QString::fromUtf8(name));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(DocumentCommandTest, CheckSummarisesADocumentThatLoads) {
    const QString path = write("state.json", sample);
    const ToolRun run = document({check, path});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.isEmpty());
    EXPECT_EQ(QString::fromUtf8(run.out), path + QStringLiteral(": a Quillo document\n"
                                                                "Onboarding: completed\n"
                                                                "Practised languages: Spanish B2, "
                                                                "Japanese A1\n"
                                                                "Contacts: 2\n"
                                                                "  Lucía: Spanish, 2 messages\n"
                                                                "  Kenji: Japanese (inactive), 0 "
                                                                "messages\n"
                                                                "Messages: 3, 1 of no contact\n"));

    const ToolRun fresh = document({check, write("fresh.json", "{}")});
    ASSERT_EQ(fresh.exitCode, 0);
    EXPECT_TRUE(fresh.out.contains("Onboarding: not completed"));
    EXPECT_TRUE(fresh.out.contains("Practised languages: none"));
}

TEST_F(DocumentCommandTest, CheckSaysWhyTheAppWouldNotLoadADocument) {
    const std::vector<std::pair<QByteArray, QString>> cases{
        {R"({"messages":[{"botId":"b","role":"USER"}]})",
         QStringLiteral("bad.json: messages[0].text: missing")},
        {R"({"bots":[{"targetLanguage":"Spanish"}]})",
         QStringLiteral("bad.json: bots[0].displayName: missing")},
        {R"({"provider":"x","messages":[]})",
         QStringLiteral("bad.json: of the earlier format (top-level \"provider\")")},
        {R"({"notificationPreferences":{}})", QStringLiteral("\"notificationPreferences\"")},
        {"[]", QStringLiteral("bad.json: expected an object")},
    };
    for (const auto& [content, message] : cases) {
        const ToolRun run = document({check, write("bad.json", content)});
        EXPECT_EQ(run.exitCode, 1) << content.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
        EXPECT_TRUE(QString::fromUtf8(run.err).contains(message)) << run.err.toStdString();
    }
}

TEST_F(DocumentCommandTest, NormalizePrintsWhatTheAppWouldWrite) {
    const ToolRun run = document({normalize, write("state.json", sample)});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out.count('\n'), 1);
    const QJsonObject written = QJsonDocument::fromJson(run.out).object();
    EXPECT_FALSE(written.contains(QStringLiteral("someOldKey")));
    EXPECT_EQ(written.value(QStringLiteral("theme")), QStringLiteral("SYSTEM"));
    EXPECT_EQ(written.value(QStringLiteral("notificationsEnabled")), true);

    const auto decoded = StoredState::fromJson(written);
    ASSERT_TRUE(decoded.ok());
    EXPECT_EQ(decoded->toJson(), written); // already normal: a second pass changes nothing
    EXPECT_EQ(decoded->bots.size(), 2);
    EXPECT_EQ(decoded->messages.size(), 3);
}

TEST_F(DocumentCommandTest, BadInputGetsOneLineAndStatusTwo) {
    const QString broken = write("broken.json", R"({"bots": [)");
    const QString earlier = write("earlier.json", R"({"provider": "x"})");
    const QString undecodable = write("undecodable.json", R"({"profile": 3})");
    const QString missing = m_dir.filePath(QStringLiteral("missing.json"));

    const std::vector<std::pair<QStringList, QString>> cases{
        {{check, broken}, QStringLiteral("broken.json: not valid JSON")},
        {{check, missing}, QStringLiteral("missing.json: cannot read")},
        {{normalize, undecodable}, QStringLiteral("undecodable.json: profile: expected an object")},
        {{normalize, earlier}, QStringLiteral("earlier.json: of the earlier format")},
        {{}, QStringLiteral("check or normalize?")},
        {{QStringLiteral("repair"), broken}, QStringLiteral("unknown action repair")},
        {{check}, QStringLiteral("check needs a FILE")},
        {{check, broken, broken}, QStringLiteral("unexpected argument")},
        {{QStringLiteral("--colour")}, QStringLiteral("Unknown option 'colour'")},
    };
    for (const auto& [arguments, message] : cases) {
        const ToolRun run = document(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
        EXPECT_TRUE(QString::fromUtf8(run.err).contains(message)) << run.err.toStdString();
    }

    const ToolRun help = document({QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.contains("Exit status"));
}
