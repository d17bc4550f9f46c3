#include "models/FileCategory.h"

#include "UTType.h"

#include <QMimeDatabase>
#include <QTest>

Q_DECLARE_METATYPE(FileCategory)

namespace {
std::optional<UTType> type(const char *identifier)
{
    auto t = UTType::fromIdentifier(QString::fromLatin1(identifier));
    if (!t)
        qFatal("unknown type %s", identifier);
    return t;
}
} // namespace

class TestFileCategory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void classify_data()
    {
        QTest::addColumn<std::optional<UTType>>("contentType");
        QTest::addColumn<bool>("isDirectory");
        QTest::addColumn<FileCategory>("expected");

        // Step 1 wins over any type.
        QTest::newRow("directory flag beats an image type") << type("public.jpeg") << true << FileCategory(FileCategory::folders);
        QTest::newRow("directory flag without a type") << std::optional<UTType>() << true << FileCategory(FileCategory::folders);
        QTest::newRow("no type") << std::optional<UTType>() << false << FileCategory(FileCategory::other);
        // Apps come before the folder test: an application bundle is a package directory.
        QTest::newRow("application bundle") << type("com.apple.application-bundle") << false << FileCategory(FileCategory::apps);
        QTest::newRow("plain application") << type("com.apple.application") << false << FileCategory(FileCategory::apps);
        QTest::newRow("desktop launcher") << type("org.freedesktop.desktop-application") << false << FileCategory(FileCategory::apps);
        QTest::newRow("AppImage") << type("org.appimage.appimage") << false << FileCategory(FileCategory::apps);
        QTest::newRow("desktop link entry") << type("org.freedesktop.desktop-entry") << false << FileCategory(FileCategory::other);
        QTest::newRow("folder type") << type("public.folder") << false << FileCategory(FileCategory::folders);
        QTest::newRow("volume is a folder") << type("public.volume") << false << FileCategory(FileCategory::folders);
        // A package is not a folder; one of no known kind falls through to other.
        QTest::newRow("package") << type("com.apple.package") << false << FileCategory(FileCategory::other);
        QTest::newRow("framework package") << type("com.apple.framework") << false << FileCategory(FileCategory::other);
        QTest::newRow("jpeg") << type("public.jpeg") << false << FileCategory(FileCategory::images);
        QTest::newRow("svg") << type("public.svg-image") << false << FileCategory(FileCategory::images);
        QTest::newRow("camera raw") << type("com.nikon.raw-image") << false << FileCategory(FileCategory::images);
        QTest::newRow("mpeg-4 movie") << type("public.mpeg-4") << false << FileCategory(FileCategory::videos);
        QTest::newRow("video") << type("public.video") << false << FileCategory(FileCategory::videos);
        QTest::newRow("mp3") << type("public.mp3") << false << FileCategory(FileCategory::music);
        QTest::newRow("m4a is audio, not a movie") << type("public.mpeg-4-audio") << false << FileCategory(FileCategory::music);
        // Step 8 comes before step 11: these all conform to text too.
        QTest::newRow("json") << type("public.json") << false << FileCategory(FileCategory::code);
        QTest::newRow("xml") << type("public.xml") << false << FileCategory(FileCategory::code);
        QTest::newRow("property list") << type("com.apple.property-list") << false << FileCategory(FileCategory::code);
        QTest::newRow("python script") << type("public.python-script") << false << FileCategory(FileCategory::code);
        QTest::newRow("c source") << type("public.c-source") << false << FileCategory(FileCategory::code);
        QTest::newRow("yaml") << type("public.yaml") << false << FileCategory(FileCategory::code);
        QTest::newRow("zip") << type("public.zip-archive") << false << FileCategory(FileCategory::archives);
        QTest::newRow("iso image") << type("public.iso-image") << false << FileCategory(FileCategory::archives);
        QTest::newRow("dmg") << type("com.apple.disk-image-udif") << false << FileCategory(FileCategory::archives);
        QTest::newRow("debian package") << type("org.debian.deb-archive") << false << FileCategory(FileCategory::archives);
        QTest::newRow("pdf") << type("com.adobe.pdf") << false << FileCategory(FileCategory::documents);
        QTest::newRow("docx is not an archive") << type("org.openxmlformats.wordprocessingml.document") << false << FileCategory(FileCategory::documents);
        QTest::newRow("presentation") << type("org.oasis-open.opendocument.presentation") << false << FileCategory(FileCategory::documents);
        QTest::newRow("spreadsheet") << type("public.spreadsheet") << false << FileCategory(FileCategory::documents);
        QTest::newRow("epub") << type("org.idpf.epub-container") << false << FileCategory(FileCategory::documents);
        QTest::newRow("plain text") << type("public.plain-text") << false << FileCategory(FileCategory::documents);
        QTest::newRow("rtf") << type("public.rtf") << false << FileCategory(FileCategory::documents);
        QTest::newRow("markdown") << type("net.daringfireball.markdown") << false << FileCategory(FileCategory::documents);
        QTest::newRow("html") << type("public.html") << false << FileCategory(FileCategory::documents);
        QTest::newRow("data") << type("public.data") << false << FileCategory(FileCategory::other);
        QTest::newRow("unix executable") << type("public.unix-executable") << false << FileCategory(FileCategory::other);
    }

    void classify()
    {
        QFETCH(std::optional<UTType>, contentType);
        QFETCH(bool, isDirectory);
        QFETCH(FileCategory, expected);
        QCOMPARE(FileCategory::classify(contentType, isDirectory).rawValue(), expected.rawValue());
    }

    void orderOfStepsMatters()
    {
        // The cases above only prove something if these types really are ambiguous.
        QVERIFY(type("public.json")->conforms(UTType::text()));
        QVERIFY(type("public.xml")->conforms(UTType::text()));
        QVERIFY(type("com.apple.application-bundle")->conforms(UTType::package()));
        QVERIFY(type("public.plain-text")->conforms(UTType::text()));
    }

    void typesOutsideTheTableStillClassify_data()
    {
        QTest::addColumn<QString>("mime");
        QTest::addColumn<FileCategory>("expected");
        QTest::newRow("gimp image") << "image/x-xcf" << FileCategory(FileCategory::images);
        QTest::newRow("flash video") << "video/x-flv" << FileCategory(FileCategory::videos);
        QTest::newRow("tracker module") << "audio/x-mod" << FileCategory(FileCategory::music);
        QTest::newRow("subtitle text") << "application/x-subrip" << FileCategory(FileCategory::documents);
        QTest::newRow("android package, a zip inside") << "application/vnd.android.package-archive" << FileCategory(FileCategory::archives);
    }

    void typesOutsideTheTableStillClassify()
    {
        QFETCH(QString, mime);
        QFETCH(FileCategory, expected);
        const QMimeType mimeType = QMimeDatabase().mimeTypeForName(mime);
        QVERIFY2(mimeType.isValid(), qPrintable(mime));
        QCOMPARE(FileCategory::classify(UTType::fromMimeType(mimeType), false).rawValue(), expected.rawValue());
    }

    void spotlightQuery_data()
    {
        QTest::addColumn<FileCategory>("category");
        QTest::addColumn<QString>("query");
        QTest::newRow("images") << FileCategory(FileCategory::images) << "(kMDItemContentTypeTree == 'public.image')";
        QTest::newRow("videos") << FileCategory(FileCategory::videos) << "(kMDItemContentTypeTree == 'public.movie') && kMDItemFSName != '*.ts'c";
        QTest::newRow("music") << FileCategory(FileCategory::music) << "(kMDItemContentTypeTree == 'public.audio')";
        QTest::newRow("documents") << FileCategory(FileCategory::documents)
                                   << "(kMDItemContentTypeTree == 'com.adobe.pdf' || kMDItemContentTypeTree == 'public.composite-content' || "
                                      "kMDItemContentTypeTree == 'public.presentation' || kMDItemContentTypeTree == 'public.spreadsheet' || "
                                      "kMDItemContentTypeTree == 'public.rtf') || ((kMDItemFSName == '*.txt'c || kMDItemFSName == '*.md'c) && "
                                      "kMDItemLastUsedDate == *)";
        QTest::newRow("archives") << FileCategory(FileCategory::archives)
                                  << "(kMDItemContentTypeTree == 'public.archive' || kMDItemContentTypeTree == 'com.apple.disk-image')";
        QTest::newRow("apps") << FileCategory(FileCategory::apps) << "(kMDItemContentTypeTree == 'com.apple.application-bundle')";
        QTest::newRow("code") << FileCategory(FileCategory::code) << "(kMDItemContentTypeTree == 'public.source-code') && kMDItemLastUsedDate == *";
        QTest::newRow("folders") << FileCategory(FileCategory::folders) << "(kMDItemContentTypeTree == 'public.folder')";
        QTest::newRow("other") << FileCategory(FileCategory::other) << "kMDItemFSName == '*'";
    }

    void spotlightQuery()
    {
        QFETCH(FileCategory, category);
        QFETCH(QString, query);
        QCOMPARE(category.spotlightQuery(), query);
    }

    void queriedTypesAreTheOnesFilesCarry()
    {
        // Every type a category query asks the index for must be a real node of the type tree,
        // or the query silently finds nothing.
        for (const char *identifier :
            {"public.image", "public.movie", "public.audio", "com.adobe.pdf", "public.composite-content", "public.presentation", "public.spreadsheet",
                "public.rtf", "public.archive", "com.apple.disk-image", "com.apple.application-bundle", "public.source-code", "public.folder"})
            QVERIFY2(UTType::fromIdentifier(QString::fromLatin1(identifier)), identifier);
        QVERIFY(type("public.iso-image")->tree().contains(QStringLiteral("com.apple.disk-image")));
        QVERIFY(type("org.freedesktop.desktop-application")->tree().contains(QStringLiteral("com.apple.application-bundle")));
        QVERIFY(type("org.appimage.appimage")->tree().contains(QStringLiteral("com.apple.application-bundle")));
    }

    void titlesAndSymbols()
    {
        const QStringList titles = {"Images", "Videos", "Music", "Documents", "Archives", "Apps", "Code", "Folders", "Other"};
        const auto all = FileCategory::allCases();
        QCOMPARE(all.size(), titles.size());
        for (int i = 0; i < all.size(); ++i) {
            QCOMPARE(all[i].title(), titles[i]);
            QVERIFY(!all[i].symbol().isEmpty());
        }
        QCOMPARE(FileCategory(FileCategory::code).symbol(), QStringLiteral("chevron.left.forwardslash.chevron.right"));
        QCOMPARE(FileCategory(FileCategory::apps).symbol(), QStringLiteral("square.grid.2x2"));
    }
};

QTEST_GUILESS_MAIN(TestFileCategory)
#include "tst_filecategory.moc"
