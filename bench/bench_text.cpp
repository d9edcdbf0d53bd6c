// Splitting and counting figures: one mebibyte of mixed-script text split at 280, and the
// three networks' counters over 10,000 posts of 280 characters.
#include "text/bluesky_character_counter.h"
#include "text/graphemes.h"
#include "text/mastodon_character_counter.h"
#include "text/text_splitter.h"
#include "text/x_character_counter.h"

#include <QStringList>
#include <QTextBoundaryFinder>

#include <benchmark/benchmark.h>

namespace {
using namespace Qt::StringLiterals;

// Words of several scripts, emoji sequences, links and mentions, in a fixed rotation.
const QStringList& words()
{
    static const QStringList list = {
        u"the"_s, u"quick"_s, u"brown"_s, u"fox"_s, u"jumps"_s, u"über"_s, u"naïve"_s,
        u"Привет"_s, u"мир"_s, u"Καλημέρα"_s, u"κόσμε"_s, u"日本語の"_s, u"テキスト"_s,
        u"中文文本"_s, u"한국어"_s, u"مرحبا"_s, u"שלום"_s, u"हिन्दी"_s,
        u"\U0001F600"_s, u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s, u"\U0001F44D\U0001F3FD"_s,
        u"\U0001F1EB\U0001F1F7"_s, u"https://example.com/some/path?q=1"_s, u"@alice@example.social"_s,
        u"e\u0301te\u0301"_s, u"line\n"_s,
    };
    return list;
}

// Everyday Latin-script posts: words, a link, a mention, a single-code-point emoji.
const QStringList& latinWords()
{
    static const QStringList list = {
        u"Shipping"_s, u"the"_s, u"new"_s, u"release"_s, u"today,"_s, u"with"_s, u"faster"_s, u"exports"_s,
        u"and"_s, u"fewer"_s, u"crashes."_s, u"Thanks"_s, u"@alice@example.social"_s, u"for"_s, u"testing!"_s,
        u"Notes:"_s, u"https://example.com/blog/release-notes"_s, u"\U0001F680"_s, u"café"_s, u"déjà"_s, u"vu."_s,
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

// 10,000 posts of exactly 280 user-perceived characters each, cut from a long text.
QStringList posts280(const QStringList& from = words())
{
    const QString text = mixedText(12 * 1024 * 1024, from);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    QStringList posts;
    qsizetype start = 0;
    qsizetype clusters = 0;
    while (posts.size() < 10000) {
        const qsizetype end = finder.toNextBoundary();
        if (end == -1)
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
