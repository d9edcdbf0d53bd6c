#include "app/launch_options.h"

#include "app/text_command_line.h"
#include "core/session_environment.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

namespace {

// A file a file manager hands over: a file:// URL or a path to an existing file.
QString mediaFileOf(const QString& argument)
{
    if (argument.startsWith(QStringLiteral("file:"), Qt::CaseInsensitive))
        return QUrl(argument).toLocalFile();
    if (argument.startsWith(u'-'))
        return {};
    const QFileInfo info(argument);
    return info.isFile() ? info.absoluteFilePath() : QString();
}

bool isOne(const QProcessEnvironment& env, const QString& name)
{
    return env.contains(name) && env.value(name) == QStringLiteral("1");
}

QString valueAfter(const QStringList& arguments, const QString& flag)
{
    const qsizetype at = arguments.indexOf(flag);
    return (at >= 0 && at + 1 < arguments.size()) ? arguments.at(at + 1) : QString();
}

bool parseEditorCommand(const QStringList& arguments, LaunchOptions& options)
{
    const QString print = QStringLiteral("--print-mcp-config");
    const QString install = QStringLiteral("--install-mcp");
    if (arguments.contains(print)) {
        options.mode = RunMode::printMcpConfig;
        options.editor = valueAfter(arguments, print);
        return true;
    }
    if (arguments.contains(install)) {
        options.mode = RunMode::installMcp;
        options.editor = valueAfter(arguments, install);
        options.configPath = valueAfter(arguments, QStringLiteral("--config"));
        return true;
    }
    return false;
}

} // namespace

LaunchOptions LaunchOptions::parse(const QStringList& arguments, const QProcessEnvironment& env)
{
    LaunchOptions options;
    options.mcpDebug = arguments.contains(QStringLiteral("--mcp-debug")) || isOne(env, QStringLiteral("QUILLO_MCP_DEBUG"));
    options.uiTestMode = env.contains(QStringLiteral("QUILLO_UI_TEST_MODE"));
    options.uiTestResetState = env.contains(QStringLiteral("QUILLO_UI_TEST_RESET_STATE"));

    // A command word comes first and wins over the environment: a script asking for a count
    // inside an MCP session still gets its count.
    if (TextCommandLine::isTextCommand(arguments)) {
        options.mode = RunMode::text;
        return options;
    }
    if (arguments.contains(QStringLiteral("--mcp-stdio")) || isOne(env, QStringLiteral("QUILLO_MCP_STDIO"))) {
        options.mode = RunMode::mcpStdio;
        return options;
    }
    if (parseEditorCommand(arguments, options))
        return options;
    // Commands are the first word, so a URL or file that happens to read "config" is not one.
    static const QStringList transfers = {QStringLiteral("export-schedule"), QStringLiteral("import-schedule"),
                                          QStringLiteral("export-accounts"), QStringLiteral("import-accounts")};
    if (!arguments.isEmpty() && arguments.first() == QLatin1String("config")) {
        options.mode = RunMode::config;
        options.commandArguments = arguments.mid(1);
        return options;
    }
    if (!arguments.isEmpty() && transfers.contains(arguments.first())) {
        options.mode = RunMode::transfer;
        options.commandArguments = arguments;
        return options;
    }
    QStringList files;
    for (const QString& argument : arguments) {
        if (argument.startsWith(QStringLiteral("quillo:"), Qt::CaseInsensitive))
            options.urls.append(argument);
        else if (const QString file = mediaFileOf(argument); !file.isEmpty())
            files.append(file);
    }
    // "Open with Quillo" from a file manager: a new post with the files attached.
    if (!files.isEmpty())
        options.urls.append(composeUrlForFiles(files));
    if (!options.urls.isEmpty()) {
        options.mode = RunMode::forwarder;
        return options;
    }
    const bool headless = arguments.contains(QStringLiteral("--headless")) || !SessionEnvironment::hasDisplay(env);
    options.mode = headless ? RunMode::headless : RunMode::desktop;
    return options;
}

QString LaunchOptions::composeUrlForFiles(const QStringList& files)
{
    // A JSON array keeps commas in file names intact; a post takes four attachments.
    QJsonArray media;
    for (const QString& file : files.mid(0, 4))
        media.append(file);
    const QByteArray json = QJsonDocument(media).toJson(QJsonDocument::Compact);
    return QStringLiteral("quillo://compose?media=") + QString::fromLatin1(QUrl::toPercentEncoding(QString::fromUtf8(json)));
}

QStringList LaunchOptions::argumentsOf(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}
