// SPDX-License-Identifier: Apache-2.0
// What laying out a contact's message costs the main thread: the word break alone against
// segments plus a reading for every segment (what the message view does with readings on),
// per 200-character message in Japanese, Chinese and Russian, and for a conversation of 100
// such messages, whose budget is 100 ms.
#include "../BenchRatios.h"

#include "language/MessageLayout.h"

#include <benchmark/benchmark.h>

#include <thread>

using namespace quillo;

namespace {

constexpr qsizetype messageLength = 200;
constexpr int conversationLength = 100;

struct Sample {
    QString language;
    QString text;
    QList<WordGloss> glosses;
};

// Repeats the message until it is long enough, then cuts it to exactly 200 units.
QString toLength(const QString& message) {
    QString text = message;
    while (text.size() < messageLength)
        text += u' ' + message;
    return text.left(messageLength);
}

Sample makeSample(const QString& language, const QString& message) {
    Sample sample{language, toLength(message), {}};
    // Contact messages arrive with glosses for some of their words; every fourth is typical.
    const QStringList words = WordBreaks::words(sample.text, language);
    for (qsizetype i = 0; i < words.size(); i += 4)
        sample.glosses.append({words[i], QStringLiteral("gloss")});
    return sample;
}

const Sample& japanese() {
    static const Sample sample = makeSample(
        QStringLiteral("Japanese"),
        QStringLiteral("昨日は友達と一緒に新しくできたラーメン屋さんに行ってきたよ！スープがすごく"
                       "濃厚で、麺もちょうどいい硬さだった。店長さんがとても親切で、おすすめの"
                       "トッピングを教えてくれたんだ。今度の週末、よかったら一緒に行かない？駅から"
                       "歩いて五分くらいだから、待ち合わせも簡単だと思う。混むかもしれないから、"
                       "早めに行こうね。楽しみにしてるよ！"));
    return sample;
}

const Sample& chinese() {
    static const Sample sample = makeSample(
        QStringLiteral("Chinese"),
        QStringLiteral(
            "今天下班以后我和同事一起去了公司附近新开的一家火锅店，味道真的很不错，尤其是"
            "他们的麻辣锅底，又香又辣。服务员也特别热情，还送了我们一盘水果。你最近忙"
            "不忙？周末要是有空的话，我们可以一起去尝尝，顺便聊聊你上次说的旅行计划。"
            "我听说那边的天气这个季节特别好，适合爬山和拍照。到时候记得带上相机，我们"
            "多拍几张照片留作纪念吧！"));
    return sample;
}

const Sample& russian() {
    static const Sample sample = makeSample(
        QStringLiteral("Russian"),
        QStringLiteral("Привет! Вчера мы с друзьями ходили в новое кафе рядом с парком. Там очень "
                       "уютно, а кофе просто замечательный. Я заказала пирожное с вишней, и оно "
                       "оказалось невероятно вкусным. Может, сходим туда вместе в субботу? Я могу "
                       "зайти за тобой в десять утра."));
    return sample;
}

LayoutRequest requestFor(const Sample& sample) {
    return {sample.text, sample.glosses, sample.language, true};
}

// Segments with the message's glosses, the gaps broken for the practice language, then one
// reading per segment; returns how many readings there were.
qsizetype layOut(const Sample& sample) {
    return layOutMessage(requestFor(sample)).readings.size();
}

using SampleOf = const Sample& (*)();

void BM_WordBreak(benchmark::State& state, SampleOf sampleOf) {
    const Sample& sample = sampleOf();
    for (auto _ : state)
        benchmark::DoNotOptimize(WordBreaks::ranges(sample.text, sample.language));
    state.counters["tokens"] = double(WordBreaks::ranges(sample.text, sample.language).size());
}

void BM_SegmentsWithReadings(benchmark::State& state, SampleOf sampleOf) {
    const Sample& sample = sampleOf();
    layOut(sample); // builds this thread's iterator and transliterators outside the timing
    for (auto _ : state)
        benchmark::DoNotOptimize(layOut(sample));
    state.counters["readings"] = double(layOut(sample));
}

void BM_ConversationOf100Messages(benchmark::State& state, SampleOf sampleOf) {
    const Sample& sample = sampleOf();
    layOut(sample);
    for (auto _ : state) {
        for (int i = 0; i < conversationLength; ++i)
            benchmark::DoNotOptimize(layOut(sample));
    }
}

// The first message a thread lays out also builds its break iterator and transliterators.
void BM_FirstMessageOnAThread(benchmark::State& state, SampleOf sampleOf) {
    const Sample& sample = sampleOf();
    for (auto _ : state) {
        std::thread fresh([&sample] { benchmark::DoNotOptimize(layOut(sample)); });
        fresh.join();
    }
}

BENCHMARK_CAPTURE(BM_WordBreak, japanese, japanese)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_WordBreak, chinese, chinese)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_WordBreak, russian, russian)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_SegmentsWithReadings, japanese, japanese)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_SegmentsWithReadings, chinese, chinese)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_SegmentsWithReadings, russian, russian)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_ConversationOf100Messages, japanese, japanese)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ConversationOf100Messages, chinese, chinese)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ConversationOf100Messages, russian, russian)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_FirstMessageOnAThread, japanese, japanese)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_FirstMessageOnAThread, chinese, chinese)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_FirstMessageOnAThread, russian, russian)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

const bench::RegisterRatio japaneseRatio("segments+readings / word break, Japanese message",
                                         "BM_SegmentsWithReadings/japanese",
                                         "BM_WordBreak/japanese");
const bench::RegisterRatio chineseRatio("segments+readings / word break, Chinese message",
                                        "BM_SegmentsWithReadings/chinese", "BM_WordBreak/chinese");
const bench::RegisterRatio russianRatio("segments+readings / word break, Russian message",
                                        "BM_SegmentsWithReadings/russian", "BM_WordBreak/russian");

} // namespace
