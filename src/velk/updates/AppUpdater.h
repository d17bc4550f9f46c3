#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

class QNetworkAccessManager;

// Tells whether a newer Velk exists. Packages of a distribution update through the system, so this
// only acts when an update feed is configured: a small JSON document at an HTTPS address,
// {"version": "1.2.0", "url": "https://…"}. Without a feed there is nothing to check.
class AppUpdater : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool canCheckForUpdates READ canCheckForUpdates NOTIFY canCheckForUpdatesChanged)
    Q_PROPERTY(QString currentVersion READ currentVersion CONSTANT)

public:
    // `feed` is the feed's address; an empty or non-HTTPS address turns checking off.
    explicit AppUpdater(QUrl feed = {}, QObject *parent = nullptr);
    ~AppUpdater() override;

    bool canCheckForUpdates() const { return m_canCheck; }
    // "{version} ({build})", with "?" for a part the build did not set.
    static QString currentVersion();
    static QString currentVersion(const QString &version, const QString &build);
    // True when `candidate` is a later dotted version than `current` ("1.10" is later than "1.9").
    static bool isNewer(const QString &candidate, const QString &current);

    // Reads the feed once; off while a check runs. Ends in updateAvailable or upToDate, or in
    // checkFailed with a sentence for people.
    Q_INVOKABLE void checkForUpdates();

Q_SIGNALS:
    void canCheckForUpdatesChanged();
    void updateAvailable(const QString &version, const QUrl &page);
    void upToDate();
    void checkFailed(const QString &reason);

private:
    void setCanCheck(bool can);

    QUrl m_feed;
    QNetworkAccessManager *m_network = nullptr;
    bool m_canCheck = false;
};
