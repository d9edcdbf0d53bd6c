#pragma once

#include <QStringList>

class QMimeData;

// What a drop or paste carries for the composer: local media files, or an image.
namespace MediaDrop {
// Local files the composer can attach; links to web pages and other files are left as text.
QStringList files(const QMimeData* source);
bool carriesMedia(const QMimeData* source);
} // namespace MediaDrop
