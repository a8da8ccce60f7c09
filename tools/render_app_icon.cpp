// Draws the application icon: a white thimble on an indigo-to-violet rounded square.
// Usage: render_app_icon SIZE OUT.png
#include "ui/AppIcon.h"

#include <QGuiApplication>
#include <QImage>
#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: render_app_icon SIZE OUT.png\n");
        return 2;
    }
    const int size = std::atoi(argv[1]);
    if (size < 8 || size > 2048) {
        std::fprintf(stderr, "render_app_icon: size must be 8..2048\n");
        return 2;
    }
    if (!AppIcon::render(size).save(QString::fromLocal8Bit(argv[2]), "PNG")) {
        std::fprintf(stderr, "render_app_icon: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
