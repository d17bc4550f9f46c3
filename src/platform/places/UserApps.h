#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// An installed app as the clean-up sees it: what names it, and whether it belongs to the system
// rather than to the user. Desktop entries are named by their desktop file ID, AppImages by their file
// name.
struct AppBundle {
    QString identifier;
    // Put there by the system or a package manager, or not the user's to trash: such an app is never
    // offered for removal.
    bool isSystemApp = false;

    // No value when the path cannot be examined, or is a desktop entry that launches nothing a person
    // would see in their menus.
    static std::optional<AppBundle> open(const QString &path);
};

// The apps a person installs for themselves, without the package manager.
namespace UserApps {

// ~/Applications (AppImages) and $XDG_DATA_HOME/applications (desktop entries), whether or not they
// exist.
QStringList folders();

// Bytes a file takes on disk, or for a folder everything below it; symbolic links count as themselves.
// Entries that cannot be examined count 0, and so does a path that cannot be examined at all.
qint64 allocatedSize(const QString &path);

} // namespace UserApps
