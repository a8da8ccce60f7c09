#pragma once

#include <QHash>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>
#include <QUrl>

// An HTTP server on the loopback interface that answers one request per connection, by path.
class LoopbackHttp : public QObject {
public:
    struct Answer {
        int status = 200;
        QByteArray body;
        QByteArray location;    // a redirect when set
        bool withLength = true; // else the body ends when the connection closes
        int delayMs = 0;
        bool never = false; // accept and stay silent
    };
    QHash<QString, Answer> answers;
    QStringList requests; // path?query of every request, in order

    LoopbackHttp()
    {
        QVERIFY(m_server.listen(QHostAddress::LocalHost));
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                socket->setParent(this);
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }
    QString base() const
    {
        return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort());
    }
    QUrl url(const QString &path) const { return QUrl(base() + path); }
    int count(const QString &path) const
    {
        int n = 0;
        for (const QString &r : requests)
            n += r.section(u'?', 0, 0) == path ? 1 : 0;
        return n;
    }

private:
    void serve(QTcpSocket *socket)
    {
        QByteArray &buffer = m_pending[socket];
        buffer += socket->readAll();
        if (!buffer.contains("\r\n\r\n"))
            return;
        const QString target = QString::fromUtf8(buffer.split(' ').value(1));
        m_pending.remove(socket);
        requests.append(target);
        const Answer answer = answers.value(target.section(u'?', 0, 0), Answer{404, "{}"});
        if (answer.never)
            return;
        auto send = [socket, answer] {
            QByteArray head = "HTTP/1.1 " + QByteArray::number(answer.status) + " X\r\n";
            if (!answer.location.isEmpty())
                head += "Location: " + answer.location + "\r\n";
            if (answer.withLength)
                head += "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
            socket->write(head + "Connection: close\r\n\r\n" + answer.body);
            socket->disconnectFromHost();
        };
        if (answer.delayMs > 0)
            QTimer::singleShot(answer.delayMs, socket, send);
        else
            send();
    }
    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_pending;
};
