// Feeds arbitrary text and limits to TextSplitter: it must terminate, lose nothing, and
// never return a piece longer than the limit or cut inside a character.
#include "text/graphemes.h"
#include "text/text_splitter.h"


#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {
void check(bool condition)
{
    if (!condition)
        std::abort();
}

// Byte 0 picks the decoding (odd: raw UTF-16, so lone surrogates come through), bytes 1-2
// the limit, between -8 and 600.
QString decode(bool utf16, const uint8_t* data, size_t size)
{
    if (utf16) {
        QString text(qsizetype(size / 2), Qt::Uninitialized);
        std::memcpy(text.data(), data, (size / 2) * 2);
        return text;
    }
    return QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
}

// Every cut lies on a cluster boundary of the whole text, and each piece counts within
// the bound, on its own as in the text: a piece starts on a boundary.
void checkInContext(const QString& text, const QStringList& pieces, qsizetype bound)
{
    const QList<qsizetype> ends = Graphemes::clusterEnds(text);
    check(Graphemes::count(text) == ends.size());
    qsizetype start = 0;
    for (const QString& piece : pieces) {
        start += piece.size();
        check(ends.contains(start));
        check(Graphemes::count(piece) <= bound);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3)
        return 0;
    const qsizetype limit = qsizetype((data[1] | (data[2] << 8)) % 609) - 8;
    const QString text = decode(data[0] & 1, data + 3, size - 3);
    const qsizetype bound = std::max<qsizetype>(limit, 1);

    const QStringList pieces = TextSplitter::chunk(text, limit);
    check(pieces.join(QString()) == text);
    checkInContext(text, pieces, bound);
    for (const QString& piece : pieces)
        check(!piece.isEmpty());

    const QStringList posts = TextSplitter::split(text, limit);
    qsizetype kept = 0;
    for (const QString& post : posts)
        kept += post.size();
    const qsizetype separators = text.count(TextSplitter::Separator) > 0
                                     ? QStringView(text).split(TextSplitter::Separator).size() - 1
                                     : 0;
    check(kept + separators * TextSplitter::Separator.size() == text.size());
    return 0;
}
