#include "UserPlaces.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <pwd.h>
#include <unistd.h>

namespace UserPlaces {

QString homePath()
{
    return QDir::homePath();
}

QString loginName()
{
    if (const passwd *entry = ::getpwuid(::getuid()); entry && entry->pw_name && *entry->pw_name)
        return QString::fromLocal8Bit(entry->pw_name);
    return qEnvironmentVariable("USER");
}

std::optional<QString> userFolder(UserFolder folder)
{
    QStandardPaths::StandardLocation location = QStandardPaths::DesktopLocation;
    switch (folder) {
    case UserFolder::desktop:
        location = QStandardPaths::DesktopLocation;
        break;
    case UserFolder::documents:
        location = QStandardPaths::DocumentsLocation;
        break;
    case UserFolder::downloads:
        location = QStandardPaths::DownloadLocation;
        break;
    case UserFolder::pictures:
        location = QStandardPaths::PicturesLocation;
        break;
    case UserFolder::videos:
        location = QStandardPaths::MoviesLocation;
        break;
    case UserFolder::music:
        location = QStandardPaths::MusicLocation;
        break;
    }
    const QString path = QDir::cleanPath(QStandardPaths::writableLocation(location));
    if (path.isEmpty() || path == QDir::cleanPath(homePath()))
        return std::nullopt;
    return path;
}

QStringList applicationFolders()
{
    const QString home = homePath();
    // The system's data folders as the session names them (flatpak adds its exports there); the
    // usual ones when it names none.
    QStringList candidates;
    const QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dataDirs.isEmpty()) {
        candidates = {QStringLiteral("/usr/share/applications"), QStringLiteral("/usr/local/share/applications"),
            QStringLiteral("/var/lib/flatpak/exports/share/applications")};
    } else {
        for (const QString &data : dataDirs.split(QLatin1Char(':'), Qt::SkipEmptyParts))
            candidates.append(QDir::cleanPath(data + QStringLiteral("/applications")));
    }
    candidates += {
        home + QStringLiteral("/.local/share/flatpak/exports/share/applications"),
        QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation),
        home + QStringLiteral("/Applications"),
    };
    QStringList existing;
    for (const QString &folder : candidates) {
        if (QFileInfo(folder).isDir() && !existing.contains(folder))
            existing.append(folder);
    }
    return existing;
}

QString systemApplicationsFolder()
{
    return QStringLiteral("/usr/share/applications");
}

} // namespace UserPlaces
