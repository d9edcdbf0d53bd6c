#include "commands/command_thread.h"

#include "commands/commands_log.h"
#include "commands/url_scheme_error.h"
#include "core/json.h"
#include "core/json_values.h"
#include "text/text_splitter.h"

#include <QRegularExpression>

namespace CommandThread {
namespace {

QString toQString(const Json& value)
{
    return QString::fromStdString(value.get<std::string>());
}

qsizetype indexOf(const Json& op, qsizetype size, bool allowEnd)
{
    const auto index = op.find("index");
    if (index == op.end() || !index->is_number_integer())
        throw URLSchemeError::invalidParameter(QStringLiteral("threadOps: each operation needs an integer index"));
    const qint64 value = index->get<qint64>();
    if (value < 0 || value > size || (value == size && !allowEnd))
        throw URLSchemeError::invalidParameter(QStringLiteral("threadOps: index %1 is outside the thread of %2 post(s)")
                                                   .arg(value)
                                                   .arg(size));
    return qsizetype(value);
}

QString textOf(const Json& op)
{
    const auto text = op.find("text");
    if (text == op.end() || !text->is_string())
        throw URLSchemeError::invalidParameter(QStringLiteral("threadOps: this operation needs a text"));
    return toQString(*text);
}

// Without the line breaks (and the spaces on those lines) before the first and after
// the last line that has text.
QString trimBlankLines(const QString& text)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    for (qsizetype i = 0; i < text.size() && text[i].isSpace(); ++i) {
        if (text[i] == u'\n')
            start = i + 1;
    }
    for (qsizetype i = text.size(); i > start && text[i - 1].isSpace(); --i) {
        if (text[i - 1] == u'\n' || text[i - 1] == u'\r')
            end = i - 1;
    }
    return text.mid(start, end - start);
}

} // namespace

QStringList splitAtBreaks(const QString& text)
{
    // "---" alone on a line, spaces and a CR around it allowed; the blank lines that
    // usually surround it belong to no post.
    static const QRegularExpression breakLine(QStringLiteral("^[ \\t]*---[ \\t]*\\r?$"),
                                              QRegularExpression::MultilineOption);
    QStringList posts;
    for (const QString& piece : text.split(breakLine)) {
        const QString post = trimBlankLines(piece);
        if (!post.trimmed().isEmpty())
            posts.append(post);
    }
    if (posts.isEmpty())
        posts.append(QString());
    return posts;
}

QStringList textsFor(const QString& text, bool thread, bool autosplit, const QList<PlatformType>& networks,
                     qsizetype mastodonLimit)
{
    const QStringList posts = thread ? splitAtBreaks(text) : QStringList{text};
    if (!autosplit)
        return posts;
    QStringList pieces;
    for (const QString& post : posts) {
        const QStringList split = TextSplitter::splitFor(post, networks, mastodonLimit, kSplitLimit);
        pieces.append(split.isEmpty() ? QStringList{post} : split);
    }
    return pieces;
}

QStringList parseTexts(const QString& json)
{
    const Json parsed = JsonValues::parseOrDiscard(json.toStdString());
    if (!parsed.is_array() || parsed.empty())
        throw URLSchemeError::invalidParameter(QStringLiteral("thread must be a non-empty JSON array of texts"));
    QStringList texts;
    for (const Json& item : parsed) {
        if (!item.is_string())
            throw URLSchemeError::invalidParameter(QStringLiteral("thread must be a non-empty JSON array of texts"));
        texts << toQString(item);
    }
    return texts;
}

void setTexts(QList<Post>& thread, const QStringList& texts)
{
    while (thread.size() > texts.size())
        thread.removeLast();
    for (qsizetype i = 0; i < texts.size(); ++i) {
        if (i < thread.size())
            thread[i].text = texts[i];
        else
            thread.append(Post::create(texts[i]));
    }
}

void applyOps(QList<Post>& thread, const QString& json)
{
    const Json ops = JsonValues::parseOrDiscard(json.toStdString());
    if (!ops.is_array())
        throw URLSchemeError::invalidParameter(QStringLiteral("threadOps must be a JSON array of {op, index, text}"));
    for (const Json& op : ops) {
        const auto name = op.is_object() ? op.find("op") : op.end();
        const QString kind = (op.is_object() && name != op.end() && name->is_string()) ? toQString(*name) : QString();
        if (kind == QStringLiteral("insert")) {
            const qsizetype index = indexOf(op, thread.size(), true);
            thread.insert(index, Post::create(textOf(op)));
            qCInfo(lcCommands).noquote() << QStringLiteral("✅ URLSchemeHandler: Inserted post at index ") + QString::number(index);
        } else if (kind == QStringLiteral("replace")) {
            const qsizetype index = indexOf(op, thread.size(), false);
            thread[index].text = textOf(op);
            qCInfo(lcCommands).noquote() << QStringLiteral("✅ URLSchemeHandler: Replaced post at index ") + QString::number(index);
        } else if (kind == QStringLiteral("delete")) {
            const qsizetype index = indexOf(op, thread.size(), false);
            thread.removeAt(index);
            qCInfo(lcCommands).noquote() << QStringLiteral("✅ URLSchemeHandler: Deleted post at index ") + QString::number(index);
        } else if (kind == QStringLiteral("append")) {
            thread.append(Post::create(textOf(op)));
            qCInfo(lcCommands).noquote() << QStringLiteral("✅ URLSchemeHandler: Appended post to thread");
        } else {
            qCWarning(lcCommands).noquote() << QStringLiteral("⚠️ URLSchemeHandler: Unknown thread operation: ")
                    + (kind.isEmpty() ? QString::fromStdString(op.dump()) : kind);
        }
    }
    if (thread.isEmpty())
        throw URLSchemeError::invalidParameter(QStringLiteral("threadOps would leave the thread without posts"));
}

} // namespace CommandThread
