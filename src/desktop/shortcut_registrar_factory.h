#pragma once

#include "desktop/shortcut_registrar.h"

#include <QString>

#include <memory>

// The registrar for this session: X11 key grabs under the xcb platform, the desktop
// portal under Wayland, none otherwise (offscreen, no desktop session). platformName is
// QGuiApplication::platformName(); when it names neither, XDG_SESSION_TYPE decides.
std::unique_ptr<ShortcutRegistrar> makeShortcutRegistrar(const QString& platformName);
// The same for the running QGuiApplication.
std::unique_ptr<ShortcutRegistrar> makeShortcutRegistrar();
