// SPDX-License-Identifier: Apache-2.0
// Renders the application's scalable icon to a PNG of one size, for the icon theme's fixed-size
// folders: quillo-icon-render ICON.svg SIZE OUT.png

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s ICON.svg SIZE OUT.png\n", argv[0]);
        return 2;
    }
    QSvgRenderer svg(QString::fromLocal8Bit(argv[1]));
    const int size = QByteArray(argv[2]).toInt();
    if (!svg.isValid() || size <= 0) {
        std::fprintf(stderr, "%s: no icon at %s, or no size\n", argv[0], argv[1]);
        return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter);
    painter.end();
    return image.save(QString::fromLocal8Bit(argv[3])) ? 0 : 1;
}
