#pragma once

#include <QString>
#include <QStringList>

// What the check before publishing found: "Post i, Media j: path" lines for files that are
// gone and for videos that cannot be read.
struct MediaValidation {
    QStringList missing;
    QStringList invalid;
    int totalItems = 0;

    bool isValid() const { return missing.isEmpty() && invalid.isEmpty(); }
    // The failure text a scheduled post carries when it cannot be published.
    QString errorDescription() const;
};
