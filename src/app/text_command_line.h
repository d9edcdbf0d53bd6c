#pragma once

#include <QStringList>

#include <iosfwd>

// `quillo count` and `quillo split`: the counters and the splitter for scripts, on text
// read from stdin. Neither starts or talks to an instance; nothing but Qt Core is touched.
//
//   count [--network x|bluesky|mastodon] [--limit N] [--json-lines]
//   split [--limit N] [--networks x,bluesky,mastodon] [--json-lines]
namespace TextCommandLine {

// Whether the arguments ask for one of these commands (the command is the first argument).
bool isTextCommand(const QStringList& arguments);

// Runs the command in `arguments` (its name first). Returns the exit status: 0, 1 when a
// JSON line could not be read, 2 for wrong arguments (the message goes to `errors`).
int run(const QStringList& arguments, std::istream& input, std::ostream& output, std::ostream& errors);

} // namespace TextCommandLine
