#include "ui/settings_form.h"

#include "core/preference_store.h"

#include <QCheckBox>
#include <QLabel>
#include <QVBoxLayout>

namespace SettingsForm {

QVBoxLayout* pageLayout(QWidget* page, const QString& title, const QString& intro)
{
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(10);
    auto* titleLabel = new QLabel(title, page);
    QFont font = titleLabel->font();
    font.setPointSizeF(font.pointSizeF() * 1.35);
    font.setBold(true);
    titleLabel->setFont(font);
    layout->addWidget(titleLabel);
    if (!intro.isEmpty())
        layout->addWidget(caption(intro, page));
    return layout;
}

QLabel* heading(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    label->setContentsMargins(0, 8, 0, 0);
    return label;
}

QLabel* caption(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QLabel* statusLine(QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->hide();
    return label;
}

void setStatus(QLabel* line, const QString& text, bool failure)
{
    line->setText(text);
    line->setProperty("failure", failure);
    // A failure in the palette's error-like colour that reads in light and dark themes.
    line->setStyleSheet(failure ? QStringLiteral("color: #d93025;") : QString());
    line->setVisible(!text.isEmpty());
}

void store(PreferenceStore& preferences, QLatin1String key, const QVariant& value)
{
    preferences.setValue(key, value);
    preferences.sync();
}

QCheckBox* boolSetting(PreferenceStore& preferences, QLatin1String key, const QString& text, QWidget* parent)
{
    auto* box = new QCheckBox(text, parent);
    box->setChecked(preferences.valueOrDefault(key).toBool());
    QObject::connect(box, &QCheckBox::toggled, box, [&preferences, key](bool checked) { store(preferences, key, checked); });
    return box;
}

} // namespace SettingsForm
