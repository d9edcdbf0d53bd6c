// quillo count and quillo split, run as a script would: the answers must be what the
// counters and the splitter say, and no instance may be started for them.
#include "core/json.h"
#include "support/quillo_process.h"
#include "support/random_text.h"
#include "support/temp_home.h"
#include "text/bluesky_character_counter.h"
#include "text/graphemes.h"
#include "text/mastodon_character_counter.h"
#include "text/x_character_counter.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {
struct Outcome {
    int status = -1;
    QByteArray out;
    QByteArray err;
};

Outcome runQuillo(const TempHome& home, const QStringList& arguments, const QByteArray& input)
{
    QuilloProcess process(home.path());
    process.start(arguments);
    process.write(input);
    process.closeInput();
    Outcome run;
    run.status = process.waitForExit().value_or(-1);
    run.out = process.allStdout();
    run.err = process.allStderr();
    return run;
}

std::string utf8(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    return {bytes.constData(), size_t(bytes.size())};
}

RandomText posts()
{
    return RandomText({
        QStringLiteral("word "), QStringLiteral("日本語"), QStringLiteral("हिन्दी "), QStringLiteral("สวัสดี"), QStringLiteral("\U0001F1E7\U0001F1F4"),
        QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467"), QStringLiteral(" https://example.com/a?b=c "), QStringLiteral("@ada@example.social "),
        QStringLiteral("\n"), QStringLiteral("e\u0301"), QStringLiteral("\"quoted\\\" "),
    });
}
} // namespace

TEST(TextCommandLineProcess, CountsEachLineAsTheCountersDo)
{
    TempHome home;
    RandomText texts = posts();
    QStringList lines;
    QByteArray input;
    for (int i = 0; i < 60; ++i) {
        lines.append(texts.next(80));
        input += QByteArray::fromStdString(Json(utf8(lines.last())).dump()) + '\n';
    }
    const Outcome run = runQuillo(home, {QStringLiteral("count"), QStringLiteral("--json-lines")}, input);
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    const QList<QByteArray> answers = run.out.trimmed().split('\n');
    ASSERT_EQ(answers.size(), lines.size());
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const Json answer = Json::parse(answers.at(i).toStdString());
        const QString& text = lines.at(i);
        ASSERT_EQ(answer.size(), 3u);
        EXPECT_EQ(answer[0]["network"], "x");
        EXPECT_EQ(answer[0]["count"], XCharacterCounter::weightedLength(text));
        EXPECT_EQ(answer[0]["fits"], XCharacterCounter::count(text).fits());
        const CharacterCount bluesky = BlueskyCharacterCounter::count(text);
        EXPECT_EQ(answer[1]["network"], "bluesky");
        EXPECT_EQ(answer[1]["count"], bluesky.length);
        EXPECT_EQ(answer[1]["bytes"], bluesky.bytes);
        EXPECT_EQ(answer[2]["network"], "mastodon");
        EXPECT_EQ(answer[2]["count"], MastodonCharacterCounter::length(text));
        EXPECT_EQ(answer[2]["limit"], 500);
    }
    EXPECT_FALSE(QFile::exists(home.paths().socketPath())) << "an instance was started";
}

TEST(TextCommandLineProcess, SplitsLinesIntoWholeFittingPieces)
{
    TempHome home;
    RandomText texts = posts();
    QStringList lines;
    QByteArray input;
    for (int i = 0; i < 30; ++i) {
        lines.append(texts.next(300));
        input += QByteArray::fromStdString(Json(utf8(lines.last())).dump()) + '\n';
    }
    const Outcome run = runQuillo(home, {QStringLiteral("split"), QStringLiteral("--networks"), QStringLiteral("x,bluesky"), QStringLiteral("--json-lines")}, input);
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    const QList<QByteArray> answers = run.out.trimmed().split('\n');
    ASSERT_EQ(answers.size(), lines.size());
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QString joined;
        for (const Json& piece : Json::parse(answers.at(i).toStdString())) {
            const QString text = QString::fromStdString(piece.get<std::string>());
            joined += text;
            if (Graphemes::count(text) > 1) {
                EXPECT_TRUE(XCharacterCounter::count(text).fits());
                EXPECT_TRUE(BlueskyCharacterCounter::count(text).fits());
            }
        }
        EXPECT_EQ(joined, lines.at(i));
    }
}

TEST(TextCommandLineProcess, AnswersPlainInputAndRefusesWrongArguments)
{
    TempHome home;
    const Outcome count = runQuillo(home, {QStringLiteral("count"), QStringLiteral("--network"), QStringLiteral("bluesky"), QStringLiteral("--limit"), QStringLiteral("3")},
                                QByteArrayLiteral("h\xC3\xA9llo"));
    ASSERT_EQ(count.status, 0);
    EXPECT_EQ(Json::parse(count.out.toStdString()), Json::parse(R"({"network":"bluesky","count":5,"limit":3,"fits":false,"bytes":6})"));

    const Outcome split = runQuillo(home, {QStringLiteral("split"), QStringLiteral("--limit"), QStringLiteral("2")}, QByteArrayLiteral("a b"));
    ASSERT_EQ(split.status, 0);
    EXPECT_EQ(Json::parse(split.out.toStdString()), Json::parse(R"(["a ","b"])"));

    const Outcome badLine = runQuillo(home, {QStringLiteral("count"), QStringLiteral("--network"), QStringLiteral("x"), QStringLiteral("--json-lines")},
                                  QByteArrayLiteral("[1]\n\"ok\"\n"));
    EXPECT_EQ(badLine.status, 1);
    EXPECT_EQ(badLine.out.count('\n'), 2);

    for (const QStringList& wrong : {QStringList{QStringLiteral("count"), QStringLiteral("--network"), QStringLiteral("myspace")},
                                     QStringList{QStringLiteral("split"), QStringLiteral("--limit"), QStringLiteral("0")},
                                     QStringList{QStringLiteral("count"), QStringLiteral("--limit")},
                                     QStringList{QStringLiteral("split"), QStringLiteral("--frobnicate")}}) {
        const Outcome run = runQuillo(home, wrong, QByteArray());
        EXPECT_EQ(run.status, 2) << wrong.join(u' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_FALSE(run.err.isEmpty());
    }
    EXPECT_FALSE(QFile::exists(home.paths().socketPath()));
}
