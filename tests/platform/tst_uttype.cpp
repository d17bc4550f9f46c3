#include "DesktopEntry.h"
#include "TestHome.h"
#include "UTType.h"

#include <QMimeDatabase>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;

class TestUTType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void identifiersRoundTrip()
    {
        for (const char *id : {"public.item", "public.jpeg", "com.adobe.pdf", "public.folder", "org.freedesktop.desktop-application", "com.apple.disk-image"}) {
            const auto type = UTType::fromIdentifier(QString::fromLatin1(id));
            QVERIFY2(type, id);
            QCOMPARE(type->identifier(), QString::fromLatin1(id));
            QCOMPARE(type->tree().first(), QString::fromLatin1(id));
        }
        QVERIFY(!UTType::fromIdentifier(u"com.example.nothing"_s));
        QVERIFY(!UTType::fromIdentifier(u""_s));
        QVERIFY(!UTType::fromIdentifier(u"org.freedesktop.mime.image.no-such-format"_s));
        QVERIFY(!UTType::fromIdentifier(u"org.freedesktop.mime."_s));
    }

    void treeGoesFromSpecificToGeneral()
    {
        const QStringList tree = UTType::fromIdentifier(u"public.jpeg"_s)->tree();
        QCOMPARE(tree.first(), u"public.jpeg"_s);
        QVERIFY(tree.indexOf(u"public.image"_s) < tree.indexOf(u"public.data"_s));
        QVERIFY(tree.indexOf(u"public.data"_s) < tree.indexOf(u"public.item"_s));
        QVERIFY(tree.contains(u"public.content"_s));
        QCOMPARE(QSet<QString>(tree.begin(), tree.end()).size(), tree.size());

        const UTType jpeg = *UTType::fromIdentifier(u"public.jpeg"_s);
        QVERIFY(jpeg.conforms(jpeg));
        QVERIFY(jpeg.conforms(UTType::image()));
        QVERIFY(!UTType::image().conforms(jpeg));
        QVERIFY(!jpeg.conforms(UTType::text()));
        // Several parents: an application bundle is an application and a package.
        const UTType bundle = UTType::applicationBundle();
        QVERIFY(bundle.conforms(UTType::application()) && bundle.conforms(UTType::package()) && bundle.conforms(UTType::directory()));
    }

    void extensions_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("identifier"); // empty: no type
        QTest::newRow("upper case") << u"JPG"_s << u"public.jpeg"_s;
        QTest::newRow("transport stream, not a translation file") << u"ts"_s << u"public.mpeg-2-transport-stream"_s;
        QTest::newRow("launcher") << u"desktop"_s << u"org.freedesktop.desktop-application"_s;
        QTest::newRow("bundle") << u"app"_s << u"com.apple.application-bundle"_s;
        QTest::newRow("disk image") << u"dmg"_s << u"com.apple.disk-image-udif"_s;
        QTest::newRow("only the MIME database knows it") << u"xcf"_s << u"org.freedesktop.mime.image.x-xcf"_s;
        QTest::newRow("unknown") << u"qqqzzz"_s << QString();
        QTest::newRow("empty") << QString() << QString();
    }

    void extensions()
    {
        QFETCH(QString, extension);
        QFETCH(QString, identifier);
        const auto type = UTType::fromFilenameExtension(extension);
        QCOMPARE(type ? type->identifier() : QString(), identifier);
    }

    void mimeTypesOutsideTheTable()
    {
        QMimeDatabase db;
        // Aliases resolve to the declared type.
        QCOMPARE(UTType::fromMimeType(db.mimeTypeForName(u"image/x-psd"_s)).identifier(), u"com.adobe.photoshop-image"_s);
        // A derived type can be written down and read back with the same tree.
        const UTType xcf = UTType::fromMimeType(db.mimeTypeForName(u"image/x-xcf"_s));
        QVERIFY(xcf.conforms(UTType::image()));
        const auto again = UTType::fromIdentifier(xcf.identifier());
        QVERIFY(again);
        QCOMPARE(again->tree(), xcf.tree());
        // Subclasses inherit from their nearest known ancestor: a Linguist file is XML.
        QVERIFY(UTType::fromMimeType(db.mimeTypeForName(u"text/vnd.trolltech.linguist"_s)).conforms(UTType::xml()));
        QCOMPARE(UTType::fromMimeType(QMimeType()).identifier(), u"public.data"_s);
    }

    void descriptions()
    {
        QVERIFY(UTType::fromIdentifier(u"public.png"_s)->localizedDescription().contains(u"PNG"_s));
        QCOMPARE(UTType::folder().localizedDescription(), u"folder"_s);
        QCOMPARE(UTType::fromIdentifier(u"public.camera-raw-image"_s)->localizedDescription().isEmpty(), false);
        QVERIFY(UTType::data().localizedDescription().isEmpty());
    }

    void directories()
    {
        TestHome home;
        QCOMPARE(UTType::forFile(home.folder(u"Plain"_s))->identifier(), u"public.folder"_s);
        QCOMPARE(UTType::forFile(home.folder(u"holiday.jpg"_s))->identifier(), u"public.folder"_s);
        const auto app = UTType::forFile(home.folder(u"Thing.app"_s));
        QCOMPARE(app->identifier(), u"com.apple.application-bundle"_s);
        QVERIFY(app->conforms(UTType::package()));
        QVERIFY(!UTType::forFile(home.path(u"missing"_s)));
    }

    void desktopEntries()
    {
        const QByteArray text = "# comment\n[Desktop Entry]\nType=Application\nName=Files\nName[de]=Dateien\nName[de_AT]=Dateien AT\n"
                                "Icon=org.example.Files\n\n[Desktop Action new]\nName=New Window\nNoDisplay=true\n";
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        auto entry = DesktopEntry::parse(text);
        QVERIFY(entry);
        QCOMPARE(entry->name, u"Dateien"_s);
        QCOMPARE(entry->icon, u"org.example.Files"_s);
        // Keys of other groups do not leak into the entry.
        QVERIFY(!entry->noDisplay);
        QVERIFY(entry->isVisibleApplication());
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Austria));
        QCOMPARE(DesktopEntry::parse(text)->name, u"Dateien AT"_s);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(DesktopEntry::parse(text)->name, u"Files"_s);

        QVERIFY(!DesktopEntry::parse("[Desktop Entry]\nType=Application\nHidden=true\n")->isVisibleApplication());
        QVERIFY(!DesktopEntry::parse("[Desktop Entry]\nType=Application\nNoDisplay=true\n")->isVisibleApplication());
        QVERIFY(!DesktopEntry::parse("[Desktop Entry]\nType=Link\nURL=https://example.org\n")->isVisibleApplication());
        QVERIFY(!DesktopEntry::parse("Type=Application\n"));
        QVERIFY(!DesktopEntry::parse(QByteArray("\0\xff\xfe[garbage", 11)));
    }

    void safeFromManyThreads()
    {
        // Derived types are added to the shared registry on first use; racing first uses must agree.
        const QStringList names = QMimeDatabase().allMimeTypes().size() > 0 ? [] {
            QStringList list;
            for (const QMimeType &m : QMimeDatabase().allMimeTypes())
                list.append(m.name());
            return list;
        }()
                                                                            : QStringList();
        QVERIFY(names.size() > 500);
        QList<QStringList> results(4);
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&names, &results, t] {
                QMimeDatabase db;
                for (const QString &name : names)
                    results[t].append(UTType::fromMimeType(db.mimeTypeForName(name)).tree().join(u' '));
            });
        }
        for (auto &thread : threads)
            thread.join();
        for (int t = 1; t < 4; ++t)
            QCOMPARE(results[t], results[0]);
    }
};

QTEST_GUILESS_MAIN(TestUTType)
#include "tst_uttype.moc"
