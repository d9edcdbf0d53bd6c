#include "text/text_splitter.h"

#include "text/graphemes.h"
#include "text/platform_character_counter.h"

#include <algorithm>

const QString TextSplitter::Separator = QStringLiteral("\n\n---\n\n");

namespace {
// Cluster boundaries of a text: 0, then the end of every cluster.
QList<qsizetype> boundariesOf(QStringView text)
{
    QList<qsizetype> bounds = Graphemes::clusterEnds(text);
    bounds.prepend(0);
    return bounds;
}

// Where the piece that starts at boundary `first` should end, as a boundary index above
// `first`: at `end` when whitespace closes the piece there, else after the last whitespace
// cluster inside it, else at `end` (a word longer than a piece is cut hard).
qsizetype wordCut(QStringView text, const QList<qsizetype>& bounds, qsizetype first, qsizetype end)
{
    for (qsizetype k = end; k > first; --k) {
        if (Graphemes::isWhitespaceAt(text, bounds.at(k - 1)))
            return k;
    }
    return end;
}

template <typename Tentative, typename Fits>
QStringList chunkWith(QStringView text, Tentative tentativeEnd, Fits fits)
{
    QStringList pieces;
    const QList<qsizetype> bounds = boundariesOf(text);
    const qsizetype last = bounds.size() - 1;
    for (qsizetype first = 0; first < last;) {
        const qsizetype end = tentativeEnd(bounds, first);
        qsizetype cut = end == last ? last : wordCut(text, bounds, first, end);
        // Links make lengths uneven (a shorter piece may count more than a longer one), so
        // the cut is checked again and moved back while it does not fit.
        while (cut > first + 1 && !fits(text.sliced(bounds.at(first), bounds.at(cut) - bounds.at(first))))
            --cut;
        pieces.append(text.sliced(bounds.at(first), bounds.at(cut) - bounds.at(first)).toString());
        first = cut;
    }
    return pieces;
}

template <typename Chunk, typename PartFits>
QStringList splitWith(const QString& text, Chunk chunk, PartFits fits)
{
    if (!text.contains(TextSplitter::Separator))
        return chunk(text);
    QStringList posts;
    const QList<QStringView> parts = QStringView(text).split(TextSplitter::Separator);
    for (const QStringView part : parts) {
        if (fits(part))
            posts.append(part.toString());
        else
            posts.append(chunk(part));
    }
    return posts;
}
} // namespace

QStringList TextSplitter::chunk(QStringView text, qsizetype limit)
{
    limit = std::max<qsizetype>(limit, 1);
    return chunkWith(
        text, [limit](const QList<qsizetype>& bounds, qsizetype first) { return std::min(first + limit, bounds.size() - 1); },
        [](QStringView) { return true; });
}

QStringList TextSplitter::chunk(QStringView text, const Fits& fits)
{
    const auto furthestFitting = [text, &fits](const QList<qsizetype>& bounds, qsizetype first) {
        const auto fitsUpTo = [&](qsizetype k) {
            return fits(text.sliced(bounds.at(first), bounds.at(k) - bounds.at(first)));
        };
        // The largest end that fits, taking lengths as growing with the piece; the caller
        // checks the cut it makes from it. The step doubles until a piece does not fit, so
        // the work stays in proportion to the piece, not to the rest of the text.
        const qsizetype last = bounds.size() - 1;
        qsizetype low = first + 1;
        qsizetype high = low;
        for (qsizetype step = 64;; step *= 2) {
            high = std::min(low + step, last);
            if (!fitsUpTo(high))
                break;
            if (high == last)
                return last;
            low = high;
        }
        while (low + 1 < high) {
            const qsizetype middle = low + (high - low) / 2;
            if (fitsUpTo(middle))
                low = middle;
            else
                high = middle;
        }
        return low;
    };
    return chunkWith(text, furthestFitting, fits);
}

QStringList TextSplitter::split(const QString& text, qsizetype limit)
{
    return splitWith(
        text, [limit](QStringView part) { return chunk(part, limit); },
        [limit](QStringView part) { return Graphemes::count(part) <= limit; });
}

QStringList TextSplitter::split(const QString& text, const Fits& fits)
{
    return splitWith(text, [&fits](QStringView part) { return chunk(part, fits); }, fits);
}

bool TextSplitter::fitsAll(QStringView text, const QList<PlatformType>& networks, qsizetype mastodonLimit)
{
    return std::all_of(networks.begin(), networks.end(), [&](PlatformType network) {
        return PlatformCharacterCounter::count(network, text, mastodonLimit).fits();
    });
}

QStringList TextSplitter::splitFor(const QString& text, const QList<PlatformType>& networks, qsizetype mastodonLimit,
                                   qsizetype fallbackLimit)
{
    if (networks.isEmpty())
        return split(text, fallbackLimit);
    return split(text, [&](QStringView piece) { return fitsAll(piece, networks, mastodonLimit); });
}
