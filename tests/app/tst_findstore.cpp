#include "TestHome.h"

#include <QFile>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

// velk-find over a store that went bad, and over queries that make no sense: it says what happened,
// with an exit status a script can tell apart, and never echoes more than a short piece of the query.
class TestFindStore : public QObject
{
    Q_OBJECT

    struct Run {
        int status = -1;
        QString out;
        QString err;
    };

    static Run velkFind(const QStringList &arguments)
    {
        QProcess find;
        find.start(QStringLiteral(VELK_FIND_BIN), arguments);
        Run run;
        if (!find.waitForFinished(120000) || find.exitStatus() != QProcess::NormalExit)
            return run;
        run.status = find.exitCode();
        run.out = QString::fromUtf8(find.readAllStandardOutput());
        run.err = QString::fromUtf8(find.readAllStandardError());
        return run;
    }

private Q_SLOTS:
    void damagedTextTable()
    {
        TestHome home;
        for (int i = 0; i < 100; ++i) {
            QByteArray text = "quokka ";
            for (int w = 0; w < 400; ++w)
                text += "word" + QByteArray::number((i * 31 + w * 17) % 1499) + ' ';
            home.file(u"Notes/note%1.txt"_s.arg(i), text);
        }
        QCOMPARE(velkFind({u"--update"_s}).status, 0);
        Run run = velkFind({u"--count"_s, u"--raw"_s, u"kMDItemTextContent == \"quokka\"cdw"_s});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, u"100\n"_s);

        // The last pages, where the text table ends, zeroed.
        const QString store = home.path(u".cache/velk/index.sqlite"_s);
        {
            QFile file(store);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.size() > 16 * 4096);
            QVERIFY(file.seek(file.size() - 8 * 4096));
            file.write(QByteArray(8 * 4096, '\0'));
        }
        run = velkFind({u"--count"_s, u"--raw"_s, u"kMDItemTextContent == \"quokka\"cdw"_s});
        QCOMPARE(run.status, 3);
        QVERIFY2(run.err.contains(u"the index was damaged and has been rebuilt (integrity check failed: "_s), qPrintable(run.err));

        run = velkFind({u"--status"_s});
        QCOMPARE(run.status, 0);
        QVERIFY2(run.out.contains(u"The index was rebuilt on "_s + QDate::currentDate().toString(Qt::ISODate)), qPrintable(run.out));
        QVERIFY(run.out.contains(u": integrity check failed: "_s));

        // An update reads the contents again; answers are whole, and nothing more is said.
        QCOMPARE(velkFind({u"--update"_s}).status, 0);
        run = velkFind({u"--count"_s, u"--raw"_s, u"kMDItemTextContent == \"quokka\"cdw"_s});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, u"100\n"_s);
        QVERIFY2(!run.err.contains(u"rebuilt"_s), qPrintable(run.err));
    }

    void queryErrors()
    {
        TestHome home;
        home.file(u"a.txt"_s, "a");
        // 60,000 characters of good text, then a mistake: the message points at it and shows little.
        const QString good = u"kMDItemFSName == \"%1\""_s.arg(u"x"_s.repeated(60'000));
        const Run run = velkFind({u"--raw"_s, good + u" && kMDItemFSSize >> 1"_s});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QString());
        QVERIFY2(run.err.contains(u"at character %1: expected a value"_s.arg(good.size() + 20)), qPrintable(run.err));
        QVERIFY2(run.err.size() < 300, qPrintable(run.err));
        QVERIFY(run.err.contains(u"kMDItemFSSize >> 1"_s));
    }
};

QTEST_GUILESS_MAIN(TestFindStore)
#include "tst_findstore.moc"
