#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QUrl>

// The title, description and image a web page announces for link previews, read with
// libxml2's forgiving HTML parser and XPath, the first non-empty value winning:
// og:title, <title>, <h1>; og:description, description; og:image, twitter:image.
struct LinkMetadata {
    static constexpr qsizetype kMaxTitleLength = 300;
    static constexpr qsizetype kMaxDescriptionLength = 1000;

    QString title;
    QString description;
    // Resolved against the page's URL; empty when the page names none or a bad one.
    QUrl image;

    bool isEmpty() const { return title.isEmpty() && description.isEmpty() && image.isEmpty(); }

    // charset: from the answer's Content-Type, when it named one.
    static LinkMetadata parse(QByteArrayView html, const QUrl& page, const QByteArray& charset = {});
};
