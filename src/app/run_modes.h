#pragma once

struct LaunchOptions;
class WindowHost;

// Entry points of the run modes; main() picks one.
namespace RunModes {
int runMcpStdio(const LaunchOptions& options);
int runForwarder(int argc, char** argv, const LaunchOptions& options);
// `windows`: the desktop binary's windows; none for the instance without windows.
int runInstance(int argc, char** argv, const LaunchOptions& options, WindowHost* windows = nullptr);
} // namespace RunModes
