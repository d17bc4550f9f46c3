#pragma once

#include <QHash>
#include <QString>

#include <optional>

// What the file system says about a file's identity and whereabouts, for callers that must not read
// the same bytes twice or start a download by reading.
namespace fileidentity {

// The file number: device and inode, following symbolic links, so that hard links and links to one
// file share a number.
struct FileNumber {
    quint64 device = 0;
    quint64 inode = 0;
    friend bool operator==(const FileNumber &, const FileNumber &) = default;
};

// No number when the file cannot be examined.
std::optional<FileNumber> fileNumber(const QString &path);

// Whether the file's contents are on this disk in their current form. A plain Linux disk has no
// placeholders of remote files, so every file is local.
bool isDownloadedCurrent(const QString &path);

inline size_t qHash(const FileNumber &number, size_t seed = 0) noexcept
{
    return qHashMulti(seed, number.device, number.inode);
}

} // namespace fileidentity
