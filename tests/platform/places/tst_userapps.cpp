#include "TestHome.h"
#include "places/UserApps.h"

#include <QFile>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray entry(const char *name, const QByteArray &extra = {})
{
    return "[Desktop Entry]\nType=Application\nName=" + QByteArray(name) + "\nExec=true\n" + extra;
}

qint64 blocksOf(const QString &path)
{
    struct stat st {
    };
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 ? qint64(st.st_blocks) * 512 : -1;
}

} // namespace

class TestUserApps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theUsersOwnApps()
    {
        TestHome home;
        QCOMPARE(UserApps::folders(), (QStringList {home.path(u"Applications"_s), home.path(u".local/share/applications"_s)}));

        const auto notes = AppBundle::open(home.file(u".local/share/applications/org.example.Notes.desktop"_s, entry("Notes")));
        QVERIFY(notes);
        QCOMPARE(notes->identifier, u"org.example.Notes"_s);
        QVERIFY(!notes->isSystemApp);

        // A desktop file ID joins the folders below the applications folder with dashes.
        const auto game = AppBundle::open(home.file(u".local/share/applications/wine/Programs/Game.desktop"_s, entry("Game")));
        QVERIFY(game);
        QCOMPARE(game->identifier, u"wine-Programs-Game"_s);

        const QString image = home.file(u"Applications/Tool-1.2-x86_64.AppImage"_s,
            "\x7f"
            "ELF");
        const auto tool = AppBundle::open(image);
        QVERIFY(tool);
        QCOMPARE(tool->identifier, u"Tool-1.2-x86_64"_s);
        QVERIFY(!tool->isSystemApp);

        // A link to an AppImage the user keeps elsewhere in the home folder is still theirs.
        const QString kept = home.file(u"Downloads/Other.AppImage"_s,
            "\x7f"
            "ELF");
        QVERIFY(QFile::link(kept, home.path(u"Applications/Other.AppImage"_s)));
        QVERIFY(!AppBundle::open(home.path(u"Applications/Other.AppImage"_s))->isSystemApp);

        // Entries that launch nothing a person sees are no apps at all.
        QVERIFY(!AppBundle::open(home.file(u".local/share/applications/helper.desktop"_s, entry("Helper", "NoDisplay=true\n"))));
        QVERIFY(!AppBundle::open(home.file(u".local/share/applications/site.desktop"_s, "[Desktop Entry]\nType=Link\nName=Site\nURL=https://example.com\n")));
        QVERIFY(!AppBundle::open(home.file(u".local/share/applications/broken.desktop"_s, "Name=Broken\n")));
        QVERIFY(!AppBundle::open(home.path(u".local/share/applications/gone.desktop"_s)));
    }

    void appsOfTheSystemAndThePackageManager()
    {
        TestHome home;
        const auto systemEntry = [&](const QString &name) { return home.systemFile(u"applications/"_s + name, entry("System")); };

        // Flatpak and snapd mark the launchers they export.
        QVERIFY(
            AppBundle::open(home.file(u".local/share/applications/org.example.Flat.desktop"_s, entry("Flat", "X-Flatpak=org.example.Flat\n")))->isSystemApp);
        QVERIFY(AppBundle::open(home.file(u".local/share/applications/snappy.desktop"_s, entry("Snappy", "X-SnapInstanceName=snappy\n")))->isSystemApp);
        // Only in the main group.
        QVERIFY(
            !AppBundle::open(home.file(u".local/share/applications/actions.desktop"_s, entry("Actions", "[Desktop Action x]\nX-Flatpak=y\n")))->isSystemApp);

        // A user entry with a system entry's ID only adjusts the system's app.
        systemEntry(u"org.example.Editor.desktop"_s);
        const auto editor = AppBundle::open(home.file(u".local/share/applications/org.example.Editor.desktop"_s, entry("My Editor")));
        QVERIFY(editor);
        QCOMPARE(editor->identifier, u"org.example.Editor"_s);
        QVERIFY(editor->isSystemApp);

        // A link into the system's folders, or into a package manager's tree in the home folder.
        const QString target = systemEntry(u"org.example.Linked.desktop"_s);
        QVERIFY(QFile::link(target, home.path(u".local/share/applications/linked.desktop"_s)));
        QVERIFY(AppBundle::open(home.path(u".local/share/applications/linked.desktop"_s))->isSystemApp);
        const QString flatpak = home.file(u".local/share/flatpak/exports/share/applications/org.example.Viewer.desktop"_s, entry("Viewer"));
        QVERIFY(QFile::link(flatpak, home.path(u".local/share/applications/viewer.desktop"_s)));
        QVERIFY(AppBundle::open(home.path(u".local/share/applications/viewer.desktop"_s))->isSystemApp);

        if (::geteuid() == 0) {
            // Someone else's file, even in the user's folder.
            const QString foreign = home.file(u"Applications/Foreign.AppImage"_s,
                "\x7f"
                "ELF");
            QCOMPARE(::chown(QFile::encodeName(foreign).constData(), 4242, 4242), 0);
            QVERIFY(AppBundle::open(foreign)->isSystemApp);
        } else {
            // A folder the user cannot change: nothing in it can go to the Trash.
            const QString locked = home.file(u"Applications/Locked.AppImage"_s,
                "\x7f"
                "ELF");
            QVERIFY(QFile::setPermissions(home.path(u"Applications"_s), QFile::ReadOwner | QFile::ExeOwner));
            QVERIFY(AppBundle::open(locked)->isSystemApp);
            QVERIFY(QFile::setPermissions(home.path(u"Applications"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        }
    }

    void sizeOnDisk()
    {
        TestHome home;
        const QString file = home.file(u"Applications/App.AppImage"_s, QByteArray(10000, 'x'));
        QCOMPARE(UserApps::allocatedSize(file), blocksOf(file));
        QVERIFY(UserApps::allocatedSize(file) >= 10000);

        // A sparse file takes next to nothing, whatever its length says.
        QVERIFY(UserApps::allocatedSize(home.sparseFile(u"Applications/Sparse.AppImage"_s, 1'000'000'000)) < 1'000'000);

        // A folder: everything below it, links as themselves.
        const QString a = home.file(u"Applications/Bundle.app/bin/a"_s, QByteArray(5000, 'a'));
        const QString b = home.file(u"Applications/Bundle.app/share/b"_s, QByteArray(70000, 'b'));
        QVERIFY(QFile::link(b, home.path(u"Applications/Bundle.app/c"_s)));
        const qint64 expected = blocksOf(home.path(u"Applications/Bundle.app/bin"_s)) + blocksOf(a) + blocksOf(home.path(u"Applications/Bundle.app/share"_s))
            + blocksOf(b) + blocksOf(home.path(u"Applications/Bundle.app/c"_s));
        QCOMPARE(UserApps::allocatedSize(home.path(u"Applications/Bundle.app"_s)), expected);

        QCOMPARE(UserApps::allocatedSize(home.path(u"Applications/missing"_s)), 0);
    }
};

QTEST_GUILESS_MAIN(TestUserApps)
#include "tst_userapps.moc"
