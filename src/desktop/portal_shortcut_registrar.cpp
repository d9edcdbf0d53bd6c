#include "desktop/portal_shortcut_registrar.h"

#include "desktop/desktop_log.h"
#include "desktop/portable_key_map.h"
#include "desktop/portal_shortcut.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

// X keysym names of the punctuation keys; letters and digits are named by themselves.
QString keysymName(QChar character)
{
    switch (character.unicode()) {
    case u',': return QStringLiteral("comma");
    case u'.': return QStringLiteral("period");
    case u'/': return QStringLiteral("slash");
    case u';': return QStringLiteral("semicolon");
    case u'\'': return QStringLiteral("apostrophe");
    case u'[': return QStringLiteral("bracketleft");
    case u']': return QStringLiteral("bracketright");
    case u'\\': return QStringLiteral("backslash");
    case u'-': return QStringLiteral("minus");
    case u'=': return QStringLiteral("equal");
    case u'`': return QStringLiteral("grave");
    default: return QString(character);
    }
}

QDBusMessage portalCall(const QString& method)
{
    return QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
}

} // namespace

PortalShortcutRegistrar::PortalShortcutRegistrar(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
    PortalShortcut::registerDBusTypes();
    // Read from the message: the arguments' types are checked by hand, as a portal sends them.
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("Activated"), this, SLOT(onActivated(QDBusMessage)));
}

PortalShortcutRegistrar::~PortalShortcutRegistrar()
{
    unregisterAll();
}

QString PortalShortcutRegistrar::missingPortalMessage()
{
    return QStringLiteral("This desktop does not offer global shortcuts to apps (its desktop portal has no "
                          "GlobalShortcuts interface), so Quillo's shortcuts cannot be registered.");
}

QString PortalShortcutRegistrar::preferredTrigger(const KeyboardShortcut& shortcut)
{
    QStringList parts;
    const Qt::KeyboardModifiers modifiers = PortableKeyMap::qtModifiers(shortcut.modifiers);
    if (modifiers.testFlag(Qt::ShiftModifier))
        parts << QStringLiteral("SHIFT");
    if (modifiers.testFlag(Qt::ControlModifier))
        parts << QStringLiteral("CTRL");
    if (modifiers.testFlag(Qt::AltModifier))
        parts << QStringLiteral("ALT");
    if (modifiers.testFlag(Qt::MetaModifier))
        parts << QStringLiteral("LOGO");
    const QString character = PortableKeyMap::keyEquivalent(shortcut.keyCode);
    if (!character.isEmpty())
        parts << keysymName(character.at(0));
    return parts.join(QLatin1Char('+'));
}

void PortalShortcutRegistrar::registerAll(const ShortcutMap& shortcuts)
{
    unregisterAll();
    m_pending = shortcuts;
    checkInterface();
}

void PortalShortcutRegistrar::unregisterAll()
{
    ++m_generation;
    stopAwaiting();
    if (m_session.isEmpty())
        return;
    m_bus.asyncCall(QDBusMessage::createMethodCall(kService, m_session, QStringLiteral("org.freedesktop.portal.Session"),
                                                   QStringLiteral("Close")));
    m_session.clear();
}

void PortalShortcutRegistrar::checkInterface()
{
    QDBusMessage get = QDBusMessage::createMethodCall(kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                      QStringLiteral("Get"));
    get << kInterface << QStringLiteral("version");
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(get), this);
    const quint64 generation = m_generation;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, generation] {
        watcher->deleteLater();
        if (generation != m_generation)
            return;
        if (watcher->isError()) {
            qCInfo(lcDesktop).noquote() << QStringLiteral("⚠️ No GlobalShortcuts portal: ") + watcher->error().message();
            fail(missingPortalMessage());
            return;
        }
        createSession();
    });
}

void PortalShortcutRegistrar::createSession()
{
    const QString token = nextToken();
    QDBusMessage call = portalCall(QStringLiteral("CreateSession"));
    call << QVariantMap{{QStringLiteral("handle_token"), token}, {QStringLiteral("session_handle_token"), nextToken()}};
    callPortal(call, Stage::creatingSession, requestPath(token));
}

void PortalShortcutRegistrar::bindShortcuts()
{
    PortalShortcutList list;
    for (auto it = m_pending.cbegin(); it != m_pending.cend(); ++it) {
        list.append({shortcutActionRawValue(it.key()),
                     {{QStringLiteral("description"), shortcutActionDisplayName(it.key())},
                      {QStringLiteral("preferred_trigger"), preferredTrigger(it.value())}}});
    }
    const QString token = nextToken();
    QDBusMessage call = portalCall(QStringLiteral("BindShortcuts"));
    call << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariant::fromValue(list) << QString()
         << QVariantMap{{QStringLiteral("handle_token"), token}};
    callPortal(call, Stage::binding, requestPath(token));
}

// The answer comes as a Response signal on a request object whose path follows from our
// bus name and the token; listening before the call means it cannot be missed.
void PortalShortcutRegistrar::callPortal(const QDBusMessage& message, Stage stage, const QString& path)
{
    awaitResponse(path, stage);
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    const quint64 generation = m_generation;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, generation] {
        watcher->deleteLater();
        if (generation == m_generation && watcher->isError())
            fail(QStringLiteral("The desktop portal refused Quillo's global shortcuts: ") + watcher->error().message());
    });
}

void PortalShortcutRegistrar::awaitResponse(const QString& path, Stage stage)
{
    stopAwaiting();
    m_awaitedPath = path;
    m_stage = stage;
    m_bus.connect(kService, path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"), this,
                  SLOT(onResponse(uint, QVariantMap)));
}

void PortalShortcutRegistrar::stopAwaiting()
{
    if (!m_awaitedPath.isEmpty()) {
        m_bus.disconnect(kService, m_awaitedPath, QStringLiteral("org.freedesktop.portal.Request"),
                         QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));
    }
    m_awaitedPath.clear();
    m_stage = Stage::idle;
}

void PortalShortcutRegistrar::onResponse(uint response, const QVariantMap& results)
{
    const Stage stage = m_stage;
    stopAwaiting();
    if (response != 0) {
        fail(stage == Stage::creatingSession ? QStringLiteral("The desktop portal did not open a global shortcuts session.")
                                             : QStringLiteral("The desktop did not accept Quillo's global shortcuts."));
        return;
    }
    if (stage == Stage::creatingSession)
        sessionCreated(results);
    else if (stage == Stage::binding)
        qCInfo(lcDesktop).noquote() << QStringLiteral("✅ Global shortcuts bound through the desktop portal");
}

void PortalShortcutRegistrar::sessionCreated(const QVariantMap& results)
{
    // Documented as a string; some portals send an object path.
    const QVariant handle = results.value(QStringLiteral("session_handle"));
    m_session = handle.metaType() == QMetaType::fromType<QDBusObjectPath>() ? handle.value<QDBusObjectPath>().path()
                                                                           : handle.toString();
    if (m_session.isEmpty()) {
        fail(QStringLiteral("The desktop portal did not open a global shortcuts session."));
        return;
    }
    bindShortcuts();
}

void PortalShortcutRegistrar::onActivated(const QDBusMessage& message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 2 || m_session.isEmpty())
        return;
    if (arguments[0].value<QDBusObjectPath>().path() != m_session)
        return;
    if (const std::optional<ShortcutAction> action = shortcutActionFromRawValue(arguments[1].toString()))
        reportActivated(*action);
}

void PortalShortcutRegistrar::fail(const QString& message)
{
    stopAwaiting();
    reportProblem(message);
}

QString PortalShortcutRegistrar::requestPath(const QString& token) const
{
    QString sender = m_bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return kPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
}

QString PortalShortcutRegistrar::nextToken()
{
    return QStringLiteral("quillo%1").arg(++m_tokens);
}
