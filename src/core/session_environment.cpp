#include "core/session_environment.h"

namespace SessionEnvironment {

bool hasDisplay(const QProcessEnvironment& env)
{
    return !env.value(QStringLiteral("DISPLAY")).isEmpty() || !env.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty();
}

} // namespace SessionEnvironment
