#include "AppUpdater.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QVersionNumber>

#ifndef VELK_BUILD
#define VELK_BUILD ""
#endif

AppUpdater::AppUpdater(QUrl feed, QObject *parent)
    : QObject(parent)
    , m_feed(std::move(feed))
{
    if (m_feed.isValid() && m_feed.scheme() == QLatin1String("https")) {
        m_network = new QNetworkAccessManager(this);
        m_network->setTransferTimeout(15000);
        m_canCheck = true;
    }
}

AppUpdater::~AppUpdater() = default;

QString AppUpdater::currentVersion()
{
    return currentVersion(QCoreApplication::applicationVersion(), QString::fromLatin1(VELK_BUILD));
}

QString AppUpdater::currentVersion(const QString &version, const QString &build)
{
    const QString unknown = QStringLiteral("?");
    return QStringLiteral("%1 (%2)").arg(version.isEmpty() ? unknown : version, build.isEmpty() ? unknown : build);
}

bool AppUpdater::isNewer(const QString &candidate, const QString &current)
{
    const QVersionNumber a = QVersionNumber::fromString(candidate);
    const QVersionNumber b = QVersionNumber::fromString(current);
    return !a.isNull() && QVersionNumber::compare(a, b) > 0;
}

void AppUpdater::setCanCheck(bool can)
{
    if (m_canCheck == can)
        return;
    m_canCheck = can;
    Q_EMIT canCheckForUpdatesChanged();
}

void AppUpdater::checkForUpdates()
{
    if (!m_canCheck || !m_network)
        return;
    setCanCheck(false);
    QNetworkReply *reply = m_network->get(QNetworkRequest(m_feed));
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        setCanCheck(true);
        if (reply->error() != QNetworkReply::NoError) {
            Q_EMIT checkFailed(QStringLiteral("Velk couldn't reach the update server."));
            return;
        }
        const QJsonObject feed = QJsonDocument::fromJson(reply->read(64 * 1024)).object();
        const QString version = feed.value(QLatin1String("version")).toString();
        const QUrl page(feed.value(QLatin1String("url")).toString());
        if (version.isEmpty()) {
            Q_EMIT checkFailed(QStringLiteral("The update server gave an answer Velk doesn't understand."));
            return;
        }
        if (isNewer(version, QCoreApplication::applicationVersion()))
            Q_EMIT updateAvailable(version, page);
        else
            Q_EMIT upToDate();
    });
}
