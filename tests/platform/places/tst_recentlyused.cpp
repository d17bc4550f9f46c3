#include "TestHome.h"
#include "places/RecentlyUsedReader.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QDateTime utc(const char *iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs).toUTC();
}

} // namespace

class TestRecentlyUsed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void latestStampOfEachFile()
    {
        // As GTK writes it: microseconds, escaped addresses, the same file listed twice, a web page.
        const QByteArray xbel = "<?xml version='1.0' encoding='UTF-8'?>\n"
                                "<xbel version='1.0' xmlns:bookmark='http://www.freedesktop.org/standards/desktop-bookmarks'"
                                " xmlns:mime='http://www.freedesktop.org/standards/shared-mime-info'>\n"
                                "  <bookmark href='file:///home/ada/Downloads/My%20Report.pdf' added='2024-01-02T10:00:00.123456Z'"
                                " modified='2024-01-03T10:00:00.500000Z' visited='2024-01-05T08:30:00.250000Z'>\n"
                                "    <info><metadata owner='http://freedesktop.org'><mime:mime-type type='application/pdf'/>\n"
                                "      <bookmark:applications><bookmark:application name='Evince' exec='&apos;evince %u&apos;'"
                                " modified='2024-06-01T00:00:00Z' count='2'/></bookmark:applications>\n"
                                "    </metadata></info>\n"
                                "  </bookmark>\n"
                                "  <bookmark href='file:///home/ada/Pictures/a.png' added='2023-05-01T00:00:00Z' modified='2023-07-01T12:00:00Z'"
                                " visited='2023-06-01T00:00:00Z'/>\n"
                                "  <bookmark href='file:///home/ada/Pictures/a.png' added='2023-01-01T00:00:00Z' modified='2023-02-01T00:00:00Z'"
                                " visited='2023-03-01T00:00:00Z'/>\n"
                                "  <bookmark href='https://example.com/page' added='2024-01-01T00:00:00Z' modified='2024-01-01T00:00:00Z'"
                                " visited='2024-01-01T00:00:00Z'/>\n"
                                "  <bookmark href='file:///home/ada/undated.txt' added='2024-01-01T00:00:00Z'/>\n"
                                "</xbel>\n";
        const QHash<QString, QDateTime> stamps = RecentlyUsedReader::parse(xbel);
        QCOMPARE(stamps.size(), 2);
        // Visited is later than modified here; the application's own stamp is not the bookmark's.
        QCOMPARE(stamps.value(u"/home/ada/Downloads/My Report.pdf"_s), utc("2024-01-05T08:30:00.250Z"));
        // Of two listings the later stamp, whichever attribute holds it.
        QCOMPARE(stamps.value(u"/home/ada/Pictures/a.png"_s), utc("2023-07-01T12:00:00Z"));
    }

    void missingOrBrokenLists()
    {
        TestHome home;
        QCOMPARE(RecentlyUsedReader::defaultPath(), home.path(u".local/share/recently-used.xbel"_s));
        QVERIFY(RecentlyUsedReader::read().isEmpty());

        home.file(u".local/share/recently-used.xbel"_s, "this is not XML at all \x01\x02");
        QVERIFY(RecentlyUsedReader::read().isEmpty());

        // Cut off mid-write: what came before the fault still counts.
        home.file(u".local/share/recently-used.xbel"_s,
            "<?xml version=\"1.0\"?><xbel version=\"1.0\">"
            "<bookmark href=\"file:///home/ada/a.txt\" modified=\"2024-02-01T00:00:00Z\" visited=\"2024-02-01T00:00:00Z\"/>"
            "<bookmark href=\"file:///home/ada/b.txt\" modified=\"2024-0");
        const QHash<QString, QDateTime> stamps = RecentlyUsedReader::read();
        QCOMPARE(stamps.keys(), QStringList {u"/home/ada/a.txt"_s});

        // Stamps that are not dates are ignored.
        QVERIFY(RecentlyUsedReader::parse("<xbel><bookmark href='file:///a' visited='yesterday' modified=''/></xbel>").isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestRecentlyUsed)
#include "tst_recentlyused.moc"
