#pragma once

struct LaunchOptions;

// `quillo --print-mcp-config EDITOR` and `quillo --install-mcp EDITOR [--config PATH]`:
// set up an AI editor without opening a window.
namespace EditorCommandLine {
int run(const LaunchOptions& options);
}
