#include "Metadata.h"

#include "FilePath.h"
#include "MetadataRecord.h"
#include "UserPlaces.h"
#include "mdindex/MetadataIndex.h"
#include "models/Fmt.h"
#include "sources/DownloadSources.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include <dirent.h>

namespace Metadata {

namespace {

    // The attributes the rows read, copied out so the index is not held while the rows are made.
    const QStringView kAttributes[] = {
        MDAttribute::pixelWidth,
        MDAttribute::pixelHeight,
        MDAttribute::durationSeconds,
        MDAttribute::authors,
        MDAttribute::album,
        MDAttribute::musicalGenre,
        MDAttribute::numberOfPages,
        MDAttribute::acquisitionMake,
        MDAttribute::acquisitionModel,
        MDAttribute::codecs,
        MDAttribute::lastUsedDate,
    };

    std::optional<MetadataValues> recordOf(const mdindex::MetadataIndex &index, const QString &path)
    {
        if (!index.isOpen())
            return std::nullopt;
        return index.read([&path](const mdindex::Catalog &catalog) -> std::optional<MetadataValues> {
            const mdindex::Catalog::Row row = catalog.find(path);
            if (row == mdindex::Catalog::noRow || !catalog.isLive(row))
                return std::nullopt;
            MetadataValues values;
            for (QStringView attribute : kAttributes)
                values.set(attribute.toString(), catalog.value(row, attribute));
            return values;
        });
    }

    // Empty text counts as no text: a camera without a model's name is no camera row.
    std::optional<QString> text(const MetadataRecord &record, QStringView attribute)
    {
        const QVariant value = record.valueForAttribute(attribute);
        if (!MetadataRecord::isText(value) || value.toString().isEmpty())
            return std::nullopt;
        return value.toString();
    }

    std::optional<QString> joined(const MetadataRecord &record, QStringView attribute)
    {
        const QVariant value = record.valueForAttribute(attribute);
        if (value.typeId() != QMetaType::QStringList || value.toStringList().isEmpty())
            return std::nullopt;
        return value.toStringList().join(QStringLiteral(", "));
    }

    std::optional<qint64> integer(const MetadataRecord &record, QStringView attribute)
    {
        const QVariant value = record.valueForAttribute(attribute);
        return MetadataRecord::isNumber(value) ? std::optional(value.toLongLong()) : std::nullopt;
    }

    qsizetype visibleEntries(const QString &folder)
    {
        // Read by the exact name: the folder's own name need not be UTF-8.
        DIR *dir = ::opendir(FilePath::toNative(folder).constData());
        if (!dir)
            return 0;
        qsizetype count = 0;
        while (const dirent *entry = ::readdir(dir))
            count += entry->d_name[0] != '.';
        ::closedir(dir);
        return count;
    }

    QString where(const QString &path)
    {
        const QString parent = QFileInfo(QDir::cleanPath(path)).path();
        const QString home = UserPlaces::homePath();
        if (!home.isEmpty() && parent.startsWith(home))
            return FilePath::display(QLatin1Char('~') + parent.mid(home.size()));
        return FilePath::display(parent);
    }

} // namespace

QString dateAndTime(const QDateTime &when)
{
    return Fmt::abbreviatedDate(when) + QStringLiteral(", ") + QLocale().toString(when.toLocalTime().time(), QLocale::ShortFormat);
}

QList<DetailRow> details(const FileItem &item)
{
    return details(item, mdindex::MetadataIndex::shared());
}

QList<DetailRow> details(const FileItem &item, const mdindex::MetadataIndex &index)
{
    QList<DetailRow> rows;
    const auto add = [&rows](const char *label, const std::optional<QString> &value) {
        if (value && !value->isEmpty())
            rows.append({QString::fromLatin1(label), *value});
    };
    const QLocale locale;
    const bool isFolder = item.category == FileCategory::folders;

    add("Kind", item.kindDescription());
    if (isFolder) {
        const qsizetype count = visibleEntries(item.path());
        add("Contains", locale.toString(count) + (count == 1 ? QStringLiteral(" item") : QStringLiteral(" items")));
    } else {
        add("Size", Fmt::bytes(item.size) + QStringLiteral(" (") + locale.toString(item.size) + QStringLiteral(" bytes)"));
    }

    // Read from the index rather than the item, which may come from a plain folder listing.
    if (const std::optional<MetadataValues> record = recordOf(index, item.path())) {
        const auto width = integer(*record, MDAttribute::pixelWidth);
        const auto height = integer(*record, MDAttribute::pixelHeight);
        if (width && height)
            add("Dimensions", QString::number(*width) + QStringLiteral(" × ") + QString::number(*height));
        if (const QVariant seconds = record->valueForAttribute(MDAttribute::durationSeconds); MetadataRecord::isNumber(seconds))
            add("Duration", Fmt::duration(seconds.toDouble()));
        add(item.category == FileCategory::music ? "Artist" : "Authors", joined(*record, MDAttribute::authors));
        add("Album", text(*record, MDAttribute::album));
        add("Genre", text(*record, MDAttribute::musicalGenre));
        if (const auto pages = integer(*record, MDAttribute::numberOfPages))
            add("Pages", QString::number(*pages));
        const auto make = text(*record, MDAttribute::acquisitionMake);
        const auto model = text(*record, MDAttribute::acquisitionModel);
        // Cameras often repeat the maker in the model's name ("Canon" and "Canon EOS R5").
        if (make && model)
            add("Camera", model->startsWith(*make) ? *model : *make + QLatin1Char(' ') + *model);
        add("Codecs", joined(*record, MDAttribute::codecs));
        if (!isFolder) {
            if (const auto source = DownloadSources::source(item.url))
                add("Downloaded From", source->link ? source->name + QLatin1Char('\n') + *source->link : source->name);
        }
        if (const QVariant opened = record->valueForAttribute(MDAttribute::lastUsedDate); MetadataRecord::isDate(opened))
            add("Last Opened", dateAndTime(opened.toDateTime()));
    }

    if (item.created)
        add("Created", dateAndTime(*item.created));
    add("Modified", dateAndTime(item.modified));
    add("Where", where(item.path()));
    return rows;
}

} // namespace Metadata
