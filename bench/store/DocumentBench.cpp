// SPDX-License-Identifier: Apache-2.0
// The user document at 1,000, 10,000 and 100,000 messages: loading against a plain parse of the
// same bytes, what one edit costs the main thread, what the writer pays against a plain write,
// and peak memory against the file's size.
#include "../BenchRatios.h"
#include "DocumentFixture.h"

#include "repository/ChatRepository.h"
#include "service/QuilloAPI.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

#include <benchmark/benchmark.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <map>
#include <memory>

using namespace quillo;

namespace {

struct Sample {
    StoredState state;
    QByteArray bytes;
    QString path; // the document as the store wrote it
};

QTemporaryDir& workDir() {
    static QTemporaryDir dir;
    return dir;
}

const Sample& sample(int messageCount) {
    static std::map<int, std::unique_ptr<Sample>> samples;
    auto& slot = samples[messageCount];
    if (!slot) {
        slot = std::make_unique<Sample>();
        slot->state = bench::makeDocument(messageCount);
        slot->path = workDir().filePath(QStringLiteral("state-%1.json").arg(messageCount));
        StateStore store(slot->path);
        store.save(slot->state);
        store.flush();
        QFile file(slot->path);
        if (file.open(QIODevice::ReadOnly))
            slot->bytes = file.readAll();
    }
    return *slot;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void BM_PlainParse(benchmark::State& state) {
    const Sample& s = sample(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(readAll(s.path)));
    state.counters["file_MB"] = double(s.bytes.size()) / 1e6;
}

void BM_Load(benchmark::State& state) {
    const Sample& s = sample(int(state.range(0)));
    for (auto _ : state) {
        StateStore store(s.path);
        const StoredState loaded = store.load();
        if (loaded.messages.size() != s.state.messages.size())
            state.SkipWithError("the document did not load");
    }
    // Peak memory of one load, above what the process held before it.
    bench::resetPeakResident();
    const qint64 before = bench::residentBytes();
    {
        StateStore store(s.path);
        benchmark::DoNotOptimize(store.load());
    }
    const double peak = double(bench::peakResidentBytes() - before);
    state.counters["peak_MB"] = peak / 1e6;
    state.counters["peak_per_file_byte"] = peak / double(s.bytes.size());
}

// What a message sent by the user costs the main thread: the edit step and the hand-over to
// the writer. The writer's own work is waited for outside the measurement.
void BM_EditAndSave(benchmark::State& state) {
    const Sample& s = sample(int(state.range(0)));
    const QString path = workDir().filePath(QStringLiteral("edit-%1.json").arg(state.range(0)));
    QFile::remove(path);
    QFile::copy(s.path, path);
    StateStore store(path);
    SystemClock clock;
    // Signed out, and nothing listens at the service's address: editing never reaches it.
    SessionStore session(workDir().filePath(QStringLiteral("session.json")));
    QuilloAPI api(QUrl(QStringLiteral("http://127.0.0.1:9")));
    ChatRepository repository(store, session, api, clock);
    const QString botId = repository.state().bots.first().id;
    for (auto _ : state) {
        repository.conversation().addUserMessage(botId, QStringLiteral("¿Y tú qué cocinas hoy?"));
        state.PauseTiming();
        repository.flush();
        state.ResumeTiming();
    }
}

void BM_PlainWrite(benchmark::State& state) {
    const Sample& s = sample(int(state.range(0)));
    const QString path = workDir().filePath(QStringLiteral("plain-%1.json").arg(state.range(0)));
    for (auto _ : state) {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            file.write(s.bytes) != s.bytes.size())
            state.SkipWithError("plain write failed");
    }
}

// The writer's whole job for one save: encode the document and replace the file atomically.
void BM_WriterEncodeAndWrite(benchmark::State& state) {
    const Sample& s = sample(int(state.range(0)));
    const QString path = workDir().filePath(QStringLiteral("store-%1.json").arg(state.range(0)));
    StateStore store(path);
    for (auto _ : state) {
        store.save(s.state);
        store.flush();
    }
}

void sizes(benchmark::internal::Benchmark* b) {
    b->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(BM_PlainParse)->Apply(sizes);
BENCHMARK(BM_Load)->Apply(sizes);
BENCHMARK(BM_EditAndSave)->Apply(sizes)->Unit(benchmark::kMicrosecond)->Iterations(50);
BENCHMARK(BM_PlainWrite)->Apply(sizes);
BENCHMARK(BM_WriterEncodeAndWrite)->Apply(sizes);

const bench::RegisterRatio load1k("load / plain parse, 1,000 messages", "BM_Load/1000/real_time",
                                  "BM_PlainParse/1000/real_time");
const bench::RegisterRatio load10k("load / plain parse, 10,000 messages", "BM_Load/10000/real_time",
                                   "BM_PlainParse/10000/real_time");
const bench::RegisterRatio load100k("load / plain parse, 100,000 messages",
                                    "BM_Load/100000/real_time", "BM_PlainParse/100000/real_time");
const bench::RegisterRatio edit100k("edit+save at 100,000 / at 1,000 messages (main thread)",
                                    "BM_EditAndSave/100000/iterations:50/real_time",
                                    "BM_EditAndSave/1000/iterations:50/real_time");
const bench::RegisterRatio write1k("writer encode+atomic write / plain write, 1,000",
                                   "BM_WriterEncodeAndWrite/1000/real_time",
                                   "BM_PlainWrite/1000/real_time");
const bench::RegisterRatio write100k("writer encode+atomic write / plain write, 100,000",
                                     "BM_WriterEncodeAndWrite/100000/real_time",
                                     "BM_PlainWrite/100000/real_time");

} // namespace
