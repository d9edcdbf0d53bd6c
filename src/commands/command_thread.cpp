#include "commands/command_thread.h"

#include "commands/commands_log.h"
#include "commands/url_scheme_error.h"
#include "core/json.h"
#include "text/text_splitter.h"

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

} // namespace

QStringList textsFor(const QString& text, bool thread, bool autosplit, const QList<PlatformType>& networks,
                     qsizetype mastodonLimit)
{
    if (autosplit) {
        QStringList pieces = TextSplitter::splitFor(text, networks, mastodonLimit, kSplitLimit);
        return pieces.isEmpty() ? QStringList{text} : pieces;
    }
    if (thread)
        return text.split(TextSplitter::Separator);
    return {text};
}

QStringList parseTexts(const QString& json)
{
    const Json parsed = Json::parse(json.toStdString(), nullptr, false);
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
    const Json ops = Json::parse(json.toStdString(), nullptr, false);
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
