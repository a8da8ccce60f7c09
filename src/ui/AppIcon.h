#pragma once

#include <QIcon>
#include <QImage>

// The application icon (a white thimble on an indigo-to-violet rounded square), drawn in code:
// the build renders the installed PNGs with it, and the running program its window icon.
namespace AppIcon {
inline constexpr char desktopFileName[] = "com.thimblecraft.Thimblecraft";

QImage render(int size);
QIcon icon();
// The application's window icon and desktop file name, unless already set.
void applyToApplication();
} // namespace AppIcon
