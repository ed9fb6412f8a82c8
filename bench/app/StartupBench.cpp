// SPDX-License-Identifier: Apache-2.0
// Cold start of the desktop application: from starting the `quillo` process code to the first
// frame of its main window, and the resident memory once the largest conversation is open,
// for an empty document and for one of 10,000 messages, measured side by side in one run.
//
//     quillo-startup-bench [--runs N] [--messages M]
//
// The application runs off screen, signed in to a service that is not there (nothing on the
// network is needed to show the chats), once per run in a fresh process of this program.

#include "bench/store/DocumentFixture.h"
#include "shell/DesktopApp.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <cstdio>

using namespace quillo;

namespace {

// The message bubbles in the window; each one's message was laid out to make it.
int bubblesIn(const QQuickItem* item) {
    int count = item->objectName() == QStringLiteral("bubble") ? 1 : 0;
    for (const QQuickItem* child : item->childItems())
        count += bubblesIn(child);
    return count;
}

// The child: start the application, report the first frame, open the largest conversation,
// report the memory and how many message bubbles it made, and quit.
int runChild(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    DesktopApp app(QStringList{QStringLiteral("quillo")});
    if (!app.start())
        return 2;
    QQuickWindow* window = app.screens().mainWindow();
    int frames = 0;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        if (++frames == 1) {
            std::printf("frame\n");
            std::fflush(stdout);
            // The largest conversation, as a user would open it.
            const StoredState& state = app.controller().repository().state();
            QHash<QString, int> counts;
            for (const ChatMessage& message : state.messages)
                ++counts[message.botId];
            QString largest;
            for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
                if (largest.isEmpty() || it.value() > counts.value(largest))
                    largest = it.key();
            }
            if (!largest.isEmpty())
                app.controller().navigation().select(largest);
            window->update();
        } else if (frames == 3) {
            std::printf("rss %lld bubbles %d\n", static_cast<long long>(bench::residentBytes()),
                        bubblesIn(window->contentItem()));
            std::fflush(stdout);
            QCoreApplication::quit();
        } else {
            window->update();
        }
    });
    return QGuiApplication::exec();
}

struct Sample {
    double firstFrameMs = 0;
    qint64 residentBytes = 0;
    int bubbles = 0;
};

// A support directory holding `document` and a signed-in session.
void prepare(const QString& dir, const StoredState& document) {
    StateStore store(dir + QStringLiteral("/state.json"));
    store.save(document);
    store.flush();
    Account account;
    account.email = QStringLiteral("bench@example.com");
    SessionStore(dir + QStringLiteral("/session.json"))
        .signedIn({QStringLiteral("not-a-real-token"), account});
}

std::optional<Sample> measure(const QString& program, const QString& supportDir) {
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUILLO_SUPPORT_DIR"), supportDir);
    // Nothing listens on the discard port: refreshes and lookups fail at once, quietly.
    environment.insert(QStringLiteral("QUILLO_API_URL"), QStringLiteral("http://127.0.0.1:9"));
    environment.insert(QStringLiteral("QUILLO_TRANSLATE_URL"),
                       QStringLiteral("http://127.0.0.1:9"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    child.setProcessEnvironment(environment);
    // The application's own log (a service that is not there) is not what is measured.
    child.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer clock;
    clock.start();
    child.start(program, {QStringLiteral("--child")});
    Sample sample;
    bool framed = false;
    while (child.waitForReadyRead(30'000) || child.canReadLine()) {
        while (child.canReadLine()) {
            const QString line = QString::fromUtf8(child.readLine()).trimmed();
            if (line == QStringLiteral("frame")) {
                sample.firstFrameMs = double(clock.nsecsElapsed()) / 1e6;
                framed = true;
            } else if (line.startsWith(QStringLiteral("rss "))) {
                const QStringList parts = line.split(u' ');
                sample.residentBytes = parts.value(1).toLongLong();
                sample.bubbles = parts.value(3).toInt();
            }
        }
        if (sample.residentBytes > 0)
            break;
    }
    child.waitForFinished(30'000);
    if (!framed || sample.residentBytes == 0)
        return std::nullopt;
    return sample;
}

double median(QList<double> values) {
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--child") == 0)
            return runChild(argc, argv);
    }
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Cold start of the desktop application."));
    parser.addHelpOption();
    parser.addOption({QStringLiteral("runs"), QStringLiteral("Starts per document."),
                      QStringLiteral("N"), QStringLiteral("5")});
    parser.addOption({QStringLiteral("messages"), QStringLiteral("Messages in the large document."),
                      QStringLiteral("M"), QStringLiteral("10000")});
    parser.process(application);
    const int runs = std::max(1, parser.value(QStringLiteral("runs")).toInt());
    const int messages = std::max(1, parser.value(QStringLiteral("messages")).toInt());

    StoredState empty;
    empty.profile.displayName = QStringLiteral("Ana");
    empty.profile.setupCompleted = true;
    StoredState large = bench::makeDocument(messages);
    large.profile.setupCompleted = true;

    QTemporaryDir emptyDir;
    QTemporaryDir largeDir;
    prepare(emptyDir.path(), empty);
    prepare(largeDir.path(), large);

    const QString program = QCoreApplication::applicationFilePath();
    QList<double> emptyFrames, largeFrames, emptyResident, largeResident;
    int bubbles = 0;
    // Alternating, so that a slow moment of the machine touches both alike.
    for (int run = 0; run < runs; ++run) {
        const auto a = measure(program, emptyDir.path());
        const auto b = measure(program, largeDir.path());
        if (!a || !b) {
            std::fprintf(stderr, "startup bench: the application did not start\n");
            return 1;
        }
        emptyFrames.append(a->firstFrameMs);
        largeFrames.append(b->firstFrameMs);
        emptyResident.append(double(a->residentBytes));
        largeResident.append(double(b->residentBytes));
        bubbles = b->bubbles;
    }

    const double mib = 1024.0 * 1024.0;
    QTextStream out(stdout);
    out << "Cold start, median of " << runs << " runs each (offscreen)\n";
    out << QStringLiteral("  first frame, empty document:        %1 ms\n")
               .arg(median(emptyFrames), 0, 'f', 1);
    out << QStringLiteral("  first frame, %1 messages:        %2 ms  (ratio %3)\n")
               .arg(messages)
               .arg(median(largeFrames), 0, 'f', 1)
               .arg(median(largeFrames) / median(emptyFrames), 0, 'f', 2);
    out << QStringLiteral("  resident after opening the largest chat, empty:  %1 MiB\n")
               .arg(median(emptyResident) / mib, 0, 'f', 1);
    out << QStringLiteral("  resident after opening the largest chat, large:  %1 MiB  (ratio %2)\n")
               .arg(median(largeResident) / mib, 0, 'f', 1)
               .arg(median(largeResident) / median(emptyResident), 0, 'f', 2);
    out << QStringLiteral("  message bubbles made for the largest chat: %1\n").arg(bubbles);
    const bool withinBudget = median(largeFrames) < 1000.0;
    out << (withinBudget ? "  budget: first frame within 1 s: met\n"
                         : "  budget: first frame within 1 s: MISSED\n");
    return 0;
}
