#include "models/Fmt.h"

#include <QLocale>
#include <QTest>

#include <cmath>
#include <limits>

class TestFmt : public QObject
{
    Q_OBJECT

    // A fixed moment, far from any daylight-saving switch.
    const QDateTime m_now {QDate(2026, 11, 22), QTime(15, 0)};

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void bytes_data()
    {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<QString>("expected");
        QTest::newRow("zero") << qint64(0) << "Zero KB";
        QTest::newRow("one byte") << qint64(1) << "1 byte";
        QTest::newRow("two bytes") << qint64(2) << "2 bytes";
        QTest::newRow("999 bytes") << qint64(999) << "999 bytes";
        QTest::newRow("1 KB") << qint64(1000) << "1 KB";
        QTest::newRow("KB rounds down") << qint64(1499) << "1 KB";
        QTest::newRow("KB rounds up") << qint64(1500) << "2 KB";
        QTest::newRow("top of KB") << qint64(999499) << "999 KB";
        QTest::newRow("KB rounding into MB") << qint64(999500) << "1 MB";
        QTest::newRow("just under 1 MB") << qint64(999999) << "1 MB";
        QTest::newRow("1 MB") << qint64(1000000) << "1 MB";
        QTest::newRow("MB one decimal") << qint64(1500000) << "1.5 MB";
        QTest::newRow("top of MB") << qint64(999949999) << "999.9 MB";
        QTest::newRow("MB rounding into GB") << qint64(999950000) << "1 GB";
        QTest::newRow("1 GB") << qint64(1000000000) << "1 GB";
        QTest::newRow("GB two decimals") << qint64(1234567890) << "1.23 GB";
        QTest::newRow("GB rounding into TB") << qint64(999995000000) << "1 TB";
        QTest::newRow("TB trailing zero dropped") << qint64(2500000000000) << "2.5 TB";
        QTest::newRow("PB") << qint64(3450000000000000) << "3.45 PB";
        QTest::newRow("largest count") << std::numeric_limits<qint64>::max() << "9.22 EB";
    }
    void bytes()
    {
        QFETCH(qint64, count);
        QFETCH(QString, expected);
        QCOMPARE(Fmt::bytes(count), expected);
    }

    void bytesFollowsLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QString text = Fmt::bytes(1500000);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(text, QStringLiteral("1,5 MB"));
    }

    void negativeBytes_data()
    {
        QTest::addColumn<qint64>("count");
        QTest::newRow("minus one") << qint64(-1);
        QTest::newRow("minus 1.5 MB") << qint64(-1500000);
        QTest::newRow("smallest count") << std::numeric_limits<qint64>::min();
    }
    void negativeBytes()
    {
        QFETCH(qint64, count);
        const QString text = Fmt::bytes(count);
        QVERIFY2(text.startsWith(u'-'), qPrintable(text));
        QVERIFY2(text.endsWith(u'B') || text.contains(QLatin1String("byte")), qPrintable(text));
    }

    void duration_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("expected");
        QTest::newRow("zero") << 0.0 << "0:00";
        QTest::newRow("rounds down") << 59.4 << "0:59";
        QTest::newRow("half rounds up to a minute") << 59.5 << "1:00";
        QTest::newRow("seconds padded") << 61.0 << "1:01";
        QTest::newRow("last second under an hour") << 3599.4 << "59:59";
        QTest::newRow("rounding into an hour") << 3599.6 << "1:00:00";
        QTest::newRow("one hour") << 3600.0 << "1:00:00";
        QTest::newRow("ten hours") << 36062.0 << "10:01:02";
        QTest::newRow("negative") << -1.0 << "0:00";
        QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << "0:00";
        QTest::newRow("minus infinite") << -std::numeric_limits<double>::infinity() << "0:00";
        QTest::newRow("not a number") << std::nan("") << "0:00";
    }
    void duration()
    {
        QFETCH(double, seconds);
        QFETCH(QString, expected);
        QCOMPARE(Fmt::duration(seconds), expected);
    }

    void hugeDuration()
    {
        const QString text = Fmt::duration(1e300);
        QVERIFY(!text.isEmpty());
    }

    // Fmt::date picks relative text below six days, the abbreviated date from there on.
    void date_data()
    {
        QTest::addColumn<qint64>("offset"); // seconds from now; negative is the past
        QTest::addColumn<QString>("expected");
        const qint64 hour = 3600, day = 86400;
        QTest::newRow("now") << qint64(0) << "now";
        QTest::newRow("30 seconds ago") << qint64(-30) << "30 seconds ago";
        QTest::newRow("1 minute ago") << qint64(-60) << "1 minute ago";
        QTest::newRow("1 hour ago") << -hour << "1 hour ago";
        QTest::newRow("2 hours ago") << -(2 * hour + 1800) << "2 hours ago";
        QTest::newRow("yesterday") << -(day + 2 * hour) << "yesterday";
        QTest::newRow("3 days ago") << -3 * day << "3 days ago";
        QTest::newRow("last relative second") << qint64(-518399) << "5 days ago";
        QTest::newRow("six days is a date") << qint64(-518400) << "Nov 16, 2026";
        QTest::newRow("weeks back is a date") << -20 * day << "Nov 2, 2026";
        QTest::newRow("in 1 minute") << qint64(60) << "in 1 minute";
        QTest::newRow("in 3 hours") << 3 * hour << "in 3 hours";
        QTest::newRow("tomorrow") << day + 3 * hour << "tomorrow";
        QTest::newRow("in 2 days") << 2 * day << "in 2 days";
        QTest::newRow("far future stays relative") << 10 * day << "next week";
        QTest::newRow("in 2 weeks") << 14 * day << "in 2 weeks";
    }
    void date()
    {
        QFETCH(qint64, offset);
        QFETCH(QString, expected);
        QCOMPARE(Fmt::date(m_now.addSecs(offset), m_now), expected);
    }

    // Beyond six days only relativeDate itself reaches the week, month and year words.
    void relativeDate_data()
    {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QString>("expected");
        const QTime t(15, 0);
        QTest::newRow("last week") << QDateTime(QDate(2026, 11, 15), t) << "last week";
        QTest::newRow("2 weeks ago") << QDateTime(QDate(2026, 11, 8), t) << "2 weeks ago";
        QTest::newRow("last month") << QDateTime(QDate(2026, 10, 22), t) << "last month";
        QTest::newRow("next month") << QDateTime(QDate(2026, 12, 22), t) << "next month";
        QTest::newRow("in 2 months") << QDateTime(QDate(2027, 1, 22), t) << "in 2 months";
        QTest::newRow("last year") << QDateTime(QDate(2025, 11, 22), t) << "last year";
        QTest::newRow("3 years ago") << QDateTime(QDate(2023, 11, 22), t) << "3 years ago";
        QTest::newRow("next year") << QDateTime(QDate(2027, 11, 22), t) << "next year";
        QTest::newRow("in 2 years") << QDateTime(QDate(2028, 11, 22), t) << "in 2 years";
    }
    void relativeDate()
    {
        QFETCH(QDateTime, date);
        QFETCH(QString, expected);
        QCOMPARE(Fmt::relativeDate(date, m_now), expected);
    }

    void abbreviatedDate_data()
    {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QString>("expected");
        QTest::newRow("single-digit day, no time") << QDateTime(QDate(2026, 1, 5), QTime(23, 59)) << "Jan 5, 2026";
        QTest::newRow("two-digit day") << QDateTime(QDate(1999, 12, 31), QTime(0, 0)) << "Dec 31, 1999";
    }
    void abbreviatedDate()
    {
        QFETCH(QDateTime, date);
        QFETCH(QString, expected);
        QCOMPARE(Fmt::abbreviatedDate(date), expected);
        QCOMPARE(Fmt::date(date, m_now), expected);
    }
};

QTEST_GUILESS_MAIN(TestFmt)
#include "tst_fmt.moc"
