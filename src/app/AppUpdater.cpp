#include "app/AppUpdater.h"

#include "model/AppSettings.h"
#include "model/Clock.h"
#include "shortcuts/Workspace.h"

#include <QApplication>
#include <QCoro/QCoroNetworkReply>
#include <QHostAddress>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QOperatingSystemVersion>
#include <QPushButton>
#include <QSysInfo>
#include <QTimer>
#include <QVersionNumber>
#include <QXmlStreamReader>

#ifndef THIMBLECRAFT_APPCAST_URL
#define THIMBLECRAFT_APPCAST_URL ""
#endif
#ifndef THIMBLECRAFT_VERSION
#define THIMBLECRAFT_VERSION "0.0.0"
#endif

namespace {
const QString sparkleNamespace =
    QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");

bool isLoopback(const QUrl &url)
{
    const QString host = url.host();
    if (host.compare(QStringLiteral("localhost"), Qt::CaseInsensitive) == 0)
        return true;
    const QHostAddress address(host);
    return !address.isNull() && address.isLoopback();
}

bool acceptableFeed(const QUrl &url)
{
    if (!url.isValid() || url.host().isEmpty())
        return false;
    if (url.scheme() == QLatin1String("https"))
        return true;
    return url.scheme() == QLatin1String("http") && isLoopback(url);
}

AppUpdater::Result failure(const QString &text)
{
    AppUpdater::Result result;
    result.kind = AppUpdater::Result::Kind::failed;
    result.error = text;
    return result;
}
} // namespace

AppUpdater::AppUpdater(QObject *parent)
    : QObject(parent), m_network(new QNetworkAccessManager(this)),
      m_automaticCheckTimer(new QTimer(this)),
      m_currentVersion(QStringLiteral(THIMBLECRAFT_VERSION))
{
    m_network->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    // While the program stays open the automatic check comes back; each turn checks only when
    // the last check is a day old.
    m_automaticCheckTimer->setObjectName(QStringLiteral("automaticUpdateCheckTimer"));
    m_automaticCheckTimer->setInterval(automaticCheckPollMilliseconds);
    connect(m_automaticCheckTimer, &QTimer::timeout, this, [this] { checkAutomaticallyIfDue(); });
}

AppUpdater::~AppUpdater() = default;

AppUpdater &AppUpdater::shared()
{
    static AppUpdater *instance = new AppUpdater;
    return *instance;
}

QUrl AppUpdater::feedURL() const
{
    const QString stored = AppSettings::store().value(QString::fromLatin1(feedURLKey)).toString();
    return QUrl(stored.isEmpty() ? QStringLiteral(THIMBLECRAFT_APPCAST_URL) : stored);
}

void AppUpdater::setFeedURL(const QUrl &url)
{
    const bool could = canCheckForUpdates();
    AppSettings::store().setValue(QString::fromLatin1(feedURLKey), url.toString());
    if (could != canCheckForUpdates())
        emit canCheckForUpdatesChanged();
}

bool AppUpdater::canCheckForUpdates() const
{
    return !m_checking && acceptableFeed(feedURL());
}

void AppUpdater::setChecking(bool checking)
{
    const bool could = canCheckForUpdates();
    m_checking = checking;
    if (could != canCheckForUpdates())
        emit canCheckForUpdatesChanged();
}

bool AppUpdater::automaticallyChecksForUpdates() const
{
    // Off until the person turns it on: no network traffic they did not ask for.
    return AppSettings::store().value(QString::fromLatin1(automaticChecksKey), false).toBool();
}

void AppUpdater::setAutomaticallyChecksForUpdates(bool on)
{
    if (on == automaticallyChecksForUpdates() &&
        AppSettings::store().contains(QString::fromLatin1(automaticChecksKey)))
        return;
    AppSettings::store().setValue(QString::fromLatin1(automaticChecksKey), on);
    AppSettings::store().sync();
    if (on)
        m_automaticCheckTimer->start();
    else
        m_automaticCheckTimer->stop();
    emit automaticallyChecksForUpdatesChanged();
}

namespace {
// One run of a version text: digits, a separator (".") or anything else (letters, "-", "+").
struct VersionPart {
    enum class Kind { number, separator, text } kind;
    QStringView text;
};

QList<VersionPart> versionParts(QStringView version)
{
    if (version.startsWith(u'v') || version.startsWith(u'V'))
        version = version.sliced(1);
    auto kindOf = [](QChar c) {
        if (c >= u'0' && c <= u'9')
            return VersionPart::Kind::number;
        return c == u'.' ? VersionPart::Kind::separator : VersionPart::Kind::text;
    };
    QList<VersionPart> parts;
    qsizetype start = 0;
    for (qsizetype i = 1; i <= version.size(); ++i) {
        const auto kind = kindOf(version[start]);
        // Every separator is a part of its own; numbers and texts run on.
        if (i < version.size() && kind != VersionPart::Kind::separator &&
            kindOf(version[i]) == kind)
            continue;
        parts.append({kind, version.sliced(start, i - start)});
        start = i;
    }
    return parts;
}

// Digits compared as numbers of any length.
int compareNumbers(QStringView a, QStringView b)
{
    while (a.size() > 1 && a.front() == u'0')
        a = a.sliced(1);
    while (b.size() > 1 && b.front() == u'0')
        b = b.sliced(1);
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    const int c = a.compare(b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}
} // namespace

int AppUpdater::compareVersions(const QString &a, const QString &b)
{
    using Kind = VersionPart::Kind;
    const QList<VersionPart> pa = versionParts(a);
    const QList<VersionPart> pb = versionParts(b);
    const qsizetype common = std::min(pa.size(), pb.size());
    for (qsizetype i = 0; i < common; ++i) {
        const VersionPart &x = pa[i];
        const VersionPart &y = pb[i];
        if (x.kind == y.kind) {
            int c = 0;
            if (x.kind == Kind::number)
                c = compareNumbers(x.text, y.text);
            else if (x.kind == Kind::text)
                c = x.text.compare(y.text);
            if (c != 0)
                return c < 0 ? -1 : 1;
            continue;
        }
        // Letters come before numbers and separators (1.0a1 < 1.0.1); a number after a
        // separator beats the separator's absence.
        if (x.kind == Kind::text)
            return -1;
        if (y.kind == Kind::text)
            return 1;
        return x.kind == Kind::number ? 1 : -1;
    }
    // One goes on: text first means a pre-release of the shorter one (1.0b1 < 1.0); zeros and
    // separators alone change nothing (1.2 == 1.2.0); any other number makes it newer.
    const QList<VersionPart> &rest = pa.size() > pb.size() ? pa : pb;
    const int longer = pa.size() > pb.size() ? 1 : -1;
    for (qsizetype i = common; i < rest.size(); ++i) {
        if (rest[i].kind == Kind::text)
            return -longer;
        if (rest[i].kind == Kind::number && compareNumbers(rest[i].text, u"0") != 0)
            return longer;
    }
    return 0;
}

AppUpdater::Platform AppUpdater::currentPlatform()
{
#if defined(Q_OS_MACOS)
    const QOperatingSystemVersion system = QOperatingSystemVersion::current();
    return {QStringLiteral("macos"),
            QStringLiteral("%1.%2.%3")
                .arg(QString::number(system.majorVersion()), QString::number(system.minorVersion()),
                     QString::number(system.microVersion()))};
#elif defined(Q_OS_WIN)
    return {QStringLiteral("windows"), QSysInfo::productVersion()};
#else
    return {QStringLiteral("linux"), QSysInfo::productVersion()};
#endif
}

AppUpdater::Result AppUpdater::evaluate(const QByteArray &feed, const QString &currentVersion)
{
    return evaluate(feed, currentVersion, currentPlatform());
}

AppUpdater::Result AppUpdater::evaluate(const QByteArray &feed, const QString &currentVersion,
                                        const Platform &platform)
{
    QXmlStreamReader xml(feed);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("rss"))
        return failure(
            xml.hasError()
                ? QStringLiteral("The update feed isn’t valid XML (%1).").arg(xml.errorString())
                : QStringLiteral("The update feed isn’t an appcast."));
    QList<Item> items;
    std::optional<Item> current;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            const auto name = xml.name();
            const bool sparkle = xml.namespaceUri() == sparkleNamespace;
            if (name == QLatin1String("item") && !sparkle) {
                current = Item{};
            } else if (current && sparkle && name == QLatin1String("version")) {
                current->version = xml.readElementText().trimmed();
            } else if (current && sparkle && name == QLatin1String("shortVersionString")) {
                current->displayVersion = xml.readElementText().trimmed();
            } else if (current && sparkle && name == QLatin1String("releaseNotesLink")) {
                current->releaseNotes = QUrl(xml.readElementText().trimmed());
            } else if (current && sparkle && name == QLatin1String("channel")) {
                current->channel = xml.readElementText().trimmed();
            } else if (current && sparkle && name == QLatin1String("minimumSystemVersion")) {
                current->minimumSystemVersion = xml.readElementText().trimmed();
            } else if (current && sparkle && name == QLatin1String("deltas")) {
                xml.skipCurrentElement(); // patches from older builds, not the download
            } else if (current && name == QLatin1String("enclosure") && !sparkle) {
                const auto attributes = xml.attributes();
                current->download =
                    QUrl(attributes.value(QLatin1String("url")).toString().trimmed());
                current->os =
                    attributes.value(sparkleNamespace, QLatin1String("os")).toString().trimmed();
                if (current->version.isEmpty())
                    current->version =
                        attributes.value(sparkleNamespace, QLatin1String("version")).toString();
                if (current->displayVersion.isEmpty())
                    current->displayVersion =
                        attributes.value(sparkleNamespace, QLatin1String("shortVersionString"))
                            .toString();
            }
        } else if (xml.isEndElement() && xml.name() == QLatin1String("item") && current) {
            if (!current->version.isEmpty() || !current->displayVersion.isEmpty()) {
                if (current->version.isEmpty())
                    current->version = current->displayVersion;
                if (current->displayVersion.isEmpty())
                    current->displayVersion = current->version;
                items.append(*current);
            }
            current.reset();
        }
    }
    if (xml.hasError())
        return failure(
            QStringLiteral("The update feed isn’t valid XML (%1).").arg(xml.errorString()));
    if (items.isEmpty())
        return failure(QStringLiteral("The update feed lists no versions."));
    // Only builds for this system, on the default channel, that this system can run.
    items.removeIf([&platform](const Item &item) {
        if (!item.os.isEmpty() && item.os.compare(platform.os, Qt::CaseInsensitive) != 0)
            return true;
        if (!item.channel.isEmpty())
            return true;
        return !item.minimumSystemVersion.isEmpty() &&
               (platform.systemVersion.isEmpty() ||
                compareVersions(platform.systemVersion, item.minimumSystemVersion) < 0);
    });
    if (items.isEmpty()) {
        Result nothing;
        nothing.kind = Result::Kind::upToDate;
        return nothing;
    }
    const Item newest =
        *std::max_element(items.cbegin(), items.cend(), [](const Item &a, const Item &b) {
            return compareVersions(a.version, b.version) < 0;
        });
    Result result;
    result.newest = newest;
    result.kind = compareVersions(newest.version, currentVersion) > 0
                      ? Result::Kind::updateAvailable
                      : Result::Kind::upToDate;
    return result;
}

QCoro::Task<AppUpdater::Result> AppUpdater::check()
{
    const QUrl url = feedURL();
    if (!acceptableFeed(url))
        co_return failure(QStringLiteral("No secure update feed is configured."));
    if (m_checking)
        co_return failure(QStringLiteral("An update check is already running."));
    setChecking(true);
    QNetworkRequest request(url);
    request.setTransferTimeout(timeoutMilliseconds);
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QStringLiteral("Thimblecraft/%1").arg(m_currentVersion));
    QPointer<AppUpdater> self(this);
    QNetworkReply *reply = m_network->get(request);
    bool tooLarge = false;
    connect(reply, &QNetworkReply::downloadProgress, reply,
            [reply, &tooLarge](qint64 received, qint64 total) {
                if (received > maximumFeedSize || total > maximumFeedSize) {
                    tooLarge = true;
                    reply->abort();
                }
            });
    co_await qCoro(reply).waitForFinished();
    Result result;
    if (tooLarge) {
        result = failure(
            QStringLiteral("The update feed is larger than %1 KB.").arg(maximumFeedSize / 1024));
    } else if (reply->error() != QNetworkReply::NoError) {
        result = failure(
            QStringLiteral("The update feed could not be read: %1").arg(reply->errorString()));
    } else {
        const QByteArray bytes = reply->read(maximumFeedSize + 1);
        result = bytes.size() > maximumFeedSize
                     ? failure(QStringLiteral("The update feed is larger than %1 KB.")
                                   .arg(maximumFeedSize / 1024))
                     : evaluate(bytes, m_currentVersion);
    }
    reply->deleteLater();
    if (self) {
        AppSettings::store().setValue(QString::fromLatin1(lastCheckTimeKey), Clock::now());
        self->m_lastResult = result;
        self->setChecking(false);
        emit self->checkFinished();
    }
    co_return result;
}

bool AppUpdater::checkAutomaticallyIfDue()
{
    if (!automaticallyChecksForUpdates()) {
        m_automaticCheckTimer->stop();
        return false;
    }
    if (!m_automaticCheckTimer->isActive())
        m_automaticCheckTimer->start();
    if (!canCheckForUpdates())
        return false;
    const QDateTime last =
        AppSettings::store().value(QString::fromLatin1(lastCheckTimeKey)).toDateTime();
    if (last.isValid() && last.secsTo(Clock::now()) < 24 * 60 * 60)
        return false;
    automaticCheck();
    return true;
}

QCoro::Task<> AppUpdater::automaticCheck()
{
    QPointer<AppUpdater> self(this);
    const Result result = co_await check();
    // Quiet unless there is something to get; then said without stopping the person's work.
    if (self && result.kind == Result::Kind::updateAvailable)
        self->showResult(result, nullptr, false);
}

void AppUpdater::checkForUpdates(QWidget *parent)
{
    if (!canCheckForUpdates())
        return;
    if (QWidget *window = parent ? parent->window() : nullptr) {
        window->raise();
        window->activateWindow();
    }
    userCheck(QPointer<QWidget>(parent));
}

QCoro::Task<> AppUpdater::userCheck(QPointer<QWidget> parent)
{
    QPointer<AppUpdater> self(this);
    const Result result = co_await check();
    if (self)
        self->showResult(result, parent, true);
}

void AppUpdater::showResult(const Result &result, QWidget *parent, bool asked)
{
    if (m_alert)
        m_alert->close();
    auto *alert = new QMessageBox(parent);
    alert->setObjectName(QStringLiteral("updateResultAlert"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setWindowTitle(QStringLiteral("Software Update"));
    switch (result.kind) {
    case Result::Kind::upToDate:
        alert->setIcon(QMessageBox::Information);
        alert->setText(QStringLiteral("You’re up to date!"));
        alert->setInformativeText(
            QStringLiteral("Thimblecraft %1 is currently the newest version available.")
                .arg(m_currentVersion));
        break;
    case Result::Kind::updateAvailable: {
        alert->setIcon(QMessageBox::Information);
        alert->setText(QStringLiteral("A new version of Thimblecraft is available!"));
        QString text = QStringLiteral("Thimblecraft %1 is now available—you have %2.")
                           .arg(result.newest.displayVersion.toHtmlEscaped(),
                                m_currentVersion.toHtmlEscaped());
        const QUrl notes = result.newest.releaseNotes;
        if (notes.isValid() &&
            (notes.scheme() == QLatin1String("https") || notes.scheme() == QLatin1String("http")))
            text += QStringLiteral("<br><a href=\"%1\">Release notes</a>")
                        .arg(notes.toString(QUrl::FullyEncoded).toHtmlEscaped());
        alert->setTextFormat(Qt::RichText);
        alert->setInformativeText(text);
        alert->setTextInteractionFlags(Qt::TextBrowserInteraction);
        const QUrl download = result.newest.download;
        if (download.isValid() && (download.scheme() == QLatin1String("https") ||
                                   download.scheme() == QLatin1String("http"))) {
            QPushButton *button =
                alert->addButton(QStringLiteral("Download"), QMessageBox::AcceptRole);
            button->setObjectName(QStringLiteral("updateDownloadButton"));
            connect(button, &QPushButton::clicked, this,
                    [download] { Workspace::shared().openUrl(download); });
        }
        break;
    }
    case Result::Kind::failed:
        alert->setIcon(QMessageBox::Warning);
        alert->setText(QStringLiteral("Update Error!"));
        alert->setInformativeText(result.error);
        break;
    }
    alert->addButton(result.kind == Result::Kind::updateAvailable ? QMessageBox::Close
                                                                  : QMessageBox::Ok);
    m_alert = alert;
    if (asked) {
        alert->open();
    } else {
        alert->setWindowModality(Qt::NonModal);
        alert->show();
    }
}
