#pragma once

#include <QtGlobal>

#include <cstdint>
#include <vector>

// What the counters ask of every code point they read, looked up once in Qt's Unicode data
// and kept in a table: counting a post then costs one load per character instead of
// several property lookups.
class CodePointTable {
public:
    enum Flag : std::uint16_t {
        regionalIndicator = 1 << 4,
        pictographic = 1 << 5, // Extended_Pictographic
        // NFC leaves it as it is and never joins it to what stands before it, so a text made
        // of such code points only is already normalised.
        nfcStable = 1 << 6,
        wordCharacter = 1 << 7, // letter, number or underscore
        linkLabel = 1 << 8,     // letter, number, mark, other symbol, underscore or hyphen
    };

    static const CodePointTable& instance()
    {
        static const CodePointTable table;
        return table;
    }

    // Loops over text fetch the instance once and ask it.
    std::uint16_t flagsOf(char32_t cp) const { return cp < TableEnd ? m_flags[cp] : flagsBeyondTable(cp); }
    static std::uint16_t flags(char32_t cp) { return instance().flagsOf(cp); }
    static bool has(char32_t cp, Flag flag) { return (flags(cp) & flag) != 0; }

private:
    // The Basic Multilingual Plane and the emoji plane; the rest is looked up when met.
    static constexpr char32_t TableEnd = 0x20000;

    CodePointTable();
    // No pictograph lies beyond the table, and no code point there composes backward.
    static std::uint16_t flagsBeyondTable(char32_t cp);

    std::vector<std::uint16_t> m_flags;
};
