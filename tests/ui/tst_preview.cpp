#include "../platform/extractors/Samples.h"
#include "InspectorModels.h"
#include "PreviewModels.h"
#include "WindowFixture.h"

#include <QClipboard>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(VelkPlugin)

using namespace Qt::StringLiterals;

namespace {

// A screenshot with two lines of words the test knows, large and clear on white.
void drawScreenshot(const QString &path)
{
    QImage image(1200, 400, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(Qt::black);
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(44);
    painter.setFont(font);
    painter.drawText(QPointF(60, 130), u"Quarterly garden report"_s);
    painter.drawText(QPointF(60, 270), u"Budget review on Monday"_s);
    painter.end();
    QVERIFY(image.save(path, "PNG"));
}

// The real window over a real index of a home that holds a file of every kind the preview shows,
// each made by the tools that make such files, and some that cannot be shown.
struct Window : WindowFixture {
    Window()
    {
        QString error;
        const auto must = [&error](bool ok) {
            if (!ok)
                qFatal("fixture: %s", qPrintable(error));
        };
        must(samples::jpeg(home.path(u"Pictures/beach.jpg"_s), 900, 600, {u"set Exif.Image.Make Canon"_s, u"set Exif.Image.Model Canon EOS R5"_s}, &error));
        home.folder(u"Pictures/Trips"_s);
        must(samples::png(home.path(u"Pictures/dunes.png"_s), 640, 480));
        home.file(u"Pictures/broken.jpg"_s, QByteArray("\xff\xd8\xff\xe0 this is no picture at all", 30));
        drawScreenshot(home.path(u"Pictures/Screenshot notes.png"_s));
        must(samples::pdf(home.path(u"Documents/report.pdf"_s), u"Report"_s, {u"first page of the report"_s, u"second page"_s, u"third page"_s}));
        must(samples::pdf(home.path(u"Documents/plain.pdf"_s), u"Plain"_s, {u"a locked letter"_s}));
        must(samples::run(u"qpdf"_s,
            {u"--encrypt"_s, u"user"_s, u"owner"_s, u"256"_s, u"--"_s, home.path(u"Documents/plain.pdf"_s), home.path(u"Documents/locked.pdf"_s)}, &error));
        QFile::remove(home.path(u"Documents/plain.pdf"_s));
        home.file(u"Documents/notes.md"_s, "# Garden\n\nBeds and paths, and a pond in the corner.\n");
        home.file(u"Documents/archive.zip"_s, "PK\x05\x06" + QByteArray(18, '\0'));
        home.file(u"Movies/empty.mp4"_s, {});
        home.folder(u"Music"_s);
        must(samples::video(home.path(u"Movies/clip.mp4"_s), {u"-c:v"_s, u"mpeg4"_s}, 0, {}, &error));
        must(samples::audio(home.path(u"Music/song.mp3"_s), {u"artist=The Gardeners"_s, u"album=Green"_s, u"title=Pond"_s}, &error));
        must(samples::pdf(home.path(u"Downloads/manual.pdf"_s), u"Manual"_s, {u"how to build it"_s}));
        must(TestHome::setXattr(home.path(u"Downloads/manual.pdf"_s), "user.xdg.origin.url", "https://github.com/velk/manual.pdf"));

        open(true);
    }

    FileItem file(const QString &relative) const
    {
        const auto item = FileItem::fromUrl(QUrl::fromLocalFile(home.path(relative)));
        if (!item)
            qFatal("no file %s", qPrintable(relative));
        return *item;
    }
    // Opens the browser on a folder, its files listed, and waits for its cards.
    void showFolder(const QString &relative) const
    {
        state().openFolder(QUrl::fromLocalFile(home.path(relative)));
        QTRY_COMPARE(text(u"browserTitle"_s), QFileInfo(relative).fileName());
    }
    QString previewKind() const
    {
        for (const QString &kind : {u"picture"_s, u"video"_s, u"audio"_s, u"pdf"_s, u"text"_s, u"folder"_s, u"other"_s}) {
            if (find(u"quickLook:"_s + kind) && find(u"sheetQuickLook"_s))
                return kind;
        }
        return {};
    }
};

} // namespace

class TestPreview : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(!ParseWorkers::program().isEmpty()); }

    // Space opens the sheet on the focused file, the arrows step over the list without its folder and
    // never wrap, and Escape closes it however it was opened.
    void spaceStepsAndEscape()
    {
        Window w;
        QVERIFY(w.window);
        w.showFolder(u"Pictures"_s);
        QTRY_VERIFY(w.find(u"card:beach.jpg"_s));
        QQuickItem *list = w.find(u"browserList"_s);
        QVERIFY(list);
        list->forceActiveFocus();
        // The folder comes first; Space on it would open it.
        QTest::keyClick(w.window, Qt::Key_Right);
        QTRY_VERIFY(w.state().focusedItem());
        QVERIFY(w.state().focusedItem()->isFolder());
        QTest::keyClick(w.window, Qt::Key_Right);
        QVERIFY(!w.state().focusedItem()->isFolder());
        QTest::keyClick(w.window, Qt::Key_Space);
        QTRY_VERIFY(w.state().previewItem());
        QTRY_VERIFY(w.find(u"previewSheet"_s));

        // The folder Trips is in the browser's list but not in the sheet's.
        const QList<FileItem> shown = w.state().previewList();
        QCOMPARE(shown.size(), 4);
        for (const FileItem &item : shown)
            QVERIFY(!item.isFolder());

        // Walk to the start: the back arrow goes off there, and Left does nothing more.
        for (int i = 0; i < 6; ++i)
            QTest::keyClick(w.window, Qt::Key_Left);
        QCOMPARE(w.state().previewItem()->url, shown.first().url);
        QTRY_VERIFY(w.text(u"previewSubtitle"_s).endsWith(u"1 of 4"_s));
        QVERIFY(!w.enabled(u"previewBack"_s));
        QVERIFY(w.enabled(u"previewForward"_s));
        // The selection follows the sheet.
        QCOMPARE(w.state().focusedItem()->url, shown.first().url);

        for (int i = 0; i < 6; ++i)
            QTest::keyClick(w.window, Qt::Key_Right);
        QCOMPARE(w.state().previewItem()->url, shown.last().url);
        QTRY_VERIFY(w.text(u"previewSubtitle"_s).endsWith(u" · 4 of 4"_s));
        QVERIFY(!w.enabled(u"previewForward"_s));
        QCOMPARE(w.text(u"previewName"_s), shown.last().name);

        // Tab goes round the sheet's controls and never reaches the window behind it.
        QQuickItem *sheet = w.find(u"previewSheet"_s);
        QVERIFY(sheet);
        for (int i = 0; i < 12; ++i) {
            QTest::keyClick(w.window, Qt::Key_Tab);
            QQuickItem *focused = w.window->activeFocusItem();
            QVERIFY2(focused && (focused == sheet || sheet->isAncestorOf(focused)),
                focused ? qPrintable(QString::number(i) + QString::fromLatin1(focused->metaObject()->className()) + focused->objectName()) : "none");
        }
        QTest::keyClick(w.window, Qt::Key_Backtab, Qt::ShiftModifier);
        QVERIFY(sheet->isAncestorOf(w.window->activeFocusItem()));

        // Commands that must not act under the sheet are off.
        QTest::keyClick(w.window, Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(w.state().viewMode(), ViewMode::grid);

        QTest::keyClick(w.window, Qt::Key_Escape);
        QVERIFY(!w.state().previewItem());
        QTRY_VERIFY(!w.find(u"previewSheet"_s));
        // The keys are the browser's again.
        QTRY_VERIFY(w.find(u"browserList"_s)->hasActiveFocus());

        // The close button closes too.
        w.state().preview(shown.first(), shown);
        QTRY_VERIFY(w.find(u"previewClose"_s));
        QVERIFY(w.click(u"previewClose"_s));
        QVERIFY(!w.state().previewItem());
    }

    // A double click on a picture's card opens the sheet; a file alone in its list, or missing from
    // it, has both arrows off and no position.
    void doubleClickAndLonelyFiles()
    {
        Window w;
        QVERIFY(w.window);
        w.showFolder(u"Pictures"_s);
        const FileItem dunes = w.file(u"Pictures/dunes.png"_s);
        QQuickItem *card = nullptr;
        QTRY_VERIFY((card = w.find(u"card:"_s + dunes.name)));
        QTest::mouseDClick(w.window, Qt::LeftButton, {}, w.centre(card));
        QTRY_VERIFY(w.state().previewItem());
        QCOMPARE(w.state().previewItem()->url, dunes.url);
        QTRY_COMPARE(w.previewKind(), u"picture"_s);
        QQuickItem *picture = nullptr;
        QTRY_VERIFY((picture = w.find(u"previewPicture"_s)) && picture->property("status").toInt() == 1);
        QCOMPARE(picture->property("implicitWidth").toInt(), 640);

        w.state().preview(dunes, {dunes});
        QTRY_VERIFY(w.text(u"previewSubtitle"_s).endsWith(u"1 of 1"_s));
        QVERIFY(!w.enabled(u"previewBack"_s));
        QVERIFY(!w.enabled(u"previewForward"_s));

        const FileItem beach = w.file(u"Pictures/beach.jpg"_s);
        w.state().preview(beach, {dunes});
        QTRY_COMPARE(w.text(u"previewName"_s), beach.name);
        QVERIFY(!w.text(u"previewSubtitle"_s).contains(u" of "_s));
        QVERIFY(!w.enabled(u"previewBack"_s));
        QVERIFY(!w.enabled(u"previewForward"_s));
        QTest::keyClick(w.window, Qt::Key_Right);
        QCOMPARE(w.state().previewItem()->url, beach.url);
        QTest::keyClick(w.window, Qt::Key_Escape);
        QVERIFY(!w.state().previewItem());
    }

    // Each kind of file shows in the view made for it, and what cannot be shown shows its icon, kind
    // and size: a corrupt picture, a locked PDF, an empty video.
    void everyKindShows()
    {
        Window w;
        QVERIFY(w.window);
        const auto show = [&w](const QString &relative) {
            const FileItem item = w.file(relative);
            w.state().preview(item, {item});
            QTRY_COMPARE(w.text(u"previewName"_s), item.name);
        };

        show(u"Documents/report.pdf"_s);
        QTRY_COMPARE(w.previewKind(), u"pdf"_s);
        QTRY_COMPARE(w.text(u"pdfPageText"_s), u"Page 1 of 3"_s);
        QQuickItem *page = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT((page = w.find(u"pdfPage0"_s)) && page->property("status").toInt() == 1, 20000);
        QVERIFY(page->property("implicitWidth").toInt() > 100);
        // "Copy Text" for a PDF, but no "Select Text".
        QVERIFY(w.find(u"copyTextButton"_s));
        QVERIFY(!w.find(u"selectTextToggle"_s));

        show(u"Documents/notes.md"_s);
        QTRY_COMPARE(w.previewKind(), u"text"_s);
        QTRY_VERIFY(w.text(u"previewText"_s).startsWith(u"# Garden\n\nBeds and paths"_s));
        QVERIFY(!w.find(u"copyTextButton"_s));

        show(u"Movies/clip.mp4"_s);
        QTRY_COMPARE(w.previewKind(), u"video"_s);
        QQuickItem *player = nullptr;
        QTRY_VERIFY((player = w.find(u"playButton"_s)));
        // It plays at once in the sheet.
        QTRY_COMPARE_WITH_TIMEOUT(player->property("toolTip").toString(), u"Pause"_s, 15000);

        show(u"Music/song.mp3"_s);
        QTRY_COMPARE(w.previewKind(), u"audio"_s);

        for (const QString &broken : {u"Pictures/broken.jpg"_s, u"Documents/locked.pdf"_s, u"Movies/empty.mp4"_s}) {
            show(broken);
            QTRY_VERIFY2_WITH_TIMEOUT(w.find(u"quickLookFallback"_s) && w.find(u"genericIcon"_s), qPrintable(broken), 20000);
        }

        show(u"Documents/archive.zip"_s);
        QTRY_COMPARE(w.previewKind(), u"other"_s);
        QVERIFY(w.find(u"genericIcon"_s));
    }

    // Live Text: the words of a real screenshot, read by the real recogniser, selected by a drag and
    // copied; "Copy Text" in the toolbar copies all of it, with its toast.
    void liveTextAndCopyText()
    {
        Window w;
        QVERIFY(w.window);
        const FileItem shot = w.file(u"Pictures/Screenshot notes.png"_s);
        w.state().setLiveTextMode(false);
        w.state().preview(shot, {shot});
        QTRY_VERIFY(w.find(u"selectTextToggle"_s));
        QVERIFY(w.click(u"selectTextToggle"_s));
        QVERIFY(w.state().liveTextMode());
        QQuickItem *live = nullptr;
        QTRY_VERIFY((live = w.find(u"liveTextImage"_s)));
        QObject *words = qvariant_cast<QObject *>(live->property("words"));
        QVERIFY(words);
        QTRY_VERIFY_WITH_TIMEOUT(words->property("count").toInt() >= 7, 60000);

        // A drag from "garden" on the first line to "review" on the second.
        QQuickItem *picture = w.find(u"liveTextPicture"_s);
        QTRY_COMPARE(picture->property("status").toInt(), 1);
        const auto at = [&](double nx, double ny) {
            const double shownX = live->property("shownX").toDouble();
            const double shownY = live->property("shownY").toDouble();
            const double pw = picture->property("paintedWidth").toDouble();
            const double ph = picture->property("paintedHeight").toDouble();
            return live->mapToScene(QPointF(shownX + nx * pw, shownY + ny * ph)).toPoint();
        };
        // The words' boxes, in the picture's own terms, from the model.
        const auto abstractModel = qobject_cast<QAbstractItemModel *>(words);
        QVERIFY(abstractModel);
        const auto boxOf = [&](const QString &text) {
            for (int row = 0; row < abstractModel->rowCount(); ++row) {
                const QModelIndex index = abstractModel->index(row, 0);
                if (abstractModel->data(index, abstractModel->roleNames().key("text")).toString() == text)
                    return abstractModel->data(index, abstractModel->roleNames().key("box")).toRectF();
            }
            return QRectF();
        };
        const QRectF garden = boxOf(u"garden"_s);
        const QRectF review = boxOf(u"review"_s);
        QVERIFY(!garden.isEmpty() && !review.isEmpty());
        QTest::mousePress(w.window, Qt::LeftButton, {}, at(garden.center().x(), garden.center().y()));
        QTest::mouseMove(w.window, at(review.center().x(), review.center().y() - 0.01));
        QTest::mouseMove(w.window, at(review.center().x(), review.center().y()));
        QTest::mouseRelease(w.window, Qt::LeftButton, {}, at(review.center().x(), review.center().y()));
        QCOMPARE(words->property("selectedText").toString(), u"garden report\nBudget review"_s);
        QTest::keyClick(w.window, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"garden report\nBudget review"_s);

        // A double click takes a word, a third click its line.
        const QRectF monday = boxOf(u"Monday"_s);
        QVERIFY(!monday.isEmpty());
        const QPoint onMonday = at(monday.center().x(), monday.center().y());
        QTest::mouseDClick(w.window, Qt::LeftButton, {}, onMonday);
        QCOMPARE(words->property("selectedText").toString(), u"Monday"_s);
        QTest::mouseClick(w.window, Qt::LeftButton, {}, onMonday);
        QCOMPARE(words->property("selectedText").toString(), u"Budget review on Monday"_s);

        // The same picture is not read again when the mode goes off and on.
        const int reads = words->property("reads").toInt();
        QVERIFY(w.click(u"selectTextToggle"_s));
        QVERIFY(!w.state().liveTextMode());
        QTRY_VERIFY(!w.find(u"liveTextImage"_s));
        QVERIFY(w.click(u"selectTextToggle"_s));
        QTRY_VERIFY((live = w.find(u"liveTextImage"_s)));
        words = qvariant_cast<QObject *>(live->property("words"));
        QTRY_VERIFY(words->property("count").toInt() >= 7);
        QVERIFY(words->property("reads").toInt() <= reads);

        // Copy Text from the toolbar: the whole text, and the toast counts its lines.
        QGuiApplication::clipboard()->clear();
        QVERIFY(w.click(u"copyTextButton"_s));
        QTRY_VERIFY_WITH_TIMEOUT(w.state().toast() && !w.state().toast()->sticky, 60000);
        QCOMPARE(w.state().toast()->message, u"Copied 2 lines of text"_s);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"Quarterly garden report\nBudget review on Monday"_s);

        // The mode is kept, and stepping to a file that is no picture shows the normal preview.
        const FileItem clip = w.file(u"Movies/clip.mp4"_s);
        w.state().preview(clip, {clip});
        QTRY_COMPARE(w.previewKind(), u"video"_s);
        QVERIFY(!w.find(u"liveTextImage"_s));
        QVERIFY(w.state().liveTextMode());
    }

    // The inspector follows the focused file and shows what is known of it: the rows of a photo with
    // its camera, a song with its tags, a PDF, a download with its site; a folder opens in the browser;
    // it keeps its file when closed and opened again.
    void inspectorFollowsTheFocus()
    {
        Window w;
        QVERIFY(w.window);
        QTest::keyClick(w.window, Qt::Key_I, Qt::ControlModifier);
        QVERIFY(w.state().showInspector());
        QTRY_VERIFY(w.find(u"noSelection"_s));

        const auto rowsOf = [&w](const QString &relative) {
            w.state().setFocusedItem(w.file(relative));
            QQuickItem *loader = nullptr;
            InspectorModel *model = nullptr;
            [&] {
                QTRY_VERIFY((loader = w.find(u"itemInspectorLoader"_s)));
                QTRY_VERIFY(loader->findChild<InspectorModel *>());
                model = loader->findChild<InspectorModel *>();
                QTRY_VERIFY(model->ready() && model->url() == w.state().focusedItem()->url);
            }();
            QMap<QString, QString> rows;
            if (model) {
                for (const DetailRow &row : model->detailRows())
                    rows.insert(row.label, row.value);
            }
            return rows;
        };

        auto rows = rowsOf(u"Pictures/beach.jpg"_s);
        QCOMPARE(rows.value(u"Dimensions"_s), u"900 × 600"_s);
        QCOMPARE(rows.value(u"Camera"_s), u"Canon EOS R5"_s);
        QCOMPARE(rows.value(u"Where"_s), u"~/Pictures"_s);
        QTRY_COMPARE(w.text(u"inspectorTitle"_s), u"beach.jpg"_s);

        rows = rowsOf(u"Music/song.mp3"_s);
        QCOMPARE(rows.value(u"Artist"_s), u"The Gardeners"_s);
        QCOMPARE(rows.value(u"Album"_s), u"Green"_s);
        QVERIFY(rows.contains(u"Duration"_s));
        QVERIFY(!w.find(u"recognizedText"_s));
        // The inspector never plays by itself.
        QQuickItem *play = nullptr;
        QTRY_VERIFY((play = w.find(u"playButton"_s)));
        QTest::qWait(300);
        QCOMPARE(play->property("toolTip").toString(), u"Play"_s);

        rows = rowsOf(u"Documents/report.pdf"_s);
        QCOMPARE(rows.value(u"Pages"_s), u"3"_s);
        QVERIFY(rows.value(u"Size"_s).endsWith(u" bytes)"_s));
        QVERIFY(!rows.contains(u"Downloaded From"_s));
        QVERIFY(!w.find(u"inspectorSource"_s));
        // Its text is read and can be copied, with its toast.
        QTRY_VERIFY_WITH_TIMEOUT(w.text(u"recognizedTextBody"_s).contains(u"first page of the report"_s), 30000);
        QVERIFY(w.text(u"recognizedTextBody"_s).contains(u"third page"_s));
        QVERIFY(w.click(u"copyRecognizedText"_s));
        QCOMPARE(QGuiApplication::clipboard()->text(), w.text(u"recognizedTextBody"_s));
        QCOMPARE(w.state().toast()->message, u"Copied text"_s);

        rows = rowsOf(u"Downloads/manual.pdf"_s);
        QCOMPARE(rows.value(u"Downloaded From"_s), u"GitHub\nhttps://github.com/velk/manual.pdf"_s);
        // Closed and opened again, it shows the same file.
        QTest::keyClick(w.window, Qt::Key_I, Qt::ControlModifier);
        QVERIFY(!w.state().showInspector());
        QTRY_VERIFY(!w.find(u"inspectorTitle"_s));
        QTest::keyClick(w.window, Qt::Key_I, Qt::ControlModifier);
        QTRY_COMPARE(w.text(u"inspectorTitle"_s), u"manual.pdf"_s);

        // The source row leads to every file from the same site.
        QTRY_VERIFY(w.find(u"inspectorSource"_s));
        QVERIFY(w.click(u"inspectorSource"_s));
        QCOMPARE(w.state().selectionKey(), SidebarItem::source(u"GitHub"_s).key());

        // A folder shows as a folder and opens in the browser.
        rows = rowsOf(u"Pictures/Trips"_s);
        QCOMPARE(rows.value(u"Contains"_s), u"0 items"_s);
        QVERIFY(w.click(u"inspectorOpen"_s));
        QTRY_COMPARE(w.text(u"browserTitle"_s), u"Trips"_s);
    }
};

QTEST_MAIN(TestPreview)
#include "tst_preview.moc"
