#include "sources/DownloadSources.h"

#include "ExtendedAttributes.h"
#include "TestHome.h"

#include <QSet>
#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {

const QByteArray kOrigin = "user.xdg.origin.url";
const QByteArray kReferrer = "user.xdg.referrer.url";

QString nameOf(const std::optional<DownloadSource> &source)
{
    return source ? source->name : "<none>";
}

// A file in `home` with the given attributes; empty where the file system refuses user attributes.
QString stamped(TestHome &home, const QString &name, const QList<std::pair<QByteArray, QByteArray>> &attributes)
{
    const QString path = home.file(name, "data");
    for (const auto &[attribute, value] : attributes) {
        if (!TestHome::setXattr(path, attribute, value))
            return {};
    }
    return path;
}

} // namespace

class TestDownloadSources : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void catalogRows();
    void classify_data();
    void classify();
    void registrableDomain_data();
    void registrableDomain();
    void lookups_data();
    void lookups();
    void spotlightClause_data();
    void spotlightClause();
    void identityIsTheName();
    void readsStoredAddresses();
    void cacheRemembersAbsence();
    void concurrentLookups();
};

void TestDownloadSources::catalogRows()
{
    const QStringList names {"WhatsApp", "Gmail", "Google Drive", "Slack", "Telegram", "Discord", "GitHub", "Dropbox", "WeTransfer", "Notion", "Figma",
        "ChatGPT", "Claude", "YouTube", "X", "Instagram", "Facebook", "LinkedIn", "Reddit", "Pinterest", "Canva", "Outlook", "iCloud", "Unsplash", "Zoom"};
    const QList<int> domainCounts {2, 1, 3, 3, 2, 3, 2, 2, 2, 4, 1, 3, 1, 3, 3, 2, 3, 2, 3, 2, 1, 3, 1, 1, 1};
    const QList<DownloadSource> &rows = DownloadSources::catalog();
    QCOMPARE(rows.size(), names.size());
    for (int i = 0; i < rows.size(); ++i) {
        QCOMPARE(rows[i].name, names[i]);
        QCOMPARE(rows[i].domains.size(), domainCounts[i]);
        QVERIFY(!rows[i].link);
        // Every domain must lead back to its own row: a typo or a domain shadowed by an earlier row fails here.
        for (const QString &domain : rows[i].domains) {
            QCOMPARE(domain, domain.toLower().trimmed());
            QCOMPARE(nameOf(DownloadSources::classify({"https://" + domain + "/file"})), names[i]);
            QCOMPARE(nameOf(DownloadSources::classify({"https://cdn." + domain + "/file"})), names[i]);
        }
    }
}

void TestDownloadSources::classify_data()
{
    QTest::addColumn<QStringList>("froms");
    QTest::addColumn<QString>("name"); // "<none>" for no source
    QTest::addColumn<QString>("link");
    // For sources outside the catalog; catalog answers are compared with their row.
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<QStringList>("domains");

    const auto row = [](const char *tag, const QStringList &froms, const QString &name, const QString &link = {}, const QString &symbol = {},
                         const QStringList &domains = {}) { QTest::newRow(tag) << froms << name << link << symbol << domains; };
    const QString known = "chrome-extension://fdpohaocaechififmbbbbbknoalclacl/capture.html";
    const QString unknown = "moz-extension://0f3a9c2e-77aa-4b1e-9f00-123456789abc/page.html";
    const QString safari = "safari-web-extension://ABC/x";
    const QString ext = "puzzlepiece.extension.fill";
    const QString blob = "blob:https://web.whatsapp.com/1c2d";

    row("nothing", {}, "<none>");
    row("known extension", {known}, "GoFullPage", known, ext, {"fdpohaocaechififmbbbbbknoalclacl"});
    row("unknown extension", {unknown}, "Browser Extension", unknown, ext, {"-extension://"});
    row("extension beats http", {"https://github.com/a.zip", safari}, "Browser Extension", safari, ext, {"-extension://"});
    row("blob host, blob link", {blob}, "WhatsApp", blob);
    row("blob host, http link", {blob, "https://example.org/"}, "WhatsApp", "https://example.org/");
    row("subdomain", {"https://gist.github.com/x"}, "GitHub", "https://gist.github.com/x");
    row("host case", {"HTTPS://GitHub.COM/x"}, "GitHub", "HTTPS://GitHub.COM/x");
    row("look-alike", {"https://notgithub.com/x"}, "notgithub.com", "https://notgithub.com/x", "globe", {"notgithub.com"});
    row("catalog order, slack first", {"https://files.slack.com/a", "https://web.whatsapp.com/"}, "WhatsApp", "https://files.slack.com/a");
    row("catalog order, whatsapp first", {"https://web.whatsapp.com/", "https://files.slack.com/a"}, "WhatsApp", "https://web.whatsapp.com/");
    row("unknown, second host", {"https://cdn.fastserve.net/f.zip", "https://www.shop.example.com/p"}, "example.com", "https://cdn.fastserve.net/f.zip",
        "globe", {"example.com"});
    row("unknown, www dropped", {"http://www.example.org/a"}, "example.org", "http://www.example.org/a", "globe", {"example.org"});
    // A machine named by its address is named by all of it; IPv6 in the brackets of its link.
    row("IPv4 address", {"http://192.168.1.20/x.zip"}, "192.168.1.20", "http://192.168.1.20/x.zip", "globe", {"192.168.1.20"});
    row("IPv4 address with port", {"http://10.0.0.7:8080/a/b.iso"}, "10.0.0.7", "http://10.0.0.7:8080/a/b.iso", "globe", {"10.0.0.7"});
    row("IPv6 address", {"http://[::1]:8080/"}, "[::1]", "http://[::1]:8080/", "globe", {"[::1]"});
    row("IPv6 address, full", {"https://[2001:DB8::8:800:200C:417A]/f"}, "[2001:db8::8:800:200c:417a]", "https://[2001:DB8::8:800:200C:417A]/f", "globe",
        {"[2001:db8::8:800:200c:417a]"});
    row("mail address", {"Alice <alice@example.com>"}, "Mail", "Alice <alice@example.com>", "envelope.fill", {"@"});
    // "httpd log" would be the chosen link, but mail takes the first entry.
    row("mail link is first entry", {"bob@example.com", "httpd log"}, "Mail", "bob@example.com", "envelope.fill", {"@"});
    row("mailto", {"mailto:bob@example.com"}, "Mail", "mailto:bob@example.com", "envelope.fill", {"@"});
    row("neither", {"Saved from a message", "no address here"}, "<none>");
    row("malformed", {"https://", "http://[::1", "http://exa mple.com/", "blob:"}, "<none>");
    row("binary", {QString::fromUtf8("\xff\xfe\x01\x80garbage")}, "<none>");
}

void TestDownloadSources::classify()
{
    QFETCH(QStringList, froms);
    QFETCH(QString, name);
    QFETCH(QString, link);
    QFETCH(QString, symbol);
    QFETCH(QStringList, domains);

    const std::optional<DownloadSource> source = DownloadSources::classify(froms);
    QCOMPARE(nameOf(source), name);
    if (!source)
        return;
    QCOMPARE(source->link.value_or("<unset>"), link);
    if (const std::optional<DownloadSource> row = DownloadSources::named(name)) {
        QCOMPARE(source->symbol, row->symbol);
        QCOMPARE(source->domains, row->domains);
        QCOMPARE(source->keywords, row->keywords);
    } else {
        QCOMPARE(source->symbol, symbol);
        QCOMPARE(source->domains, domains);
        QVERIFY(source->keywords.isEmpty());
    }
}

void TestDownloadSources::registrableDomain_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("domain");

    const auto row = [](const char *host, const char *domain) { QTest::newRow(host) << QString(host) << QString(domain); };
    row("bbc.co.uk", "bbc.co.uk");
    row("news.bbc.co.uk", "bbc.co.uk");
    row("shop.example.com", "example.com");
    row("a.b.example.com.au", "example.com.au");
    row("a.b.c.uk", "c.uk");
    row("x.gov.museum", "gov.museum");
    row("www.example.com", "example.com");
    row("www.co.uk", "co.uk");
    row("WWW.co.uk", "WWW.co.uk");
    row("www.www.com", "www.com");
    row(".a..b.example.org.", "example.org");
    row("localhost", "localhost");
    row("192.168.1.20", "192.168.1.20");
    row("::1", "[::1]");
    row("[fe80::1]", "[fe80::1]");
    // Not addresses: a number too large for one, and names that only begin or end with digits.
    row("1.2.3.256", "3.256");
    row("cdn.1.2.3.example.com", "example.com");
    row("files.2024.io", "2024.io");
    row("", "");
}

void TestDownloadSources::registrableDomain()
{
    QFETCH(QString, host);
    QFETCH(QString, domain);
    QCOMPARE(DownloadSources::registrableDomain(host), domain);
}

void TestDownloadSources::lookups_data()
{
    QTest::addColumn<bool>("byKeyword");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");

    const auto row
        = [](const char *tag, bool byKeyword, const char *text, const char *name) { QTest::newRow(tag) << byKeyword << QString(text) << QString(name); };
    row("name", false, "Google Drive", "Google Drive");
    row("name is exact", false, "google drive", "<none>");
    row("name is not a keyword", false, "gdrive", "<none>");
    row("gdrive", true, "gdrive", "Google Drive");
    row("hotmail", true, "hotmail", "Outlook");
    row("second keyword", true, "messenger", "Facebook");
    row("icloud.com", true, "icloud.com", "iCloud");
    row("icloud", true, "icloud", "<none>");
    row("keyword is exact", true, "GitHub", "<none>");
    row("keyword is not a name", true, "x", "<none>");
}

void TestDownloadSources::lookups()
{
    QFETCH(bool, byKeyword);
    QFETCH(QString, text);
    QFETCH(QString, name);
    QCOMPARE(nameOf(byKeyword ? DownloadSources::forKeyword(text) : DownloadSources::named(text)), name);
}

void TestDownloadSources::spotlightClause_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("domains");
    QTest::addColumn<QString>("clause");

    QTest::newRow("two domains") << "GitHub" << QStringList {"github.com", "raw.githubusercontent.com"}
                                 << QStringLiteral(R"((kMDItemWhereFroms == "*github.com*"cd || kMDItemWhereFroms == "*raw.githubusercontent.com*"cd))");
    QTest::newRow("mail") << "Mail" << QStringList {"@"} << QStringLiteral(R"((kMDItemWhereFroms == "*@*"cd))");
    QTest::newRow("name when no domains") << "Some Site" << QStringList() << QStringLiteral(R"((kMDItemWhereFroms == "*Some Site*"cd))");
    QTest::newRow("escapes in order") << QStringLiteral(R"(a\b"c*d\")") << QStringList() << QStringLiteral(R"((kMDItemWhereFroms == "*a\\b\"c\*d\\\"*"cd))");
}

void TestDownloadSources::spotlightClause()
{
    QFETCH(QString, name);
    QFETCH(QStringList, domains);
    QFETCH(QString, clause);
    QCOMPARE((DownloadSource {name, "globe", domains, {}, std::nullopt}.spotlightClause()), clause);
}

void TestDownloadSources::identityIsTheName()
{
    const auto first = DownloadSources::classify({"https://example.com/a.pdf"});
    const auto second = DownloadSources::classify({"https://cdn.net/b", "https://www.example.com/other"});
    QVERIFY(first && second);
    QVERIFY(first->link != second->link);
    QVERIFY(*first == *second);
    QCOMPARE(qHash(*first), qHash(*second));

    const auto known = DownloadSources::classify({"chrome-extension://fdpohaocaechififmbbbbbknoalclacl/a"});
    const auto unknown = DownloadSources::classify({"chrome-extension://aaaabbbbccccddddeeeeffffgggghhhh/a"});
    QVERIFY(known && unknown);
    QVERIFY(!(*known == *unknown));

    const DownloadSource sameName {"example.com", "other", {}, {"kw"}, std::nullopt};
    QVERIFY(sameName == *first);
    QCOMPARE(QSet<DownloadSource>({*first, *second, *known, *unknown, sameName}).size(), 3);
}

void TestDownloadSources::readsStoredAddresses()
{
    TestHome home;
    QVERIFY(home.isValid());
    const QString both = stamped(home, "both.zip", {{kReferrer, "https://github.com/o/r/releases"}, {kOrigin, "https://objects.example.net/r.zip"}});
    if (both.isEmpty())
        QSKIP("This file system refuses user extended attributes");
    const QString emptyOrigin = stamped(home, "empty.zip", {{kOrigin, ""}, {kReferrer, " https://t.me/c/1 \n"}});
    const QString terminated = stamped(home, "nul.zip", {{kOrigin, QByteArray("https://zoom.us/rec\0\0", 21)}, {kReferrer, QByteArray("\0\0", 2)}});
    const QString binary = stamped(home, "binary.bin", {{kOrigin, QByteArray("\xff\x00\xfe\x80", 4)}});
    const QString plain = home.file("plain.txt", "data");
    const QString lan = stamped(home, "lan.zip", {{kOrigin, "http://192.168.1.20/x.zip"}});

    QCOMPARE(DownloadSources::whereFroms(QUrl::fromLocalFile(both)), (QStringList {"https://objects.example.net/r.zip", "https://github.com/o/r/releases"}));
    QCOMPARE(DownloadSources::whereFroms(QUrl::fromLocalFile(emptyOrigin)), QStringList {"https://t.me/c/1"});
    QCOMPARE(DownloadSources::whereFroms(QUrl::fromLocalFile(terminated)), QStringList {"https://zoom.us/rec"});
    QCOMPARE(DownloadSources::whereFroms(QUrl::fromLocalFile(plain)), QStringList());
    QCOMPARE(DownloadSources::whereFroms(QUrl::fromLocalFile(home.path("missing"))), QStringList());
    QCOMPARE(DownloadSources::whereFroms(QUrl("https://github.com/a")), QStringList());

    // Present-but-empty differs from absent at the platform level.
    QCOMPARE(readExtendedAttribute(emptyOrigin, kOrigin.constData()).value_or("<absent>"), QByteArray());
    QVERIFY(!readExtendedAttribute(plain, kOrigin.constData()));

    QCOMPARE(nameOf(DownloadSources::source(QUrl::fromLocalFile(both))), "GitHub");
    QCOMPARE(DownloadSources::source(QUrl::fromLocalFile(both))->link, "https://objects.example.net/r.zip");
    QCOMPARE(nameOf(DownloadSources::source(QUrl::fromLocalFile(emptyOrigin))), "Telegram");
    QCOMPARE(nameOf(DownloadSources::source(QUrl::fromLocalFile(lan))), "192.168.1.20");
    QCOMPARE(nameOf(DownloadSources::source(QUrl::fromLocalFile(binary))), "<none>");
    QCOMPARE(nameOf(DownloadSources::source(QUrl::fromLocalFile(plain))), "<none>");
    QCOMPARE(nameOf(DownloadSources::source(QUrl("not a url at all"))), "<none>");
}

void TestDownloadSources::cacheRemembersAbsence()
{
    TestHome home;
    QVERIFY(home.isValid());
    const QString cached = home.file("later.pdf", "data");
    QCOMPARE(nameOf(DownloadSources::source(QUrl::fromLocalFile(cached))), "<none>");

    if (!TestHome::setXattr(cached, kOrigin, "https://files.slack.com/later.pdf"))
        QSKIP("This file system refuses user extended attributes");
    const QString fresh = stamped(home, "fresh.pdf", {{kOrigin, "https://files.slack.com/fresh.pdf"}});

    QCOMPARE(nameOf(DownloadSources::source(QUrl::fromLocalFile(cached))), "<none>");
    QCOMPARE(DownloadSources::whereFroms(QUrl::fromLocalFile(cached)).size(), 1);
    QCOMPARE(nameOf(DownloadSources::source(QUrl::fromLocalFile(fresh))), "Slack");
}

void TestDownloadSources::concurrentLookups()
{
    TestHome home;
    QVERIFY(home.isValid());
    const QList<std::pair<QString, QString>> files {
        {stamped(home, "a", {{kOrigin, "https://cdn.discordapp.com/a"}}), "Discord"},
        {stamped(home, "b", {{kOrigin, "https://x.example.co.jp/b"}, {kReferrer, "https://dl.other.org/"}}), "other.org"},
        {home.file("c", "data"), "<none>"},
    };
    if (files[0].first.isEmpty() || files[1].first.isEmpty())
        QSKIP("This file system refuses user extended attributes");

    std::atomic<int> wrong {0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&files, &wrong, t] {
            for (int i = 0; i < 300; ++i) {
                const auto &[path, name] = files[(i + t) % files.size()];
                if (nameOf(DownloadSources::source(QUrl::fromLocalFile(path))) != name)
                    ++wrong;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(wrong.load(), 0);
}

QTEST_GUILESS_MAIN(TestDownloadSources)
#include "tst_downloadsources.moc"
