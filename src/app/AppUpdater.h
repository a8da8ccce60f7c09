#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QUrl>
class QNetworkAccessManager;
class QTimer;
class QWidget;

// Checks a Sparkle-format appcast (RSS with the sparkle: namespace) for a newer version.
// Offers whether a check can start now, a user-initiated check that tells the person what it
// found, and the automatic-check switch (at most one automatic check a day).
class AppUpdater : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool canCheckForUpdates READ canCheckForUpdates NOTIFY canCheckForUpdatesChanged)
    Q_PROPERTY(bool automaticallyChecksForUpdates READ automaticallyChecksForUpdates WRITE
                   setAutomaticallyChecksForUpdates NOTIFY automaticallyChecksForUpdatesChanged)
public:
    // Settings keys, as Sparkle names them.
    static constexpr char feedURLKey[] = "SUFeedURL";
    static constexpr char automaticChecksKey[] = "SUEnableAutomaticChecks";
    static constexpr char lastCheckTimeKey[] = "SULastCheckTime";
    static constexpr qint64 maximumFeedSize = 1024 * 1024;
    static constexpr int timeoutMilliseconds = 30'000;
    // How often, while the program runs, it looks whether the daily automatic check is due.
    static constexpr int automaticCheckPollMilliseconds = 60 * 60 * 1000;

    struct Item {
        QString version;        // sparkle:version (the build number compared)
        QString displayVersion; // sparkle:shortVersionString, else version
        QUrl releaseNotes;
        QUrl download;
        QString os;                   // enclosure's sparkle:os; empty for every system
        QString channel;              // sparkle:channel; empty for the default channel
        QString minimumSystemVersion; // sparkle:minimumSystemVersion
    };
    // The system items are chosen for: "macos", "windows" or "linux", and its version.
    struct Platform {
        QString os;
        QString systemVersion;
    };
    struct Result {
        enum class Kind { upToDate, updateAvailable, failed };
        Kind kind = Kind::failed;
        Item newest;   // for updateAvailable
        QString error; // for failed
    };

    explicit AppUpdater(QObject *parent = nullptr);
    ~AppUpdater() override;
    static AppUpdater &shared();

    // The feed: "SUFeedURL" from settings, else the build's default; https only (http only to a
    // loopback address, for local feeds).
    QUrl feedURL() const;
    void setFeedURL(const QUrl &url);
    QString currentVersion() const { return m_currentVersion; }
    void setCurrentVersion(const QString &version) { m_currentVersion = version; }

    bool canCheckForUpdates() const;
    bool automaticallyChecksForUpdates() const;
    void setAutomaticallyChecksForUpdates(bool on);

    // The menu command: checks and tells the person the result in a window-modal message, with
    // "Download" beside the release notes when there is an update.
    void checkForUpdates(QWidget *parent = nullptr);
    // Checks now and answers; no message.
    QCoro::Task<Result> check();
    // Checks when automatic checks are on and the last check is a day old or more, and keeps
    // coming back while the program runs. Quiet, unless it finds an update: that is shown in a
    // message that does not block the window. True when a check was started.
    bool checkAutomaticallyIfDue();

    // Test hooks.
    const std::optional<Result> &lastResult() const { return m_lastResult; }
    QMessageBox *resultAlert() const { return m_alert; }

    // The appcast's newest item compared with a version; failed with a clear text when the
    // bytes are not an appcast.
    // Only items for the platform, on the default channel and for a system it satisfies count.
    static Result evaluate(const QByteArray &feed, const QString &currentVersion);
    static Result evaluate(const QByteArray &feed, const QString &currentVersion,
                           const Platform &platform);
    static Platform currentPlatform();
    // Appcast order: numbers compared as numbers, letters before numbers, a pre-release before
    // its release, a leading "v" ignored.
    static int compareVersions(const QString &a, const QString &b);

signals:
    void canCheckForUpdatesChanged();
    void automaticallyChecksForUpdatesChanged();
    void checkFinished();

private:
    void setChecking(bool checking);
    // asked: the person chose "Check for Updates…" (window-modal); else non-modal.
    void showResult(const Result &result, QWidget *parent, bool asked);
    QCoro::Task<> userCheck(QPointer<QWidget> parent);
    QCoro::Task<> automaticCheck();

    QNetworkAccessManager *m_network;
    QTimer *m_automaticCheckTimer;
    QString m_currentVersion;
    bool m_checking = false;
    std::optional<Result> m_lastResult;
    QPointer<QMessageBox> m_alert;
};
