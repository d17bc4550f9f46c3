#pragma once

#include "RawEnum.h"
#include "Theme.h"

#include <QList>
#include <QString>

#include <optional>

class UTType;

// The nine kinds of file, in the order every list of kinds is shown.
class FileCategory : public RawEnum<FileCategory>
{
public:
    enum Case { images, videos, music, documents, archives, apps, code, folders, other };
    static constexpr const char *rawValues[] = {"images", "videos", "music", "documents", "archives", "apps", "code", "folders", "other"};

    constexpr FileCategory(Case c)
        : RawEnum(c)
    {
    }
    constexpr operator Case() const { return Case(m_index); }

    QString title() const;
    QString symbol() const;
    // A thumbnail of such a file covers its whole tile.
    bool fillsTile() const;
    Rgb tint() const;
    std::pair<Rgb, Rgb> gradient() const;
    // The metadata query that selects this kind of file.
    QString spotlightQuery() const;

    // The six kinds that appear as library destinations.
    static QList<FileCategory> library();

    static FileCategory classify(const std::optional<UTType> &contentType, bool isDirectory);
};
