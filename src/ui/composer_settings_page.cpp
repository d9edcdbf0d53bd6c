#include "ui/composer_settings_page.h"

#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "model/video_export_preset.h"
#include "ui/settings_form.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

ComposerSettingsPage::ComposerSettingsPage(PreferenceStore& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preset(new QComboBox(this))
{
    using namespace SettingsForm;
    QVBoxLayout* layout = pageLayout(this, QStringLiteral("Composer"), QStringLiteral("How new posts are prepared."));
    layout->addWidget(boolSetting(preferences, PreferenceKeys::AutoSplitEnabled,
                                  QStringLiteral("Split long text into a thread automatically"), this));
    layout->addWidget(caption(QStringLiteral("Text longer than a network allows becomes a thread, cut between "
                                             "sentences where possible."),
                              this));

    for (const VideoExportPreset preset : {VideoExportPreset::original, VideoExportPreset::socialMedia,
                                           VideoExportPreset::hd, VideoExportPreset::fullHD, VideoExportPreset::fourK})
        m_preset->addItem(title(preset), rawValue(preset));
    const int current = m_preset->findData(preferences.valueOrDefault(PreferenceKeys::PublishingExportPreset).toString());
    m_preset->setCurrentIndex(current < 0 ? m_preset->findData(rawValue(VideoExportPreset::socialMedia)) : current);
    connect(m_preset, &QComboBox::currentIndexChanged, this, [this, &preferences] {
        store(preferences, PreferenceKeys::PublishingExportPreset, m_preset->currentData().toString());
    });

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Video export preset:"), m_preset);
    layout->addLayout(form);
    layout->addWidget(caption(QStringLiteral("Used for videos that were not exported with a preset of their own."), this));
    layout->addStretch();
}
