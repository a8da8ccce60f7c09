#pragma once

#include <QObject>

class InstanceChannel;
class QCoreApplication;
class LibrarySyncController;

// Owning the library without a window (`--background`, or `sync` when nothing else runs) and
// handing it on: a window that starts asks such an owner to leave, and it must be gone within
// seconds with nothing it was asked to do lost.
class WindowlessOwner : public QObject {
    Q_OBJECT
public:
    WindowlessOwner(InstanceChannel &channel, LibrarySyncController &controller,
                    QObject *parent = nullptr);

    bool isLeaving() const { return m_leaving; }
    // A quit request, a termination signal (and, for run callbacks, a macOS file-open event)
    // are honoured; the application quits once the owner has left.
    void leaveWhenAsked(QCoreApplication &app);
    // Work of the owner's own (not a request) that leaving waits for.
    void hold() { ++m_holds; }
    void release();
    // Stops taking requests, answers the ones already taken (icons not yet fetched are left to
    // the next owner), saves the queued imports, then emits left().
    void leave();

signals:
    void left();

private:
    void leaveWhenSettled();

    InstanceChannel &m_channel;
    LibrarySyncController &m_controller;
    bool m_leaving = false;
    bool m_left = false;
    int m_holds = 0;
};
