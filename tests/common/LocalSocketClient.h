#pragma once

#include <QDeadlineTimer>
#include <QFuture>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QTest>
#include <QtEndian>

// A message on the instance channel: a big-endian length (which may lie), then the body.
inline QByteArray framed(const QByteArray &body, quint32 announced)
{
    QByteArray out(4, '\0');
    qToBigEndian(announced, out.data());
    return out + body;
}

inline QByteArray framed(const QByteArray &body)
{
    return framed(body, quint32(body.size()));
}

// Client side of one conversation, on a worker thread while the server's loop runs here. With
// hangUp the client leaves as soon as its bytes are out; otherwise it reads until the server
// closes, or until it has heard nothing for patienceMs. The answer is the reply's JSON, or nothing.
inline QJsonObject exchange(const QString &path, const QByteArray &bytes, bool hangUp = false,
                            int patienceMs = 3000)
{
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(2000))
        return {};
    socket.write(bytes);
    socket.waitForBytesWritten(2000);
    if (hangUp) {
        socket.abort();
        return {};
    }
    QByteArray reply;
    while (socket.waitForReadyRead(patienceMs))
        reply += socket.readAll();
    reply += socket.readAll();
    return reply.size() > 4 ? QJsonDocument::fromJson(reply.mid(4)).object() : QJsonObject();
}

// Keeps this thread's event loop turning (the server answers on it) until the future is done.
template<typename T> T awaitFuture(QFuture<T> future, int ms = 10000)
{
    QDeadlineTimer deadline(ms);
    while (!future.isFinished() && !deadline.hasExpired())
        QTest::qWait(5);
    return future.isFinished() ? future.result() : T();
}
