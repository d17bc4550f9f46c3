#include "TestDocuments.h"
#include "WindowFixture.h"

#include <QAccessible>
#include <QImage>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(VelkPlugin)

using namespace Qt::StringLiterals;

namespace {

// The real window over a real index of a home made here: five pictures, a PDF from a week ago, an
// old PDF, and a walk of folders two levels deep.
struct Window : WindowFixture {
    Window()
    {
        QImage image(640, 480, QImage::Format_RGB32);
        for (int i = 0; i < 5; ++i) {
            image.fill(QColor::fromHsv(i * 60, 180, 220));
            home.folder(u"Pictures"_s);
            image.save(home.path(u"Pictures/holiday %1.png"_s.arg(i + 1)));
        }
        home.file(u"Documents/invoice.pdf"_s, pdfWith(u"invoice for the garden"_s), QDateTime::currentDateTime().addDays(-7));
        home.file(u"Documents/old letter.pdf"_s, pdfWith(u"an old letter"_s), QDateTime::currentDateTime().addYears(-2));
        home.file(u"Documents/Projects/Garden/plan.txt"_s, "beds and paths");
        open();
    }
};

} // namespace

class TestWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sidebarCountsAndACollection()
    {
        Window w;
        QVERIFY(w.window);
        QCOMPARE(w.window->minimumSize(), QSize(1000, 640));
        QTRY_VERIFY_WITH_TIMEOUT(w.store().collection(SidebarItem::category(FileCategory::images)).has_value(), 20000);

        w.click(w.find(u"sidebarRow:Images"_s));
        QCOMPARE(w.state().selectionKey(), u"category/images"_s);
        QTRY_COMPARE(w.text(u"browserTitle"_s), u"Images"_s);
        QTRY_VERIFY(w.text(u"browserSubtitle"_s).startsWith(u"5 items · "_s));

        // The keyboard walks the grid: the first arrow lands on the first picture.
        QQuickItem *list = w.find(u"browserList"_s);
        QVERIFY(list);
        list->forceActiveFocus();
        QTest::keyClick(w.window, Qt::Key_Right);
        QCOMPARE(w.state().selectedFiles().size(), 1);
        QVERIFY(w.state().focusedItem());
        const QUrl first = w.state().focusedItem()->url;
        QTest::keyClick(w.window, Qt::Key_Right);
        QVERIFY(w.state().focusedItem()->url != first);
        QTest::keyClick(w.window, Qt::Key_Left);
        QCOMPARE(w.state().focusedItem()->url, first);

        // List mode and back, from the keyboard.
        QTest::keyClick(w.window, Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(w.state().viewMode(), ViewMode::list);
        QTest::keyClick(w.window, Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(w.state().viewMode(), ViewMode::grid);
    }

    void searchShowsWhatWasUnderstood()
    {
        Window w;
        QVERIFY(w.window);
        QTest::keyClick(w.window, Qt::Key_F, Qt::ControlModifier);
        QQuickItem *input = w.find(u"searchInput"_s);
        QVERIFY(input);
        QTRY_VERIFY(input->hasActiveFocus());
        w.type(u"pdfs from last week"_s);
        QCOMPARE(w.state().searchText(), u"pdfs from last week"_s);
        QTRY_COMPARE_WITH_TIMEOUT(w.store().searchedQuery(), u"pdfs from last week"_s, 10000);
        QTRY_COMPARE(w.text(u"browserTitle"_s), u"Results for “pdfs from last week”"_s);
        QTRY_COMPARE(w.text(u"browserSubtitle"_s), u"1 match in your home folders"_s);
        QTRY_VERIFY(w.find(u"understoodChips"_s));

        // Escape ends the search and lets go of the field.
        QTest::keyClick(w.window, Qt::Key_Escape);
        QCOMPARE(w.state().searchText(), QString());
        QVERIFY(!input->hasActiveFocus());
    }

    void folderWalkWithCrumbsAndBack()
    {
        Window w;
        QVERIFY(w.window);
        const QUrl documents = QUrl::fromLocalFile(w.home.path(u"Documents"_s));
        w.state().openFolder(documents);
        QTRY_COMPARE(w.text(u"browserTitle"_s), u"Documents"_s);
        w.state().openFolder(QUrl::fromLocalFile(w.home.path(u"Documents/Projects"_s)));
        w.state().openFolder(QUrl::fromLocalFile(w.home.path(u"Documents/Projects/Garden"_s)));
        QTRY_COMPARE(w.text(u"browserTitle"_s), u"Garden"_s);
        QTRY_VERIFY(w.find(u"pathBar"_s));
        QVERIFY(w.find(u"backButton"_s));

        QTest::keyClick(w.window, Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(w.state().folderPath().size(), 1);
        QTRY_COMPARE(w.text(u"browserTitle"_s), u"Projects"_s);
        QTest::keyClick(w.window, Qt::Key_Left, Qt::AltModifier);
        QVERIFY(w.state().folderPath().isEmpty());
        QTRY_VERIFY(!w.find(u"backButton"_s));
        // At the root of the walk, Back does nothing.
        QTest::keyClick(w.window, Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(w.state().selectionKey().startsWith(u"location/"_s), true);
    }

    // Every button on screen, those that show only a symbol included, has a name a screen reader
    // can say, and so do the sidebar's rows and the search field.
    void everyControlHasAName()
    {
        Window w;
        QVERIFY(w.window);
        QAccessible::setActive(true);
        QTRY_VERIFY_WITH_TIMEOUT(w.store().collection(SidebarItem::category(FileCategory::images)).has_value(), 20000);
        w.state().selectKey(u"category/images"_s);
        QTRY_COMPARE(w.text(u"browserTitle"_s), u"Images"_s);
        QStringList unnamed;
        int buttons = 0;
        const auto visit = [&](auto &&self, QQuickItem *item) -> void {
            if (!item->isVisible())
                return;
            if (item->inherits("QQuickAbstractButton") || item->objectName().startsWith(u"sidebarRow:"_s)) {
                ++buttons;
                QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
                if (!accessible || accessible->text(QAccessible::Name).trimmed().isEmpty())
                    unnamed.append(QString::fromLatin1(item->metaObject()->className()) + u" "_s + item->objectName());
            }
            for (QQuickItem *child : item->childItems())
                self(self, child);
        };
        visit(visit, w.window->contentItem());
        QVERIFY(buttons > 20);
        QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join(u", "_s)));
    }

    void sidebarCollapsesAndComesBack()
    {
        Window w;
        QVERIFY(w.window);
        QTest::keyClick(w.window, Qt::Key_F9);
        QVERIFY(w.state().sidebarCollapsed());
        QQuickItem *show = w.find(u"showSidebarButton"_s);
        QTRY_VERIFY(show && show->isVisible());
        w.click(show);
        QVERIFY(!w.state().sidebarCollapsed());
    }
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
