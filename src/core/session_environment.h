#pragma once

#include <QProcessEnvironment>

// Facts about the user's session read from the environment, shared by the start-up
// code and the command channel (which starts an instance when none runs).
namespace SessionEnvironment {
// Whether a graphical session is there to draw windows on (X11 or Wayland).
bool hasDisplay(const QProcessEnvironment& env);
} // namespace SessionEnvironment
