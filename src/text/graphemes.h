#pragma once

#include <QList>
#include <QStringView>

// User-perceived characters (extended grapheme clusters): an emoji sequence or a letter
// with its combining marks is one, however many code points it takes. The rules are
// Unicode's current ones (UAX #29 with the Indic conjunct rule), which the networks count
// with; the counters and the splitter all walk clusters here, so a piece the splitter cuts
// always counts as the counters say. A lone surrogate is a cluster of its own.
class Graphemes {
public:
    static qsizetype count(QStringView text);
    // Where the cluster that starts at `start` ends. `start` must itself be a cluster
    // boundary (0, or an end returned before): the rules for flags look back to the start.
    static qsizetype clusterEnd(QStringView text, qsizetype start);
    // The end of every cluster, in order; the last is the text's size.
    static QList<qsizetype> clusterEnds(QStringView text);
    // The code point that starts at `index` (a lone surrogate stands for itself).
    static char32_t codePointAt(QStringView text, qsizetype index)
    {
        const QChar c = text.at(index);
        if (c.isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate())
            return QChar::surrogateToUcs4(c, text.at(index + 1));
        return c.unicode();
    }
    // The code point at `index`, or 0 past the end: scanners look ahead without checking.
    static char32_t codePointOrNullAt(QStringView text, qsizetype index)
    {
        return index < text.size() ? codePointAt(text, index) : 0;
    }
    // The code point that ends just before `index`, which must be above 0.
    static char32_t codePointBefore(QStringView text, qsizetype index);
    // How many UTF-16 units the code point takes.
    static constexpr qsizetype unitsOf(char32_t cp) { return cp > 0xFFFF ? 2 : 1; }
    // The end of the run of code points from `at` that `accepts` takes.
    template <typename Accepts>
    static qsizetype runEnd(QStringView text, qsizetype at, Accepts accepts)
    {
        while (at < text.size()) {
            const char32_t cp = codePointAt(text, at);
            if (!accepts(cp))
                break;
            at += unitsOf(cp);
        }
        return at;
    }
    // Whether the cluster starting at `index` is whitespace, line feeds included.
    static bool isWhitespaceAt(QStringView text, qsizetype index);
};
