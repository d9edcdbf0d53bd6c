#include "ui/shortcut_recorder.h"

#include "desktop/portable_key_map.h"
#include "desktop/shortcut_manager.h"
#include "desktop/shortcut_manager_error.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

bool isModifierKey(int key)
{
    switch (key) {
    case Qt::Key_Control:
    case Qt::Key_Shift:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
        return true;
    default:
        return false;
    }
}

} // namespace

ShortcutRecorder::ShortcutRecorder(ShortcutManager& manager, ShortcutAction action, QWidget* parent)
    : QWidget(parent)
    , m_manager(manager)
    , m_action(action)
    , m_button(new QPushButton(this))
    , m_error(new QLabel(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_button);
    layout->addWidget(m_error);
    m_error->setWordWrap(true);
    m_error->setStyleSheet(QStringLiteral("color: palette(highlight)"));
    m_error->hide();
    setFocusPolicy(Qt::StrongFocus);
    connect(m_button, &QPushButton::clicked, this, &ShortcutRecorder::startRecording);
    connect(&m_manager, &ShortcutManager::shortcutsChanged, this, &ShortcutRecorder::refresh);
    refresh();
}

ShortcutRecorder::~ShortcutRecorder()
{
    if (m_recording)
        m_manager.setSuspended(false);
}

QString ShortcutRecorder::errorText() const
{
    return m_error->isHidden() ? QString() : m_error->text();
}

void ShortcutRecorder::startRecording()
{
    if (m_recording)
        return;
    m_recording = true;
    m_manager.setSuspended(true);
    setFocus(Qt::OtherFocusReason);
    grabKeyboard();
    refresh();
}

void ShortcutRecorder::stopRecording()
{
    if (!m_recording)
        return;
    m_recording = false;
    releaseKeyboard();
    m_manager.setSuspended(false);
    showError({});
    refresh();
}

bool ShortcutRecorder::event(QEvent* event)
{
    // A closed settings window must not keep the keyboard or the shortcuts suspended.
    if (m_recording && event->type() == QEvent::Hide)
        stopRecording();
    if (!m_recording || event->type() != QEvent::KeyPress)
        return QWidget::event(event);
    const auto* press = static_cast<QKeyEvent*>(event);
    if (press->key() == Qt::Key_Escape)
        stopRecording();
    else if (!isModifierKey(press->key()))
        record(Qt::Key(press->key()), press->modifiers());
    return true;
}

void ShortcutRecorder::record(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    const std::optional<KeyboardShortcut> shortcut = PortableKeyMap::fromQt(key, modifiers);
    if (!shortcut) {
        showError(ShortcutManagerError::unsupportedKey().message());
        return;
    }
    try {
        m_manager.update(m_action, *shortcut);
        stopRecording();
    } catch (const ShortcutManagerError& error) {
        showError(error.message());
    }
}

void ShortcutRecorder::showError(const QString& message)
{
    m_error->setText(message);
    m_error->setHidden(message.isEmpty());
}

void ShortcutRecorder::refresh()
{
    m_button->setText(m_recording ? QStringLiteral("Type the new shortcut (Esc cancels)")
                                  : PortableKeyMap::displayText(m_manager.shortcut(m_action)));
    m_button->setAccessibleName(shortcutActionDisplayName(m_action));
}
