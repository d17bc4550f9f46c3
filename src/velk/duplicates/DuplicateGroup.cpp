#include "DuplicateGroup.h"

QList<FileItem> DuplicateGroup::extras() const
{
    QList<FileItem> out;
    for (const FileItem &file : files) {
        if (file.url != keep)
            out.append(file);
    }
    return out;
}

qint64 DuplicateGroup::reclaimable() const
{
    qint64 sum = 0;
    for (const FileItem &file : files) {
        if (file.url != keep)
            sum += file.size;
    }
    return sum;
}
