#include "Readable.h"

#include "models/FileItem.h"

#include <QFileInfo>

bool TextRecognizer::canRead(const FileItem &item)
{
    if (item.category == FileCategory::images)
        return QFileInfo(item.path()).suffix().toLower() != u"svg";
    return item.contentType && item.contentType->conforms(UTType::pdf());
}
