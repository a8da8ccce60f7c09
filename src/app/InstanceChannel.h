#pragma once

#include <QCoro/QCoroTask>
#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>

class QLocalServer;
class QLocalSocket;

// The program's single-instance channel: a local socket per data directory that only its owner
// can open, in a per-user runtime folder (mode 0700). Later invocations hand it intents
// (`thimblecraft intent …`), URLs and "raise the window" instead of starting a second program.
//
// Wire format, one request and one reply per connection: a 4-byte big-endian length, then that
// many bytes of a UTF-8 JSON object. Requests: {"kind": "intent", "action": A, "arguments": [..]},
// {"kind": "sync"}, {"kind": "backup", "path": P, "force": bool}, {"kind": "open-url", "url": U},
// {"kind": "activate"}, {"kind": "quit"}, and kinds with handlers of their own ({"kind": "run",
// "shortcut": S, "input": T}, {"kind": "quick-run"}).
// Replies: {"ok": bool, "text": T}.
class InstanceChannel : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 maxMessageSize = 1024 * 1024;
    static constexpr int defaultReceiveTimeoutMs = 5000;

    struct Reply {
        bool ok = false;
        QString text;
    };
    // A reply whose text is a JSON object (the requests that answer more than a line).
    static Reply jsonReply(const QJsonObject &object, bool ok);
    struct SendResult {
        // unanswered: the owner closed the connection without a word (it was leaving or died);
        // the request may or may not have been carried out.
        enum class Status { delivered, noInstance, unanswered, failed };
        Status status = Status::failed;
        Reply reply;
        QString error;
    };

    // The owner-only folder that holds the sockets; created on first use. Empty (with *error)
    // when it cannot be made private.
    static QString socketDirectory(QString *error = nullptr);
    // The socket of the instance that owns a data directory.
    static QString socketPath(const QString &dataDirectory, QString *error = nullptr);

    explicit InstanceChannel(QObject *parent = nullptr);
    ~InstanceChannel() override;

    // Starts serving path. Fails when another live instance serves it; a stale socket left by a
    // crashed instance is replaced.
    bool listen(const QString &path, QString *error = nullptr);
    void close();
    bool isListening() const;
    QString path() const;
    // Connections whose request is still being read or worked on.
    bool hasOpenRequests() const { return m_pendingReplies > 0 || !m_buffers.isEmpty(); }
    // A client that has not sent a whole request by then is dropped.
    void setReceiveTimeout(int milliseconds) { m_receiveTimeoutMs = milliseconds; }

    using IntentHandler = std::function<QCoro::Task<Reply>(QString action, QStringList arguments)>;
    void setIntentHandler(IntentHandler handler) { m_intentHandler = std::move(handler); }
    // `thimblecraft sync` while this instance runs: the store has one writer, so it syncs here.
    using SyncHandler = std::function<QCoro::Task<Reply>()>;
    void setSyncHandler(SyncHandler handler) { m_syncHandler = std::move(handler); }
    // Any other kind of request the owner serves (e.g. "run"); the whole request is handed over.
    using RequestHandler = std::function<QCoro::Task<Reply>(QJsonObject request)>;
    void setRequestHandler(const QString &kind, RequestHandler handler)
    {
        m_requestHandlers.insert(kind, std::move(handler));
    }
    // `thimblecraft backup` while this instance owns the library: the copy comes from its store.
    using BackupHandler = std::function<Reply(const QString &path, bool force)>;
    void setBackupHandler(BackupHandler handler) { m_backupHandler = std::move(handler); }
    // The URL's text as it was sent: its scheme and host are compared as written.
    void setUrlHandler(std::function<void(const QString &)> handler)
    {
        m_urlHandler = std::move(handler);
    }
    void setActivateHandler(std::function<void()> handler)
    {
        m_activateHandler = std::move(handler);
    }
    // Called after the reply to a "quit" request has been sent.
    void setQuitHandler(std::function<void()> handler) { m_quitHandler = std::move(handler); }

    // Client side: sends one request and waits for its reply. Blocking; any thread.
    static SendResult send(const QString &path, const QJsonObject &request, int timeoutMs = 60000);
    static QJsonObject intentRequest(const QString &action, const QStringList &arguments);
    static QJsonObject syncRequest();
    static QJsonObject backupRequest(const QString &path, bool force);
    static QJsonObject openUrlRequest(const QString &urlText);
    static QJsonObject openUrlRequest(const QUrl &url)
    {
        return openUrlRequest(QString::fromUtf8(url.toEncoded()));
    }
    static QJsonObject activateRequest();
    static QJsonObject quitRequest();

signals:
    // A request was answered or dropped (idle timers watch this).
    void requestHandled();

private:
    struct Connection;
    void accept();
    void readFrom(QLocalSocket *socket);
    void dispatch(QLocalSocket *socket, const QByteArray &payload);
    // Replies once the handler's work is done, if the client is still there.
    QCoro::Task<> replyWhenDone(QLocalSocket *socket, QCoro::Task<Reply> work);
    void reply(QLocalSocket *socket, const Reply &reply);

    QLocalServer *m_server = nullptr;
    int m_receiveTimeoutMs = defaultReceiveTimeoutMs;
    int m_pendingReplies = 0;
    QHash<QLocalSocket *, QByteArray> m_buffers;
    IntentHandler m_intentHandler;
    SyncHandler m_syncHandler;
    BackupHandler m_backupHandler;
    QHash<QString, RequestHandler> m_requestHandlers;
    std::function<void(const QString &)> m_urlHandler;
    std::function<void()> m_activateHandler;
    std::function<void()> m_quitHandler;
};
