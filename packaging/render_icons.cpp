// Build step: writes the logo as PNG files into an icon theme tree,
// <folder>/hicolor/<N>x<N>/apps/quillo.png, for the sizes desktops look up.
#include "ui/app_icon.h"

#include <QDir>
#include <QTextStream>

int main(int argc, char** argv)
{
    if (argc != 2) {
        QTextStream(stderr) << "usage: render_icons <folder>\n";
        return 2;
    }
    const QDir root(QString::fromLocal8Bit(argv[1]));
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
        const QString folder = QStringLiteral("hicolor/%1x%1/apps").arg(size);
        if (!root.mkpath(folder) || !AppIcon::render(size).save(root.filePath(folder + QStringLiteral("/quillo.png")))) {
            QTextStream(stderr) << "render_icons: cannot write " << root.filePath(folder) << '\n';
            return 1;
        }
    }
    return 0;
}
