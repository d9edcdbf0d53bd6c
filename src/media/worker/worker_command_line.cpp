#include "media/worker/worker_command_line.h"

#include "media/silence_detector.h"
#include "media/worker/image_job.h"
#include "media/worker/level_envelope.h"
#include "media/worker/media_probe.h"

#include <QMap>

#include <cstdio>
#include <optional>

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

const char* const kUsageText =
    "Usage: quillo-media JOB ARGS...\n"
    "\n"
    "Jobs:\n"
    "  probe FILE\n"
    "      Container, duration, streams (codec, size, frame rate, sample rate, channels)\n"
    "      and rotation.\n"
    "  envelope FILE [--buckets N] [--rate HZ]\n"
    "      The level envelope of the first audio track: mono samples at HZ (8000),\n"
    "      the peak of each of N buckets (100 a second). Unreadable audio gives N zeros.\n"
    "  silences FILE\n"
    "      The quiet ranges of the sound track, as the video editor finds them.\n"
    "  image IN OUT --format jpeg|png [--max-bytes N]\n"
    "      Decode IN and write it re-encoded to OUT. With --max-bytes, lower the JPEG\n"
    "      quality, then the size, until the file fits. Cut-off files are refused.\n"
    "\n"
    "Each job prints one JSON line on stdout: its result, or {\"error\", \"message\"}.\n"
    "Exit status: 0 done, 1 the job failed, 2 usage error.\n";

// Positional arguments and the values of --name VALUE options.
struct Parsed {
    QStringList positional;
    QMap<QString, QString> options;
};

const char* const kEnvelopeUsage = "Usage: quillo-media envelope FILE [--buckets N] [--rate HZ]\n";
const char* const kImageUsage = "Usage: quillo-media image IN OUT --format jpeg|png [--max-bytes N]\n";

int usage(const char* text, int status)
{
    std::fputs(text, status == 0 ? stdout : stderr);
    return status;
}

int print(const Json& answer)
{
    std::puts(answer.dump().c_str());
    return answer.contains("error") ? kFailed : 0;
}

bool wantsHelp(const QStringList& arguments)
{
    return arguments.contains(QStringLiteral("--help")) || arguments.contains(QStringLiteral("-h"));
}

// A positive whole number, or nothing.
std::optional<qint64> positive(const QString& text)
{
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    return ok && value > 0 ? std::optional(value) : std::nullopt;
}

std::optional<Parsed> parse(const QStringList& arguments, const QStringList& valueOptions)
{
    Parsed parsed;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (!argument.startsWith(QStringLiteral("--"))) {
            parsed.positional.append(argument);
            continue;
        }
        if (!valueOptions.contains(argument) || i + 1 >= arguments.size())
            return std::nullopt;
        parsed.options.insert(argument, arguments[++i]);
    }
    return parsed;
}

int runProbe(const Parsed& parsed)
{
    return print(MediaProbe::run(parsed.positional[0]));
}

int runEnvelope(const Parsed& parsed)
{
    const auto buckets = parsed.options.contains(QStringLiteral("--buckets"))
        ? positive(parsed.options.value(QStringLiteral("--buckets")))
        : std::nullopt;
    const auto rate = positive(
        parsed.options.value(QStringLiteral("--rate"), QString::number(LevelEnvelope::kDefaultSampleRate)));
    if ((parsed.options.contains(QStringLiteral("--buckets")) && !buckets) || !rate || *rate > 384000
        || buckets.value_or(0) > 10'000'000)
        return usage(kEnvelopeUsage, kUsage);
    LevelEnvelope::Options options;
    options.buckets = int(buckets.value_or(0));
    options.sampleRate = int(*rate);
    const LevelEnvelope::Result envelope = LevelEnvelope::read(parsed.positional[0], options);
    Json answer{{"duration", envelope.duration},
                {"sampleRate", *rate},
                {"samplesPerBucket", envelope.samplesPerBucket},
                {"levels", envelope.levels}};
    // Unreadable audio is still an envelope (a flat one); the reason goes along.
    if (!envelope.problem.isEmpty())
        answer["problem"] = envelope.problem.toStdString();
    return print(answer);
}

int runSilences(const Parsed& parsed)
{
    const LevelEnvelope::Result envelope = LevelEnvelope::read(parsed.positional[0], {});
    const auto silences = SilenceDetector::detectSilences(envelope.duration, envelope.levels,
                                                          SilenceDetector::Config::forDuration(envelope.duration));
    Json ranges = Json::array();
    for (const TimeRange& silence : silences)
        ranges.push_back({{"start", silence.start}, {"end", silence.end}});
    Json answer{{"duration", envelope.duration}, {"silences", ranges}};
    if (!envelope.problem.isEmpty())
        answer["problem"] = envelope.problem.toStdString();
    return print(answer);
}

int runImage(const Parsed& parsed)
{
    ImageJob::Options options;
    options.input = parsed.positional[0];
    options.output = parsed.positional[1];
    options.format = parsed.options.value(QStringLiteral("--format")).toLatin1();
    if (parsed.options.contains(QStringLiteral("--max-bytes"))) {
        options.maxBytes = positive(parsed.options.value(QStringLiteral("--max-bytes")));
        if (!options.maxBytes)
            return usage(kImageUsage, kUsage);
    }
    if (options.format != "png" && options.format != "jpeg")
        return usage(kImageUsage, kUsage);
    return print(ImageJob::run(options));
}

struct Job {
    const char* name;
    const char* usage;
    QStringList valueOptions;
    int positionalCount;
    int (*run)(const Parsed&);
};

const Job kJobs[] = {
    {"probe", "Usage: quillo-media probe FILE\n", {}, 1, runProbe},
    {"envelope", kEnvelopeUsage, {QStringLiteral("--buckets"), QStringLiteral("--rate")}, 1, runEnvelope},
    {"silences", "Usage: quillo-media silences FILE\n", {}, 1, runSilences},
    {"image", kImageUsage, {QStringLiteral("--format"), QStringLiteral("--max-bytes")}, 2, runImage},
};

} // namespace

int WorkerCommandLine::run(const QStringList& arguments)
{
    if (arguments.isEmpty())
        return usage(kUsageText, kUsage);
    const QString name = arguments.first();
    const QStringList rest = arguments.mid(1);
    for (const Job& job : kJobs) {
        if (name != QLatin1String(job.name))
            continue;
        if (wantsHelp(rest))
            return usage(job.usage, 0);
        const std::optional<Parsed> parsed = parse(rest, job.valueOptions);
        if (!parsed || parsed->positional.size() != job.positionalCount)
            return usage(job.usage, kUsage);
        return job.run(*parsed);
    }
    if (wantsHelp(arguments))
        return usage(kUsageText, 0);
    std::fprintf(stderr, "quillo-media: unknown job \"%s\"\n\n", qUtf8Printable(name));
    return usage(kUsageText, kUsage);
}
