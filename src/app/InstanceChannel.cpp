#include "app/InstanceChannel.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QTimer>
#include <QtEndian>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {
QByteArray frame(const QJsonObject &object)
{
    const QByteArray body = QJsonDocument(object).toJson(QJsonDocument::Compact);
    QByteArray out(4, '\0');
    qToBigEndian(quint32(body.size()), out.data());
    return out + body;
}

// How many bytes a frame announces; no value until the 4-byte header is complete.
std::optional<quint32> announcedSize(const QByteArray &buffer)
{
    if (buffer.size() < 4)
        return std::nullopt;
    return qFromBigEndian<quint32>(buffer.constData());
}

QString runtimeBase()
{
    const QString xdg = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!xdg.isEmpty() && QFileInfo(xdg).isDir())
        return xdg + QStringLiteral("/thimblecraft");
#ifdef Q_OS_UNIX
    return QDir::tempPath() + QStringLiteral("/thimblecraft-%1").arg(getuid());
#else
    return QDir::tempPath() + QStringLiteral("/thimblecraft");
#endif
}
} // namespace

QString InstanceChannel::socketDirectory(QString *error)
{
    const QString dir = runtimeBase();
    auto fail = [&](const QString &message) {
        if (error)
            *error = message;
        return QString();
    };
#ifdef Q_OS_UNIX
    const QByteArray native = QFile::encodeName(dir);
    if (::mkdir(native.constData(), 0700) != 0 && errno != EEXIST)
        return fail(QStringLiteral("cannot create %1").arg(dir));
    struct stat st {};
    // lstat: a symbolic link planted by someone else must not redirect the socket.
    if (::lstat(native.constData(), &st) != 0 || !S_ISDIR(st.st_mode))
        return fail(QStringLiteral("%1 is not a folder").arg(dir));
    if (st.st_uid != getuid())
        return fail(QStringLiteral("%1 belongs to another user").arg(dir));
    if ((st.st_mode & 0777) != 0700 && ::chmod(native.constData(), 0700) != 0)
        return fail(QStringLiteral("cannot make %1 private").arg(dir));
#else
    if (!QDir().mkpath(dir))
        return fail(QStringLiteral("cannot create %1").arg(dir));
#endif
    return dir;
}

QString InstanceChannel::socketPath(const QString &dataDirectory, QString *error)
{
    const QString dir = socketDirectory(error);
    if (dir.isEmpty())
        return {};
    // Socket paths are short (about 100 bytes); the data directory is reduced to a digest. A
    // library is its canonical path: a symlink or ".." must not make a second owner.
    const QFileInfo info(dataDirectory);
    QString canonical = info.canonicalFilePath();
    if (canonical.isEmpty())
        canonical = QDir::cleanPath(info.absoluteFilePath());
    const QByteArray digest =
        QCryptographicHash::hash(canonical.toUtf8(), QCryptographicHash::Sha256).toHex().left(20);
    return dir + QLatin1Char('/') + QString::fromLatin1(digest) + QStringLiteral(".sock");
}

InstanceChannel::InstanceChannel(QObject *parent) : QObject(parent) {}

InstanceChannel::~InstanceChannel()
{
    close();
}

bool InstanceChannel::listen(const QString &path, QString *error)
{
    close();
    // Ask first: listening replaces an existing socket file, live or not.
    QLocalSocket probe;
    probe.connectToServer(path);
    if (probe.waitForConnected(1000)) {
        if (error)
            *error = QStringLiteral("another Thimblecraft instance is serving %1").arg(path);
        return false;
    }
    QLocalServer::removeServer(path); // left behind by an instance that did not shut down
    auto *server = new QLocalServer(this);
    server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server->listen(path)) {
        if (error)
            *error = server->errorString();
        delete server;
        return false;
    }
#ifdef Q_OS_UNIX
    ::chmod(QFile::encodeName(server->fullServerName()).constData(), 0600);
#endif
    m_server = server;
    connect(m_server, &QLocalServer::newConnection, this, &InstanceChannel::accept);
    return true;
}

void InstanceChannel::close()
{
    if (!m_server)
        return;
    m_server->close();
    delete m_server;
    m_server = nullptr;
}

bool InstanceChannel::isListening() const
{
    return m_server && m_server->isListening();
}

QString InstanceChannel::path() const
{
    return m_server ? m_server->fullServerName() : QString();
}

void InstanceChannel::accept()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        socket->setParent(this);
        m_buffers.insert(socket, {});
        // Each client gets its own deadline; a silent one never holds up the others.
        auto *deadline = new QTimer(socket);
        deadline->setSingleShot(true);
        connect(deadline, &QTimer::timeout, socket, [this, socket] {
            if (m_buffers.contains(socket)) {
                m_buffers.remove(socket);
                socket->abort();
                socket->deleteLater();
                emit requestHandled();
            }
        });
        deadline->start(m_receiveTimeoutMs);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readFrom(socket); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
            if (m_buffers.remove(socket))
                emit requestHandled();
            socket->deleteLater();
        });
        if (socket->bytesAvailable() > 0)
            readFrom(socket);
    }
}

void InstanceChannel::readFrom(QLocalSocket *socket)
{
    auto buffer = m_buffers.find(socket);
    if (buffer == m_buffers.end())
        return;
    buffer->append(socket->readAll());
    const auto size = announcedSize(*buffer);
    if (!size)
        return;
    if (*size == 0 || *size > maxMessageSize) {
        m_buffers.remove(socket);
        reply(socket, {false, QStringLiteral("request too large or empty")});
        return;
    }
    if (buffer->size() < qsizetype(4 + *size))
        return;
    if (buffer->size() > qsizetype(4 + *size)) {
        m_buffers.remove(socket);
        reply(socket, {false, QStringLiteral("one request per connection")});
        return;
    }
    const QByteArray payload = buffer->mid(4);
    m_buffers.remove(socket);
    for (QTimer *deadline : socket->findChildren<QTimer *>())
        deadline->stop();
    dispatch(socket, payload);
}

void InstanceChannel::dispatch(QLocalSocket *socket, const QByteArray &payload)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(payload, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        reply(socket, {false, QStringLiteral("malformed request")});
        return;
    }
    const QJsonObject request = document.object();
    const QString kind = request.value(QLatin1String("kind")).toString();
    if (kind == QLatin1String("intent")) {
        const QJsonValue args = request.value(QLatin1String("arguments"));
        QStringList arguments;
        bool wellFormed = args.isUndefined() || args.isArray();
        for (const QJsonValue &a : args.toArray()) {
            wellFormed = wellFormed && a.isString();
            arguments.append(a.toString());
        }
        const QString action = request.value(QLatin1String("action")).toString();
        if (!wellFormed || action.isEmpty()) {
            reply(socket, {false, QStringLiteral("malformed intent request")});
            return;
        }
        if (!m_intentHandler) {
            reply(socket, {false, QStringLiteral("this instance does not take intents")});
            return;
        }
        replyWhenDone(socket, m_intentHandler(action, arguments));
        return;
    }
    if (kind == QLatin1String("sync")) {
        if (!m_syncHandler) {
            reply(socket, {false, QStringLiteral("this instance does not sync on request")});
            return;
        }
        replyWhenDone(socket, m_syncHandler());
        return;
    }
    if (kind == QLatin1String("backup")) {
        const QJsonValue path = request.value(QLatin1String("path"));
        const QJsonValue force = request.value(QLatin1String("force"));
        if (!path.isString() || path.toString().isEmpty() ||
            !(force.isBool() || force.isUndefined())) {
            reply(socket, {false, QStringLiteral("malformed backup request")});
            return;
        }
        if (!m_backupHandler) {
            reply(socket, {false, QStringLiteral("this instance does not make backups")});
            return;
        }
        reply(socket, m_backupHandler(path.toString(), force.toBool()));
        return;
    }
    if (kind == QLatin1String("open-url")) {
        const QString text = request.value(QLatin1String("url")).toString();
        const QUrl url(text, QUrl::StrictMode);
        if (!url.isValid() || url.scheme().isEmpty()) {
            reply(socket, {false, QStringLiteral("malformed URL")});
            return;
        }
        if (!m_urlHandler) {
            reply(socket, {false, QStringLiteral("this instance has no window")});
            return;
        }
        m_urlHandler(text);
        reply(socket, {true, QString()});
        return;
    }
    if (kind == QLatin1String("activate")) {
        if (!m_activateHandler) {
            reply(socket, {false, QStringLiteral("this instance has no window")});
            return;
        }
        m_activateHandler();
        reply(socket, {true, QString()});
        return;
    }
    if (kind == QLatin1String("quit")) {
        if (!m_quitHandler) {
            reply(socket, {false, QStringLiteral("this instance does not quit on request")});
            return;
        }
        reply(socket, {true, QString()});
        m_quitHandler();
        return;
    }
    if (const auto handler = m_requestHandlers.constFind(kind);
        handler != m_requestHandlers.cend()) {
        replyWhenDone(socket, (*handler)(request));
        return;
    }
    reply(socket, {false, QStringLiteral("unknown request kind")});
}

QCoro::Task<> InstanceChannel::replyWhenDone(QLocalSocket *socket, QCoro::Task<Reply> work)
{
    QPointer<InstanceChannel> self(this);
    QPointer<QLocalSocket> client(socket);
    ++m_pendingReplies;
    const Reply result = co_await work;
    if (!self)
        co_return;
    --self->m_pendingReplies;
    if (client)
        self->reply(client, result);
    else
        emit self->requestHandled();
}

void InstanceChannel::reply(QLocalSocket *socket, const Reply &reply)
{
    if (socket->state() == QLocalSocket::ConnectedState) {
        socket->write(
            frame({{QStringLiteral("ok"), reply.ok}, {QStringLiteral("text"), reply.text}}));
        socket->flush();
        socket->disconnectFromServer();
    } else {
        socket->deleteLater();
    }
    emit requestHandled();
}

InstanceChannel::SendResult InstanceChannel::send(const QString &path, const QJsonObject &request,
                                                  int timeoutMs)
{
    SendResult result;
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(qMin(timeoutMs, 5000))) {
        const auto error = socket.error();
        result.status = (error == QLocalSocket::ServerNotFoundError ||
                         error == QLocalSocket::ConnectionRefusedError)
                            ? SendResult::Status::noInstance
                            : SendResult::Status::failed;
        result.error = socket.errorString();
        return result;
    }
    const QByteArray message = frame(request);
    if (message.size() - 4 > maxMessageSize) {
        result.error = QStringLiteral("request too large");
        return result;
    }
    socket.write(message);
    if (!socket.waitForBytesWritten(timeoutMs)) {
        result.error = socket.errorString();
        return result;
    }
    QByteArray buffer;
    for (auto size = announcedSize(buffer); !size || buffer.size() < qsizetype(4 + *size);
         size = announcedSize(buffer)) {
        if (size && *size > maxMessageSize)
            break;
        const bool more = socket.waitForReadyRead(timeoutMs);
        buffer.append(socket.readAll());
        if (!more)
            break;
    }
    const auto size = announcedSize(buffer);
    if (!size || *size > maxMessageSize || buffer.size() < qsizetype(4 + *size)) {
        if (buffer.isEmpty() && socket.state() != QLocalSocket::ConnectedState)
            result.status = SendResult::Status::unanswered;
        result.error = QStringLiteral("no reply from the running Thimblecraft");
        return result;
    }
    const QJsonObject reply = QJsonDocument::fromJson(buffer.mid(4, *size)).object();
    result.status = SendResult::Status::delivered;
    result.reply.ok = reply.value(QLatin1String("ok")).toBool();
    result.reply.text = reply.value(QLatin1String("text")).toString();
    return result;
}

QJsonObject InstanceChannel::intentRequest(const QString &action, const QStringList &arguments)
{
    return {{QStringLiteral("kind"), QStringLiteral("intent")},
            {QStringLiteral("action"), action},
            {QStringLiteral("arguments"), QJsonArray::fromStringList(arguments)}};
}

QJsonObject InstanceChannel::openUrlRequest(const QString &urlText)
{
    return {{QStringLiteral("kind"), QStringLiteral("open-url")}, {QStringLiteral("url"), urlText}};
}

QJsonObject InstanceChannel::syncRequest()
{
    return {{QStringLiteral("kind"), QStringLiteral("sync")}};
}

QJsonObject InstanceChannel::backupRequest(const QString &path, bool force)
{
    return {{QStringLiteral("kind"), QStringLiteral("backup")},
            {QStringLiteral("path"), path},
            {QStringLiteral("force"), force}};
}

QJsonObject InstanceChannel::activateRequest()
{
    return {{QStringLiteral("kind"), QStringLiteral("activate")}};
}

QJsonObject InstanceChannel::quitRequest()
{
    return {{QStringLiteral("kind"), QStringLiteral("quit")}};
}

InstanceChannel::Reply InstanceChannel::jsonReply(const QJsonObject &object, bool ok)
{
    return {ok, QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact))};
}
