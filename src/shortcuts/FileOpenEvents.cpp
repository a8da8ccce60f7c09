#include "shortcuts/FileOpenEvents.h"

#include <QCoreApplication>
#include <QFileOpenEvent>

FileOpenEvents::FileOpenEvents(Handler handler, QObject *parent)
    : QObject(parent), m_handler(std::move(handler))
{
}

FileOpenEvents *FileOpenEvents::install(QCoreApplication *application, Handler handler)
{
    auto *filter = new FileOpenEvents(std::move(handler), application);
    application->installEventFilter(filter);
    return filter;
}

bool FileOpenEvents::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::FileOpen || watched != QCoreApplication::instance())
        return QObject::eventFilter(watched, event);
    const QUrl url = static_cast<QFileOpenEvent *>(event)->url();
    // Qt has already lower-cased the scheme; the runner compares what is left exactly.
    if (url.scheme() != QLatin1String("thimblecraft"))
        return QObject::eventFilter(watched, event);
    if (m_handler)
        m_handler(url.toString(QUrl::FullyEncoded));
    return true;
}
