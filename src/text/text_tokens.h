#pragma once

#include <QVarLengthArray>
#include <QStringView>

// The maximal runs of non-whitespace in a text. Links and mentions never contain
// whitespace, so their scanners only need to run over the few tokens that hold the
// character they cannot do without ('.' for a host, '@' for a mention).
class TextTokens {
public:
    struct Token {
        qsizetype start = 0;
        QStringView text;
    };

    // A post holds few such tokens; they stay on the stack.
    using Tokens = QVarLengthArray<Token, 8>;

    static Tokens containing(QStringView text, QChar needed);
    // Tokens where a dot is followed by something that can start a domain label, so that a
    // word ending a sentence is not searched for a host.
    static Tokens withInnerDot(QStringView text);
};
