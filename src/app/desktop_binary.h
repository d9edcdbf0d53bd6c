#pragma once

// The windows live in their own executable, `quillo-desktop`, installed beside `quillo`:
// only that binary links the GUI libraries.
namespace DesktopBinary {

inline constexpr const char* kFileName = "quillo-desktop";

// Replaces this process with quillo-desktop (same arguments) when it is installed beside
// this executable. Returns only when it is not, or could not be started.
void execIfInstalled(char** argv);

} // namespace DesktopBinary
