#include "MetadataRecord.h"

MetadataRecord::~MetadataRecord() = default;

bool MetadataRecord::isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

MetadataValues::MetadataValues(std::initializer_list<std::pair<QString, QVariant>> values)
{
    for (const auto &[attribute, value] : values)
        m_values.insert(attribute, value);
}

QVariant MetadataValues::valueForAttribute(QStringView attribute) const
{
    return m_values.value(attribute.toString());
}
