#pragma once

#include "models/FileItem.h"

#include <QImage>
#include <QUrl>

#include <optional>

// Application and file icons, kept for the whole run in one table: by lower-cased extension for the
// default application of a kind of file, by full path for a file's own icon.
namespace AppIcons {

// The side in pixels the icons are drawn at.
inline constexpr int pixels = 128;

// The icon of the application that opens this kind of file; nothing for apps and folders, or when no
// application takes it. The first file of an extension decides for all later ones.
std::optional<QImage> defaultApp(const FileItem &item);

// The file's icon, as the desktop's file manager shows it.
QImage icon(const QUrl &url);

} // namespace AppIcons
