#include "LegacyMigration.h"

#include "Settings.h"

#include <QDir>
#include <QFileInfo>

void LegacyMigration::run()
{
    static const QString migratedKey = QStringLiteral("migratedFromQuarn");

    Settings settings;
    if (settings.flag(migratedKey))
        return;

    if (const std::optional<Settings> earlier = Settings::earlier()) {
        for (const char *key : {"pinned", "viewMode", "cardSize", "liveTextMode"}) {
            const QString name = QString::fromLatin1(key);
            // A value chosen in Velk always wins over the earlier one.
            if (!settings.contains(name) && earlier->contains(name))
                settings.setValue(name, earlier->value(name));
        }
    }

    const QString oldFolder = Settings::earlierApplicationSupportPath();
    const QString newFolder = Settings::applicationSupportPath();
    // QFileInfo::exists would follow a dangling link to nothing; a link of any kind counts as present.
    const auto present = [](const QString &path) { return QFileInfo(path).exists() || QFileInfo(path).isSymLink(); };
    if (present(oldFolder) && !present(newFolder)) {
        // A failed move leaves the old folder in place, and Velk starts with empty data.
        QDir().rename(oldFolder, newFolder);
    }

    // Set also when there was nothing to carry or the move failed, so the attempt is made once.
    settings.setFlag(migratedKey, true);
}
