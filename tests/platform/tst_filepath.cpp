#include "FilePath.h"

#include <QRandomGenerator>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

// A byte string of `length` bytes drawn mostly from the ranges UTF-8 decoders trip over.
QByteArray randomBytes(QRandomGenerator &random, int length)
{
    static const QByteArray interesting = QByteArrayLiteral("/.%#?:@ aZ\\\n\t\x1b\x7f");
    QByteArray bytes;
    for (int i = 0; i < length; ++i) {
        switch (random.bounded(6)) {
        case 0:
            bytes += interesting.at(random.bounded(interesting.size()));
            break;
        case 1:
            bytes += char(0x80 + random.bounded(0x40)); // continuation bytes
            break;
        case 2:
            bytes += char(0xC0 + random.bounded(0x40)); // lead bytes, valid or not
            break;
        case 3: {
            // A whole valid character of 1 to 4 bytes.
            const char32_t cp = random.bounded(2) ? char32_t(0x10000 + random.bounded(0x100000 - 0x10000)) : char32_t(0xA0 + random.bounded(0xD700));
            bytes += QString::fromUcs4(&cp, 1).toUtf8();
            break;
        }
        default:
            bytes += char(1 + random.bounded(255));
        }
    }
    return bytes;
}

} // namespace

class TestFilePath : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namedCases_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("undecodable");

        QTest::newRow("plain") << QByteArray("/home/a/report.pdf") << 0;
        QTest::newRow("accents") << QByteArray("/home/a/r\xc3\xa9sum\xc3\xa9.txt") << 0;
        QTest::newRow("latin-1 byte") << QByteArray("/home/a/report-\xff.pdf") << 1;
        QTest::newRow("latin-1 name") << QByteArray("/home/a/r\xe9sum\xe9.txt") << 2;
        QTest::newRow("overlong slash") << QByteArray("/a/\xc0\xaf") << 2;
        QTest::newRow("overlong three bytes") << QByteArray("\xe0\x80\xaf") << 3;
        QTest::newRow("encoded surrogate") << QByteArray("\xed\xa0\x80\xed\xb0\x80") << 6;
        QTest::newRow("four bytes") << QByteArray("\xf0\x9f\x98\x80") << 0;
        QTest::newRow("four bytes then stray") << QByteArray("\xf0\x9f\x98\x80\x80") << 1;
        QTest::newRow("past unicode") << QByteArray("\xf4\x90\x80\x80") << 4;
        QTest::newRow("cut sequence") << QByteArray("ab\xe2\x82") << 2;
        QTest::newRow("lead bytes never valid") << QByteArray("\xf8\xfe\xff") << 3;
        QTest::newRow("replacement character itself") << QByteArray("\xef\xbf\xbd") << 0;
    }

    void namedCases()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, undecodable);

        const QString path = FilePath::fromNative(bytes);
        QCOMPARE(FilePath::toNative(path), bytes);
        QCOMPARE(FilePath::hasUndecodable(path), undecodable > 0);
        const QString shown = FilePath::display(path);
        // Each undecodable byte is one mark; a replacement character that was in the name stays one too.
        QCOMPARE(shown.count(QChar(QChar::ReplacementCharacter)), undecodable + bytes.count("\xef\xbf\xbd"));
        // What people see is valid text.
        int lone = 0;
        for (qsizetype i = 0; i < path.size(); ++i)
            lone += path[i].unicode() >= 0xDC80 && path[i].unicode() <= 0xDCFF && !(i > 0 && path[i - 1].isHighSurrogate());
        QCOMPARE(lone, undecodable);
        QVERIFY(shown.isValidUtf16());
        if (undecodable == 0)
            QCOMPARE(path, QString::fromUtf8(bytes));
    }

    void randomBytesRoundTrip()
    {
        QRandomGenerator random(20240601);
        for (int n = 0; n < 5000; ++n) {
            const QByteArray bytes = randomBytes(random, 1 + random.bounded(24));
            const QString path = FilePath::fromNative(bytes);
            if (FilePath::toNative(path) != bytes)
                QFAIL(qPrintable(u"lost bytes of "_s + QString::fromLatin1(bytes.toHex())));
            // Whatever decodes cleanly decodes exactly as Qt's own decoder does.
            if (!FilePath::hasUndecodable(path))
                QCOMPARE(path, QString::fromUtf8(bytes));
        }
    }

    void readablePartStaysText()
    {
        const QString path = FilePath::fromNative("report-\xff\xfe.pdf");
        QVERIFY(path.startsWith(u"report-"_s));
        QVERIFY(path.endsWith(u".pdf"_s));
        QCOMPARE(FilePath::display(path), u"report-\ufffd\ufffd.pdf"_s);
    }

    void urlsCarryTheExactBytes()
    {
        QRandomGenerator random(777);
        for (int n = 0; n < 3000; ++n) {
            QByteArray bytes = "/tmp/" + randomBytes(random, 1 + random.bounded(16));
            bytes.replace('\0', 'x');
            const QString path = FilePath::fromNative(bytes);
            const QUrl url = FilePath::toUrl(path);
            QVERIFY2(url.isValid() && url.isLocalFile(), qPrintable(QString::fromLatin1(bytes.toHex())));
            // Directly, through both string forms, and through the encoded form.
            const QList<QUrl> forms {url, QUrl(url.toString()), QUrl(url.toString(QUrl::FullyEncoded)), QUrl::fromEncoded(url.toEncoded())};
            for (const QUrl &form : forms) {
                if (FilePath::toNative(FilePath::fromUrl(form)) != bytes)
                    QFAIL(qPrintable(u"%1 came back from %2 as %3"_s.arg(
                        QString::fromLatin1(bytes.toHex()), form.toString(), QString::fromLatin1(FilePath::toNative(FilePath::fromUrl(form)).toHex()))));
            }
        }
    }

    void urlForms()
    {
        // A name that decodes is the URL Qt would make; an undecodable byte is its own escape.
        QCOMPARE(FilePath::toUrl(u"/home/a/r\u00e9sum\u00e9 #1.txt"_s), QUrl::fromLocalFile(u"/home/a/r\u00e9sum\u00e9 #1.txt"_s));
        const QUrl odd = FilePath::toUrl(FilePath::fromNative("/home/a/report-\xff.pdf"));
        QCOMPARE(odd.toEncoded(), QByteArray("file:///home/a/report-%FF.pdf"));
        QCOMPARE(odd.toString(), u"file:///home/a/report-%FF.pdf"_s);
        QCOMPARE(FilePath::fromUrl(QUrl(u"file:///home/a/report-%ff.pdf"_s)), FilePath::fromNative("/home/a/report-\xff.pdf"));
        QCOMPARE(FilePath::fromUrl(QUrl(u"file:///home/a/r%C3%A9sum%C3%A9.txt"_s)), u"/home/a/r\u00e9sum\u00e9.txt"_s);
        QVERIFY(FilePath::fromUrl(QUrl(u"https://example.org/a%FF"_s)).isEmpty());
    }

    void escaping_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");

        QTest::newRow("plain") << QByteArray("/home/a/b c.txt") << u"/home/a/b c.txt"_s;
        QTest::newRow("newline") << QByteArray("/a/one\ntwo") << u"/a/one\\ntwo"_s;
        QTest::newRow("tab and return") << QByteArray("a\tb\r") << u"a\\tb\\r"_s;
        QTest::newRow("terminal escape") << QByteArray("\x1b]0;owned\x07name") << u"\\x1b]0;owned\\x07name"_s;
        QTest::newRow("delete and C1") << QByteArray("a\x7f\xc2\x9b") << u"a\\x7f\\x9b"_s;
        QTest::newRow("backslash") << QByteArray("a\\x41") << u"a\\\\x41"_s;
        QTest::newRow("undecodable") << QByteArray("report-\xff.pdf") << u"report-\\xff.pdf"_s;
        QTest::newRow("accents stay") << QByteArray("r\xc3\xa9sum\xc3\xa9") << u"r\u00e9sum\u00e9"_s;
    }

    void escaping()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, expected);
        const QString line = FilePath::escaped(FilePath::fromNative(bytes));
        QCOMPARE(line, expected);
        for (const QChar c : line)
            QVERIFY(c.unicode() >= 0x20 && c.unicode() != 0x7F && !(c.unicode() >= 0x80 && c.unicode() < 0xA0));
    }
};

QTEST_GUILESS_MAIN(TestFilePath)
#include "tst_filepath.moc"
