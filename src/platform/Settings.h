#pragma once

#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <optional>

// The user's preferences: a QSettings file in the native format, opened by path so that it follows
// XDG_CONFIG_HOME at the time of construction. Every write reaches the disk at once, so a crash
// loses nothing.
class Settings
{
public:
    // $XDG_CONFIG_HOME/Velk/Velk.conf
    Settings();
    explicit Settings(const QString &filePath);
    Settings(Settings &&) noexcept;
    Settings &operator=(Settings &&) noexcept;
    ~Settings();

    // The earlier product's preferences ($XDG_CONFIG_HOME/Quarn/Quarn.conf), or none where that file
    // does not exist. Only ever read.
    static std::optional<Settings> earlier();

    // The application's data folder ($XDG_DATA_HOME/Velk) and the earlier product's ($XDG_DATA_HOME/Quarn).
    static QString applicationSupportPath();
    static QString earlierApplicationSupportPath();

    QString filePath() const;
    bool contains(const QString &key) const;

    // Empty where the key is absent or holds no text.
    QString text(const QString &key) const;
    // True only for a stored true, a non-zero number or the texts "true" and "yes"; anything else is false.
    bool flag(const QString &key) const;
    // A single stored text reads as a list of one.
    QStringList textList(const QString &key) const;
    // The stored value as it is, for copying between files.
    QVariant value(const QString &key) const;

    void setText(const QString &key, const QString &value);
    void setFlag(const QString &key, bool value);
    void setTextList(const QString &key, const QStringList &value);
    void setValue(const QString &key, const QVariant &value);

private:
    std::unique_ptr<QSettings> m_settings;
};
