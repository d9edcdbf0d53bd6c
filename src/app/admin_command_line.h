#pragma once

struct LaunchOptions;

// Settings and backups for people without a settings window (a server, a script):
//
//   quillo config list | get KEY | set KEY VALUE
//   quillo export-schedule FILE | import-schedule FILE | export-accounts FILE | import-accounts FILE
//
// Reads are local; changes go to the running instance when there is one (it keeps the
// lists in memory and would overwrite a change made beside it) and are made here when
// there is none. Exit status 0 on success, 1 on failure, 2 on a usage error.
namespace AdminCommandLine {
int run(const LaunchOptions& options);
}
