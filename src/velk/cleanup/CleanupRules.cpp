#include "CleanupRules.h"
#include "FilePath.h"

#include "places/UserApps.h"

#include <QDirIterator>

namespace CleanupRules {

QString query(CleanupKind kind)
{
    switch (kind) {
    case CleanupKind::installers:
        // The installers of this desktop besides the disk images and packages of the other one.
        return QStringLiteral("(kMDItemFSName == '*.dmg'c || kMDItemFSName == '*.pkg'c || kMDItemFSName == '*.mpkg'c || kMDItemFSName == '*.deb'c"
                              " || kMDItemFSName == '*.rpm'c || kMDItemFSName == '*.flatpakref'c || kMDItemFSName == '*.snap'c)"
                              " && kMDItemFSContentChangeDate < $time.today(-7)");
    case CleanupKind::oldDownloads:
        return {};
    case CleanupKind::oldScreenshots:
        return QStringLiteral("kMDItemIsScreenCapture == 1 && kMDItemFSContentChangeDate < $time.today(-30)");
    case CleanupKind::bigOldVideos:
        // Transport streams are left out on purpose: most are recordings a person keeps.
        return QStringLiteral("kMDItemContentTypeTree == 'public.movie' && kMDItemFSName != '*.ts'c && kMDItemFSSize > 200000000"
                              " && kMDItemFSContentChangeDate < $time.today(-180)"
                              " && (kMDItemLastUsedDate < $time.today(-180) || kMDItemLastUsedDate != *)");
    case CleanupKind::unusedApps:
        return QStringLiteral("kMDItemContentTypeTree == 'com.apple.application-bundle'"
                              " && (kMDItemLastUsedDate < $time.today(-180) || kMDItemLastUsedDate != *)");
    }
    return {};
}

QList<QUrl> scopes(CleanupKind kind, const QList<QUrl> &given)
{
    if (kind != CleanupKind::unusedApps)
        return given;
    // Never the system's application folders, never the rest of the home folder.
    QList<QUrl> own;
    for (const QString &folder : UserApps::folders())
        own.append(FilePath::toUrl(folder));
    return own;
}

bool accepts(CleanupKind kind, const FileItem &item)
{
    if (kind != CleanupKind::unusedApps)
        return item.category != FileCategory::folders;
    if (item.category != FileCategory::apps)
        return false;
    const auto bundle = AppBundle::open(item.path());
    // What the system or a package manager installed is protected by this test alone.
    return bundle && !bundle->identifier.isEmpty() && !bundle->isSystemApp;
}

SpotlightResult forgottenDownloads(const QString &folder, const QDateTime &now, const QHash<QString, QDateTime> &lastUsed)
{
    if (folder.isEmpty())
        return SpotlightResult::empty();
    const QDateTime cutoff = now.addSecs(-kForgottenAfterSeconds);
    SpotlightResult result;
    // Only the top of the folder, hidden files skipped; a folder that cannot be read lists nothing.
    QDirIterator it(folder, QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    while (it.hasNext()) {
        const auto item = FileItem::fromUrl(FilePath::toUrl(it.next()));
        if (!item || item->category == FileCategory::folders || item->category == FileCategory::apps)
            continue;
        if (!(item->modified < cutoff))
            continue;
        if (const auto used = lastUsed.constFind(item->path()); used != lastUsed.cend() && !(*used < cutoff))
            continue;
        result.items.append(*item);
    }
    sortBySize(result.items);
    result.totalCount = result.items.size();
    for (const FileItem &item : std::as_const(result.items))
        result.totalSize += item.size;
    return result;
}

SpotlightResult measureApps(SpotlightResult result)
{
    result.totalSize = 0;
    for (FileItem &item : result.items) {
        item.size = UserApps::allocatedSize(item.path());
        result.totalSize += item.size;
    }
    sortBySize(result.items);
    return result;
}

void sortBySize(QList<FileItem> &items)
{
    std::stable_sort(items.begin(), items.end(), [](const FileItem &a, const FileItem &b) { return a.size > b.size; });
}

} // namespace CleanupRules
