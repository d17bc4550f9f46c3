#include "ColorScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QPalette>

namespace {
const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");
} // namespace

ColorScheme &ColorScheme::instance()
{
    static ColorScheme *scheme = new ColorScheme;
    return *scheme;
}

ColorScheme *ColorScheme::create(QQmlEngine *, QJSEngine *)
{
    ColorScheme *scheme = &instance();
    QJSEngine::setObjectOwnership(scheme, QJSEngine::CppOwnership);
    return scheme;
}

ColorScheme::ColorScheme()
{
    const QByteArray forced = qgetenv("VELK_COLOR_SCHEME");
    if (forced == "dark")
        m_override = true;
    else if (forced == "light")
        m_override = false;
    update();
    readPortal();
}

std::optional<uint> ColorScheme::schemeOf(const QVariant &value)
{
    QVariant v = value;
    // Some portals wrap the value twice.
    for (int depth = 0; depth < 4 && v.canConvert<QDBusVariant>() && v.metaType() == QMetaType::fromType<QDBusVariant>(); ++depth)
        v = v.value<QDBusVariant>().variant();
    bool ok = false;
    const uint scheme = v.toUInt(&ok);
    if (!ok || v.metaType() == QMetaType::fromType<QString>())
        return std::nullopt;
    return scheme;
}

void ColorScheme::readPortal()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    qDBusRegisterMetaType<QDBusVariant>();
    bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, QStringLiteral("Read"));
    read << appearance << colorSchemeKey;
    // Asked without waiting: a desktop without a portal must not hold up the window.
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(read, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        const QDBusMessage reply = call->reply();
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
            setPortalScheme(schemeOf(reply.arguments().first()));
    });
}

void ColorScheme::settingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (group == appearance && key == colorSchemeKey)
        setPortalScheme(schemeOf(value.variant()));
}

void ColorScheme::setPortalScheme(std::optional<uint> scheme)
{
    m_portal = scheme;
    update();
}

void ColorScheme::setOverride(std::optional<bool> dark)
{
    instance().m_override = dark;
    instance().update();
}

bool ColorScheme::dark() const
{
    return m_dark;
}

void ColorScheme::update()
{
    bool dark = false;
    if (m_override)
        dark = *m_override;
    else if (m_portal && *m_portal != 0)
        dark = *m_portal == 1;
    else
        dark = QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
    if (dark == m_dark)
        return;
    m_dark = dark;
    Q_EMIT darkChanged();
}
