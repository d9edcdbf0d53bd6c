#include "media/worker/worker_command_line.h"

#include "media/worker/image_job.h"

#include <cstdio>

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

const char* const kUsageText =
    "Usage: quillo-media JOB ARGS...\n"
    "\n"
    "Jobs:\n"
    "  image IN OUT --format jpeg|png [--max-bytes N]\n"
    "      Decode IN and write it re-encoded to OUT. With --max-bytes, lower the JPEG\n"
    "      quality, then the size, until the file fits. Cut-off files are refused.\n"
    "\n"
    "Each job prints one JSON line on stdout: its result, or {\"error\", \"message\"}.\n"
    "Exit status: 0 done, 1 the job failed, 2 usage error.\n";

const char* const kImageUsageText = "Usage: quillo-media image IN OUT --format jpeg|png [--max-bytes N]\n";

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

} // namespace

int WorkerCommandLine::run(const QStringList& arguments)
{
    if (arguments.isEmpty())
        return usage(kUsageText, kUsage);
    const QString job = arguments.first();
    const QStringList rest = arguments.mid(1);
    if (job == QStringLiteral("image"))
        return runImage(rest);
    if (wantsHelp(arguments))
        return usage(kUsageText, 0);
    std::fprintf(stderr, "quillo-media: unknown job \"%s\"\n\n", qUtf8Printable(job));
    return usage(kUsageText, kUsage);
}

int WorkerCommandLine::runImage(const QStringList& arguments)
{
    if (wantsHelp(arguments))
        return usage(kImageUsageText, 0);
    ImageJob::Options options;
    QStringList positional;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QStringLiteral("--format") && hasValue) {
            options.format = arguments[++i].toLatin1();
        } else if (argument == QStringLiteral("--max-bytes") && hasValue) {
            bool ok = false;
            options.maxBytes = arguments[++i].toLongLong(&ok);
            if (!ok || *options.maxBytes <= 0)
                return usage(kImageUsageText, kUsage);
        } else if (argument.startsWith(QStringLiteral("--"))) {
            return usage(kImageUsageText, kUsage);
        } else {
            positional.append(argument);
        }
    }
    if (positional.size() != 2 || (options.format != "png" && options.format != "jpeg"))
        return usage(kImageUsageText, kUsage);
    options.input = positional[0];
    options.output = positional[1];
    return print(ImageJob::run(options));
}
