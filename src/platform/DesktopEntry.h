#pragma once

#include <QString>

#include <optional>

// The few keys of a freedesktop desktop entry that decide whether it is an app a person would look
// for, and what it is called.
struct DesktopEntry {
    QString type;
    QString name; // localized for the current locale where the entry has a translation
    QString icon;
    QString exec; // the command line, with the format's quoting still in place
    bool hidden = false;
    bool noDisplay = false;

    // A launcher a person would see in their menus.
    bool isVisibleApplication() const { return type == QLatin1StringView("Application") && !hidden && !noDisplay; }

    // No value when the file cannot be read or has no [Desktop Entry] group. Reads at most 64 KiB.
    static std::optional<DesktopEntry> read(const QString &path);
    static std::optional<DesktopEntry> parse(QByteArrayView contents);
};
