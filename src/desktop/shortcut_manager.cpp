#include "desktop/shortcut_manager.h"

#include "core/coding_error.h"
#include "core/preference_store.h"
#include "desktop/desktop_log.h"
#include "desktop/portable_key_map.h"
#include "desktop/shortcut_registrar.h"

#include <QJsonDocument>
#include <QJsonObject>

ShortcutManager::ShortcutManager(PreferenceStore& defaults, std::unique_ptr<ShortcutRegistrar> registrar,
                                 QObject* parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_registrar(std::move(registrar))
{
    for (const ShortcutAction action : kShortcutActions)
        m_shortcuts.insert(action, KeyboardShortcut::defaultFor(action));
    if (m_registrar) {
        m_registrar->setCallbacks([this](ShortcutAction action) { trigger(action); },
                                  [this](const QString& message) { addRegistrationProblem(message); });
    }
}

ShortcutManager::~ShortcutManager()
{
    if (m_registrar)
        m_registrar->unregisterAll();
}

QString ShortcutManager::storageKey(ShortcutAction action)
{
    return QStringLiteral("KeyboardShortcut.v2.") + shortcutActionRawValue(action);
}

void ShortcutManager::load()
{
    for (const ShortcutAction action : kShortcutActions)
        m_shortcuts.insert(action, readEntry(action));
    registerAll();
    Q_EMIT shortcutsChanged();
}

KeyboardShortcut ShortcutManager::readEntry(ShortcutAction action)
{
    const std::optional<QByteArray> stored = m_defaults.data(storageKey(action));
    if (!stored)
        return KeyboardShortcut::defaultFor(action);
    try {
        return KeyboardShortcut::decode(*stored);
    } catch (const CodingError& error) {
        m_unreadable.insert(action);
        qCWarning(lcDesktop).noquote() << QStringLiteral("⚠️ Keeping the default shortcut for %1: the stored one cannot be read (%2)")
                                              .arg(shortcutActionRawValue(action), error.message());
        return KeyboardShortcut::defaultFor(action);
    }
}

void ShortcutManager::validate(ShortcutAction action, const KeyboardShortcut& shortcut) const
{
    ShortcutValidator::validate(action, shortcut, m_shortcuts);
}

void ShortcutManager::update(ShortcutAction action, const KeyboardShortcut& shortcut)
{
    validate(action, shortcut);
    m_shortcuts.insert(action, shortcut);
    writeEntry(action);
    registerAll();
    Q_EMIT shortcutsChanged();
    reportUsage(QStringLiteral("keyboard_shortcut_changed"), {{QStringLiteral("action"), shortcutActionRawValue(action)}});
}

void ShortcutManager::reset()
{
    for (const ShortcutAction action : kShortcutActions) {
        m_shortcuts.insert(action, KeyboardShortcut::defaultFor(action));
        writeEntry(action);
    }
    registerAll();
    Q_EMIT shortcutsChanged();
    reportUsage(QStringLiteral("keyboard_shortcuts_reset"), {});
}

void ShortcutManager::writeEntry(ShortcutAction action)
{
    const QString key = storageKey(action);
    if (m_unreadable.remove(action)) {
        const QString copy = m_defaults.keepUnreadableCopy(key);
        if (!copy.isEmpty())
            qCInfo(lcDesktop).noquote() << QStringLiteral("💾 Kept the unreadable shortcut entry as ") + copy;
    }
    if (!m_defaults.setData(key, m_shortcuts.value(action).encode()))
        qCWarning(lcDesktop).noquote() << QStringLiteral("❌ Could not save the shortcut for ") + shortcutActionRawValue(action);
}

void ShortcutManager::setHandler(ShortcutAction action, std::function<void()> handler)
{
    m_handlers.insert(action, std::move(handler));
}

void ShortcutManager::trigger(ShortcutAction action) const
{
    const auto handler = m_handlers.constFind(action);
    if (handler == m_handlers.cend() || !*handler) {
        qCInfo(lcDesktop).noquote() << QStringLiteral("⏭ No handler for the %1 shortcut").arg(shortcutActionRawValue(action));
        return;
    }
    (*handler)();
}

void ShortcutManager::setSuspended(bool suspended)
{
    if (suspended == m_suspended)
        return;
    m_suspended = suspended;
    if (!m_registrar)
        return;
    if (suspended)
        m_registrar->unregisterAll();
    else
        registerAll();
}

void ShortcutManager::registerAll()
{
    if (!m_registrar || m_suspended)
        return;
    setRegistrationProblem({});
    m_registrar->registerAll(m_shortcuts);
}

void ShortcutManager::setRegistrationProblem(const QString& message)
{
    if (message == m_registrationProblem)
        return;
    if (!message.isEmpty())
        qCWarning(lcDesktop).noquote() << QStringLiteral("⚠️ ") + message.section(QLatin1Char('\n'), -1);
    m_registrationProblem = message;
    Q_EMIT registrationProblemChanged(message);
}

// Several shortcuts can fail in one registration; the settings show every reason.
void ShortcutManager::addRegistrationProblem(const QString& message)
{
    if (m_registrationProblem.split(QLatin1Char('\n')).contains(message))
        return;
    setRegistrationProblem(m_registrationProblem.isEmpty() ? message : m_registrationProblem + QLatin1Char('\n') + message);
}

void ShortcutManager::reportUsage(const QString& name, const QVariantMap& properties)
{
    const QByteArray json = QJsonDocument(QJsonObject::fromVariantMap(properties)).toJson(QJsonDocument::Compact);
    qCInfo(lcDesktop).noquote() << QStringLiteral("📊 Usage event ") + name + QLatin1Char(' ') + QString::fromUtf8(json);
    Q_EMIT usageEvent(name, properties);
}
