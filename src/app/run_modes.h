#pragma once

struct LaunchOptions;

// Entry points of the run modes; main() picks one.
namespace RunModes {
int runMcpStdio(const LaunchOptions& options);
int runForwarder(int argc, char** argv, const LaunchOptions& options);
int runInstance(int argc, char** argv, const LaunchOptions& options);
} // namespace RunModes
