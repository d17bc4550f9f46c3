#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QVariant>

// The names of the attributes a metadata record can hold.
namespace MDAttribute {
inline constexpr QStringView path = u"kMDItemPath";
inline constexpr QStringView fsName = u"kMDItemFSName";
inline constexpr QStringView fsSize = u"kMDItemFSSize";
inline constexpr QStringView fsContentChangeDate = u"kMDItemFSContentChangeDate";
inline constexpr QStringView fsCreationDate = u"kMDItemFSCreationDate";
inline constexpr QStringView contentCreationDate = u"kMDItemContentCreationDate";
inline constexpr QStringView contentType = u"kMDItemContentType";
inline constexpr QStringView contentTypeTree = u"kMDItemContentTypeTree";
inline constexpr QStringView pixelWidth = u"kMDItemPixelWidth";
inline constexpr QStringView pixelHeight = u"kMDItemPixelHeight";
inline constexpr QStringView durationSeconds = u"kMDItemDurationSeconds";
inline constexpr QStringView authors = u"kMDItemAuthors";
inline constexpr QStringView album = u"kMDItemAlbum";
inline constexpr QStringView title = u"kMDItemTitle";
inline constexpr QStringView musicalGenre = u"kMDItemMusicalGenre";
inline constexpr QStringView numberOfPages = u"kMDItemNumberOfPages";
inline constexpr QStringView acquisitionMake = u"kMDItemAcquisitionMake";
inline constexpr QStringView acquisitionModel = u"kMDItemAcquisitionModel";
inline constexpr QStringView codecs = u"kMDItemCodecs";
inline constexpr QStringView isScreenCapture = u"kMDItemIsScreenCapture";
inline constexpr QStringView whereFroms = u"kMDItemWhereFroms";
inline constexpr QStringView lastUsedDate = u"kMDItemLastUsedDate";
inline constexpr QStringView textContent = u"kMDItemTextContent";
} // namespace MDAttribute

// One file's record as the metadata index serves it. A value is a QString (text), a number
// (qint64 or double), a QDateTime (date), a QStringList (array of text) or bool; an absent attribute is
// an invalid QVariant.
class MetadataRecord
{
public:
    virtual ~MetadataRecord();
    virtual QVariant valueForAttribute(QStringView attribute) const = 0;

    static bool isText(const QVariant &value) { return value.typeId() == QMetaType::QString; }
    static bool isDate(const QVariant &value) { return value.typeId() == QMetaType::QDateTime && value.toDateTime().isValid(); }
    static bool isNumber(const QVariant &value);
};

// A record held as a plain table of attributes: what the index hands out for single files, and what
// tests build by hand.
class MetadataValues final : public MetadataRecord
{
public:
    MetadataValues() = default;
    MetadataValues(std::initializer_list<std::pair<QString, QVariant>> values);

    void set(const QString &attribute, const QVariant &value) { m_values.insert(attribute, value); }
    QVariant valueForAttribute(QStringView attribute) const override;

private:
    QHash<QString, QVariant> m_values;
};
