#pragma once

#include <QStringView>

#include <cstddef>
#include <string_view>

// The top-level domains X makes links of, in its two classes: a bare "name.cc" on a
// country domain is a link only with a path (or on X's short-link domains), a generic one
// always. The lists are generated from scripts/data/x_top_level_domains.txt.
class TopLevelDomains {
public:
    enum class Kind { none, country, generic };

    // Case-insensitive.
    static Kind of(QStringView tld);

private:
    static const std::u16string_view Country[];
    static const std::size_t CountryCount;
    static const std::u16string_view Generic[];
    static const std::size_t GenericCount;
};
