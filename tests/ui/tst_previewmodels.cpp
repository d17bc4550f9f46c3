#include "InspectorModels.h"
#include "PreviewModels.h"
#include "StoreWorld.h"
#include "TestDocuments.h"

#include <QImage>
#include <QSignalSpy>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

// The logic around the preview sheet and the inspector, over real files and real stores, without a
// window: which view a file gets, the bounded text read, the sheet's position and buttons, and the
// inspector's text states.
class TestPreviewModels : public QObject
{
    Q_OBJECT

    FileItem fileOf(const QString &path)
    {
        const auto item = FileItem::fromUrl(QUrl::fromLocalFile(path));
        if (!item)
            qFatal("no file %s", qPrintable(path));
        return *item;
    }

private Q_SLOTS:
    void eachFileGetsItsView()
    {
        TestHome home;
        QImage picture(40, 30, QImage::Format_RGB32);
        picture.fill(Qt::green);
        QVERIFY(picture.save(home.path(u"a.png"_s)));
        const QList<std::pair<QString, QString>> cases {
            {home.path(u"a.png"_s), u"picture"_s},
            {home.file(u"b.svg"_s, "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'/>"), u"picture"_s},
            {home.file(u"c.pdf"_s, pdfWith(u"words"_s)), u"pdf"_s},
            {home.file(u"d.md"_s, "# title\n"), u"text"_s},
            {home.file(u"e.cpp"_s, "int main() {}\n"), u"text"_s},
            {home.file(u"f.rtf"_s, "{\\rtf1 hello}"), u"other"_s},
            {home.file(u"g.zip"_s, "PK\x05\x06" + QByteArray(18, '\0')), u"other"_s},
            {home.file(u"h.mp3"_s, "ID3"), u"audio"_s},
            {home.file(u"i.mp4"_s, {}), u"video"_s},
            {home.folder(u"j"_s), u"folder"_s},
            {home.file(u".local/share/applications/k.desktop"_s, "[Desktop Entry]\nType=Application\nName=K\nExec=k\n"), u"other"_s},
        };
        for (const auto &[path, kind] : cases)
            QVERIFY2(QuickLook::kindOf(fileOf(path)) == kind, qPrintable(path + u" is "_s + QuickLook::kindOf(fileOf(path))));
    }

    // Only the first megabyte is read, never cut inside a character; bytes that hold a NUL, a FIFO
    // named like text and a missing file are no text, and nothing waits on the FIFO.
    void textIsReadBounded()
    {
        TestHome home;
        QByteArray big(QuickLook::kTextLimit - 1, 'a');
        big += "é and more after the limit";
        const auto read = TextFileModel::read(home.file(u"big.txt"_s, big));
        QVERIFY(!read.failed);
        QVERIFY(read.truncated);
        QCOMPARE(read.text.size(), QuickLook::kTextLimit - 1);
        QVERIFY(!read.text.contains(QChar::ReplacementCharacter));

        const auto small = TextFileModel::read(home.file(u"small.txt"_s, "grüße\n"));
        QVERIFY(!small.failed && !small.truncated);
        QCOMPARE(small.text, u"grüße\n"_s);

        QVERIFY(TextFileModel::read(home.file(u"binary.txt"_s, QByteArray("text\0more", 9))).failed);
        QVERIFY(TextFileModel::read(home.path(u"missing.txt"_s)).failed);
        const QString fifo = home.path(u"pipe.txt"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        QVERIFY(TextFileModel::read(fifo).failed);
        QVERIFY(TextFileModel::read(home.folder(u"folder.txt"_s)).failed);
    }

    // The sheet's subtitle counts the files of its list from 1; the arrows stop at both ends and are
    // off for a file that is not in the list; which text buttons show depends on the kind.
    void sheetPositionAndButtons()
    {
        StoreWorld world;
        QImage picture(40, 30, QImage::Format_RGB32);
        picture.fill(Qt::blue);
        QVERIFY(picture.save(world.home.path(u"one.png"_s)));
        QVERIFY(picture.save(world.home.path(u"two.png"_s)));
        world.home.file(u"three.pdf"_s, pdfWith(u"hello"_s));
        world.home.file(u"four.svg"_s, "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'/>");
        world.home.folder(u"folder"_s);
        world.build();
        PreviewSheetModel sheet;
        sheet.setStores(world.stores());
        QSignalSpy changed(&sheet, &PreviewSheetModel::changed);

        const FileItem one = fileOf(world.home.path(u"one.png"_s));
        const FileItem two = fileOf(world.home.path(u"two.png"_s));
        const FileItem pdf = fileOf(world.home.path(u"three.pdf"_s));
        const FileItem svg = fileOf(world.home.path(u"four.svg"_s));
        const FileItem folder = fileOf(world.home.path(u"folder"_s));
        QVERIFY(!sheet.isOpen());

        world.state->preview(two, {folder, one, two, pdf});
        QVERIFY(sheet.isOpen());
        QVERIFY(changed.count() > 0);
        QCOMPARE(sheet.position(), 1);
        QVERIFY(sheet.subtitle().endsWith(u" · 2 of 3"_s));
        QVERIFY(sheet.canGoBack() && sheet.canGoForward());
        QCOMPARE(sheet.kind(), u"picture"_s);
        QVERIFY(sheet.canSelectText() && sheet.canCopyText());

        sheet.forward();
        QCOMPARE(sheet.url(), pdf.url);
        QVERIFY(!sheet.canGoForward());
        QVERIFY(!sheet.canSelectText());
        QVERIFY(sheet.canCopyText());
        sheet.forward();
        QCOMPARE(sheet.url(), pdf.url);
        QCOMPARE(world.state->focusedItem()->url, pdf.url);

        // Live Text shows only on a readable picture with the mode on.
        world.state->setLiveTextMode(true);
        QVERIFY(!sheet.showsLiveText());
        sheet.back();
        QVERIFY(sheet.showsLiveText());

        world.state->preview(svg, {svg});
        QVERIFY(!sheet.canSelectText() && !sheet.canCopyText());
        QVERIFY(!sheet.showsLiveText());
        QVERIFY(!sheet.canGoBack() && !sheet.canGoForward());
        QVERIFY(sheet.subtitle().endsWith(u"1 of 1"_s));

        world.state->preview(one, {two});
        QCOMPARE(sheet.position(), -1);
        QVERIFY(!sheet.subtitle().contains(u" of "_s));
        QVERIFY(!sheet.canGoBack() && !sheet.canGoForward());

        sheet.close();
        QVERIFY(!sheet.isOpen());
        QVERIFY(!world.state->previewItem());
    }

    // The inspector's text section: headed by the kind, empty for what cannot be read, and filled
    // at once from the text index when it holds the file as it is.
    void inspectorTextStates()
    {
        StoreWorld world;
        QImage picture(40, 30, QImage::Format_RGB32);
        picture.fill(Qt::white);
        QVERIFY(picture.save(world.home.path(u"blank.png"_s)));
        world.home.file(u"words.pdf"_s, pdfWith(u"a line of words"_s));
        world.home.file(u"bundle.zip"_s, "PK\x05\x06" + QByteArray(18, '\0'));
        world.build();

        InspectorModel inspector;
        inspector.setStores(world.stores());
        inspector.setItem(fileOf(world.home.path(u"blank.png"_s)));
        QCOMPARE(inspector.textTitle(), u"Text in Image"_s);
        QVERIFY(inspector.canReadText());
        inspector.setItem(fileOf(world.home.path(u"words.pdf"_s)));
        QCOMPARE(inspector.textTitle(), u"Text"_s);
        inspector.setItem(fileOf(world.home.path(u"bundle.zip"_s)));
        QVERIFY(!inspector.canReadText());
        QTRY_VERIFY(inspector.ready());
        QCOMPARE(inspector.detailRows().first().label, u"Kind"_s);
        QCOMPARE(inspector.sourceName(), QString());

        RecognizedTextModel text;
        text.setStores(world.stores());
        text.setItemValue(QVariant::fromValue(fileOf(world.home.path(u"bundle.zip"_s))));
        QCOMPARE(text.state(), u"empty"_s);

        const FileItem pdf = fileOf(world.home.path(u"words.pdf"_s));
        text.setItemValue(QVariant::fromValue(pdf));
        QCOMPARE(text.state(), u"reading"_s);
        QTRY_COMPARE_WITH_TIMEOUT(text.state(), u"text"_s, 30000);
        QVERIFY(text.text().contains(u"a line of words"_s));

        // Read once, it is there in the first frame for the next inspector.
        RecognizedTextModel again;
        again.setStores(world.stores());
        again.setItemValue(QVariant::fromValue(pdf));
        QCOMPARE(again.state(), u"text"_s);

        text.setItemValue(QVariant::fromValue(fileOf(world.home.path(u"blank.png"_s))));
        QTRY_COMPARE_WITH_TIMEOUT(text.state(), u"empty"_s, 30000);
    }
};

QTEST_MAIN(TestPreviewModels)
#include "tst_previewmodels.moc"
