#include "scheduling/text_tokens.h"

QList<TextTokens::Token> TextTokens::containing(QStringView text, QChar needed)
{
    QList<Token> tokens;
    for (qsizetype at = text.indexOf(needed); at != -1;) {
        qsizetype start = at;
        while (start > 0 && !text.at(start - 1).isSpace())
            --start;
        qsizetype end = at;
        while (end < text.size() && !text.at(end).isSpace())
            ++end;
        tokens.append({start, text.sliced(start, end - start)});
        at = text.indexOf(needed, end);
    }
    return tokens;
}
