#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The user's places on this desktop: the home folder, the login name, the XDG user folders and the
// folders where applications are installed.
namespace UserPlaces {

QString homePath();
// From the password database, falling back to $USER.
QString loginName();

enum class UserFolder { desktop, documents, downloads, pictures, videos, music };
// The XDG user folder, or no value where it is switched off (pointing at the home folder itself).
std::optional<QString> userFolder(UserFolder folder);

// The folders that hold desktop entries and AppImages and exist on this machine, system-wide first.
QStringList applicationFolders();
// The folder the sidebar's "Applications" row opens.
QString systemApplicationsFolder();

} // namespace UserPlaces
