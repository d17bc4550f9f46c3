#include "FileResources.h"
#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

class TestFileResources : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void regularFile()
    {
        TestHome home;
        const QDateTime modified(QDate(2020, 2, 29), QTime(23, 59, 58, 250), Qt::UTC);
        const QString path = home.file(u"Documents/leap.txt"_s, "twenty bytes of text", modified);

        const auto values = resourceValues(path, ResourceKey::fileSize | ResourceKey::contentModificationDate | ResourceKey::creationDate);
        QVERIFY(values);
        QCOMPARE(values->fileSize, std::optional<qint64>(20));
        QCOMPARE(values->contentModificationDate, std::optional(modified));
        QVERIFY(!values->isDirectory);
        // Setting the modification time leaves the birth time alone, where there is one.
        if (values->creationDate)
            QVERIFY(*values->creationDate > modified);
        // Only what was asked is computed.
        QVERIFY(!values->contentType && !values->localizedName);

        const auto all = resourceValues(path, ResourceKey::contentType | ResourceKey::localizedName);
        QCOMPARE(all->contentType->identifier(), u"public.plain-text"_s);
        QCOMPARE(all->localizedName, std::optional(u"leap.txt"_s));
        QVERIFY(!all->fileSize);
    }

    void sparseFileReportsItsLength()
    {
        TestHome home;
        const qint64 size = 5'000'000'000;
        const auto values = resourceValues(home.sparseFile(u"disk.img"_s, size), ResourceKey::fileSize);
        QCOMPARE(values->fileSize, std::optional(size));
    }

    void foldersAndPackages()
    {
        TestHome home;
        const auto folder = resourceValues(home.folder(u"Music"_s), ResourceKey::fileSize | ResourceKey::isPackage);
        QVERIFY(folder->isDirectory);
        QVERIFY(!folder->isPackage);
        QVERIFY(!folder->fileSize);
        const auto bundle = resourceValues(home.folder(u"Tools/Thing.app"_s), ResourceKey::isPackage);
        QVERIFY(bundle->isDirectory && bundle->isPackage);
    }

    void linksAndMissingPaths()
    {
        TestHome home;
        const QString target = home.file(u"a.txt"_s, "1234");
        QVERIFY(QFile::link(target, home.path(u"to-a"_s)));
        QCOMPARE(resourceValues(home.path(u"to-a"_s), ResourceKey::fileSize)->fileSize, std::optional<qint64>(4));

        QVERIFY(QFile::link(home.path(u"gone"_s), home.path(u"dangling"_s)));
        const auto dangling = resourceValues(home.path(u"dangling"_s), ResourceKey::fileSize | ResourceKey::contentModificationDate);
        QVERIFY(dangling);
        QVERIFY(!dangling->fileSize);
        QVERIFY(dangling->contentModificationDate);

        QVERIFY(!resourceValues(home.path(u"gone"_s), ResourceKey::fileSize));
        QVERIFY(!resourceValues(QString(), ResourceKey::fileSize));
    }

    void unreadableFolder()
    {
        if (::geteuid() == 0)
            QSKIP("root reads every folder");
        TestHome home;
        const QString inside = home.file(u"Private/secret.txt"_s, "x");
        QVERIFY(QFile::setPermissions(home.path(u"Private"_s), QFileDevice::Permissions()));
        QVERIFY(!resourceValues(inside, ResourceKey::fileSize));
        QVERIFY(resourceValues(home.path(u"Private"_s), ResourceKey::fileSize));
        QFile::setPermissions(home.path(u"Private"_s), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
};

QTEST_GUILESS_MAIN(TestFileResources)
#include "tst_fileresources.moc"
