#pragma once

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

// One entry of the GlobalShortcuts portal's shortcut list, D-Bus type (sa{sv}): the id
// and its properties ("description", "preferred_trigger").
struct PortalShortcut {
    QString id;
    QVariantMap properties;

    // Once per process, before the type crosses the bus.
    static void registerDBusTypes();
};

using PortalShortcutList = QList<PortalShortcut>;

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut);
const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut);

Q_DECLARE_METATYPE(PortalShortcut)
