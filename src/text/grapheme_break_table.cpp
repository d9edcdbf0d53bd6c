#include "text/grapheme_break_table.h"

#include <map>
#include <vector>

GraphemeBreakTable::GraphemeBreakTable()
{
    std::vector<std::uint8_t> all(0x110000, other);
    for (std::size_t i = 0; i < RunCount; ++i) {
        for (char32_t cp = Runs[i].first; cp <= Runs[i].last; ++cp)
            all[cp] = Runs[i].value;
    }
    // Most blocks repeat (unassigned planes, CJK ideographs), so each distinct one is kept once.
    constexpr std::size_t BlockSize = std::size_t(1) << BlockBits;
    std::map<std::vector<std::uint8_t>, std::uint16_t> seen;
    m_blockIndex.resize(BlockCount);
    for (std::size_t block = 0; block < BlockCount; ++block) {
        std::vector<std::uint8_t> values(all.begin() + std::ptrdiff_t(block * BlockSize),
                                         all.begin() + std::ptrdiff_t((block + 1) * BlockSize));
        const auto [found, added] = seen.try_emplace(std::move(values), std::uint16_t(seen.size()));
        if (added)
            m_blocks.insert(m_blocks.end(), found->first.begin(), found->first.end());
        m_blockIndex[block] = found->second;
    }
}
