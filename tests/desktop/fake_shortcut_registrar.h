#pragma once

#include "desktop/shortcut_registrar.h"

#include <QList>

// Records what the manager registers and presses shortcuts on request.
class FakeShortcutRegistrar : public ShortcutRegistrar {
public:
    struct Record {
        QList<ShortcutMap> registered;
        int unregistered = 0;
    };

    explicit FakeShortcutRegistrar(Record& record)
        : m_record(record)
    {
    }

    void registerAll(const ShortcutMap& shortcuts) override { m_record.registered.append(shortcuts); }
    void unregisterAll() override { ++m_record.unregistered; }

    void press(ShortcutAction action) const { reportActivated(action); }
    void refuse(const QString& message) const { reportProblem(message); }

private:
    Record& m_record;
};
