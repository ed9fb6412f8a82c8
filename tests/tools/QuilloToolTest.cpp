// SPDX-License-Identifier: Apache-2.0
#include "ToolRunner.h"

#include "chat/Prompts.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace quillo;

namespace {

class QuilloToolTest : public ::testing::Test {
protected:
    QString write(const char* name, const QByteArray& content) {
        const QString path = m_dir.filePath(QString::fromUtf8(name));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }

    QString profile() { return write("profile.json", R"({"displayName":"Ana"})"); }
    QString bot() {
        return write("bot.json", R"({"displayName":"Lucía","targetLanguage":"Spanish",
                                     "topic":"food","personality":"warm","styleNote":"casual"})");
    }

    QTemporaryDir m_dir;
};

QJsonArray jsonArray(const QByteArray& out) {
    return QJsonDocument::fromJson(out).array();
}

int lineCount(const QByteArray& text) {
    return int(text.count('\n'));
}

} // namespace

TEST_F(QuilloToolTest, PromptPrintsTheWholeMessageList) {
    const QString history = write("history.json", R"([
        {"botId":"b","role":"USER","text":"hola"},
        {"botId":"b","role":"ASSISTANT","text":"¡Hola!"}])");
    const ToolRun run =
        runQuilloTool({QStringLiteral("prompt"), QStringLiteral("--profile"), profile(),
                       QStringLiteral("--bot"), bot(), QStringLiteral("--history"), history,
                       QStringLiteral("--message"), QStringLiteral("¿qué tal?")});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(lineCount(run.out), 1);
    const QJsonArray list = jsonArray(run.out);
    ASSERT_EQ(list.size(), 4);
    EXPECT_EQ(list[0].toObject().value(QStringLiteral("role")), QStringLiteral("system"));
    EXPECT_TRUE(list[0]
                    .toObject()
                    .value(QStringLiteral("content"))
                    .toString()
                    .startsWith(u"You are Lucía, a chat contact"));
    EXPECT_EQ(list[2].toObject().value(QStringLiteral("content")),
              QStringLiteral(R"({"message":"¡Hola!"})"));
    EXPECT_EQ(list[3].toObject().value(QStringLiteral("content")).toString().section(u'\n', 1, 1),
              u"¿qué tal?");
}

TEST_F(QuilloToolTest, PromptWithoutAMessageAsksTheContactToWriteFirst) {
    const ToolRun run = runQuilloTool({QStringLiteral("prompt"), QStringLiteral("--profile"),
                                       profile(), QStringLiteral("--bot"), bot()});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonArray list = jsonArray(run.out);
    ASSERT_EQ(list.size(), 2);
    EXPECT_TRUE(list[1]
                    .toObject()
                    .value(QStringLiteral("content"))
                    .toString()
                    .startsWith(u"Send one message to start a chat now"));
}

TEST_F(QuilloToolTest, ParseReplyPrintsTheReplyOrSaysThereIsNone) {
    const QString any = write("any.json", R"({"displayName":"Polly","targetLanguage":"Any language",
                                            "topic":"","personality":"","styleNote":""})");
    ToolRun run = runQuilloTool({QStringLiteral("parse-reply"), QStringLiteral("--max-lines"),
                                 QStringLiteral("1"), QStringLiteral("--bot"), any},
                                "<think>hm</think>```json\n{\"message\":\"Hallo\\nzusammen\","
                                "\"language\":\"German\",\"level\":\"a2\",\"remember\":\"\"}\n```");
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(run.out).object(),
              (QJsonObject{{QStringLiteral("text"), QStringLiteral("Hallo")},
                           {QStringLiteral("language"), QStringLiteral("German")},
                           {QStringLiteral("level"), QStringLiteral("A2")}}));

    run = runQuilloTool(
        {QStringLiteral("parse-reply"), QStringLiteral("--max-lines"), QStringLiteral("2")},
        R"({"message": "cut off)");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_EQ(run.err, "Empty reply\n");
}

TEST_F(QuilloToolTest, BadInputGetsOneLineNamingTheFileAndField) {
    const QString noName = write("nameless.json", R"({"targetLanguage":"Spanish","topic":"",
                                                     "personality":"","styleNote":""})");
    const QString broken = write("broken.json", R"({"displayName": )");
    const QString history = write("history.json", R"([{"botId":"b","role":"BOT","text":"x"}])");
    const QString missing = m_dir.filePath(QStringLiteral("missing.json"));
    const QString prompt = QStringLiteral("prompt");
    const QString p = QStringLiteral("--profile");
    const QString b = QStringLiteral("--bot");

    const std::vector<std::pair<QStringList, QString>> cases{
        {{prompt, p, profile(), b, noName}, QStringLiteral("nameless.json: displayName: missing")},
        {{prompt, p, broken, b, bot()}, QStringLiteral("broken.json: not valid JSON")},
        {{prompt, p, missing, b, bot()}, QStringLiteral("missing.json: cannot read")},
        {{prompt, p, profile(), b, bot(), QStringLiteral("--history"), history},
         QStringLiteral("history.json: [0].role: unknown value \"BOT\"")},
        {{prompt, p, profile()}, QStringLiteral("--profile and --bot are required")},
        {{prompt, QStringLiteral("--colour")}, QStringLiteral("Unknown option 'colour'")},
        {{QStringLiteral("parse-reply"), QStringLiteral("--max-lines"), QStringLiteral("zero")},
         QStringLiteral("--max-lines needs a whole number")},
        {{QStringLiteral("frobnicate")}, QStringLiteral("unknown command frobnicate")},
        {{QStringLiteral("translate"), QStringLiteral("--from"), QStringLiteral("es"),
          QStringLiteral("gato")},
         QStringLiteral("--from, --to and TEXT are required")},
        {{QStringLiteral("translate"), QStringLiteral("--from"), QStringLiteral("Klingon"),
          QStringLiteral("--to"), QStringLiteral("en"), QStringLiteral("x")},
         QStringLiteral("no language code for Klingon")},
    };
    for (const auto& [arguments, message] : cases) {
        const ToolRun run = runQuilloTool(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_EQ(lineCount(run.err), 1) << run.err.toStdString();
        EXPECT_TRUE(QString::fromUtf8(run.err).contains(message)) << run.err.toStdString();
    }
}

TEST_F(QuilloToolTest, WordsAndSegmentsSplitTextAsTheMessageViewDoes) {
    ToolRun run = runQuilloTool({QStringLiteral("words"), QStringLiteral("--language"),
                                 QStringLiteral("Spanish"), QStringLiteral("Hola,"),
                                 QStringLiteral("¿cómo"), QStringLiteral("estás?")});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(QString::fromUtf8(run.out), u"Hola\ncómo\nestás\n");

    const QString glosses = write("glosses.json", R"([{"text":"gato","gloss":"cat"},
                                                      {"text":"perro","gloss":"dog"}])");
    run = runQuilloTool({QStringLiteral("segments"), QStringLiteral("--language"),
                         QStringLiteral("Spanish"), QStringLiteral("--glosses"), glosses,
                         QStringLiteral("el perro y el gato")});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, R"([{"end":2,"start":0},{"end":8,"start":3},{"end":10,"start":9},)"
                       R"({"end":13,"start":11},{"end":18,"gloss":"cat","start":14}])"
                       "\n");

    const QString notGlosses = write("not-glosses.json", R"([{"text":"gato"}])");
    run = runQuilloTool({QStringLiteral("segments"), QStringLiteral("--language"),
                         QStringLiteral("Spanish"), QStringLiteral("--glosses"), notGlosses,
                         QStringLiteral("el gato")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.contains("not-glosses.json: [0].gloss: missing")) << run.err.toStdString();
}

TEST_F(QuilloToolTest, RomanizePrintsTheReadingOrExitsWithOne) {
    ToolRun run = runQuilloTool({QStringLiteral("romanize"), QStringLiteral("--language"),
                                 QStringLiteral("Russian"), QStringLiteral("привет")});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, "privet\n");

    run = runQuilloTool({QStringLiteral("romanize"), QStringLiteral("--language"),
                         QStringLiteral("Japanese"), QStringLiteral("日本")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_TRUE(run.err.isEmpty());

    for (const QString& command :
         {QStringLiteral("words"), QStringLiteral("segments"), QStringLiteral("romanize")}) {
        for (const QStringList& rest :
             {QStringList{QStringLiteral("hola")},
              QStringList{QStringLiteral("--language"), QStringLiteral("Spanish")}}) {
            run = runQuilloTool(QStringList{command} + rest);
            EXPECT_EQ(run.exitCode, 2) << command.toStdString();
            EXPECT_EQ(lineCount(run.err), 1) << run.err.toStdString();
            EXPECT_TRUE(run.err.contains("--language and some text are required"));
        }
    }
}

TEST_F(QuilloToolTest, TranslateSaysWhyThereIsNoMeaning) {
    qputenv("QUILLO_TRANSLATE_URL", "http://127.0.0.1:9");
    const ToolRun run = runQuilloTool({QStringLiteral("translate"), QStringLiteral("--from"),
                                       QStringLiteral("Spanish"), QStringLiteral("--to"),
                                       QStringLiteral("English"), QStringLiteral("gato")});
    qunsetenv("QUILLO_TRANSLATE_URL");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_TRUE(run.err.startsWith("quillo-tool: translate: network: ")) << run.err.toStdString();
}
