#pragma once

#include "models/FileItem.h"

#include <QList>
#include <QString>

namespace mdindex {
class MetadataIndex;
}

// One line of a file's information: a label and its value.
struct DetailRow {
    QString label;
    QString value;

    friend bool operator==(const DetailRow &, const DetailRow &) = default;
};

// The information rows the inspector shows for a file, read at the moment of display from the index's
// record of the file and from the file system. Nothing is kept.
namespace Metadata {

QList<DetailRow> details(const FileItem &item);
QList<DetailRow> details(const FileItem &item, const mdindex::MetadataIndex &index);

// The date in the locale's abbreviated style and the time in its short style.
QString dateAndTime(const QDateTime &when);

} // namespace Metadata
