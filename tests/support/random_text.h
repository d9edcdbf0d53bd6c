#pragma once

#include <QString>
#include <QStringList>

#include <random>

// Texts strung together from a fixed set of pieces, the same ones on every run, for tests
// that compare two ways of reading the same text.
class RandomText {
public:
    explicit RandomText(QStringList pieces)
        : m_pieces(std::move(pieces))
    {
    }

    // One to `maxPieces` pieces.
    QString next(int maxPieces)
    {
        QString text;
        const int count = std::uniform_int_distribution<int>(1, maxPieces)(m_engine);
        for (int i = 0; i < count; ++i)
            text += m_pieces.at(std::uniform_int_distribution<qsizetype>(0, m_pieces.size() - 1)(m_engine));
        return text;
    }

private:
    QStringList m_pieces;
    std::mt19937 m_engine{20261121};
};
