#pragma once

#include "desktop/shortcut_validator.h"

#include <QString>

#include <functional>

// Registers the shortcuts with the system's hot-key service: X11 key grabs, the desktop
// portal, or a fake in tests. ShortcutManager owns one; the headless instance has none.
class ShortcutRegistrar {
public:
    using Activated = std::function<void(ShortcutAction)>;
    using Problem = std::function<void(const QString& message)>;

    virtual ~ShortcutRegistrar() = default;

    // activated runs when a registered shortcut is pressed; problem when the service
    // refuses a registration (possibly later, for a service that answers asynchronously).
    void setCallbacks(Activated activated, Problem problem)
    {
        m_activated = std::move(activated);
        m_problem = std::move(problem);
    }

    // Replaces whatever was registered before by these.
    virtual void registerAll(const ShortcutMap& shortcuts) = 0;
    virtual void unregisterAll() = 0;

protected:
    void reportActivated(ShortcutAction action) const
    {
        if (m_activated)
            m_activated(action);
    }
    void reportProblem(const QString& message) const
    {
        if (m_problem)
            m_problem(message);
    }

private:
    Activated m_activated;
    Problem m_problem;
};
