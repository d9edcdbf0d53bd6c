#pragma once

#include <QtGlobal>

// How long a post's text is by one network's rules, against that network's limit.
// `length` is in the network's own unit (weighted characters on X, user-perceived
// characters on Bluesky and Mastodon). Bluesky also caps the UTF-8 size of the text.
struct CharacterCount {
    qsizetype length = 0;
    qsizetype limit = 0;
    qsizetype bytes = 0;
    qsizetype byteLimit = 0; // 0: the network has no byte cap
    // The text holds a character the network refuses whatever the length (X: U+FFFE,
    // U+FEFF, U+FFFF and the directional embeddings and overrides).
    bool invalidCharacters = false;

    qsizetype remaining() const { return limit - length; }
    bool fits() const { return length <= limit && (byteLimit == 0 || bytes <= byteLimit) && !invalidCharacters; }
    bool operator==(const CharacterCount&) const = default;
};
