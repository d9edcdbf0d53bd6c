#include "text/top_level_domains.h"

#include <QString>

#include <algorithm>

namespace {
bool contains(const std::u16string_view* first, std::size_t count, std::u16string_view name)
{
    return std::binary_search(first, first + count, name);
}
} // namespace

TopLevelDomains::Kind TopLevelDomains::of(QStringView tld)
{
    const QString lower = tld.toString().toLower();
    const std::u16string_view name(reinterpret_cast<const char16_t*>(lower.utf16()), std::size_t(lower.size()));
    if (contains(Country, CountryCount, name))
        return Kind::country;
    if (contains(Generic, GenericCount, name))
        return Kind::generic;
    return Kind::none;
}
