// Feeds arbitrary text and limits to TextSplitter: it must terminate, lose nothing, and
// never return a piece longer than the limit or cut inside a character.
#include "text/graphemes.h"
#include "text/text_splitter.h"

#include <QTextBoundaryFinder>

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

// The clusters of each piece, counted inside the whole text. (Counted on its own, a piece
// may differ: Qt tailors clusters per script, and a combining mark on a base of another
// script, such as U+0C00 after an apostrophe, joins or not depending on the text before.)
void checkInContext(const QString& text, const QStringList& pieces, qsizetype bound)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    for (const QString& piece : pieces) {
        finder.setPosition(start);
        check(finder.isAtBoundary());
        qsizetype clusters = 0;
        while (finder.position() < start + piece.size()) {
            finder.toNextBoundary();
            ++clusters;
        }
        check(finder.position() == start + piece.size());
        check(clusters <= bound);
        start += piece.size();
    }
}
// Graphemes::count skips the finder when every code point stands alone; it must agree.
void checkCount(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype clusters = 0;
    while (finder.toNextBoundary() != -1)
        ++clusters;
    check(Graphemes::count(text) == clusters);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3)
        return 0;
    const qsizetype limit = qsizetype((data[1] | (data[2] << 8)) % 609) - 8;
    const QString text = decode(data[0] & 1, data + 3, size - 3);
    const qsizetype bound = std::max<qsizetype>(limit, 1);

    checkCount(text);
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
