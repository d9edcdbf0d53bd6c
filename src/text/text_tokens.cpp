#include "text/text_tokens.h"

TextTokens::Tokens TextTokens::containing(QStringView text, QChar needed)
{
    Tokens tokens;
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

TextTokens::Tokens TextTokens::withInnerDot(QStringView text)
{
    Tokens tokens = containing(text, u'.');
    tokens.removeIf([](const Token& token) {
        for (qsizetype dot = token.text.indexOf(u'.'); dot != -1; dot = token.text.indexOf(u'.', dot + 1)) {
            if (dot + 1 == token.text.size())
                return true;
            const QChar next = token.text.at(dot + 1);
            if (!next.isPunct() || next == u'-' || next == u'_')
                return false;
        }
        return true;
    });
    return tokens;
}
