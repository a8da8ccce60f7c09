#include <QtGlobal>

#ifdef Q_OS_MACOS

#include "shortcuts/DesktopWorkspace.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>

namespace {
template<typename T> struct CFRef {
    T ref = nullptr;
    explicit CFRef(T r) : ref(r) {}
    ~CFRef()
    {
        if (ref)
            CFRelease(ref);
    }
    CFRef(const CFRef &) = delete;
    CFRef &operator=(const CFRef &) = delete;
    explicit operator bool() const { return ref != nullptr; }
};

QString toQString(CFStringRef s)
{
    return s ? QString::fromCFString(s) : QString();
}

// The largest image the .icns (or other image) file holds, scaled to edge.
QImage largestImage(const QString &path, int edge)
{
    QImageReader reader(path);
    QImage best;
    do {
        QImage image = reader.read();
        if (!image.isNull() && image.width() > best.width())
            best = image;
    } while (reader.jumpToNextImage());
    if (best.isNull())
        return best;
    return best.scaled(edge, edge, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QString iconFileOfBundle(CFURLRef appURL)
{
    CFRef<CFBundleRef> bundle(CFBundleCreate(kCFAllocatorDefault, appURL));
    if (!bundle)
        return {};
    auto value = CFBundleGetValueForInfoDictionaryKey(bundle.ref, CFSTR("CFBundleIconFile"));
    if (!value || CFGetTypeID(value) != CFStringGetTypeID())
        return {};
    QString name = toQString(static_cast<CFStringRef>(value));
    if (name.isEmpty())
        return {};
    if (QFileInfo(name).suffix().isEmpty())
        name += QStringLiteral(".icns");
    CFRef<CFURLRef> resources(CFBundleCopyResourcesDirectoryURL(bundle.ref));
    if (!resources)
        return {};
    CFRef<CFURLRef> absolute(CFURLCopyAbsoluteURL(resources.ref));
    CFRef<CFStringRef> path(CFURLCopyFileSystemPath(absolute.ref, kCFURLPOSIXPathStyle));
    return QDir(toQString(path.ref)).filePath(name);
}
} // namespace

QImage macApplicationIcon(const QString &bundleIdentifier, int edge)
{
    if (bundleIdentifier.isEmpty())
        return {};
    CFRef<CFStringRef> id(bundleIdentifier.toCFString());
    CFRef<CFArrayRef> urls(LSCopyApplicationURLsForBundleIdentifier(id.ref, nullptr));
    if (!urls || CFArrayGetCount(urls.ref) == 0)
        return {};
    const auto appURL = static_cast<CFURLRef>(CFArrayGetValueAtIndex(urls.ref, 0));
    const QString iconFile = iconFileOfBundle(appURL);
    if (iconFile.isEmpty() || !QFileInfo(iconFile).isFile())
        return {};
    return largestImage(iconFile, edge);
}

#endif
