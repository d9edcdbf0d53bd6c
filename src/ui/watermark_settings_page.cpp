#include "ui/watermark_settings_page.h"

#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "media/watermark.h"
#include "ui/settings_form.h"
#include "ui/user_prompts.h"
#include "ui/watermark_preview.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QDoubleSpinBox* multiplierBox(double maximum, QWidget* parent)
{
    auto* box = new QDoubleSpinBox(parent);
    box->setRange(0.1, maximum);
    box->setSingleStep(0.1);
    box->setDecimals(2);
    box->setSuffix(QStringLiteral("×"));
    return box;
}

} // namespace

WatermarkSettingsPage::WatermarkSettingsPage(PreferenceStore& preferences, UserPrompts& prompts, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_prompts(prompts)
    , m_enabled(SettingsForm::boolSetting(preferences, PreferenceKeys::WatermarkEnabled,
                                          QStringLiteral("Apply the watermark to published media"), this))
    , m_imagePath(new QLabel(this))
    , m_corner(new QComboBox(this))
    , m_margin(multiplierBox(5.0, this))
    , m_size(multiplierBox(2.0, this))
    , m_preview(new WatermarkPreview(this))
{
    buildControls();
    bindControls();
    refreshPreview();
}

void WatermarkSettingsPage::buildControls()
{
    using namespace SettingsForm;
    QVBoxLayout* layout = pageLayout(this, QStringLiteral("Watermark"),
                                     QStringLiteral("An image, such as your logo, drawn over the videos you publish."));
    layout->addWidget(m_enabled);

    auto* imageRow = new QHBoxLayout;
    auto* choose = new QPushButton(QStringLiteral("Choose Image…"), this);
    auto* clear = new QPushButton(QStringLiteral("Remove"), this);
    m_imagePath->setTextInteractionFlags(Qt::TextSelectableByMouse);
    imageRow->addWidget(m_imagePath, 1);
    imageRow->addWidget(choose);
    imageRow->addWidget(clear);
    connect(choose, &QPushButton::clicked, this, &WatermarkSettingsPage::chooseImage);
    connect(clear, &QPushButton::clicked, this, [this] { setImage({}); });

    const std::pair<WatermarkCorner, QString> corners[] = {
        {WatermarkCorner::topLeft, QStringLiteral("Top left")},
        {WatermarkCorner::topRight, QStringLiteral("Top right")},
        {WatermarkCorner::bottomLeft, QStringLiteral("Bottom left")},
        {WatermarkCorner::bottomRight, QStringLiteral("Bottom right")},
    };
    for (const auto& [corner, label] : corners)
        m_corner->addItem(label, rawValue(corner));

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Image:"), imageRow);
    form->addRow(QStringLiteral("Corner:"), m_corner);
    form->addRow(QStringLiteral("Margin:"), m_margin);
    form->addRow(QStringLiteral("Size:"), m_size);
    layout->addLayout(form);
    layout->addWidget(heading(QStringLiteral("Preview"), this));
    layout->addWidget(m_preview, 1);
}

void WatermarkSettingsPage::bindControls()
{
    using namespace SettingsForm;
    const QString path = m_preferences.valueOrDefault(PreferenceKeys::WatermarkImagePath).toString();
    m_imagePath->setText(path.isEmpty() ? QStringLiteral("None") : path);
    const int corner = m_corner->findData(m_preferences.valueOrDefault(PreferenceKeys::WatermarkPosition).toString());
    m_corner->setCurrentIndex(corner < 0 ? m_corner->findData(rawValue(WatermarkCorner::bottomRight)) : corner);
    m_margin->setValue(m_preferences.valueOrDefault(PreferenceKeys::WatermarkMarginMultiplier).toDouble());
    if (const auto size = m_preferences.doubleValue(PreferenceKeys::WatermarkSizeMultiplier)) {
        m_size->setValue(*size);
    } else {
        // Deliberate: a fresh installation shows 1.0 here and stores 0.5, which is what
        // the renderer reads until the person picks a size.
        m_size->setValue(1.0);
        store(m_preferences, PreferenceKeys::WatermarkSizeMultiplier, 0.5);
    }

    connect(m_enabled, &QCheckBox::toggled, this, &WatermarkSettingsPage::refreshPreview);
    connect(m_corner, &QComboBox::currentIndexChanged, this, [this] {
        store(m_preferences, PreferenceKeys::WatermarkPosition, m_corner->currentData().toString());
        refreshPreview();
    });
    connect(m_margin, &QDoubleSpinBox::valueChanged, this, [this](double value) {
        store(m_preferences, PreferenceKeys::WatermarkMarginMultiplier, value);
        refreshPreview();
    });
    connect(m_size, &QDoubleSpinBox::valueChanged, this, [this](double value) {
        store(m_preferences, PreferenceKeys::WatermarkSizeMultiplier, value);
        refreshPreview();
    });
}

void WatermarkSettingsPage::chooseImage()
{
    const QString path = m_prompts.openFileName(this, QStringLiteral("Choose a Watermark Image"),
                                                QStringLiteral("Images (*.png *.jpg *.jpeg *.gif *.webp)"));
    if (path.isEmpty())
        return;
    if (QImage(path).isNull()) {
        m_prompts.warn(this, QStringLiteral("Watermark"),
                       QStringLiteral("%1 is not an image Quillo can read. Choose a PNG or JPEG file.").arg(path));
        return;
    }
    setImage(QFileInfo(path).absoluteFilePath());
}

void WatermarkSettingsPage::setImage(const QString& path)
{
    SettingsForm::store(m_preferences, PreferenceKeys::WatermarkImagePath, path);
    m_imagePath->setText(path.isEmpty() ? QStringLiteral("None") : path);
    refreshPreview();
}

void WatermarkSettingsPage::refreshPreview()
{
    Watermark watermark;
    watermark.imagePath = m_preferences.valueOrDefault(PreferenceKeys::WatermarkImagePath).toString();
    watermark.corner = watermarkCornerFromRawValue(m_corner->currentData().toString()).value_or(WatermarkCorner::bottomRight);
    watermark.marginMultiplier = m_margin->value();
    // The stored size, which can differ from the box on a fresh installation.
    watermark.sizeMultiplier = m_preferences.valueOrDefault(PreferenceKeys::WatermarkSizeMultiplier).toDouble();
    m_preview->setWatermark(watermark, m_enabled->isChecked());
}
