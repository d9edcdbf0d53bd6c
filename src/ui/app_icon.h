#pragma once

#include <QIcon>
#include <QImage>

// Quillo's logo (the quill on a blue tile), drawn rather than loaded, so the tray and the
// installed icon theme need no SVG support.
namespace AppIcon {
QImage render(int size);
// The installed theme icon when there is one, else the drawn logo in the tray's sizes.
QIcon icon();
} // namespace AppIcon
