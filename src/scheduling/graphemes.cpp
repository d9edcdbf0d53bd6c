#include "scheduling/graphemes.h"

#include <QTextBoundaryFinder>

namespace {
// Text without anything above U+007F and without a carriage return has exactly one
// cluster per code unit; most posts are like that, and they skip the finder's setup.
bool isSimpleAscii(QStringView text)
{
    for (const QChar c : text) {
        if (c.unicode() >= 0x80 || c.unicode() == u'\r')
            return false;
    }
    return true;
}
} // namespace

qsizetype Graphemes::count(QStringView text)
{
    if (isSimpleAscii(text))
        return text.size();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype clusters = 0;
    while (finder.toNextBoundary() != -1)
        ++clusters;
    return clusters;
}

char32_t Graphemes::codePointAt(QStringView text, qsizetype index)
{
    const QChar c = text.at(index);
    if (c.isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate())
        return QChar::surrogateToUcs4(c, text.at(index + 1));
    return c.unicode();
}

bool Graphemes::isWhitespaceAt(QStringView text, qsizetype index)
{
    return QChar::isSpace(codePointAt(text, index));
}
