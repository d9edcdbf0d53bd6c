#include "media/worker/worker_command_line.h"

#include "core/app_paths.h"
#include "core/json_values.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "media/silence_detector.h"
#include "media/srt_file.h"
#include "media/video_export_request.h"
#include "media/worker/export_job.h"
#include "media/worker/frame_job.h"
#include "media/worker/image_job.h"
#include "media/worker/level_envelope.h"
#include "media/worker/media_probe.h"

#include <QFile>
#include <QMap>

#include <atomic>
#include <csignal>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>

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
    "  frame FILE OUT.jpg --at SECONDS [--width N]\n"
    "      The picture shown at SECONDS, upright, scaled to fit N pixels across (640).\n"
    "  image IN OUT --format jpeg|png [--max-bytes N] [--redact X,Y,W,H[;X,Y,W,H...]]\n"
    "      Decode IN and write it re-encoded to OUT. With --max-bytes, lower the JPEG\n"
    "      quality, then the size, until the file fits. Cut-off files are refused.\n"
    "      --redact blacks out rectangles given as fractions (0-1) of the upright image;\n"
    "      one ending in \",blur\" is blurred beyond reading instead.\n"
    "  export IN OUT --preset original|socialMedia|hd|fullHD|fourK [--clips 1.5-4,6-9.25]\n"
    "         [--subtitles FILE.srt] [--watermark] [--watermark-image FILE]\n"
    "      Write the kept ranges of IN back to back to OUT (.mov, .m4v, else MP4).\n"
    "      Progress goes to stderr.\n"
    "  job\n"
    "      Read one JSON request line on stdin ({\"job\": \"export\", ...}); answer with\n"
    "      {\"progress\": 0.42} lines and then the result line on stdout.\n"
    "\n"
    "Each job prints one JSON line on stdout: its result, or {\"error\", \"message\"}.\n"
    "Exit status: 0 done, 1 the job failed, 2 usage error.\n";

// Positional arguments, the values of --name VALUE options and the --flags given.
struct Parsed {
    QStringList positional;
    QMap<QString, QString> options;
    QStringList flags;
};

// Set by SIGINT/SIGTERM: a running export stops at the next frame and removes its partial file.
std::atomic<bool> g_stopRequested{false};

void requestStop(int)
{
    g_stopRequested = true;
}

SessionHooks stoppableHooks(std::function<void(double)> progress)
{
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
    SessionHooks hooks;
    hooks.progress = std::move(progress);
    hooks.cancelled = [] { return g_stopRequested.load(); };
    return hooks;
}

// Calls `report` with whole percents, each once.
std::function<void(double)> percentSteps(std::function<void(int)> report)
{
    return [report = std::move(report), last = -1](double fraction) mutable {
        const int percent = int(std::clamp(fraction, 0.0, 1.0) * 100);
        if (percent == last)
            return;
        last = percent;
        report(percent);
    };
}

const char* const kEnvelopeUsage = "Usage: quillo-media envelope FILE [--buckets N] [--rate HZ]\n";
const char* const kImageUsage =
    "Usage: quillo-media image IN OUT --format jpeg|png [--max-bytes N] [--redact X,Y,W,H[;X,Y,W,H...]]\n";
const char* const kExportUsage =
    "Usage: quillo-media export IN OUT --preset original|socialMedia|hd|fullHD|fourK\n"
    "                           [--clips 1.5-4,6-9.25] [--subtitles FILE.srt]\n"
    "                           [--watermark] [--watermark-image FILE]\n"
    "\n"
    "  --clips            the ranges to keep, in seconds on IN's timeline, in order\n"
    "  --subtitles        SubRip captions timed on IN, burned into the picture\n"
    "  --watermark        draw the watermark set in Quillo's settings\n"
    "  --watermark-image  draw this image instead (bottom right, default size)\n";

int usage(const char* text, int status)
{
    std::fputs(text, status == 0 ? stdout : stderr);
    return status;
}

int print(const Json& answer)
{
    std::puts(answer.dump().c_str());
    std::fflush(stdout);
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

std::optional<Parsed> parse(const QStringList& arguments, const QStringList& valueOptions, const QStringList& flags)
{
    Parsed parsed;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (!argument.startsWith(QStringLiteral("--"))) {
            parsed.positional.append(argument);
            continue;
        }
        if (flags.contains(argument)) {
            parsed.flags.append(argument);
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

const char* const kFrameUsage = "Usage: quillo-media frame FILE OUT.jpg --at SECONDS [--width N]\n";

int runFrame(const Parsed& parsed)
{
    bool ok = false;
    FrameJob::Options options;
    options.input = parsed.positional[0];
    options.output = parsed.positional[1];
    options.at = parsed.options.value(QStringLiteral("--at")).toDouble(&ok);
    const auto width = positive(parsed.options.value(QStringLiteral("--width"), QStringLiteral("640")));
    if (!ok || !std::isfinite(options.at) || !width || *width > 8192)
        return usage(kFrameUsage, kUsage);
    options.maxWidth = int(*width);
    return print(FrameJob::run(options));
}

// "0.1,0.2,0.3,0.1;…,blur": fractions of the image, each rectangle inside it, blurred
// instead of blacked out when it says so.
std::optional<QList<RedactionRect>> parseRedactions(const QString& text)
{
    QList<RedactionRect> rectangles;
    for (const QString& part : text.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        QStringList numbers = part.split(QLatin1Char(','));
        const bool blurred = numbers.size() == 5 && numbers.last().trimmed() == QLatin1String("blur");
        if (blurred)
            numbers.removeLast();
        if (numbers.size() != 4)
            return std::nullopt;
        double values[4] = {};
        for (int i = 0; i < 4; ++i) {
            bool ok = false;
            values[i] = numbers[i].trimmed().toDouble(&ok);
            if (!ok || values[i] < 0 || values[i] > 1)
                return std::nullopt;
        }
        rectangles.append(RedactionRect{values[0], values[1], values[2], values[3], blurred});
    }
    return rectangles;
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
    if (parsed.options.contains(QStringLiteral("--redact"))) {
        const auto rectangles = parseRedactions(parsed.options.value(QStringLiteral("--redact")));
        if (!rectangles)
            return usage(kImageUsage, kUsage);
        options.redactions = *rectangles;
    }
    return print(ImageJob::run(options));
}

// "1.5-4,6-9.25" as ranges; nothing when a range is not two numbers.
std::optional<QList<TimeRange>> parseClips(const QString& text)
{
    QList<TimeRange> clips;
    for (const QString& part : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QStringList ends = part.split(QLatin1Char('-'));
        bool startOk = false;
        bool endOk = false;
        const double start = ends.value(0).trimmed().toDouble(&startOk);
        const double end = ends.value(1).trimmed().toDouble(&endOk);
        if (ends.size() != 2 || !startOk || !endOk)
            return std::nullopt;
        clips.append(TimeRange{start, end});
    }
    return clips;
}

std::optional<Watermark> settingsWatermark()
{
    const PreferenceStore preferences(AppPaths::fromEnvironment());
    Watermark watermark;
    watermark.imagePath = preferences.valueOrDefault(PreferenceKeys::WatermarkImagePath).toString();
    if (watermark.imagePath.isEmpty())
        return std::nullopt;
    watermark.corner = watermarkCornerFromRawValue(preferences.valueOrDefault(PreferenceKeys::WatermarkPosition).toString())
                           .value_or(WatermarkCorner::bottomRight);
    watermark.marginMultiplier = preferences.valueOrDefault(PreferenceKeys::WatermarkMarginMultiplier).toDouble();
    watermark.sizeMultiplier = preferences.valueOrDefault(PreferenceKeys::WatermarkSizeMultiplier).toDouble();
    return watermark;
}

int exportFailure(const QString& message)
{
    return print({{"error", "usage"}, {"message", message.toStdString()}});
}

int runExport(const Parsed& parsed)
{
    VideoExportRequest request;
    request.input = parsed.positional[0];
    request.output = parsed.positional[1];
    const auto preset = videoExportPresetFromRawValue(parsed.options.value(QStringLiteral("--preset")));
    if (!preset)
        return usage(kExportUsage, kUsage);
    request.presets = sessionPresetsFor(*preset);
    if (parsed.options.contains(QStringLiteral("--clips"))) {
        const auto clips = parseClips(parsed.options.value(QStringLiteral("--clips")));
        if (!clips)
            return usage(kExportUsage, kUsage);
        request.clips = *clips;
    }
    if (parsed.options.contains(QStringLiteral("--subtitles"))) {
        QFile file(parsed.options.value(QStringLiteral("--subtitles")));
        if (!file.open(QIODevice::ReadOnly))
            return exportFailure(file.fileName() + QStringLiteral(": ") + file.errorString());
        QString error;
        const auto captions = SrtFile::parse(file.readAll(), &error);
        if (!captions)
            return exportFailure(file.fileName() + QStringLiteral(": ") + error);
        request.subtitles = *captions;
    }
    if (parsed.options.contains(QStringLiteral("--watermark-image"))) {
        request.watermark = Watermark{parsed.options.value(QStringLiteral("--watermark-image"))};
    } else if (parsed.flags.contains(QStringLiteral("--watermark"))) {
        request.watermark = settingsWatermark();
        if (!request.watermark)
            return exportFailure(QStringLiteral("No watermark image is set in Quillo's settings"));
    }
    const SessionHooks hooks = stoppableHooks(percentSteps([](int percent) {
        std::fprintf(stderr, "progress: %d%%\n", percent);
    }));
    return print(ExportJob::run(request, hooks));
}

// One request line in; progress lines and the answer out. The instance's way in.
int runJob(const Parsed&)
{
    std::string line;
    std::getline(std::cin, line);
    const Json request = JsonValues::parseOrDiscard(line);
    if (!request.is_object() || request.value("job", std::string()) != "export")
        return print({{"error", "usage"}, {"message", "expected one JSON line {\"job\": \"export\", ...}"}});
    QString error;
    const std::optional<VideoExportRequest> exportRequest = VideoExportRequest::fromJson(request, &error);
    if (!exportRequest)
        return print({{"error", "usage"}, {"message", error.toStdString()}});
    const SessionHooks hooks = stoppableHooks(percentSteps([](int percent) {
        std::printf("{\"progress\":%.2f}\n", percent / 100.0);
        std::fflush(stdout);
    }));
    return print(ExportJob::run(*exportRequest, hooks));
}

struct Job {
    const char* name;
    const char* usage;
    QStringList valueOptions;
    int positionalCount;
    int (*run)(const Parsed&);
    QStringList flags{};
};

const Job kJobs[] = {
    {"probe", "Usage: quillo-media probe FILE\n", {}, 1, runProbe},
    {"envelope", kEnvelopeUsage, {QStringLiteral("--buckets"), QStringLiteral("--rate")}, 1, runEnvelope},
    {"silences", "Usage: quillo-media silences FILE\n", {}, 1, runSilences},
    {"frame", kFrameUsage, {QStringLiteral("--at"), QStringLiteral("--width")}, 2, runFrame},
    {"image", kImageUsage, {QStringLiteral("--format"), QStringLiteral("--max-bytes"), QStringLiteral("--redact")}, 2, runImage},
    {"export", kExportUsage,
     {QStringLiteral("--preset"), QStringLiteral("--clips"), QStringLiteral("--subtitles"), QStringLiteral("--watermark-image")},
     2, runExport, {QStringLiteral("--watermark")}},
    {"job", "Usage: quillo-media job < REQUEST.json\n", {}, 0, runJob},
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
        const std::optional<Parsed> parsed = parse(rest, job.valueOptions, job.flags);
        if (!parsed || parsed->positional.size() != job.positionalCount)
            return usage(job.usage, kUsage);
        return job.run(*parsed);
    }
    if (wantsHelp(arguments))
        return usage(kUsageText, 0);
    std::fprintf(stderr, "quillo-media: unknown job \"%s\"\n\n", qUtf8Printable(name));
    return usage(kUsageText, kUsage);
}
