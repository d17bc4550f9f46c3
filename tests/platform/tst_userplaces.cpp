#include "TestHome.h"
#include "UserPlaces.h"

#include <QDir>
#include <QTest>

#include <pwd.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class TestUserPlaces : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void loginNameComesFromThePasswordDatabase()
    {
        const passwd *entry = ::getpwuid(::getuid());
        QVERIFY(entry);
        const QByteArray savedUser = qgetenv("USER");
        qputenv("USER", "someone-else");
        QCOMPARE(UserPlaces::loginName(), QString::fromLocal8Bit(entry->pw_name));
        qputenv("USER", savedUser);
    }

    void userFoldersFollowTheXdgSettings()
    {
        TestHome home;
        home.setUserDirs({{u"XDG_VIDEOS_DIR"_s, u"Filme"_s}, {u"XDG_DOWNLOAD_DIR"_s, u"Downloads"_s}});
        QCOMPARE(UserPlaces::userFolder(UserPlaces::UserFolder::videos), std::optional(home.path(u"Filme"_s)));
        QCOMPARE(UserPlaces::userFolder(UserPlaces::UserFolder::downloads), std::optional(home.path(u"Downloads"_s)));

        // A folder switched off points at the home folder itself and gets no place.
        home.file(u".config/user-dirs.dirs"_s, "XDG_DESKTOP_DIR=\"$HOME/\"\n");
        QVERIFY(!UserPlaces::userFolder(UserPlaces::UserFolder::desktop));
    }

    void applicationFoldersThatExist()
    {
        TestHome home;
        QVERIFY(!UserPlaces::applicationFolders().contains(home.path(u"Applications"_s)));
        home.folder(u"Applications"_s);
        home.folder(u".local/share/applications"_s);
        QStringList folders = UserPlaces::applicationFolders();
        QVERIFY(folders.contains(home.path(u"Applications"_s)));
        QVERIFY(folders.contains(home.path(u".local/share/applications"_s)));
        for (const QString &folder : folders)
            QVERIFY2(QDir(folder).exists(), qPrintable(folder));
        QCOMPARE(folders.removeDuplicates(), 0);
        // The system's application folders are those of the data folders the session names, and no
        // others: here only the test's own.
        QVERIFY(!folders.contains(u"/usr/share/applications"_s));
        home.systemFile(u"applications/org.example.Tool.desktop"_s, "[Desktop Entry]\nType=Application\nName=Tool\nExec=tool\n");
        QCOMPARE(UserPlaces::applicationFolders().first(), home.systemPath(u"applications"_s));
    }
};

QTEST_GUILESS_MAIN(TestUserPlaces)
#include "tst_userplaces.moc"
