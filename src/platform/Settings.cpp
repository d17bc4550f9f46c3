#include "Settings.h"

#include "PrivateFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

QString configFile(const QString &product)
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)).filePath(product + u'/' + product + QStringLiteral(".conf"));
}

// Fixed names rather than AppDataLocation, which also depends on the organization name.
QString dataFolder(const QString &product)
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)).filePath(product);
}

// The file is made 0600 in a 0700 folder before QSettings first writes it; QSettings saves through
// QSaveFile, which keeps the mode of the file it replaces.
QString privateConfigFile()
{
    const QString path = configFile(QStringLiteral("Velk"));
    PrivateFiles::prepareFile(path);
    return path;
}

} // namespace

Settings::Settings()
    : Settings(privateConfigFile())
{
}

Settings::Settings(const QString &filePath)
    : m_settings(std::make_unique<QSettings>(filePath, QSettings::NativeFormat))
{
}

Settings::Settings(Settings &&) noexcept = default;
Settings &Settings::operator=(Settings &&) noexcept = default;
Settings::~Settings() = default;

std::optional<Settings> Settings::earlier()
{
    const QString path = configFile(QStringLiteral("Quarn"));
    if (!QFileInfo(path).isFile())
        return std::nullopt;
    return Settings(path);
}

QString Settings::applicationSupportPath()
{
    return dataFolder(QStringLiteral("Velk"));
}

QString Settings::earlierApplicationSupportPath()
{
    return dataFolder(QStringLiteral("Quarn"));
}

QString Settings::filePath() const
{
    return m_settings->fileName();
}

bool Settings::contains(const QString &key) const
{
    return m_settings->contains(key);
}

QString Settings::text(const QString &key) const
{
    const QVariant stored = m_settings->value(key);
    return stored.typeId() == QMetaType::QString ? stored.toString() : QString();
}

bool Settings::flag(const QString &key) const
{
    const QVariant stored = m_settings->value(key);
    switch (stored.typeId()) {
    case QMetaType::Bool:
        return stored.toBool();
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Double:
        return stored.toDouble() != 0;
    case QMetaType::QString: {
        // The file keeps every value as text, so a flag comes back as "true" or "false".
        const QString text = stored.toString().trimmed();
        if (text.compare(u"true", Qt::CaseInsensitive) == 0 || text.compare(u"yes", Qt::CaseInsensitive) == 0)
            return true;
        bool isNumber = false;
        const double number = text.toDouble(&isNumber);
        return isNumber && number != 0;
    }
    default:
        return false;
    }
}

QStringList Settings::textList(const QString &key) const
{
    const QVariant stored = m_settings->value(key);
    if (stored.typeId() == QMetaType::QString)
        return {stored.toString()};
    return stored.toStringList();
}

QVariant Settings::value(const QString &key) const
{
    return m_settings->value(key);
}

void Settings::setText(const QString &key, const QString &value)
{
    setValue(key, value);
}

void Settings::setFlag(const QString &key, bool value)
{
    setValue(key, value);
}

void Settings::setTextList(const QString &key, const QStringList &value)
{
    setValue(key, value);
}

void Settings::setValue(const QString &key, const QVariant &value)
{
    m_settings->setValue(key, value);
    m_settings->sync();
}
