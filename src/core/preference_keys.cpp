#include "core/preference_keys.h"

#include "core/preference_store.h"

#include <QDateTime>

#include <cmath>
#include <vector>

namespace PreferenceKeys {

std::span<const PreferenceKey> all()
{
    using T = PreferenceType;
    static const std::vector<PreferenceKey> table = {
        {SoundEnabled, T::boolean, true, true},
        {AutoSplitEnabled, T::boolean, true, true},
        {ShowCalendarBadge, T::boolean, true, true},
        {AnalyticsEnabled, T::boolean, true, true},
        {PublishingExportPreset, T::string, QStringLiteral("socialMedia"), true},
        {WatermarkEnabled, T::boolean, true, true},
        {WatermarkImagePath, T::string, QString(), true},
        {WatermarkPosition, T::string, QStringLiteral("bottomRight"), true},
        {WatermarkMarginMultiplier, T::real, 1.0, true},
        // The settings screen shows 1.0 first but stores 0.5: 0.5 is what a fresh
        // installation renders with.
        {WatermarkSizeMultiplier, T::real, 0.5, true},
        {MCPEnabled, T::boolean, false, true},
        {ScheduledPosts, T::data, {}},
        {ComposerDrafts, T::data, {}},
        {OnboardingCurrentStep, T::integer, 0, true},
        {OnboardingCompleted, T::boolean, false, true},
        {NotificationsPromptSuppress, T::boolean, false, true},
        {ShareExtensionPromptSuppress, T::boolean, false, true},
        {CalendarSelectedDate, T::date, {}},
        {CalendarDisplayMode, T::string, {}},
        {VideoEditorTimelineZoom, T::real, {}},
        {VideoEditorSubtitlePanelWidth, T::real, {}},
        {VideoEditorExportPreset, T::string, {}},
        {StatusItemLastKnownX, T::real, {}},
        {SocialAccounts, T::data, {}},
        {SocialPlatforms, T::stringList, QStringList()},
    };
    return table;
}

const PreferenceKey* find(const QString& name)
{
    for (const PreferenceKey& key : all()) {
        if (key.name == name)
            return &key;
    }
    return nullptr;
}

QString typeName(PreferenceType type)
{
    switch (type) {
    case PreferenceType::boolean:
        return QStringLiteral("boolean");
    case PreferenceType::string:
        return QStringLiteral("text");
    case PreferenceType::real:
        return QStringLiteral("number");
    case PreferenceType::integer:
        return QStringLiteral("integer");
    case PreferenceType::data:
        return QStringLiteral("document");
    case PreferenceType::date:
        return QStringLiteral("date");
    case PreferenceType::stringList:
        return QStringLiteral("list");
    }
    return {};
}

ParsedValue parseValue(const PreferenceKey& key, const QString& text)
{
    const QString name = QString(key.name);
    const auto refuse = [&name](const QString& expected, const QString& given) {
        return ParsedValue{{}, QStringLiteral("%1 takes %2, not '%3'").arg(name, expected, given)};
    };
    switch (key.type) {
    case PreferenceType::boolean:
        if (text == QLatin1String("true") || text == QLatin1String("false"))
            return {text == QLatin1String("true"), {}};
        return refuse(QStringLiteral("true or false"), text);
    case PreferenceType::real: {
        bool ok = false;
        const double number = text.trimmed().toDouble(&ok);
        if (!ok || !std::isfinite(number))
            return refuse(QStringLiteral("a number"), text);
        return {number, {}};
    }
    case PreferenceType::integer: {
        bool ok = false;
        const qlonglong number = text.trimmed().toLongLong(&ok);
        if (!ok)
            return refuse(QStringLiteral("an integer"), text);
        return {number, {}};
    }
    case PreferenceType::string:
        return {text, {}};
    case PreferenceType::date: {
        const QDateTime date = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
        if (!date.isValid())
            return refuse(QStringLiteral("an ISO 8601 date and time"), text);
        return {date, {}};
    }
    case PreferenceType::stringList: {
        QStringList items;
        for (const QString& item : text.split(u',', Qt::SkipEmptyParts)) {
            if (!item.trimmed().isEmpty())
                items << item.trimmed();
        }
        return {items, {}};
    }
    case PreferenceType::data:
        break;
    }
    return {{}, QStringLiteral("%1 holds a document and is not set as text").arg(name)};
}

QString displayText(const PreferenceKey& key, const QVariant& value)
{
    switch (key.type) {
    case PreferenceType::boolean:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case PreferenceType::date:
        return value.toDateTime().toString(Qt::ISODateWithMs);
    case PreferenceType::stringList:
        return value.toStringList().join(u',');
    default:
        return value.toString();
    }
}

void registerDefaults(PreferenceStore& store)
{
    for (const PreferenceKey& key : all()) {
        if (!key.registered || store.contains(key.name))
            continue;
        store.setValue(key.name, key.defaultValue);
    }
}

} // namespace PreferenceKeys
