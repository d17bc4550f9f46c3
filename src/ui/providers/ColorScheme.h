#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QQmlEngine>

#include <optional>

// Whether the window is drawn dark: the desktop's colour scheme as its settings portal tells it
// (org.freedesktop.appearance color-scheme, followed as it changes), else the lightness of the
// desktop's palette. VELK_COLOR_SCHEME=light|dark, or an override set by the program, decides instead.
class ColorScheme : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark NOTIFY darkChanged)

public:
    static ColorScheme &instance();
    static ColorScheme *create(QQmlEngine *, QJSEngine *);

    bool dark() const;
    // Draws dark or light whatever the desktop says; none to follow the desktop again.
    static void setOverride(std::optional<bool> dark);

    // The portal's answer, unwrapped from however many variants it came in: 0 no preference,
    // 1 dark, 2 light; none when it is not a number.
    static std::optional<uint> schemeOf(const QVariant &value);

Q_SIGNALS:
    void darkChanged();

private:
    ColorScheme();
    void readPortal();
    void setPortalScheme(std::optional<uint> scheme);
    void update();

    std::optional<uint> m_portal;
    std::optional<bool> m_override;
    bool m_dark = false;

private Q_SLOTS:
    void settingChanged(const QString &group, const QString &key, const QDBusVariant &value);
};
