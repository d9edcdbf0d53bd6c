#include "store/unreadable_document.h"

#include "core/preference_store.h"
#include "store/store_log.h"

void UnreadableDocument::keep(PreferenceStore& store, const QString& key, const QString& what)
{
    const QString copy = store.keepUnreadableCopy(key);
    if (copy.isEmpty())
        qCWarning(lcStore).noquote() << QStringLiteral("⚠️ The unreadable stored %1 are replaced; no copy could be kept").arg(what);
    else
        qCWarning(lcStore).noquote() << QStringLiteral("⚠️ The unreadable stored %1 are kept as %2").arg(what, copy);
}
