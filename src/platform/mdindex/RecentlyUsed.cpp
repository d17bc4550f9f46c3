#include "RecentlyUsed.h"

#include "DesktopEntry.h"
#include "UserPlaces.h"

#include <QDirIterator>

#include <algorithm>

namespace mdindex {

namespace {

    // Programs are matched without regard to case: "Velk" names itself as "velk" runs.
    void addKey(QHash<QString, qint64> &latestByKey, const QString &key, qint64 when)
    {
        if (key.isEmpty())
            return;
        const QString folded = key.toCaseFolded();
        latestByKey.insert(folded, std::max(when, latestByKey.value(folded, when)));
    }

    qint64 latestOf(const QHash<QString, qint64> &latestByKey, std::initializer_list<QString> keys)
    {
        qint64 latest = -1;
        for (const QString &key : keys) {
            if (!key.isEmpty())
                latest = std::max(latest, latestByKey.value(key.toCaseFolded(), -1));
        }
        return latest;
    }

    // "Krita-5.2.2-x86_64.AppImage" is Krita's; the version and the machine follow the first dash or
    // underscore.
    QString appImageProgram(const QString &fileName)
    {
        const QStringView name = QStringView(fileName).chopped(qsizetype(sizeof ".AppImage" - 1));
        for (qsizetype i = 1; i < name.size(); ++i) {
            if (name[i] == u'-' || name[i] == u'_' || name[i] == u' ')
                return name.left(i).toString();
        }
        return name.toString();
    }

} // namespace

QString recentlyUsedPath()
{
    return RecentlyUsedReader::defaultPath();
}

QHash<QString, qint64> applicationsLastUsed(const QList<RecentlyUsedReader::Application> &applications, const QStringList &folders)
{
    QHash<QString, qint64> lastUsed;
    if (applications.isEmpty())
        return lastUsed;
    QHash<QString, qint64> latestByKey;
    for (const RecentlyUsedReader::Application &application : applications) {
        const qint64 when = application.lastUsed.toMSecsSinceEpoch();
        addKey(latestByKey, application.name, when);
        addKey(latestByKey, application.program, when);
    }
    for (const QString &folder : folders) {
        // Desktop entries may sit in subfolders of an applications folder; AppImages are not looked
        // for inside the folders next to them, which may be whole unpacked programs.
        const bool deep = folder.endsWith(QLatin1StringView("/applications"));
        QDirIterator entries(folder, QDir::Files | QDir::NoDotAndDotDot, deep ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags);
        while (entries.hasNext()) {
            const QString path = entries.next();
            const QString name = entries.fileName();
            qint64 latest = -1;
            if (deep && name.endsWith(QLatin1StringView(".desktop"))) {
                const std::optional<DesktopEntry> entry = DesktopEntry::read(path);
                if (!entry || entry->type != QLatin1StringView("Application"))
                    continue;
                // The desktop file id: "org.gnome.Evince", or "kde-okular" for kde/okular.desktop.
                QString id = path.mid(folder.size() + 1).chopped(8);
                id.replace(u'/', u'-');
                latest = latestOf(latestByKey, {id, RecentlyUsedReader::programOf(entry->exec)});
            } else if (name.endsWith(QLatin1StringView(".AppImage"), Qt::CaseInsensitive)) {
                latest = latestOf(latestByKey, {appImageProgram(name)});
            }
            if (latest >= 0)
                lastUsed.insert(path, latest);
        }
    }
    return lastUsed;
}

QHash<QString, qint64> readRecentlyUsed(const QString &file)
{
    const RecentlyUsedReader::Contents contents = RecentlyUsedReader::readContents(file);
    QHash<QString, qint64> lastUsed = applicationsLastUsed(contents.applications, UserPlaces::applicationFolders());
    for (auto it = contents.files.cbegin(); it != contents.files.cend(); ++it) {
        const qint64 when = it.value().toMSecsSinceEpoch();
        lastUsed.insert(it.key(), std::max(when, lastUsed.value(it.key(), when)));
    }
    return lastUsed;
}

} // namespace mdindex
