#include "text/TextIndex.h"

#include "TestDocuments.h"
#include "TestHome.h"

#include <QBuffer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QPdfWriter>
#include <QSignalSpy>
#include <QTest>

#include <bit>

using namespace Qt::StringLiterals;

namespace {

const QDateTime kWhen = QDateTime::fromMSecsSinceEpoch(1732212345123, Qt::UTC);
const QString kStore = u".local/share/Velk/text-index.json"_s;

// JSON written with single quotes, for legibility.
QByteArray quoted(const char *json)
{
    return QByteArray(json).replace('\'', '"');
}

FileItem itemAt(const QString &path)
{
    return FileItem::fromUrl(QUrl::fromLocalFile(path)).value();
}

QJsonObject stored()
{
    QFile file(TextIndex::storePath());
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

// A background run over `items`, to its end and its last save.
bool indexAll(TextIndex &index, const QList<FileItem> &items)
{
    QSignalSpy saved(&index, &TextIndex::saved);
    index.index(items);
    return QTest::qWaitFor([&] { return !index.isIndexing() && !saved.isEmpty(); }, 20000);
}

QList<QUrl> sorted(QList<QUrl> urls)
{
    std::sort(urls.begin(), urls.end());
    return urls;
}

QList<QUrl> urls(const QStringList &paths)
{
    QList<QUrl> list;
    for (const QString &path : paths)
        list << QUrl::fromLocalFile(path);
    return sorted(list);
}

} // namespace

class TestTextIndex : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runReadsOnlyWhatPassesTheFilters()
    {
        TestHome home;
        const QString over = home.sparseFile(u"over.png"_s, 60'000'000);
        const QString under = home.sparseFile(u"under.png"_s, 59'999'999);
        const QString svg = home.file(u"logo.svg"_s, "<svg xmlns='http://www.w3.org/2000/svg' width='90' height='30'><text y='20'>Quarterly</text></svg>");
        const QString pdf = home.file(u"report.pdf"_s, pdfWith(u"Quarterly figures"_s));
        const QString notes = home.file(u"notes.txt"_s, "Quarterly figures");
        FileItem untyped = itemAt(home.file(u"untyped.pdf"_s, pdfWith(u"Quarterly figures"_s)));
        untyped.contentType.reset();

        TextIndex index;
        QVERIFY(indexAll(index, {itemAt(over), itemAt(under), itemAt(svg), itemAt(pdf), itemAt(notes), untyped}));
        QCOMPARE(index.total(), 2);
        QCOMPARE(index.done(), 2);
        QCOMPARE(index.indexedCount(), 2);
        QCOMPARE(stored().keys(), (QStringList {pdf, under}));
        QCOMPARE(stored().value(under)[u"text"_s], QJsonValue(u""_s));
        QCOMPARE(index.search({u"quarterly"_s}), urls({pdf}));
    }

    void storedDatesSurviveBitForBit()
    {
        TestHome home;
        // Written by hand, as another writer could have; these numbers need all 17 digits.
        const QByteArray json = quoted("{'/a b/\xc3\xbc \\'q\\'.png':{'modified':1732212345.123456789,'text':'line\\nnext'},"
                                       "'/z.pdf':{'modified':0.30000000000000004,'text':''},'/old.png':{'modified':-62135596800,'text':'x'}}");
        home.file(kStore, json);
        const QJsonObject original = QJsonDocument::fromJson(json).object();
        QCOMPARE(original.size(), 3);
        QCOMPARE(original[u"/z.pdf"_s][u"modified"_s].toDouble(), 0.1 + 0.2);

        TextIndex index;
        QCOMPARE(index.indexedCount(), 3);
        QSignalSpy saved(&index, &TextIndex::saved);
        index.forget({});
        QTRY_COMPARE(saved.count(), 1);
        QFile file(TextIndex::storePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray written = file.readAll();
        QVERIFY(!written.contains('\n'));
        const QJsonObject reread = QJsonDocument::fromJson(written).object();
        QCOMPARE(reread.keys(), original.keys());
        for (const QString &key : original.keys()) {
            const double before = original[key][u"modified"_s].toDouble();
            QCOMPARE(std::bit_cast<quint64>(reread[key][u"modified"_s].toDouble()), std::bit_cast<quint64>(before));
            QCOMPARE(reread[key][u"text"_s], original[key][u"text"_s]);
            QCOMPARE(reread[key].toObject().size(), 2);
        }

        // A date taken from a file is still current after a save and a fresh start.
        const QString pdf = home.file(u"a.pdf"_s, pdfWith(u"Harbour"_s), kWhen);
        QVERIFY(indexAll(index, {itemAt(pdf)}));
        TextIndex restarted;
        QCOMPARE(restarted.indexedCount(), 4);
        restarted.index({itemAt(pdf)});
        QVERIFY(!restarted.isIndexing());
    }

    void readAgainOnlyWhenTheDateChanges()
    {
        TestHome home;
        const QString pdf = home.file(u"a.pdf"_s, pdfWith(u"Lantern"_s), kWhen);
        const QString broken = home.file(u"broken.png"_s, QByteArray("\x89PNG\r\n\x1a\n") + QByteArray(300, 'a'));
        TextIndex index;
        QVERIFY(indexAll(index, {itemAt(pdf), itemAt(broken)}));
        QCOMPARE(stored().value(broken)[u"text"_s], QJsonValue(u""_s));

        // New contents under the same date go unnoticed; an empty reading counts as a reading.
        home.file(u"a.pdf"_s, pdfWith(u"Meadow"_s), kWhen);
        QSignalSpy runs(&index, &TextIndex::isIndexingChanged);
        index.index({itemAt(pdf), itemAt(broken)});
        QCOMPARE(runs.count(), 0);

        // One millisecond later is a change; the old text holds until the new one is in.
        TestHome::setModified(pdf, kWhen.addMSecs(1));
        index.index({itemAt(pdf), itemAt(broken)});
        QCOMPARE(index.total(), 1);
        QCOMPARE(index.search({u"lantern"_s}), urls({pdf}));
        QTRY_VERIFY(!index.isIndexing());
        QCOMPARE(index.search({u"meadow"_s}), urls({pdf}));
        QVERIFY(index.search({u"lantern"_s}).isEmpty());
        QCOMPARE(index.indexedCount(), 2);
    }

    void searchTerms()
    {
        TestHome home;
        const QString cafe = home.file(u"cafe.pdf"_s, pdfWith(u"Le café du port: x marks the spot"_s));
        const QString budget = home.file(u"budget.pdf"_s, pdfWith(u"The quarterly budgeting report"_s));
        TextIndex index;
        QVERIFY(indexAll(index, {itemAt(cafe), itemAt(budget)}));

        // Terms shorter than two user-perceived characters are dropped; "e" with a combining accent is one.
        for (const QStringList &none : {QStringList {}, QStringList {u"x"_s}, QStringList {u"é"_s}, QStringList {u"e\u0301"_s}})
            QVERIFY(index.search(none).isEmpty());
        QCOMPARE(index.search({u"x"_s, u"spot"_s}), urls({cafe}));
        QCOMPARE(index.search({u"CAFE"_s}), urls({cafe}));
        QCOMPARE(index.search({u"Cafe\u0301"_s}), urls({cafe}));
        QCOMPARE(index.search({u"port"_s, u"budget"_s}), urls({budget}));
        QCOMPARE(index.search({u"BUDGET"_s, u"port"_s}), urls({budget}));
        QVERIFY(index.search({u"budget"_s, u"missing"_s}).isEmpty());
        QCOMPARE(sorted(index.search({u"port"_s})), urls({cafe, budget}));
    }

    void runOfHundredSavesEveryFortyAndAtTheEnd()
    {
        TestHome home;
        // Flat pictures: real files, read quickly.
        QImage flat(8, 8, QImage::Format_RGB32);
        flat.fill(QColor(90, 140, 200));
        QList<FileItem> items;
        for (int i = 0; i < 100; ++i) {
            const QString path = home.file(u"shots/%1.png"_s.arg(i));
            QVERIFY(flat.save(path));
            items << itemAt(path);
        }
        const QString late = home.file(u"late.pdf"_s, pdfWith(u"Too late"_s));

        TextIndex index;
        QSignalSpy saved(&index, &TextIndex::saved);
        QSignalSpy doneChanges(&index, &TextIndex::doneChanged);
        QSignalSpy totalChanges(&index, &TextIndex::totalChanged);
        index.index(items);
        QVERIFY(index.isIndexing());
        QCOMPARE(index.total(), 100);
        // A second call during the run is dropped, not queued.
        index.index({itemAt(late)});
        QCOMPARE(index.total(), 100);
        QCOMPARE(totalChanges.count(), 1);

        QTRY_VERIFY_WITH_TIMEOUT(!index.isIndexing(), 20000);
        QCOMPARE(index.done(), 100);
        QCOMPARE(doneChanges.count(), 100);
        QTRY_COMPARE(saved.count(), 3);
        QList<qint64> sizes;
        for (const QList<QVariant> &signal : saved)
            sizes << signal.first().toLongLong();
        std::sort(sizes.begin(), sizes.end());
        QCOMPARE(sizes, (QList<qint64> {40, 80, 100}));
        QCOMPARE(stored().size(), 100);
        QVERIFY(!stored().contains(late));

        // Nothing left to do: no property moves.
        QSignalSpy runs(&index, &TextIndex::isIndexingChanged);
        index.index(items);
        index.index({});
        QCOMPARE(runs.count(), 0);
        QCOMPARE(totalChanges.count(), 1);
        QCOMPARE(doneChanges.count(), 100);
    }

    void damagedStoreStartsEmpty_data()
    {
        QTest::addColumn<QByteArray>("json");
        const QByteArray good = quoted("{'/a.png':{'modified':1.5,'text':'alpha'},'/b.png':{'modified':2.5,'text':'beta'}}");
        QTest::newRow("cut") << good.left(good.size() - 9);
        QTest::newRow("no text") << quoted("{'/a.png':{'modified':1.5,'text':'alpha'},'/b.png':{'modified':2.5}}");
        QTest::newRow("date as text") << quoted("{'/a.png':{'modified':'1.5','text':'alpha'}}");
        QTest::newRow("entry not an object") << quoted("{'/a.png':{'modified':1.5,'text':'alpha'},'/b.png':[2.5,'beta']}");
        QTest::newRow("array") << quoted("[{'modified':1.5,'text':'alpha'}]");
    }

    void damagedStoreStartsEmpty()
    {
        QFETCH(QByteArray, json);
        TestHome home;
        const QString path = home.file(kStore, json);
        TextIndex index;
        QCOMPARE(index.indexedCount(), 0);
        QVERIFY(index.search({u"alpha"_s}).isEmpty());
        // The bad file stays until the next save replaces it.
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), json);
        QSignalSpy saved(&index, &TextIndex::saved);
        index.forget({});
        QTRY_COMPARE(saved.count(), 1);
        QCOMPARE(stored(), QJsonObject());
    }

    void textOfOneFileAndForget()
    {
        TestHome home;
        const QString pdf = home.file(u"a.pdf"_s, pdfWith(u"Harbour lights"_s), kWhen);
        TextIndex index;
        QSignalSpy saved(&index, &TextIndex::saved);
        QCOMPARE(QCoro::waitFor(index.text(itemAt(pdf))), u"Harbour lights"_s);
        QTRY_COMPARE(saved.count(), 1);
        QCOMPARE(stored()[pdf][u"text"_s], QJsonValue(u"Harbour lights"_s));

        // A current entry answers without reading; a new date reads again.
        home.file(u"a.pdf"_s, pdfWith(u"Other words"_s), kWhen);
        QCOMPARE(QCoro::waitFor(index.text(itemAt(pdf))), u"Harbour lights"_s);
        TestHome::setModified(pdf, kWhen.addSecs(60));
        QCOMPARE(QCoro::waitFor(index.text(itemAt(pdf))), u"Other words"_s);
        // No size bound for an explicit request.
        const QString huge = home.sparseFile(u"huge.png"_s, 60'000'000);
        QCOMPARE(QCoro::waitFor(index.text(itemAt(huge))), QString());
        QCOMPARE(index.indexedCount(), 2);

        QTRY_COMPARE(saved.count(), 3);
        saved.clear();
        index.forget({QUrl::fromLocalFile(huge), QUrl::fromLocalFile(home.path(u"never.pdf"_s))});
        QCOMPARE(index.indexedCount(), 1);
        QTRY_COMPARE(saved.count(), 1);
        QCOMPARE(stored().keys(), QStringList {pdf});
    }
};

QTEST_MAIN(TestTextIndex)
#include "tst_textindex.moc"
