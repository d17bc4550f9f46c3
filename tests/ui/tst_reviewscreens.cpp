#include "CleanupModels.h"
#include "DuplicatesModel.h"
#include "MetadataRecord.h"
#include "ReadOnlyFolder.h"
#include "ReviewFlows.h"
#include "Session.h"
#include "SidebarModel.h"
#include "SourceModels.h"
#include "StoreWorld.h"
#include "WindowFixture.h"
#include "mdindex/extractors/Extractors.h"
#include "models/Fmt.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <sched.h>
#include <sys/mount.h>

Q_IMPORT_QML_PLUGIN(VelkPlugin)

using namespace Qt::StringLiterals;

namespace {

bool g_ownMounts = false;

const QDateTime g_now = QDateTime::currentDateTime();

// Contents of `size` bytes that differ from those of every other seed.
QByteArray contents(int seed, qint64 size = 60'000)
{
    QByteArray bytes(size, char('a' + seed % 26));
    bytes.replace(0, 16, QByteArray::number(seed).rightJustified(16, '0'));
    return bytes;
}

// Suggestions of two kinds: two old installers, one of which is also a forgotten download, a
// forgotten PDF, and an installer in a folder that cannot give up its files.
void addSuggestions(TestHome &home)
{
    home.file(u"Downloads/tool_1.0_amd64.deb"_s, contents(1, 3000), g_now.addDays(-100));
    home.file(u"Documents/Legacy.dmg"_s, contents(2, 2000), g_now.addDays(-8));
    home.file(u"Downloads/manual.pdf"_s, contents(3, 4000), g_now.addDays(-100));
    home.file(u"Documents/fresh.deb"_s, contents(4, 100), g_now.addDays(-2));
}

// Three copies of one file, two of another.
void addCopies(TestHome &home)
{
    home.file(u"Documents/report.pdf"_s, contents(10), g_now.addDays(-3));
    home.file(u"Desktop/report copy.pdf"_s, contents(10), g_now.addDays(-2));
    home.file(u"Downloads/report (1).pdf"_s, contents(10), g_now.addDays(-1));
    home.file(u"Music/song.mp3"_s, contents(11, 80'000), g_now.addDays(-5));
    home.file(u"Downloads/song.mp3"_s, contents(11, 80'000), g_now.addDays(-4));
}

// The index learns pictures' sizes, which the look-alike scan asks for.
class PictureSizes final : public mdindex::Extractor
{
public:
    bool wants(const mdindex::FileFacts &facts) const override { return !facts.isDirectory && facts.name.endsWith(u".jpg"_s); }
    void extract(const QString &path, const mdindex::FileFacts &, mdindex::ExtractedAttributes &into) const override
    {
        const QSize size = QImageReader(path).size();
        if (size.isValid()) {
            into.insert(MDAttribute::pixelWidth.toString(), size.width());
            into.insert(MDAttribute::pixelHeight.toString(), size.height());
        }
        into.insert(MDAttribute::isScreenCapture.toString(), false);
    }
};

// A picture of coloured discs on a grainy ground, as large as a photo of its size.
QImage scene(quint32 seed)
{
    QImage image(800, 600, QImage::Format_RGB32);
    QRandomGenerator random(seed);
    image.fill(QColor::fromHsv(int(random.bounded(360)), 150, 200));
    QPainter painter(&image);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 14; ++i) {
        painter.setBrush(QColor::fromHsv(int(random.bounded(360)), int(random.bounded(256)), int(random.bounded(256))));
        painter.drawEllipse(int(random.bounded(800)) - 100, int(random.bounded(600)) - 100, 60 + int(random.bounded(300)), 60 + int(random.bounded(300)));
    }
    painter.end();
    for (int y = 0; y < image.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int n = int(random.bounded(21)) - 10;
            line[x] = qRgb(std::clamp(qRed(line[x]) + n, 0, 255), std::clamp(qGreen(line[x]) + n, 0, 255), std::clamp(qBlue(line[x]) + n, 0, 255));
        }
    }
    return image;
}

bool inTrash(const TestHome &home, const QString &name)
{
    return QFileInfo::exists(home.path(u".local/share/Trash/files/"_s + name))
        && QFileInfo::exists(home.path(u".local/share/Trash/info/"_s + name + u".trashinfo"_s));
}

QList<QUrl> waitForTrashed(QSignalSpy &spy)
{
    if (spy.isEmpty() && !spy.wait(20000))
        return {QUrl(u"about:timeout"_s)};
    return spy.takeFirst().at(0).value<QList<QUrl>>();
}

// The figure the sidebar shows beside Clean Up.
QString sidebarCleanupFigure(const Stores &stores)
{
    for (const SidebarRowData &row : SidebarModel::build(stores)) {
        if (row.key == u"cleanupHub"_s)
            return row.detail;
    }
    return u"<no row>"_s;
}

QString toastText(const AppState &state)
{
    return state.toast() ? state.toast()->message : QString();
}

// The real window over a real index of the test's home.
struct Window : WindowFixture {
    // The buttons on screen that a screen reader could not name.
    QStringList unnamedButtons() const
    {
        QStringList unnamed;
        const auto visit = [&](auto &&self, QQuickItem *item) -> void {
            if (!item->isVisible())
                return;
            if (item->inherits("QQuickAbstractButton") || item->objectName().startsWith(u"suggestion:"_s)) {
                QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
                if (!accessible || accessible->text(QAccessible::Name).trimmed().isEmpty())
                    unnamed.append(QString::fromLatin1(item->metaObject()->className()) + u" "_s + item->objectName());
            }
            for (QQuickItem *child : item->childItems())
                self(self, child);
        };
        visit(visit, window->contentItem());
        return unnamed;
    }
};

} // namespace

class TestReviewScreens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The cards before any load, as the suggestions arrive, and the hub's words for their sum.
    void cleanupCardsAndSums()
    {
        StoreWorld world;
        addSuggestions(world.home);
        addCopies(world.home);
        world.build();
        CleanupCards cards;
        cards.setStores(world.stores());

        // Before the first load: only the duplicates card, and nothing in the header.
        QCOMPARE(cards.cards().size(), 1);
        const QVariantMap duplicates = cards.cards().first().toMap();
        QCOMPARE(duplicates[u"title"_s].toString(), u"Duplicates"_s);
        QCOMPARE(duplicates[u"headline"_s].toString(), u"Scan"_s);
        QCOMPARE(duplicates[u"detail"_s].toString(), u"Find identical files"_s);
        QCOMPARE(cards.capsule(), QString());
        QVERIFY(!cards.showsSpinner());
        QCOMPARE(cards.hubSubtitle(), u"Your computer looks tidy."_s);
        QCOMPARE(CleanupCards::hubSubtitle(true, 0), u"Looking for space you can get back…"_s);
        QCOMPARE(CleanupCards::hubSubtitle(true, 1), u"You could free up to "_s + Fmt::bytes(1));

        QSignalSpy changed(&cards, &CleanupCards::changed);
        QCoro::waitFor(world.cleanup->load(world.store->scopes(), 0));
        QVERIFY(changed.size() >= 2);
        QStringList keys;
        for (const QVariant &card : cards.cards())
            keys.append(card.toMap()[u"key"_s].toString());
        QCOMPARE(keys, (QStringList {u"duplicates"_s, u"cleanup/installers"_s, u"cleanup/oldDownloads"_s}));
        const QVariantMap installers = cards.cards().at(1).toMap();
        QCOMPARE(installers[u"title"_s].toString(), u"Old Installers"_s);
        QCOMPARE(installers[u"detail"_s].toString(), u"2 items"_s);
        QCOMPARE(installers[u"headline"_s].toString(), Fmt::bytes(5000));
        QCOMPARE(installers[u"previews"_s].toList().size(), 2);
        // The installer that is also a forgotten download counts once in the sum.
        QCOMPARE(cards.total(), 3000 + 2000 + 4000);
        QCOMPARE(cards.capsule(), u"Free up to "_s + Fmt::bytes(9000));
        QCOMPARE(cards.hubSubtitle(), u"You could free up to "_s + Fmt::bytes(9000));

        // A scan that found copies adds its extras to the sum and speaks on its card.
        QCoro::waitFor(world.duplicates->scan(world.store->scopes()));
        QCOMPARE(world.duplicates->extraCopies(), 3);
        QCOMPARE(cards.total(), 9000 + 2 * 60'000 + 80'000);
        const QVariantMap found = cards.cards().first().toMap();
        QCOMPARE(found[u"headline"_s].toString(), Fmt::bytes(200'000));
        QCOMPARE(found[u"detail"_s].toString(), u"3 extra copys"_s);
        QCOMPARE(found[u"previews"_s].toList().size(), 2);

        // A scan's progress alone redraws no card; its end does.
        changed.clear();
        QCoro::Task<> rescan = world.duplicates->scan(world.store->scopes());
        QCOMPARE(cards.cards().first().toMap()[u"headline"_s].toString(), u"Scanning…"_s);
        QCOMPARE(changed.size(), 1);
        QCoro::waitFor(std::move(rescan));
        QCOMPARE(changed.size(), 2);
    }

    // Trash Selected and Trash All move exactly what was confirmed, every list forgets it, and the
    // toast counts what really moved, also when a file refuses to go.
    void reviewTrashesWhatWasConfirmed()
    {
        StoreWorld world;
        addSuggestions(world.home);
        const QString locked = world.home.folder(u"Documents/Locked"_s);
        world.home.file(u"Documents/Locked/Stuck.dmg"_s, contents(5, 1000), g_now.addDays(-30));
        world.build();
        const QString reason = makeReadOnly(locked, g_ownMounts);
        auto unlock = qScopeGuard([&] {
            ::umount2(QFile::encodeName(locked).constData(), MNT_DETACH);
            QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        });
        if (!reason.isEmpty())
            QSKIP(qPrintable(reason));
        QCoro::waitFor(world.cleanup->load(world.store->scopes(), 0));
        const SidebarItem documents = SidebarItem::category(FileCategory::documents);
        world.load(documents);
        QVERIFY(names(world.store->collection(documents)->items).contains(u"manual.pdf"_s));

        CleanupReviewSource review;
        review.setStores(world.stores());
        review.setItemKey(u"cleanup/installers"_s);
        QCOMPARE(review.title(), u"Old Installers"_s);
        QVERIFY(review.subtitle().startsWith(u"Disk images and installer packages"_s));
        QCOMPARE(names(review.items()), (QStringList {u"tool_1.0_amd64.deb"_s, u"Legacy.dmg"_s, u"Stuck.dmg"_s}));
        QCOMPARE(review.freeable(), Fmt::bytes(6000) + u" can be freed"_s);
        QSignalSpy trashed(&review, &CleanupReviewSource::trashed);

        // Nothing marked: nothing to ask about. A mark outside the list does not count.
        review.askSelected();
        QVERIFY(!review.confirming());
        const FileItem deb = review.items().at(0);
        const FileItem dmg = review.items().at(1);
        const QUrl elsewhere = QUrl::fromLocalFile(world.home.path(u"Downloads/manual.pdf"_s));
        world.state->setSelectedFiles({dmg.url, elsewhere});
        QCOMPARE(review.selectedCount(), 1);
        review.askSelected();
        QVERIFY(review.confirming());
        QCOMPARE(review.confirmTitle(), u"Move 1 item to the Trash?"_s);
        QCOMPARE(review.confirmButton(), u"Move to Trash ("_s + Fmt::bytes(2000) + u")"_s);
        // Dismissing moves nothing.
        review.dismiss();
        QVERIFY(!review.confirming());
        QVERIFY(QFileInfo::exists(dmg.path()));

        QCOMPARE(sidebarCleanupFigure(world.stores()), Fmt::bytes(10000));
        review.askSelected();
        review.confirm();
        QCOMPARE(waitForTrashed(trashed), QList<QUrl> {dmg.url});
        QCOMPARE(sidebarCleanupFigure(world.stores()), Fmt::bytes(8000));
        QVERIFY(!QFileInfo::exists(dmg.path()));
        QVERIFY(inTrash(world.home, u"Legacy.dmg"_s));
        QCOMPARE(toastText(*world.state), u"Moved 1 item to Trash · "_s + Fmt::bytes(2000) + u" freed"_s);
        QCOMPARE(world.state->selectedFiles(), QSet<QUrl> {elsewhere});
        QCOMPARE(names(review.items()), (QStringList {u"tool_1.0_amd64.deb"_s, u"Stuck.dmg"_s}));
        QCOMPARE(world.cleanup->result(CleanupKind::installers)->totalCount, 2);

        // With a mark still on, Trash All means all; the locked one stays and is not counted.
        world.state->setSelectedFiles({deb.url, elsewhere});
        review.askAll();
        QCOMPARE(review.confirmTitle(), u"Move 2 items to the Trash?"_s);
        review.confirm();
        QCOMPARE(waitForTrashed(trashed), QList<QUrl> {deb.url});
        QVERIFY(inTrash(world.home, u"tool_1.0_amd64.deb"_s));
        QVERIFY(QFileInfo::exists(world.home.path(u"Documents/Locked/Stuck.dmg"_s)));
        QCOMPARE(toastText(*world.state), u"Moved 1 item to Trash · "_s + Fmt::bytes(3000) + u" freed"_s);
        QCOMPARE(names(review.items()), QStringList {u"Stuck.dmg"_s});
        // The forgotten downloads lose the installer too; the marks lose only what moved.
        QCOMPARE(names(world.cleanup->result(CleanupKind::oldDownloads)->items), QStringList {u"manual.pdf"_s});
        QCOMPARE(world.state->selectedFiles(), QSet<QUrl> {elsewhere});

        // The last files of a kind: its card goes at once, its list says so.
        CleanupReviewSource downloads;
        downloads.setStores(world.stores());
        downloads.setItemKey(u"cleanup/oldDownloads"_s);
        downloads.askAll();
        downloads.confirm();
        QSignalSpy downloadsTrashed(&downloads, &CleanupReviewSource::trashed);
        QCOMPARE(waitForTrashed(downloadsTrashed).size(), 1);
        QVERIFY(!names(world.store->collection(documents)->items).contains(u"manual.pdf"_s));
        QVERIFY(!downloads.hasItems());
        QCOMPARE(downloads.emptyTitle(), u"All Clean"_s);
        QVERIFY(world.cleanup->result(CleanupKind::oldDownloads).has_value());
        CleanupCards cards;
        cards.setStores(world.stores());
        QCOMPARE(cards.cards().size(), 2);

        // Nothing moved: the toast says 0.
        review.askAll();
        review.confirm();
        QCOMPARE(waitForTrashed(trashed), QList<QUrl> {});
        QCOMPARE(toastText(*world.state), u"Moved 0 items to Trash · "_s + Fmt::bytes(0) + u" freed"_s);
    }

    void sourcesCardsAndOneSource()
    {
        StoreWorld world;
        const auto download = [&](const QString &name, const QByteArray &origin, int daysAgo) {
            const QString path = world.home.file(name, contents(daysAgo, 1000 * daysAgo), g_now.addDays(-daysAgo));
            return TestHome::setXattr(path, "user.xdg.origin.url", origin);
        };
        bool stamped = download(u"Downloads/report.pdf"_s, "https://drive.usercontent.google.com/download?id=1", 1);
        stamped = download(u"Downloads/sheet.xlsx"_s, "https://docs.google.com/spreadsheets/d/2/export", 2) && stamped;
        stamped = download(u"Downloads/patch.diff"_s, "https://raw.githubusercontent.com/a/b/main/x.diff", 3) && stamped;
        world.home.file(u"Downloads/plain.txt"_s, "nothing known");
        if (!stamped)
            QSKIP("this file system keeps no user attributes");
        world.extractors.push_back(mdindex::extractors::makeWhereFromsExtractor());
        world.build();

        SourceCards hub;
        hub.setStores(world.stores());
        QCOMPARE(hub.summary(), u"Looking at where your downloads came from…"_s);
        QVERIFY(hub.cards().isEmpty());

        // One source opened on a fresh start loads the downloads itself.
        SourceItemsSource one;
        one.setItemKey(u"source/GitHub"_s);
        one.setStores(world.stores());
        QVERIFY(one.isLoading());
        QTRY_VERIFY_WITH_TIMEOUT(world.sources->hasLoaded(), 20000);
        QCOMPARE(world.sources->groups().size(), 2);
        const QString drive = world.sources->groups().first().source.name;
        QCOMPARE(hub.summary(), u"3 downloaded files from 2 sources"_s);
        QCOMPARE(hub.cards().size(), 2);
        QCOMPARE(hub.cards().first().toMap()[u"detail"_s].toString(), u"2 files · "_s + Fmt::bytes(3000));
        QCOMPARE(hub.cards().first().toMap()[u"key"_s].toString(), u"source/"_s + drive);
        hub.setLimit(1);
        QCOMPARE(hub.cards().size(), 1);

        QCOMPARE(one.title(), u"From GitHub"_s);
        QCOMPARE(one.subtitle(), u"1 file · "_s + Fmt::bytes(3000) + u" downloaded from GitHub"_s);
        QCOMPARE(names(one.items()), QStringList {u"patch.diff"_s});

        // A name that is in no group: its own empty state.
        SourceItemsSource nobody;
        nobody.setStores(world.stores());
        nobody.setItemKey(u"source/Nowhere"_s);
        QVERIFY(!nobody.isLoading());
        QVERIFY(nobody.items().isEmpty());
        QCOMPARE(nobody.subtitle(), QString());
        QCOMPARE(nobody.emptyTitle(), u"Nothing From Nowhere"_s);
        QCOMPARE(nobody.emptyMessage(), u"No downloaded files from Nowhere were found."_s);
    }

    // The exact tab from a scan to the last extra: the panel in each phase, a keeper changed, one
    // group trashed, then all extras, the kept copies still in place.
    void duplicatesFromScanToTrash()
    {
        StoreWorld world;
        addCopies(world.home);
        world.build();
        DuplicatesModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setStores(world.stores());
        QCOMPARE(model.phase(), u"idle"_s);
        QCOMPARE(model.headline(), u"Find duplicate files"_s);
        QVERIFY(model.canStart());
        model.setTab(u"similar"_s);
        QCOMPARE(model.headline(), u"Find look-alike photos"_s);
        model.setTab(u"exact"_s);

        model.opened();
        QVERIFY(world.duplicates->phase().isRunning());
        QVERIFY(!model.canStart() && !model.canScanAgain());
        QTRY_COMPARE_WITH_TIMEOUT(model.phase(), u"finished"_s, 20000);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.headline(), u"Free up "_s + Fmt::bytes(200'000));
        QVERIFY(model.freeUp());
        QCOMPARE(model.detail(), u"3 extra copys in 2 groups"_s);
        QCOMPARE(model.confirmTitle(), u"Move 3 files to the Trash?"_s);
        QCOMPARE(model.confirmButton(), u"Move to Trash ("_s + Fmt::bytes(200'000) + u")"_s);
        // Opening the screen again starts nothing.
        model.opened();
        QCOMPARE(model.phase(), u"finished"_s);

        const auto row = [&](const QString &title) {
            for (int i = 0; i < model.rowCount(); ++i) {
                if (model.index(i).data(DuplicatesModel::TitleRole).toString() == title)
                    return i;
            }
            return -1;
        };
        const int three = row(u"3 identical copies"_s);
        QVERIFY(three >= 0);
        QCOMPARE(model.index(three).data(DuplicatesModel::TrashLabelRole).toString(), u"Keep 1, Trash 2"_s);
        QCOMPARE(model.index(three).data(DuplicatesModel::FreeableRole).toString(), Fmt::bytes(120'000) + u" can be freed"_s);
        const QString threeId = model.index(three).data(DuplicatesModel::GroupIdRole).toString();
        // A click keeps another copy: the badges follow.
        const QUrl desktopCopy = QUrl::fromLocalFile(world.home.path(u"Desktop/report copy.pdf"_s));
        QSignalSpy rowChanged(&model, &QAbstractItemModel::dataChanged);
        model.keep(threeId, desktopCopy);
        QCOMPARE(rowChanged.size(), 1);
        int kept = 0;
        for (const QVariant &tile : model.index(three).data(DuplicatesModel::TilesRole).toList()) {
            const QVariantMap map = tile.toMap();
            if (map[u"keep"_s].toBool()) {
                ++kept;
                QCOMPARE(map[u"item"_s].value<FileItem>().url, desktopCopy);
                QCOMPARE(map[u"folder"_s].toString(), u"~/Desktop"_s);
            }
        }
        QCOMPARE(kept, 1);

        // "Keep 1, Trash 2": the two others go, the group leaves the list.
        QSignalSpy trashed(&model, &DuplicatesModel::trashed);
        model.trashGroup(threeId);
        QCOMPARE(waitForTrashed(trashed).size(), 2);
        QVERIFY(inTrash(world.home, u"report.pdf"_s));
        QVERIFY(inTrash(world.home, u"report (1).pdf"_s));
        QVERIFY(QFileInfo::exists(desktopCopy.toLocalFile()));
        QCOMPARE(toastText(*world.state), u"Moved 2 files to Trash · "_s + Fmt::bytes(120'000) + u" freed"_s);
        QCOMPARE(model.rowCount(), 1);
        QCOMPARE(model.detail(), u"1 extra copy in 1 group"_s);

        // All extras, after the confirmation; the kept song stays.
        const QUrl keptSong = world.duplicates->exact().first().keep;
        model.trashAll();
        QCOMPARE(waitForTrashed(trashed).size(), 1);
        QVERIFY(QFileInfo::exists(keptSong.toLocalFile()));
        QVERIFY(inTrash(world.home, u"song.mp3"_s));
        QCOMPARE(toastText(*world.state), u"Moved 1 file to Trash · "_s + Fmt::bytes(80'000) + u" freed"_s);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.headline(), u"No duplicates found"_s);
        QVERIFY(model.detail().startsWith(u"Checked "_s) && model.detail().endsWith(u". Nice and tidy!"_s));
        QVERIFY(model.canScanAgain() && !model.canTrashAll());
    }

    // The look-alike tab: its own scan from its button, its own words, and its trash.
    void lookAlikesFromScanToTrash()
    {
        StoreWorld world;
        const QImage beach = scene(7);
        world.home.folder(u"Pictures"_s);
        QVERIFY(beach.save(world.home.path(u"Pictures/beach.jpg"_s), "jpeg", 92));
        QVERIFY(beach.scaled(640, 480, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).save(world.home.path(u"Pictures/beach small.jpg"_s), "jpeg", 95));
        QVERIFY(scene(8).save(world.home.path(u"Pictures/forest.jpg"_s), "jpeg", 92));
        world.extractors.push_back(std::make_unique<PictureSizes>());
        world.build();
        DuplicatesModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setStores(world.stores());
        model.setTab(u"similar"_s);
        QCOMPARE(model.headline(), u"Find look-alike photos"_s);
        model.scan();
        QCOMPARE(world.duplicates->phase().kind, DuplicateFinder::Phase::idle);
        QTRY_COMPARE_WITH_TIMEOUT(model.phase(), u"finished"_s, 30000);
        QCOMPARE(model.rowCount(), 1);
        const DuplicateGroup group = world.duplicates->similar().first();
        const qint64 extra = group.reclaimable();
        QCOMPARE(model.headline(), u"Free up "_s + Fmt::bytes(extra));
        QCOMPARE(model.detail(), u"1 extra photo in 1 group"_s);
        QCOMPARE(model.index(0).data(DuplicatesModel::TitleRole).toString(), u"2 similar photos"_s);
        // The exact tab has its own rows: none, its scan never ran.
        model.setTab(u"exact"_s);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.headline(), u"Find duplicate files"_s);
        model.setTab(u"similar"_s);
        QCOMPARE(model.rowCount(), 1);

        QSignalSpy trashed(&model, &DuplicatesModel::trashed);
        model.trashAll();
        QCOMPARE(waitForTrashed(trashed), QList<QUrl> {group.extras().first().url});
        QVERIFY(QFileInfo::exists(group.keep.toLocalFile()));
        QVERIFY(inTrash(world.home, group.extras().first().name));
        QCOMPARE(toastText(*world.state), u"Moved 1 file to Trash · "_s + Fmt::bytes(extra) + u" freed"_s);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.headline(), u"No look-alike photos."_s);
    }

    // Copies compared by samples are read in full before they go: one that differs stays, and the
    // toast says so.
    void sampledCopyThatDiffersStays()
    {
        StoreWorld world;
        constexpr qint64 size = 40 * 1048576;
        const QString kept = world.home.sparseFile(u"Documents/backup.img"_s, size);
        TestHome::setModified(kept, g_now.addYears(-3));
        const QString copy = world.home.sparseFile(u"Downloads/backup.img"_s, size);
        const QString other = world.home.sparseFile(u"Downloads/backup (1).img"_s, size);
        {
            // A byte between the samples.
            QFile file(other);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.seek(qint64(double(size - 1048576) * 20 / 31.0) + 1048576 + 4096));
            QCOMPARE(file.write("x"), 1);
        }
        world.build();
        world.duplicates = std::make_unique<DuplicateFinder>(*world.index, 32 * 1048576);
        DuplicatesModel model;
        model.setStores(world.stores());
        QCoro::waitFor(world.duplicates->scan(world.store->scopes()));
        QCOMPARE(model.rowCount(), 1);
        QVERIFY(world.duplicates->exact().first().sampled);
        QCOMPARE(model.detail(), u"2 extra copys in 1 group"_s);

        QSignalSpy trashed(&model, &DuplicatesModel::trashed);
        model.trashGroup(model.index(0).data(DuplicatesModel::GroupIdRole).toString());
        QCOMPARE(waitForTrashed(trashed), QList<QUrl> {QUrl::fromLocalFile(copy)});
        QVERIFY(QFileInfo::exists(kept));
        QVERIFY(QFileInfo::exists(other));
        QVERIFY(inTrash(world.home, u"backup.img"_s));
        QCOMPARE(toastText(*world.state), u"Moved 1 file to Trash · "_s + Fmt::bytes(size) + u" freed · 1 file kept: not identical after all"_s);
        QCOMPARE(model.rowCount(), 0);
    }

    void duplicatesShowSixtyAtATime()
    {
        StoreWorld world;
        for (int i = 0; i < 61; ++i) {
            world.home.file(u"Documents/a/%1.bin"_s.arg(i), contents(100 + i));
            world.home.file(u"Documents/b/%1.bin"_s.arg(i), contents(100 + i));
        }
        world.build();
        DuplicatesModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setStores(world.stores());
        QCoro::waitFor(world.duplicates->scan(world.store->scopes()));
        QCOMPARE(world.duplicates->exact().size(), 61);
        QCOMPARE(model.rowCount(), 60);
        QCOMPARE(model.hiddenCount(), 1);
        QCOMPARE(model.showMoreText(), u"Show 1 More"_s);
        QCOMPARE(model.detail(), u"61 extra copys in 61 groups"_s);
        model.showMore();
        QCOMPARE(model.rowCount(), 61);
        QCOMPARE(model.showMoreText(), QString());
        // The hero panel's figures: a phase in progress.
        const auto hashing = DuplicatesModel::hero(true, DuplicateFinder::Phase::hashingAt(3, 7), {}, 0);
        QCOMPARE(hashing.headline, u"Looking at your photos…"_s);
        QCOMPARE(hashing.detail, u"3 of 7 photos analysed"_s);
        QVERIFY(hashing.showsProgress);
    }

    void toastWords()
    {
        QCOMPARE(ReviewFlows::copiesToast(2, 1000, 1), u"Moved 2 files to Trash · "_s + Fmt::bytes(1000) + u" freed · 1 file kept: not identical after all"_s);
        FileItem a;
        a.url = QUrl(u"file:///a"_s);
        a.size = 5;
        FileItem b;
        b.url = QUrl(u"file:///b"_s);
        b.size = 7;
        QCOMPARE(ReviewFlows::movedBytes({a, b, a}, {a.url}), 5);
    }

    // In the window: the sidebar's Clean Up, a card, the review list, Trash All and its dialog.
    void cleanupInTheWindow()
    {
        Window w;
        addSuggestions(w.home);
        w.open();
        QVERIFY(w.window);
        QTRY_VERIFY_WITH_TIMEOUT(w.stores().cleanup->loadedToken() == w.state().refreshToken(), 30000);
        // The warm-up's last step, the duplicate scan, redraws the cards when it ends.
        QTRY_COMPARE_WITH_TIMEOUT(w.stores().duplicates->phase().kind, DuplicateFinder::Phase::finished, 30000);
        w.state().selectKey(u"cleanupHub"_s);
        QTRY_COMPARE(w.text(u"hubSubtitle"_s), u"You could free up to "_s + Fmt::bytes(9000));
        QTRY_VERIFY(w.find(u"suggestion:cleanup/installers"_s));
        QAccessible::setActive(true);
        QVERIFY2(w.unnamedButtons().isEmpty(), qPrintable(w.unnamedButtons().join(u", "_s)));
        // Laid out beside the duplicates card once the grid has placed it.
        QTRY_VERIFY(w.find(u"suggestion:cleanup/installers"_s)->x() > 0);
        QVERIFY(w.click(u"suggestion:cleanup/installers"_s));
        QCOMPARE(w.state().selectionKey(), u"cleanup/installers"_s);
        QTRY_COMPARE(w.text(u"browserTitle"_s), u"Old Installers"_s);
        QTRY_COMPARE(w.text(u"freeableText"_s), Fmt::bytes(5000) + u" can be freed"_s);
        QVERIFY2(w.unnamedButtons().isEmpty(), qPrintable(w.unnamedButtons().join(u", "_s)));
        QVERIFY(w.click(u"trashAllButton"_s));
        QTRY_COMPARE(w.text(u"confirmTitle"_s), u"Move 2 items to the Trash?"_s);
        QCOMPARE(w.text(u"confirmDestroy"_s), u"Move to Trash ("_s + Fmt::bytes(5000) + u")"_s);
        QVERIFY(w.click(u"confirmDestroy"_s));
        QTRY_VERIFY_WITH_TIMEOUT(inTrash(w.home, u"Legacy.dmg"_s), 10000);
        QTRY_VERIFY(inTrash(w.home, u"tool_1.0_amd64.deb"_s));
        QTRY_COMPARE(toastText(w.state()), u"Moved 2 items to Trash · "_s + Fmt::bytes(5000) + u" freed"_s);
        QTRY_COMPARE(w.text(u"emptyTitle"_s), u"All Clean"_s);
    }

    // The home screen's clean-up and source sections, and a kind's tile with its menu.
    void homeSectionsAndTileMenu()
    {
        Window w;
        addSuggestions(w.home);
        w.open();
        QVERIFY(w.window);
        QTRY_VERIFY_WITH_TIMEOUT(w.stores().cleanup->loadedToken() == w.state().refreshToken(), 30000);
        QTRY_COMPARE_WITH_TIMEOUT(w.stores().duplicates->phase().kind, DuplicateFinder::Phase::finished, 30000);
        QTRY_VERIFY(w.find(u"cleanupCapsule"_s));
        QQuickItem *capsule = w.find(u"cleanupCapsule"_s);
        QCOMPARE(capsule->childItems().first()->property("text").toString(), u"Free up to "_s + Fmt::bytes(9000));
        QVERIFY(w.find(u"suggestion:cleanup/installers"_s));
        // No downloads with an address: the sources section stays out of sight.
        QVERIFY(!w.find(u"sourcesSection"_s));

        const QString tile = u"categoryTile:category/documents"_s;
        QTRY_VERIFY(w.find(tile));
        QQuickItem *item = w.find(tile);
        const QPoint at = item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
        QTest::mouseClick(w.window, Qt::RightButton, {}, at);
        const int token = w.state().refreshToken();
        // The menu's second entry, Refresh.
        QQuickItem *refresh = nullptr;
        QTRY_VERIFY((refresh = [&]() -> QQuickItem * {
            const auto visit = [](auto &&self, QQuickItem *node) -> QQuickItem * {
                if (node->inherits("QQuickMenuItem") && node->property("text").toString() == u"Refresh"_s && node->isVisible())
                    return node;
                for (QQuickItem *child : node->childItems()) {
                    if (QQuickItem *found = self(self, child))
                        return found;
                }
                return nullptr;
            };
            return visit(visit, w.window->contentItem());
        }()));
        QTest::mouseClick(w.window, Qt::LeftButton, {}, refresh->mapToScene(QPointF(refresh->width() / 2, refresh->height() / 2)).toPoint());
        QCOMPARE(w.state().refreshToken(), token + 1);
        QCOMPARE(w.state().selectionKey(), u"home"_s);
    }

    // In the window: the duplicates screen scans on opening; a click keeps a copy, and the group's
    // button trashes the others.
    void duplicatesInTheWindow()
    {
        Window w;
        w.home.file(u"Documents/a.bin"_s, contents(20), g_now.addDays(-1));
        w.home.file(u"Documents/b.bin"_s, contents(20), g_now.addDays(-2));
        w.home.file(u"Music/c.bin"_s, contents(21, 70'000), g_now.addDays(-3));
        w.home.file(u"Music/d.bin"_s, contents(21, 70'000), g_now.addDays(-4));
        w.open();
        QVERIFY(w.window);
        w.state().selectKey(u"duplicates"_s);
        QTRY_COMPARE_WITH_TIMEOUT(w.stores().duplicates->phase().kind, DuplicateFinder::Phase::finished, 30000);
        QTRY_COMPARE(w.text(u"heroHeadline"_s), u"Free up "_s + Fmt::bytes(130'000));
        // The first group: a click keeps its other copy, and its own button trashes the rest.
        const DuplicateGroup first = w.stores().duplicates->exact().first();
        const DuplicateGroup second = w.stores().duplicates->exact().last();
        const QUrl keepBefore = first.keep;
        const FileItem other = first.extras().first();
        QAccessible::setActive(true);
        QVERIFY2(w.unnamedButtons().isEmpty(), qPrintable(w.unnamedButtons().join(u", "_s)));
        QTRY_VERIFY(w.find(u"duplicateTile:"_s + other.name));
        QVERIFY(w.click(u"duplicateTile:"_s + other.name));
        QTRY_COMPARE(w.stores().duplicates->exact().first().keep, other.url);
        const QString button = u"keepOne:"_s + first.id.toString(QUuid::WithoutBraces);
        QTRY_VERIFY(w.find(button));
        QVERIFY(w.click(button));
        QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(keepBefore.toLocalFile()), 10000);
        QVERIFY(inTrash(w.home, keepBefore.fileName()));
        QVERIFY(QFileInfo::exists(other.path()));
        QTRY_COMPARE(toastText(w.state()), u"Moved 1 file to Trash · "_s + Fmt::bytes(first.files.first().size) + u" freed"_s);

        // Then all extras, after the confirmation: the kept copy stays.
        QTRY_COMPARE(w.text(u"heroDetail"_s), u"1 extra copy in 1 group"_s);
        QVERIFY(w.click(u"trashAllExtras"_s));
        QTRY_COMPARE(w.text(u"confirmTitle"_s), u"Move 1 file to the Trash?"_s);
        QCOMPARE(w.text(u"confirmDestroy"_s), u"Move to Trash ("_s + Fmt::bytes(second.reclaimable()) + u")"_s);
        QVERIFY(w.click(u"confirmDestroy"_s));
        QTRY_COMPARE_WITH_TIMEOUT(w.text(u"heroHeadline"_s), u"No duplicates found"_s, 10000);
        QVERIFY(QFileInfo::exists(second.keep.toLocalFile()));
        QVERIFY(inTrash(w.home, second.extras().first().name));
        QCOMPARE(toastText(w.state()), u"Moved 1 file to Trash · "_s + Fmt::bytes(second.reclaimable()) + u" freed"_s);
    }
};

int main(int argc, char *argv[])
{
    // Mounts made here stay in a namespace of this process and vanish with it.
    g_ownMounts = ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    QGuiApplication app(argc, argv);
    TestReviewScreens test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_reviewscreens.moc"
