#pragma once

#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <vector>

// The grapheme cluster break class of every code point, its Indic conjunct class and
// whether it is an extended pictograph, packed in one byte. The runs come from
// scripts/generate-grapheme-table.mjs; lookups go through a two-stage table built from
// them on first use, so a lookup is two loads.
class GraphemeBreakTable {
public:
    enum Class : std::uint8_t {
        other,
        cr,
        lf,
        control,
        extend,
        zwj,
        regionalIndicator,
        prepend,
        spacingMark,
        l,
        v,
        t,
        lv,
        lvt,
    };
    enum Conjunct : std::uint8_t { noConjunct, conjunctLinker, conjunctConsonant, conjunctExtend };

    static constexpr std::uint8_t ClassMask = 0x0F;
    static constexpr std::uint8_t ConjunctShift = 4;
    static constexpr std::uint8_t ConjunctMask = 0x30;
    static constexpr std::uint8_t PictographicBit = 0x80;

    struct Run {
        char32_t first;
        char32_t last;
        std::uint8_t value;
    };

    // The Unicode version the table was generated from.
    static const char* const UnicodeVersion;

    static const GraphemeBreakTable& instance()
    {
        static const GraphemeBreakTable table;
        return table;
    }

    std::uint8_t valueOf(char32_t cp) const
    {
        if (cp > 0x10FFFF)
            return control;
        return m_blocks[std::size_t(m_blockIndex[cp >> BlockBits]) << BlockBits | (cp & BlockMask)];
    }
    static Class classOf(std::uint8_t value) { return Class(value & ClassMask); }
    static Conjunct conjunctOf(std::uint8_t value) { return Conjunct((value & ConjunctMask) >> ConjunctShift); }
    static bool isPictographic(std::uint8_t value) { return value & PictographicBit; }

private:
    static constexpr unsigned BlockBits = 7;
    static constexpr char32_t BlockMask = (1u << BlockBits) - 1;
    static constexpr std::size_t BlockCount = 0x110000 >> BlockBits;

    GraphemeBreakTable();

    static const Run Runs[];
    static const std::size_t RunCount;

    std::vector<std::uint16_t> m_blockIndex;
    std::vector<std::uint8_t> m_blocks; // the distinct blocks, one after the other
};
