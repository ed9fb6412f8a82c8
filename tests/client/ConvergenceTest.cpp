#include "DeviceFixture.h"

#include <QSet>

#include <array>
#include <iostream>
#include <random>

using namespace quillo;
using namespace quillo::devicetest;

namespace {

// Two devices of one person, driven by a seeded random sequence of edits, messages, removals,
// language changes and synchronisations in random interleavings, until both have synchronised
// in quiet. A third device of someone else uploads alongside. QUILLO_PROPERTY_SEED and
// QUILLO_PROPERTY_RUNS replay or widen a run.
class ConvergenceTest : public DevicesTest {
protected:
    static constexpr int defaultRuns = 200;
    static constexpr int stepsPerRun = 14;

    struct Written {
        QString id;
        QString botId;
    };
    struct Removal {
        QString botId;
        int device;
        int step;
        // The other device held a version of the contact that the remover had not: an edit the
        // remover never saw (or one of its own that the other never saw, which makes the check
        // a little more forgiving than the rule).
        bool otherDiffered;
    };
    struct Edit {
        QString botId;
        int device;
        int step;
    };

    // What one sequence did, for the checks at its end.
    struct Journal {
        QList<Written> written;
        QList<Removal> removals;
        QList<Edit> edits;
    };

    std::mt19937 random;
    int conflicts = 0;

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random); }

    static quint32 seedFromEnvironment() {
        bool ok = false;
        const quint32 seed = qEnvironmentVariable("QUILLO_PROPERTY_SEED").toUInt(&ok);
        return ok ? seed : 20261122;
    }
    static int runsFromEnvironment() {
        bool ok = false;
        const int runs = qEnvironmentVariableIntValue("QUILLO_PROPERTY_RUNS", &ok);
        return ok && runs > 0 ? runs : defaultRuns;
    }

    std::optional<QString> anyContact(const Device& device) {
        const QList<BotProfile>& bots = device.state().bots;
        if (bots.isEmpty())
            return std::nullopt;
        return bots[pick(int(bots.size()))].id;
    }

    void removing(Device& device, const Device& other, int index, int stepNumber, Journal& journal,
                  const std::function<void()>& removal) {
        const StoredState before = device.state();
        removal();
        for (const BotProfile& bot : before.bots) {
            if (device.state().bot(bot.id))
                continue;
            journal.removals.append(
                {bot.id, index, stepNumber, other.state().bot(bot.id) != std::optional(bot)});
        }
    }

    void step(Device& device, const Device& other, int index, int stepNumber, Journal& journal) {
        static const QStringList languages = {QStringLiteral("Spanish"), QStringLiteral("Japanese"),
                                              QStringLiteral("Russian")};
        ChatRepository& repository = *device.repository;
        switch (pick(10)) {
        case 0:
        case 1: { // an edit of a contact
            const auto id = anyContact(device);
            if (!id)
                return;
            BotProfile bot = *device.state().bot(*id);
            bot.displayName = QStringLiteral("name %1").arg(pick(1000));
            if (pick(2))
                bot.personality = QStringLiteral("persona %1").arg(pick(1000));
            repository.saveBot(bot);
            journal.edits.append({*id, index, stepNumber});
            return;
        }
        case 2:
        case 3: { // a message
            const auto id = anyContact(device);
            if (!id)
                return;
            repository.addUserMessage(*id, QStringLiteral("message %1").arg(pick(100000)));
            const ChatMessage& sent = device.state().messages.last();
            journal.written.append({sent.id, *id});
            return;
        }
        case 4: { // a removal
            const auto id = anyContact(device);
            if (!id)
                return;
            removing(device, other, index, stepNumber, journal,
                     [&] { repository.removeBots({*id}); });
            return;
        }
        case 5: { // a language change: a level, a new language, or one given up
            const QString language = languages[pick(int(languages.size()))];
            const int kind = pick(4);
            if (kind == 0) {
                removing(device, other, index, stepNumber, journal,
                         [&] { repository.removeLanguage(language); });
                return;
            }
            if (kind == 1) {
                repository.addLanguage(language);
                return;
            }
            LanguageSettings settings = device.state().profile.settings(language);
            settings.level = allCases<CefrLevel>()[pick(int(allCases<CefrLevel>().size()))];
            repository.saveLanguage(settings);
            return;
        }
        case 6: // a refresh
            run(repository.refresh());
            return;
        case 7: // a quiet period: every pending upload goes, both devices' at once
            appClock.advance(StateSync::quietMillis);
            return;
        default: // a moment passes
            appClock.advance(1'000 + pick(3'000));
            return;
        }
    }

    bool idle(const Device& a, const Device& b) const {
        return !a.repository->isSynchronising() && !b.repository->isSynchronising();
    }

    // Both devices synchronise in quiet until nothing changes any more.
    void quiesce(Device& a, Device& b) {
        for (int round = 0; round < 6; ++round) {
            appClock.advance(StateSync::quietMillis);
            spinUntil([&] { return idle(a, b); });
            run(a.repository->refresh());
            run(b.repository->refresh());
            appClock.advance(StateSync::quietMillis);
            spinUntil([&] { return idle(a, b); });
            if (a.projection() == b.projection() &&
                a.session->syncedFingerprint() == b.session->syncedFingerprint())
                return;
        }
    }

    static QSet<QString> messageIds(const StoredState& state) {
        QSet<QString> ids;
        for (const ChatMessage& message : state.messages)
            ids.insert(message.id);
        return ids;
    }
};

TEST_F(ConvergenceTest, TwoDevicesOfOnePersonAlwaysEndInStep) {
    const quint32 seed = seedFromEnvironment();
    const int runs = runsFromEnvironment();
    random.seed(seed);

    StoredState strangers;
    strangers.bots = {contact(QStringLiteral("stranger-contact"), QStringLiteral("Russian"))};
    auto stranger = device(strangers.withSyncedLanguages());
    signIn(*stranger, QStringLiteral("stranger@example.com"));

    int resurrections = 0;
    for (int runIndex = 0; runIndex < runs; ++runIndex) {
        SCOPED_TRACE(QStringLiteral("seed %1, sequence %2").arg(seed).arg(runIndex).toStdString());
        StoredState seedDocument;
        seedDocument.profile.setupCompleted = true;
        seedDocument.bots = {contact(QStringLiteral("lucia")),
                             contact(QStringLiteral("kenji"), QStringLiteral("Japanese")),
                             contact(QStringLiteral("olga"), QStringLiteral("Russian"))};
        const QString email = QStringLiteral("person%1@example.com").arg(runIndex);
        std::array<std::unique_ptr<Device>, 2> devices = {
            device(seedDocument.withSyncedLanguages()), device()};
        signIn(*devices[0], email);
        signIn(*devices[1], email);
        watched->forget();

        Journal journal;
        for (int stepNumber = 0; stepNumber < stepsPerRun; ++stepNumber) {
            const int index = pick(2);
            step(*devices[index], *devices[1 - index], index, stepNumber, journal);
            if (pick(4) == 0) // the stranger keeps writing too
                stranger->repository->addUserMessage(QStringLiteral("stranger-contact"),
                                                     QStringLiteral("stranger's words"));
            QCoreApplication::processEvents();
        }
        quiesce(*devices[0], *devices[1]);
        for (const auto& upload : watched->uploads())
            conflicts += upload.stored ? 0 : 1;

        const Device& a = *devices[0];
        const Device& b = *devices[1];
        ASSERT_EQ(a.projection(), b.projection());
        ASSERT_EQ(*served(*a.session->token()), a.projection());

        QSet<QString> removed;
        for (const Removal& removal : journal.removals)
            removed.insert(removal.botId);
        const QSet<QString> present = messageIds(a.state());
        for (const Written& written : journal.written) {
            if (!removed.contains(written.botId)) {
                EXPECT_TRUE(present.contains(written.id)) << written.id.toStdString();
            }
        }
        for (const Removal& removal : journal.removals) {
            // Only an edit on the other device, made before the removal reached it, keeps it.
            bool editedElsewhere = removal.otherDiffered;
            for (const Edit& edit : journal.edits)
                editedElsewhere =
                    editedElsewhere || (edit.botId == removal.botId &&
                                        edit.device != removal.device && edit.step > removal.step);
            if (a.state().bot(removal.botId)) {
                ++resurrections;
                EXPECT_TRUE(editedElsewhere) << removal.botId.toStdString();
            }
        }
        for (const Device* each : {&a, &b}) {
            ASSERT_FALSE(each->state().bot(QStringLiteral("stranger-contact")));
            for (const ChatMessage& message : each->state().messages)
                ASSERT_NE(message.text, u"stranger's words");
        }
    }
    std::cout << "[ property ] " << runs << " sequences, seed " << seed << ", " << conflicts
              << " uploads refused as stale, " << resurrections
              << " removals outweighed by an edit elsewhere\n";
}

} // namespace
