#include "app/AppUpdater.h"

#include "model/AppSettings.h"
#include "model/Clock.h"

#include <QApplication>
#include <QCoro/QCoroNetworkReply>
#include <QHostAddress>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QNetworkReply>
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
      m_currentVersion(QStringLiteral(THIMBLECRAFT_VERSION))
{
    m_network->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
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
    emit automaticallyChecksForUpdatesChanged();
}

int AppUpdater::compareVersions(const QString &a, const QString &b)
{
    qsizetype suffixA = 0;
    qsizetype suffixB = 0;
    const QVersionNumber va = QVersionNumber::fromString(a, &suffixA);
    const QVersionNumber vb = QVersionNumber::fromString(b, &suffixB);
    if (const int c = QVersionNumber::compare(va.normalized(), vb.normalized()))
        return c < 0 ? -1 : 1;
    // 1.2 beats 1.2b1: a version with a suffix comes before the plain one.
    const QString restA = a.mid(suffixA);
    const QString restB = b.mid(suffixB);
    if (restA.isEmpty() != restB.isEmpty())
        return restA.isEmpty() ? 1 : -1;
    const int c = QString::compare(restA, restB);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

AppUpdater::Result AppUpdater::evaluate(const QByteArray &feed, const QString &currentVersion)
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
            } else if (current && name == QLatin1String("enclosure") && !sparkle) {
                const auto attributes = xml.attributes();
                current->download = QUrl(attributes.value(QLatin1String("url")).toString());
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
    if (!automaticallyChecksForUpdates() || !canCheckForUpdates())
        return false;
    const QDateTime last =
        AppSettings::store().value(QString::fromLatin1(lastCheckTimeKey)).toDateTime();
    if (last.isValid() && last.secsTo(Clock::now()) < 24 * 60 * 60)
        return false;
    check(); // quiet: the result only lands in lastResult()
    return true;
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
        self->showResult(result, parent);
}

void AppUpdater::showResult(const Result &result, QWidget *parent)
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
        break;
    }
    case Result::Kind::failed:
        alert->setIcon(QMessageBox::Warning);
        alert->setText(QStringLiteral("Update Error!"));
        alert->setInformativeText(result.error);
        break;
    }
    alert->setStandardButtons(QMessageBox::Ok);
    m_alert = alert;
    alert->open();
}
