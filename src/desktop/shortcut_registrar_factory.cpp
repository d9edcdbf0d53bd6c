#include "desktop/shortcut_registrar_factory.h"

#include "desktop/desktop_log.h"
#include "desktop/portal_shortcut_registrar.h"
#include "desktop/x11_shortcut_registrar.h"

#include <QGuiApplication>

namespace {

QString sessionKind(const QString& platformName)
{
    if (platformName == QStringLiteral("xcb"))
        return QStringLiteral("x11");
    if (platformName.startsWith(QStringLiteral("wayland")))
        return QStringLiteral("wayland");
    return qEnvironmentVariable("XDG_SESSION_TYPE");
}

} // namespace

std::unique_ptr<ShortcutRegistrar> makeShortcutRegistrar(const QString& platformName)
{
    const QString kind = sessionKind(platformName);
    if (kind == QStringLiteral("wayland"))
        return std::make_unique<PortalShortcutRegistrar>();
    if (kind == QStringLiteral("x11")) {
        auto registrar = std::make_unique<X11ShortcutRegistrar>();
        if (registrar->isConnected())
            return registrar;
    }
    qCInfo(lcDesktop).noquote() << QStringLiteral("⏭ No global shortcuts in this session (%1)").arg(platformName);
    return nullptr;
}

std::unique_ptr<ShortcutRegistrar> makeShortcutRegistrar()
{
    return makeShortcutRegistrar(QGuiApplication::platformName());
}
