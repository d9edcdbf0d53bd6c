#include "ui/about_settings_page.h"

#include "core/app_paths.h"
#include "ui/settings_form.h"

#include <QDir>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

QLabel* pathLabel(const QString& path, QWidget* parent)
{
    auto* label = new QLabel(QDir::toNativeSeparators(path), parent);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setWordWrap(true);
    return label;
}

} // namespace

AboutSettingsPage::AboutSettingsPage(const AppPaths& paths, QWidget* parent)
    : QWidget(parent)
{
    using namespace SettingsForm;
    QVBoxLayout* layout = pageLayout(this, QStringLiteral("About Quillo"),
                                     QStringLiteral("Version %1. Compose once, publish to X, Bluesky and Mastodon.")
                                         .arg(QStringLiteral(QUILLO_VERSION)));
    layout->addWidget(heading(QStringLiteral("Where your data lives"), this));
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Settings, schedule and accounts:"), pathLabel(paths.preferencesFile(), this));
    form->addRow(QStringLiteral("Attached media:"), pathLabel(paths.mediaDir(), this));
    form->addRow(QStringLiteral("Diagnostic log:"), pathLabel(paths.logFile(), this));
    layout->addLayout(form);
    layout->addWidget(caption(QStringLiteral("Account credentials are stored in these files, readable only by you. "
                                             "The Data section backs them up."),
                              this));
    layout->addStretch();
}
