#include "Settings.h"
#include "TestHome.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/Store.h"
#include "text/TextIndex.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

// The permission bits of a path, or -1 when it is not there.
int modeOf(const QString &path)
{
    struct stat st;
    if (::lstat(QFile::encodeName(path).constData(), &st) != 0)
        return -1;
    return int(st.st_mode & 07777);
}

QString octal(int mode)
{
    return mode < 0 ? u"missing"_s : u"0"_s + QString::number(mode, 8);
}

} // namespace

// What Velk writes holds file names, the words inside documents and preferences: each file 0600 and
// its folder 0700, under the usual umask of 022, and also where an earlier version left them looser.
class TestPrivateFiles : public QObject
{
    Q_OBJECT

private:
    mode_t m_savedUmask = 0;

    void expectPrivate(const QStringList &files, const QStringList &folders)
    {
        for (const QString &file : files)
            QVERIFY2(modeOf(file) == 0600, qPrintable(file + u": "_s + octal(modeOf(file))));
        for (const QString &folder : folders)
            QVERIFY2(modeOf(folder) == 0700, qPrintable(folder + u": "_s + octal(modeOf(folder))));
    }

    static void loosen(const QStringList &paths, int mode)
    {
        for (const QString &path : paths)
            QVERIFY(::chmod(QFile::encodeName(path).constData(), mode_t(mode)) == 0);
    }

private Q_SLOTS:
    void init() { m_savedUmask = ::umask(022); }
    void cleanup() { ::umask(m_savedUmask); }

    void indexStore()
    {
        TestHome home;
        home.file(u"Documents/notes.txt"_s, "words");
        const QString store = mdindex::Store::defaultPath();
        QCOMPARE(store, home.path(u".cache/velk/index.sqlite"_s));
        const QString folder = home.path(u".cache/velk"_s);
        {
            mdindex::MetadataIndex::Options options;
            options.storePath = store;
            options.roots = {home.path(u"Documents"_s)};
            mdindex::MetadataIndex index(options);
            QVERIFY(index.open());
            index.update();
            // Open, the store has its log and shared memory beside it.
            QVERIFY(QFile::exists(store + u"-wal"_s));
            // The check after opening remembers the store it found sound.
            index.waitForCheck();
            expectPrivate({store, store + u"-wal"_s, store + u"-shm"_s, store + u".checked"_s}, {folder});
            QCOMPARE(modeOf(home.path(u".cache"_s)), 0755);
        }
        // Left loose by an earlier version: tightened when the store is next opened.
        loosen({store, folder}, 0755);
        loosen({store}, 0644);
        {
            const auto reopened = mdindex::Store::open(store);
            QVERIFY(reopened);
            expectPrivate({store, store + u"-wal"_s, store + u"-shm"_s}, {folder});
        }
        // A store set aside after damage is as private as the one in use.
        {
            QFile file(store);
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(QByteArray(8192, 'x'));
        }
        const auto rebuilt = mdindex::Store::open(store);
        QVERIFY(rebuilt && rebuilt->wasRebuilt());
        expectPrivate({store, store + u".broken"_s}, {folder});
    }

    void settings()
    {
        TestHome home;
        const QString path = home.path(u".config/Velk/Velk.conf"_s);
        {
            Settings settings;
            QCOMPARE(settings.filePath(), path);
            settings.setText(u"viewMode"_s, u"list"_s);
        }
        QVERIFY(QFile::exists(path));
        expectPrivate({path}, {home.path(u".config/Velk"_s)});
        QCOMPARE(modeOf(home.path(u".config"_s)), 0755);

        loosen({path}, 0644);
        loosen({home.path(u".config/Velk"_s)}, 0755);
        {
            Settings settings;
            QCOMPARE(settings.text(u"viewMode"_s), u"list"_s);
            settings.setText(u"viewMode"_s, u"grid"_s);
        }
        expectPrivate({path}, {home.path(u".config/Velk"_s)});
        QCOMPARE(Settings().text(u"viewMode"_s), u"grid"_s);
    }

    void textIndex()
    {
        TestHome home;
        const QString path = TextIndex::storePath();
        QCOMPARE(path, home.path(u".local/share/Velk/text-index.json"_s));
        const auto save = [] {
            TextIndex index;
            QSignalSpy saved(&index, &TextIndex::saved);
            index.forget({});
            QTRY_COMPARE(saved.count(), 1);
        };
        save();
        expectPrivate({path}, {home.path(u".local/share/Velk"_s)});

        loosen({path}, 0644);
        loosen({home.path(u".local/share/Velk"_s)}, 0755);
        save();
        expectPrivate({path}, {home.path(u".local/share/Velk"_s)});
    }
};

QTEST_GUILESS_MAIN(TestPrivateFiles)
#include "tst_privatefiles.moc"
