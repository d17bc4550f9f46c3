#include "TestHome.h"
#include "thumbnails/AppIcons.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A launcher for `mimeType` whose icon is a square of one colour, so the answer shows whose icon it is.
void installApp(TestHome &home, const QString &id, const char *mimeType, QColor color)
{
    QImage icon(32, 32, QImage::Format_ARGB32);
    icon.fill(color);
    const QString iconPath = home.path(id + u".png"_s);
    icon.save(iconPath);
    home.file(u".local/share/applications/"_s + id + u".desktop"_s,
        "[Desktop Entry]\nType=Application\nName=" + id.toUtf8() + "\nExec=true\nIcon=" + iconPath.toUtf8() + "\nMimeType=" + mimeType + ";\n");
}

FileItem item(const QString &path)
{
    const auto found = FileItem::fromUrl(QUrl::fromLocalFile(path));
    if (!found)
        qFatal("no item for %s", qPrintable(path));
    return *found;
}

QColor centre(const QImage &image)
{
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

} // namespace

class TestAppIcons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultAppPerExtension()
    {
        TestHome home;
        installApp(home, u"viewer"_s, "image/x-portable-pixmap", Qt::red);
        installApp(home, u"painter"_s, "image/x-portable-pixmap", Qt::green);
        home.file(u".config/mimeapps.list"_s, "[Default Applications]\nimage/x-portable-pixmap=viewer.desktop\n");

        const auto first = AppIcons::defaultApp(item(home.file(u"a.ppm"_s, "P3\n1 1\n255\n0 0 0\n")));
        QVERIFY(first);
        QCOMPARE(first->width(), AppIcons::pixels);
        QCOMPARE(centre(*first), QColor(Qt::red));

        // The first file of an extension decided: a later change of default, or another file with the
        // extension in capitals, keeps that answer.
        home.file(u".config/mimeapps.list"_s, "[Default Applications]\nimage/x-portable-pixmap=painter.desktop\n");
        const auto second = AppIcons::defaultApp(item(home.file(u"B.PPM"_s, "P3\n1 1\n255\n0 0 0\n")));
        QVERIFY(second);
        QCOMPARE(centre(*second), QColor(Qt::red));
    }

    void noAppIsNotRemembered()
    {
        TestHome home;
        const FileItem tape = item(home.file(u"backup.tzst-unknown"_s, QByteArray(64, '\x01')));
        QCOMPARE(AppIcons::defaultApp(tape), std::nullopt);
        installApp(home, u"archiver"_s, "application/octet-stream", Qt::blue);
        const auto now = AppIcons::defaultApp(tape);
        QVERIFY(now);
        QCOMPARE(centre(*now), QColor(Qt::blue));
    }

    void appsAndFoldersHaveNone()
    {
        TestHome home;
        installApp(home, u"browser"_s, "inode/directory", Qt::yellow);
        QCOMPARE(AppIcons::defaultApp(item(home.folder(u"Projects"_s))), std::nullopt);
        QCOMPARE(AppIcons::defaultApp(item(home.path(u".local/share/applications/browser.desktop"_s))), std::nullopt);
    }
};

QTEST_MAIN(TestAppIcons)
#include "tst_appicons.moc"
