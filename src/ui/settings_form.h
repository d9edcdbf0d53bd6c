#pragma once

#include <QLatin1String>
#include <QString>

class PreferenceStore;
class QCheckBox;
class QLabel;
class QVBoxLayout;
class QWidget;

// Building blocks the settings pages share, so every page reads alike.
namespace SettingsForm {

// The page's layout, opened with its title and a sentence saying what it is for.
QVBoxLayout* pageLayout(QWidget* page, const QString& title, const QString& intro);
// A bold heading between groups of a page.
QLabel* heading(const QString& text, QWidget* parent);
// A quieter line under a control, word-wrapped.
QLabel* caption(const QString& text, QWidget* parent);
// A line for progress and failures; `setStatus` colours a failure.
QLabel* statusLine(QWidget* parent);
void setStatus(QLabel* line, const QString& text, bool failure = false);
// A check box bound to a Boolean preference: shows the stored value (or the key's
// default) and writes every change at once, so other processes see it.
QCheckBox* boolSetting(PreferenceStore& preferences, QLatin1String key, const QString& text, QWidget* parent);
// Writes and flushes a preference, for values another process reads.
void store(PreferenceStore& preferences, QLatin1String key, const QVariant& value);

} // namespace SettingsForm
