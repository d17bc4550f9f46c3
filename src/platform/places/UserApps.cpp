#include "UserApps.h"

#include "DesktopEntry.h"
#include "FilePath.h"
#include "UserPlaces.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 kMaxEntrySize = 64 * 1024;

std::optional<struct stat> linkStatus(const QString &path)
{
    struct stat st {
    };
    if (::lstat(FilePath::toNative(path).constData(), &st) != 0)
        return std::nullopt;
    return st;
}

bool isBelow(const QString &path, const QString &folder)
{
    return !folder.isEmpty() && path.startsWith(folder) && path.size() > folder.size() && path.at(folder.size()) == u'/';
}

// Keys that Flatpak and snapd write into the launchers they export.
bool exportedByPackageManager(QByteArrayView contents)
{
    bool inMainGroup = false;
    for (QByteArrayView line : QByteArray(contents.data(), contents.size()).split('\n')) {
        line = line.trimmed();
        if (line.startsWith('[')) {
            inMainGroup = line == "[Desktop Entry]";
            continue;
        }
        const qsizetype eq = line.indexOf('=');
        if (!inMainGroup || eq <= 0)
            continue;
        const QByteArrayView key = line.first(eq).trimmed();
        if (key == "X-Flatpak" || key == "X-SnapInstanceName")
            return true;
    }
    return false;
}

// A link that leads out of the home folder, or into the user's own Flatpak installation.
bool managedByPackageManager(const QString &canonical)
{
    const QString home = QDir(UserPlaces::homePath()).canonicalPath();
    const QString flatpak = QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/flatpak")).canonicalPath();
    return !isBelow(canonical, home) || isBelow(canonical, flatpak);
}

// The desktop file ID: the path below an applications folder with '/' as '-', without ".desktop".
// Also says which folder it was found in.
std::pair<QString, QString> desktopFileId(const QString &path)
{
    for (const QString &folder : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)) {
        if (isBelow(path, folder)) {
            QString relative = path.sliced(folder.size() + 1);
            return {relative.chopped(8).replace(u'/', u'-'), folder};
        }
    }
    return {QFileInfo(path).completeBaseName(), QString()};
}

// A user entry with the ID of an entry of the system only hides or adjusts the system's app.
bool overridesSystemEntry(const QString &path, const QString &folder)
{
    if (folder.isEmpty())
        return false;
    const QString relative = path.sliced(folder.size() + 1);
    const QString userFolder = QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
    for (const QString &other : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)) {
        if (other != folder && other != userFolder && QFileInfo::exists(other + u'/' + relative))
            return true;
    }
    return false;
}

} // namespace

std::optional<AppBundle> AppBundle::open(const QString &path)
{
    const auto status = linkStatus(path);
    if (!status)
        return std::nullopt;
    const QFileInfo info(path);

    AppBundle bundle;
    bool packaged = false;
    if (info.fileName().endsWith(QLatin1StringView(".desktop"))) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return std::nullopt;
        const QByteArray contents = file.read(kMaxEntrySize);
        const auto entry = DesktopEntry::parse(contents);
        if (!entry || !entry->isVisibleApplication())
            return std::nullopt;
        const auto [id, folder] = desktopFileId(path);
        bundle.identifier = id;
        packaged = exportedByPackageManager(contents) || overridesSystemEntry(path, folder);
    } else if (info.fileName().endsWith(QLatin1StringView(".AppImage"), Qt::CaseInsensitive)) {
        bundle.identifier = info.fileName().chopped(9);
    } else {
        bundle.identifier = info.fileName();
    }
    if (bundle.identifier.isEmpty())
        return std::nullopt;

    // Trashing needs the entry to be the user's and its folder to be writable.
    const bool owned = status->st_uid == ::geteuid();
    const bool removable = ::access(FilePath::toNative(info.absolutePath()).constData(), W_OK | X_OK) == 0;
    const bool linkedAway = S_ISLNK(status->st_mode) && managedByPackageManager(info.canonicalFilePath());
    bundle.isSystemApp = packaged || !owned || !removable || linkedAway;
    return bundle;
}

namespace UserApps {

QStringList folders()
{
    return {UserPlaces::homePath() + QStringLiteral("/Applications"), QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation)};
}

qint64 allocatedSize(const QString &path)
{
    const auto blocks = [](const QString &entry) -> qint64 {
        const auto status = linkStatus(entry);
        return status ? qint64(status->st_blocks) * 512 : 0;
    };
    const auto status = linkStatus(path);
    if (!status)
        return 0;
    if (!S_ISDIR(status->st_mode))
        return blocks(path);
    qint64 total = 0;
    QDirIterator it(path, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext())
        total += blocks(it.next());
    return total;
}

} // namespace UserApps
