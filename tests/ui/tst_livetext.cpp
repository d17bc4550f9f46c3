#include "LiveTextModel.h"
#include "TestHome.h"

#include "worker/ParseWorkers.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QFile>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSet>
#include <QSignalSpy>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// A real recognition takes a second or so, far more on a loaded machine.
constexpr int kReadTimeout = 120'000;

using Status = LiveTextModel::Status;

QFont screenFont()
{
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(40);
    return font;
}

// Where each line's baseline starts in the pictures drawn here.
QPoint lineOrigin(int line)
{
    return {60, 90 + 90 * line};
}

QStringList words(const LiveTextModel &model)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts << model.data(model.index(row), LiveTextModel::TextRole).toString();
    return texts;
}

QList<int> lines(const LiveTextModel &model)
{
    QList<int> found;
    for (int row = 0; row < model.rowCount(); ++row)
        found << model.data(model.index(row), LiveTextModel::LineRole).toInt();
    return found;
}

QList<int> selectedRows(const LiveTextModel &model)
{
    QList<int> rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        if (model.data(model.index(row), LiveTextModel::SelectedRole).toBool())
            rows << row;
    }
    return rows;
}

QRectF boxOf(const LiveTextModel &model, int row)
{
    return model.data(model.index(row), LiveTextModel::BoxRole).toRectF();
}

} // namespace

// The words laid over a picture in the preview sheet, read by the real velk-worker with the real
// Tesseract from pictures drawn like screenshots.
class TestLiveText : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHome> m_home;
    QUrl m_report;

    // Large black text on white, one entry a line, saved as a PNG below Pictures.
    QUrl picture(const QString &name, const QStringList &textLines, QSize size = {1000, 260})
    {
        QImage shot(size, QImage::Format_RGB32);
        shot.fill(Qt::white);
        QPainter painter(&shot);
        painter.setFont(screenFont());
        painter.setPen(Qt::black);
        for (int i = 0; i < textLines.size(); ++i)
            painter.drawText(lineOrigin(i), textLines[i]);
        painter.end();
        const QString path = m_home->path(u"Pictures/"_s + name);
        if (!shot.save(path))
            qFatal("cannot write %s", qPrintable(path));
        return QUrl::fromLocalFile(path);
    }

    // Drawn once: drawn again it would be another picture to the model, with another time.
    QUrl report()
    {
        if (m_report.isEmpty())
            m_report = picture(u"report.png"_s, {u"Quarterly report draft"_s, u"Budget review Monday"_s});
        return m_report;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_home = std::make_unique<TestHome>();
        m_home->folder(u"Pictures"_s);
        QVERIFY2(!ParseWorkers::program().isEmpty(), "velk-worker is not beside the test");
    }

    void readsWordsWithTheirLinesAndBoxes()
    {
        LiveTextModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(model.status(), Status::Empty);
        QCOMPARE(model.nearestWord(0.5, 0.5), -1);
        QList<Status> statuses;
        connect(&model, &LiveTextModel::statusChanged, this, [&] { statuses << model.status(); });

        model.setUrl(report());
        QTRY_VERIFY_WITH_TIMEOUT(model.status() != Status::Reading, kReadTimeout);
        QCOMPARE(statuses, (QList<Status> {Status::Reading, Status::Ready}));
        QCOMPARE(model.reads(), 1);
        QCOMPARE(words(model), (QStringList {u"Quarterly"_s, u"report"_s, u"draft"_s, u"Budget"_s, u"review"_s, u"Monday"_s}));
        QCOMPARE(model.count(), 6);
        QCOMPARE(lines(model), (QList<int> {0, 0, 0, 1, 1, 1}));
        QCOMPARE(model.pictureSize(), QSizeF(1000, 260));
        const QHash<int, QByteArray> roles = model.roleNames();
        QCOMPARE(QSet<QByteArray>(roles.cbegin(), roles.cend()), (QSet<QByteArray> {"text", "box", "line", "selected"}));

        // Boxes are fractions of the picture: scaled back, "Budget" covers where it was drawn.
        const QRect drawn = QFontMetrics(screenFont()).tightBoundingRect(u"Budget"_s).translated(lineOrigin(1));
        const QRectF box = boxOf(model, 3);
        const QRectF scaled(box.x() * 1000, box.y() * 260, box.width() * 1000, box.height() * 260);
        QVERIFY2(std::abs(scaled.left() - drawn.left()) <= 5 && std::abs(scaled.right() - drawn.right()) <= 5 && std::abs(scaled.top() - drawn.top()) <= 5
                && std::abs(scaled.bottom() - drawn.bottom()) <= 5,
            qPrintable(u"%1,%2 %3x%4"_s.arg(scaled.x()).arg(scaled.y()).arg(scaled.width()).arg(scaled.height())));

        // Hits inside a box, misses in the margin and between the lines.
        for (int row = 0; row < model.count(); ++row)
            QCOMPARE(model.wordAt(boxOf(model, row).center().x(), boxOf(model, row).center().y()), row);
        QCOMPARE(model.wordAt(0.01, 0.01), -1);
        QCOMPARE(model.wordAt(boxOf(model, 1).center().x(), (boxOf(model, 1).bottom() + boxOf(model, 4).top()) / 2), -1);

        // Between words on a line: the nearer neighbour across. Off the lines: the nearest box.
        const QRectF report = boxOf(model, 1);
        const QRectF draft = boxOf(model, 2);
        QCOMPARE(model.nearestWord(draft.left() - 0.002, report.center().y()), 2);
        QCOMPARE(model.nearestWord(report.right() + 0.002, draft.center().y()), 1);
        QCOMPARE(model.nearestWord(0.001, boxOf(model, 0).center().y()), 0);
        QCOMPARE(model.nearestWord(0.999, boxOf(model, 5).center().y()), 5);
        QCOMPARE(model.nearestWord(report.center().x(), 0.001), 1);
        QCOMPARE(model.nearestWord(0.999, 0.999), 5);
    }

    void selectsInReadingOrderAndCopies()
    {
        LiveTextModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setUrl(report());
        QTRY_COMPARE_WITH_TIMEOUT(model.status(), Status::Ready, kReadTimeout);
        QCOMPARE(model.count(), 6);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy selection(&model, &LiveTextModel::selectionChanged);

        // From "report" on the first line to "review" on the second, dragged either way.
        model.select(1, 4);
        QCOMPARE(model.selectedText(), u"report draft\nBudget review"_s);
        QVERIFY(model.hasSelection());
        QCOMPARE(selectedRows(model), (QList<int> {1, 2, 3, 4}));
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed[0][0].toModelIndex().row(), 1);
        QCOMPARE(changed[0][1].toModelIndex().row(), 4);
        QCOMPARE(changed[0][2].value<QList<int>>(), QList<int> {LiveTextModel::SelectedRole});
        model.select(4, 1);
        QCOMPARE(model.selectedText(), u"report draft\nBudget review"_s);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(selection.size(), 1);

        // Growing the drag by a word tells views of that word alone.
        model.select(1, 5);
        QCOMPARE(changed.size(), 2);
        QCOMPARE(changed[1][0].toModelIndex().row(), 5);
        QCOMPARE(changed[1][1].toModelIndex().row(), 5);

        model.selectWord(5);
        QCOMPARE(model.selectedText(), u"Monday"_s);
        QCOMPARE(selectedRows(model), QList<int> {5});
        model.selectLine(4);
        QCOMPARE(model.selectedText(), u"Budget review Monday"_s);
        model.selectLine(0);
        QCOMPARE(model.selectedText(), u"Quarterly report draft"_s);
        model.selectAll();
        QCOMPARE(model.selectedText(), u"Quarterly report draft\nBudget review Monday"_s);

        QClipboard *clipboard = QGuiApplication::clipboard();
        clipboard->setText(u"before"_s);
        QVERIFY(model.copySelection());
        QCOMPARE(clipboard->text(), u"Quarterly report draft\nBudget review Monday"_s);

        model.clearSelection();
        QVERIFY(!model.hasSelection());
        QCOMPARE(model.selectedText(), QString());
        QVERIFY(selectedRows(model).isEmpty());
        clipboard->setText(u"before"_s);
        QVERIFY(!model.copySelection());
        QCOMPARE(clipboard->text(), u"before"_s);

        // Indexes that name no word select nothing.
        model.select(0, 2);
        model.select(-1, 2);
        QVERIFY(!model.hasSelection());
        model.selectLine(6);
        QVERIFY(!model.hasSelection());

        // Another picture takes the words and the selection away.
        model.selectAll();
        const int before = int(selection.size());
        model.setUrl({});
        QCOMPARE(model.count(), 0);
        QCOMPARE(model.status(), Status::Empty);
        QVERIFY(!model.hasSelection());
        QCOMPARE(selection.size(), before + 1);
    }

    void readsEachPictureOnce()
    {
        const QUrl garden = picture(u"garden.png"_s, {u"Garden party invitation"_s});
        const QUrl ferry = picture(u"ferry.png"_s, {u"Ferry timetable summer"_s});
        LiveTextModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy urls(&model, &LiveTextModel::urlChanged);
        model.setUrl(garden);
        model.setUrl(garden);
        QCOMPARE(urls.size(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(model.status(), Status::Ready, kReadTimeout);
        QCOMPARE(words(model), (QStringList {u"Garden"_s, u"party"_s, u"invitation"_s}));
        model.setUrl(garden);
        QCOMPARE(model.reads(), 1);

        model.setUrl(ferry);
        QTRY_COMPARE_WITH_TIMEOUT(model.status(), Status::Ready, kReadTimeout);
        QCOMPARE(model.reads(), 2);
        // Back to the first: the words are there at once, without reading again.
        model.setUrl(garden);
        QCOMPARE(model.status(), Status::Ready);
        QCOMPARE(words(model), (QStringList {u"Garden"_s, u"party"_s, u"invitation"_s}));
        QCOMPARE(model.reads(), 2);

        // The sheet opened anew over the same picture reads nothing either.
        LiveTextModel again;
        again.setUrl(ferry);
        QCOMPARE(again.status(), Status::Ready);
        QCOMPARE(words(again), (QStringList {u"Ferry"_s, u"timetable"_s, u"summer"_s}));
        QCOMPARE(again.reads(), 0);

        // A picture changed on disk is another picture.
        picture(u"garden.png"_s, {u"Garden party cancelled"_s});
        QVERIFY(TestHome::setModified(garden.toLocalFile(), QDateTime::currentDateTime().addSecs(60)));
        QVERIFY(!LiveTextModel::remembers(garden));
        again.setUrl(garden);
        QTRY_COMPARE_WITH_TIMEOUT(again.status(), Status::Ready, kReadTimeout);
        QCOMPARE(words(again), (QStringList {u"Garden"_s, u"party"_s, u"cancelled"_s}));
        QCOMPARE(again.reads(), 1);
    }

    void missingOrUnreadablePicturesShowNothing()
    {
        LiveTextModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QList<Status> statuses;
        connect(&model, &LiveTextModel::statusChanged, this, [&] { statuses << model.status(); });
        for (const QUrl &url : {QUrl::fromLocalFile(m_home->path(u"Pictures/gone.png"_s)), QUrl::fromLocalFile(m_home->path(u"Pictures"_s)),
                 QUrl(u"https://example.org/shot.png"_s)}) {
            model.setUrl(url);
            QCOMPARE(model.status(), Status::Empty);
            QCOMPARE(model.count(), 0);
        }
        QCOMPARE(model.reads(), 0);
        QCOMPARE(statuses.size(), 0);

        // A picture that leaves a shown one for a gone one: the words go at once.
        model.setUrl(report());
        QTRY_COMPARE_WITH_TIMEOUT(model.status(), Status::Ready, kReadTimeout);
        model.selectAll();
        model.setUrl(QUrl::fromLocalFile(m_home->path(u"Pictures/gone.png"_s)));
        QCOMPARE(model.status(), Status::Empty);
        QCOMPARE(model.count(), 0);
        QCOMPARE(model.pictureSize(), QSizeF());
        QVERIFY(!model.hasSelection());

        // Read, but nothing comes of it: a broken PNG, and a picture with no words.
        const int readsBefore = model.reads();
        statuses.clear();
        model.setUrl(QUrl::fromLocalFile(m_home->file(u"Pictures/broken.png"_s, "\x89PNG\r\n\x1a\nnot really")));
        QTRY_COMPARE_WITH_TIMEOUT(model.status(), Status::Empty, kReadTimeout);
        QCOMPARE(statuses, (QList<Status> {Status::Reading, Status::Empty}));
        QCOMPARE(model.count(), 0);
        model.setUrl(picture(u"blank.png"_s, {}));
        QTRY_COMPARE_WITH_TIMEOUT(model.status(), Status::Empty, kReadTimeout);
        QCOMPARE(model.count(), 0);
        QCOMPARE(model.reads(), readsBefore + 2);
    }

    void anAnswerForAPictureLeftIsDropped()
    {
        // Many lines, so that its reading is still under way when the next picture is asked for.
        QStringList many;
        for (int i = 0; i < 12; ++i)
            many << u"Harbour lights line %1 tonight"_s.arg(i + 1);
        const QUrl harbour = picture(u"harbour.png"_s, many, {1300, 1150});
        const QUrl violet = picture(u"violet.png"_s, {u"Violet window seat"_s});
        LiveTextModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setUrl(harbour);
        // Begun on its thread, so its answer will come.
        QTRY_COMPARE_WITH_TIMEOUT(model.reads(), 1, kReadTimeout);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        model.setUrl(violet);
        QTRY_COMPARE_WITH_TIMEOUT(model.status(), Status::Ready, kReadTimeout);
        // The first picture's answer has arrived (it is remembered as it arrives) and changed nothing.
        QTRY_VERIFY_WITH_TIMEOUT(LiveTextModel::remembers(harbour), kReadTimeout);
        QCOMPARE(model.status(), Status::Ready);
        QCOMPARE(words(model), (QStringList {u"Violet"_s, u"window"_s, u"seat"_s}));
        QCOMPARE(inserted.size(), 1);
        QCOMPARE(model.reads(), 2);
    }
};

QTEST_MAIN(TestLiveText)
#include "tst_livetext.moc"
