// Splitting and counting figures: one mebibyte of mixed-script text split at 280, and the
// three networks' counters over 10,000 posts of 280 characters.
#include "text/bluesky_character_counter.h"
#include "text/graphemes.h"
#include "text/mastodon_character_counter.h"
#include "text/text_splitter.h"
#include "text/x_character_counter.h"

#include <QStringList>

#include <benchmark/benchmark.h>

namespace {
// Words of several scripts, emoji sequences, links and mentions, in a fixed rotation.
const QStringList& words()
{
    static const QStringList list = {
        QStringLiteral("the"), QStringLiteral("quick"), QStringLiteral("brown"), QStringLiteral("fox"), QStringLiteral("jumps"), QStringLiteral("über"), QStringLiteral("naïve"),
        QStringLiteral("Привет"), QStringLiteral("мир"), QStringLiteral("Καλημέρα"), QStringLiteral("κόσμε"), QStringLiteral("日本語の"), QStringLiteral("テキスト"),
        QStringLiteral("中文文本"), QStringLiteral("한국어"), QStringLiteral("مرحبا"), QStringLiteral("שלום"), QStringLiteral("हिन्दी"),
        QStringLiteral("\U0001F600"), QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467"), QStringLiteral("\U0001F44D\U0001F3FD"),
        QStringLiteral("\U0001F1EB\U0001F1F7"), QStringLiteral("https://example.com/some/path?q=1"), QStringLiteral("@alice@example.social"),
        QStringLiteral("e\u0301te\u0301"), QStringLiteral("line\n"),
    };
    return list;
}

// Everyday Latin-script posts: words, a link, a mention, a single-code-point emoji.
const QStringList& latinWords()
{
    static const QStringList list = {
        QStringLiteral("Shipping"), QStringLiteral("the"), QStringLiteral("new"), QStringLiteral("release"), QStringLiteral("today,"), QStringLiteral("with"), QStringLiteral("faster"), QStringLiteral("exports"),
        QStringLiteral("and"), QStringLiteral("fewer"), QStringLiteral("crashes."), QStringLiteral("Thanks"), QStringLiteral("@alice@example.social"), QStringLiteral("for"), QStringLiteral("testing!"),
        QStringLiteral("Notes:"), QStringLiteral("https://example.com/blog/release-notes"), QStringLiteral("\U0001F680"), QStringLiteral("café"), QStringLiteral("déjà"), QStringLiteral("vu."),
    };
    return list;
}

QString mixedText(qsizetype utf8Bytes, const QStringList& from = words())
{
    QString text;
    qsizetype bytes = 0;
    for (qsizetype i = 0; bytes < utf8Bytes; ++i) {
        const QString& word = from.at(i % from.size());
        text += word;
        text += u' ';
        bytes += word.toUtf8().size() + 1;
    }
    return text;
}

void splitOneMebibyte(benchmark::State& state)
{
    const QString text = mixedText(1024 * 1024);
    qsizetype pieces = 0;
    for (auto _ : state) {
        const QStringList posts = TextSplitter::split(text, 280);
        pieces = posts.size();
        benchmark::DoNotOptimize(posts);
    }
    state.counters["utf16_units"] = double(text.size());
    state.counters["posts"] = double(pieces);
}
BENCHMARK(splitOneMebibyte)->Unit(benchmark::kMillisecond);

// The same text cut so that every piece fits X, Bluesky and Mastodon at once.
void splitOneMebibyteForThreeNetworks(benchmark::State& state)
{
    const QString text = mixedText(1024 * 1024);
    const QList<PlatformType> networks = {PlatformType::x, PlatformType::bluesky, PlatformType::mastodon};
    qsizetype pieces = 0;
    for (auto _ : state) {
        const QStringList posts = TextSplitter::splitFor(text, networks, MastodonCharacterCounter::DefaultLimit, 280);
        pieces = posts.size();
        benchmark::DoNotOptimize(posts);
    }
    state.counters["posts"] = double(pieces);
}
BENCHMARK(splitOneMebibyteForThreeNetworks)->Unit(benchmark::kMillisecond);

// 10,000 posts of exactly 280 user-perceived characters each, cut from a long text.
QStringList posts280(const QStringList& from = words())
{
    const QString text = mixedText(12 * 1024 * 1024, from);
    QStringList posts;
    qsizetype start = 0;
    qsizetype clusters = 0;
    for (const qsizetype end : Graphemes::clusterEnds(text)) {
        if (posts.size() == 10000)
            break;
        if (++clusters == 280) {
            posts.append(text.sliced(start, end - start));
            start = end;
            clusters = 0;
        }
    }
    return posts;
}

void countAllNetworksOf(benchmark::State& state, const QStringList& words)
{
    const QStringList posts = posts280(words);
    for (auto _ : state) {
        qsizetype total = 0;
        for (const QString& post : posts) {
            total += XCharacterCounter::count(post).length;
            total += BlueskyCharacterCounter::count(post).length;
            total += MastodonCharacterCounter::count(post).length;
        }
        benchmark::DoNotOptimize(total);
    }
    state.counters["posts"] = double(posts.size());
}

void countAllNetworks(benchmark::State& state)
{
    countAllNetworksOf(state, words());
}
BENCHMARK(countAllNetworks)->Unit(benchmark::kMillisecond);

void countAllNetworksLatin(benchmark::State& state)
{
    countAllNetworksOf(state, latinWords());
}
BENCHMARK(countAllNetworksLatin)->Unit(benchmark::kMillisecond);

template <typename Count>
void countOneNetwork(benchmark::State& state, Count count)
{
    const QStringList posts = posts280();
    for (auto _ : state) {
        qsizetype total = 0;
        for (const QString& post : posts)
            total += count(post);
        benchmark::DoNotOptimize(total);
    }
}
BENCHMARK_CAPTURE(countOneNetwork, x, [](const QString& p) { return XCharacterCounter::count(p).length; })
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(countOneNetwork, bluesky, [](const QString& p) { return BlueskyCharacterCounter::count(p).length; })
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(countOneNetwork, mastodon, [](const QString& p) { return MastodonCharacterCounter::count(p).length; })
    ->Unit(benchmark::kMillisecond);
} // namespace


BENCHMARK_MAIN();
