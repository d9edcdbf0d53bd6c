#include "app/text_command_line.h"

#include "core/json.h"
#include "model/platform_type.h"
#include "text/bluesky_character_counter.h"
#include "text/graphemes.h"
#include "text/mastodon_character_counter.h"
#include "text/platform_character_counter.h"
#include "text/text_splitter.h"
#include "text/x_character_counter.h"

#include <istream>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>
#include <stdexcept>

namespace {
const QString CountCommand = QStringLiteral("count");
const QString SplitCommand = QStringLiteral("split");
constexpr qsizetype DefaultSplitLimit = 280;

struct Network {
    const char* name;
    PlatformType platform;
};
constexpr Network Networks[] = {
    {"x", PlatformType::x},
    {"bluesky", PlatformType::bluesky},
    {"mastodon", PlatformType::mastodon},
};

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::optional<PlatformType> networkNamed(const QString& name)
{
    for (const Network& network : Networks) {
        if (name == QLatin1String(network.name))
            return network.platform;
    }
    return std::nullopt;
}

const char* nameOf(PlatformType platform)
{
    for (const Network& network : Networks) {
        if (network.platform == platform)
            return network.name;
    }
    return "";
}

struct Options {
    bool count = true;
    bool jsonLines = false;
    std::optional<qsizetype> limit;
    QList<PlatformType> networks;
};

std::string usage(bool count)
{
    return count ? "usage: quillo count [--network x|bluesky|mastodon] [--limit N] [--json-lines]"
                 : "usage: quillo split [--limit N] [--networks x,bluesky,mastodon] [--json-lines]";
}

Options parseOptions(const QStringList& arguments)
{
    Options options;
    options.count = arguments.first() == CountCommand;
    const auto valueAfter = [&](qsizetype& i) {
        if (i + 1 >= arguments.size())
            throw UsageError(arguments.at(i).toStdString() + " needs a value\n" + usage(options.count));
        return arguments.at(++i);
    };
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QStringLiteral("--json-lines")) {
            options.jsonLines = true;
        } else if (argument == QStringLiteral("--limit")) {
            const QString value = valueAfter(i);
            bool ok = false;
            const qsizetype limit = value.toLongLong(&ok);
            if (!ok || limit < 1)
                throw UsageError("--limit takes a whole number above 0, not \"" + value.toStdString() + "\"");
            options.limit = limit;
        } else if (argument == QStringLiteral("--network") && options.count && options.networks.isEmpty()) {
            const QString value = valueAfter(i);
            const std::optional<PlatformType> network = networkNamed(value);
            if (!network)
                throw UsageError("unknown network \"" + value.toStdString() + "\": x, bluesky or mastodon");
            options.networks = {*network};
        } else if (argument == QStringLiteral("--networks") && !options.count) {
            for (const QString& name : valueAfter(i).split(u',', Qt::SkipEmptyParts)) {
                const std::optional<PlatformType> network = networkNamed(name.trimmed());
                if (!network)
                    throw UsageError("unknown network \"" + name.toStdString() + "\": x, bluesky or mastodon");
                if (!options.networks.contains(*network))
                    options.networks.append(*network);
            }
        } else {
            throw UsageError("unexpected argument \"" + argument.toStdString() + "\"\n" + usage(options.count));
        }
    }
    return options;
}

Json countOn(PlatformType platform, const QString& text, std::optional<qsizetype> limit)
{
    CharacterCount counted = platform == PlatformType::mastodon
                                 ? MastodonCharacterCounter::count(text, limit.value_or(MastodonCharacterCounter::DefaultLimit))
                                 : PlatformCharacterCounter::count(platform, text);
    if (limit)
        counted.limit = *limit;
    Json result = Json::object();
    result["network"] = nameOf(platform);
    result["count"] = counted.length;
    result["limit"] = counted.limit;
    result["fits"] = counted.fits();
    if (platform == PlatformType::bluesky)
        result["bytes"] = counted.bytes;
    return result;
}

Json countResult(const Options& options, const QString& text)
{
    if (!options.networks.isEmpty())
        return countOn(options.networks.first(), text, options.limit);
    Json all = Json::array();
    for (const Network& network : Networks)
        all.push_back(countOn(network.platform, text, options.limit));
    return all;
}

Json splitResult(const Options& options, const QString& text)
{
    QStringList pieces;
    if (options.networks.isEmpty()) {
        pieces = TextSplitter::split(text, options.limit.value_or(DefaultSplitLimit));
    } else {
        const QList<PlatformType>& networks = options.networks;
        const std::optional<qsizetype> limit = options.limit;
        pieces = TextSplitter::split(text, [&networks, limit](QStringView piece) {
            return (!limit || Graphemes::count(piece) <= *limit)
                   && TextSplitter::fitsAll(piece, networks, MastodonCharacterCounter::DefaultLimit);
        });
    }
    Json array = Json::array();
    for (const QString& piece : pieces) {
        const QByteArray utf8 = piece.toUtf8();
        array.push_back(std::string(utf8.constData(), size_t(utf8.size())));
    }
    return array;
}

Json resultFor(const Options& options, const QString& text)
{
    return options.count ? countResult(options, text) : splitResult(options, text);
}

void writeJson(std::ostream& output, const Json& value)
{
    output << value.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

QString fromUtf8(const std::string& bytes)
{
    return QString::fromUtf8(bytes.data(), qsizetype(bytes.size()));
}
} // namespace

namespace TextCommandLine {

bool isTextCommand(const QStringList& arguments)
{
    return !arguments.isEmpty() && (arguments.first() == CountCommand || arguments.first() == SplitCommand);
}

int run(const QStringList& arguments, std::istream& input, std::ostream& output, std::ostream& errors)
{
    Options options;
    try {
        options = parseOptions(arguments);
    } catch (const UsageError& error) {
        errors << "quillo: " << error.what() << '\n';
        return 2;
    }
    if (!options.jsonLines) {
        const std::string text{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
        writeJson(output, resultFor(options, fromUtf8(text)));
        output.flush();
        return 0;
    }
    // One result per line as each line arrives, so a script can keep one process open.
    int status = 0;
    qint64 lineNumber = 0;
    for (std::string line; std::getline(input, line);) {
        ++lineNumber;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const Json value = Json::parse(line, nullptr, false);
        if (value.is_string()) {
            writeJson(output, resultFor(options, fromUtf8(value.get<std::string>())));
        } else {
            Json failure = Json::object();
            failure["error"] = "line " + std::to_string(lineNumber) + " is not a JSON string";
            writeJson(output, failure);
            status = 1;
        }
        output.flush();
    }
    return status;
}

} // namespace TextCommandLine
