#include "app/WindowlessOwner.h"

#include "app/InstanceChannel.h"
#include "app/QuitOnSignal.h"
#include "shortcuts/FileOpenEvents.h"
#include "shortcuts/ShortcutRunner.h"
#include "sync/LibrarySyncController.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTimer>

WindowlessOwner::WindowlessOwner(InstanceChannel &channel, LibrarySyncController &controller,
                                 QObject *parent)
    : QObject(parent), m_channel(channel), m_controller(controller)
{
}

void WindowlessOwner::leaveWhenAsked(QCoreApplication &app)
{
    m_channel.setQuitHandler([this] { leave(); });
    quitOnTerminationSignals([this] { leave(); });
    connect(this, &WindowlessOwner::left, &app, &QCoreApplication::quit);
    // On macOS run callbacks arrive as file-open events.
    FileOpenEvents::install(
        &app, [](const QString &url) { ShortcutRunner::shared().handleCallbackURL(url); });
}

void WindowlessOwner::leave()
{
    if (m_leaving)
        return;
    m_leaving = true;
    m_channel.close();
    connect(&m_channel, &InstanceChannel::requestHandled, this, &WindowlessOwner::leaveWhenSettled);
    connect(&m_controller, &LibrarySyncController::iconFetchRunningChanged, this,
            &WindowlessOwner::leaveWhenSettled);
    leaveWhenSettled();
}

void WindowlessOwner::release()
{
    --m_holds;
    if (m_leaving)
        leaveWhenSettled();
}

void WindowlessOwner::leaveWhenSettled()
{
    if (m_left)
        return;
    // A sync taken before leaving starts its icon queue when its merge is done; that is the next
    // owner's work.
    m_controller.stopIconFetch();
    if (m_holds > 0 || m_channel.hasOpenRequests() || m_controller.iconFetchRunning())
        return;
    m_left = true;
    m_controller.flushImports();
    m_controller.settings().sync();
    QTimer::singleShot(0, this, &WindowlessOwner::left);
}
